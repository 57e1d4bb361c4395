#pragma once
// A node as its public face shows it; IZrNodeImpl gives a node that face.

#include "attributes/xml_node.h"
#include "zr/attributes.h"

namespace zr {

// The operations of IZrNode on one node, with their results. No state of its own: a call takes the node's locks.
class NodeFace {
public:
    explicit NodeFace(XMLNodeBase& _node) : node(_node) {}

    HRESULT NameGet(BSTR* _pbsName) const;
    HRESULT NameSet(const char16_t* _bsName);
    HRESULT ValueGet(BSTR* _pbsValue) const;
    // _pfnNew: makes an empty node of the same type as this one, for a body that is taken in as XML.
    HRESULT ValueSet(const char16_t* _bsValue, XMLNodeRef (*_pfnNew)(const XMLNodeBase& _like));
    HRESULT PathGet(BSTR* _pbsPath, IZrNode* _pRoot) const;
    HRESULT ParentGet(IZrNode** _ppParent) const;
    HRESULT Detach();
    HRESULT GetCount(int32_t* _pnCount) const;
    HRESULT GetByIndex(int32_t _nIndex, BSTR* _pbsName, IZrNode** _ppNode) const;
    HRESULT Add(const char16_t* _bsPath, const char16_t* _bsValue, IZrNode** _ppNode);
    HRESULT Get(const char16_t* _bsPath, int32_t _bCreateNew, IZrNode** _ppNode);
    HRESULT Remove(const char16_t* _bsPath);
    HRESULT RemoveAll(int32_t _bRemoveAttributes);
    HRESULT Parse(const char16_t* _bsXMLString, int32_t _bUpdateName);
    HRESULT Save(BSTR* _pbsXMLString) const;
    HRESULT Clone(XMLNodeRef (*_pfnClone)(const XMLNodeBase& _node), IZrNode** _ppClone) const;
    HRESULT InfoGet(const char16_t* _bsInfoType, BSTR* _pbsDescription) const;

private:
    XMLNodeBase& node;
};

}  // namespace zr
