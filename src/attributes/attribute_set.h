#pragma once
// The attributes of a node as their public face shows them; IZrAttributesImpl gives a node that face.

#include <string_view>

#include "attributes/xml_node.h"
#include "zr/attributes.h"

namespace zr {

// The operations of IZrAttributes on one node, with their results. No state of its own: a call takes the node's locks.
class AttributeSet {
public:
    explicit AttributeSet(XMLNodeBase& _node) : node(_node) {}

    HRESULT GetCount(int32_t* _pnCount) const;
    HRESULT GetByIndex(int32_t _nIndex, BSTR* _pbsName, BSTR* _pbsValue) const;
    HRESULT Remove(const char16_t* _bsName);
    HRESULT RemoveAll();
    HRESULT StringSet(const char16_t* _bsName, const char16_t* _bsValue);
    template <AttrBinary V>
    HRESULT ValueSet(const char16_t* _bsName, V _value);
    HRESULT Have(const char16_t* _bsName, int32_t* _pbHave, BSTR* _pbsValueOrDefault) const;
    HRESULT StringGet(const char16_t* _bsName, BSTR* _pbsValue) const;
    // _value stays as it is when there is no such attribute.
    template <AttrBinary V>
    HRESULT ValueGet(const char16_t* _bsName, V& _value) const;
    HRESULT MultipleSet(const char16_t* _bsAttributesList, eZrUpdateType _eUpdateType);
    HRESULT Save(BSTR* _pbsAttributesList) const;
    HRESULT Clone(IZrAttributes** _ppClone) const;
    HRESULT Set(IZrAttributes* _pAttributesList, eZrUpdateType _eUpdateType);
    HRESULT InfoGetCount(int32_t* _pnCount) const;
    HRESULT InfoGetByIndex(int32_t _nIndex, BSTR* _pbsName) const;
    HRESULT InfoGet(const char16_t* _bsName, eZrInfoType _eType, BSTR* _pbsInfo) const;
    HRESULT ValuesInfoGet(const char16_t* _bsName, const char16_t* _bsValue, const char16_t* _bsType,
                          BSTR* _pbsInfo) const;

private:
    // Calls _f with each hidden child whose attributes count as the node's own, until it returns true.
    template <class F>
    bool AnyHiddenChild(F&& _f) const;

    XMLNodeBase& node;
};

}  // namespace zr
