#pragma once
// The properties of an object: one tree of keys, filled with defaults, the user's own values over them, then set and
// read by path. Some keys are passed on to the objects that this one hosts.

#include <string>
#include <string_view>
#include <vector>

#include "attributes/co_xml_node.h"
#include "attributes/prop_key.h"
#include "attributes/props_host.h"
#include "platform/rw_lock.h"
#include "zr/enums.h"
#include "zr/text.h"

namespace zr {

// The operations ..._I are those of IZrProps with their results. Any thread.
//
// The object itself and its threads read keys from Root() and Object() at every use, under the lock of the node alone.
// Both nodes stay the same as long as the properties live: a reader keeps no reference and needs no check.
class ZrPropsHW {
public:
    // _profile gives the keys that `object` starts with. _host outlives the properties; it is not called from here.
    // _rank: the lock's place among those of the object.
    ZrPropsHW(const PROPS_PROFILE& _profile, IPropsHost& _host, const LockRank& _rank = {});
    // The properties of an object that has a tree already.
    ZrPropsHW(XMLNodePtr _pRoot, IPropsHost& _host, const LockRank& _rank = {});
    ZrPropsHW(const ZrPropsHW&) = delete;
    ZrPropsHW& operator=(const ZrPropsHW&) = delete;

    const XMLNodePtr& Root() const { return pRoot; }
    // The node `object`. It is empty, and no part of the tree, while the tree has no such node.
    const XMLNodePtr& Object() const { return pObject; }

    // What follows when an object is made: the user's own values, the keys that move to other nodes, then what the host
    // makes of its settings. Once, before another thread knows the object. Without a profile nothing is done.
    HRESULT Start_I();

    // Whether the object works in step with its sources.
    bool IsSynchronous() const;

    HRESULT PropsSet_I(const char16_t* _bsPropName, const char16_t* _bsPropValue);
    HRESULT PropsGet_I(const char16_t* _bsPropName, BSTR* _pbsPropValue) const;
    HRESULT PropsGetCount_I(const char16_t* _bsNodeName, int32_t* _pnCount) const;
    HRESULT PropsGetByIndex_I(const char16_t* _bsNodeName, int32_t _nIndex, BSTR* _pbsPropName, BSTR* _pbsPropValue,
                              int32_t* _pbNode) const;
    HRESULT PropsRemove_I(const char16_t* _bsPropName);
    HRESULT PropsInfoGet_I(const char16_t* _bsPropName, eZrInfoType _eType, BSTR* _pbsInfo) const;
    HRESULT PropsOptionGetCount_I(const char16_t* _bsPropName, int32_t* _pnOptionCount) const;
    HRESULT PropsOptionGetByIndex_I(const char16_t* _bsPropName, int32_t _nOptionIdx, BSTR* _pbsOptionValue,
                                    BSTR* _pbsHelp) const;
    HRESULT PropsOptionSetByIndex_I(const char16_t* _bsPropName, int32_t _nOptionIdx);
    HRESULT PropsOptionGet_I(const char16_t* _bsPropName, int32_t* _pnOptionIdx, BSTR* _pbsOptionValue,
                             BSTR* _pbsHelp) const;

private:
    struct POSITION {
        std::u16string strName;
        std::u16string strValue;
        bool bNode;
    };

    HRESULT SetKey(std::u16string_view _name, std::u16string_view _value) ZR_REQUIRES(lockTree);
    HRESULT SetAll(const char16_t* _szValue) ZR_REQUIRES(lockTree);
    HRESULT Remove(std::u16string_view _name) ZR_REQUIRES(lockTree);
    void AttachObject() ZR_REQUIRES(lockTree);
    void ClearObjectIfGone() ZR_REQUIRES(lockTree);
    HRESULT GetKey(std::u16string_view _name, BSTR* _pbsPropValue) const ZR_REQUIRES_SHARED(lockTree);
    std::u16string TextOf(std::u16string_view _name) const ZR_REQUIRES_SHARED(lockTree);
    HRESULT GetPosition(std::u16string_view _node, size_t _nIndex, POSITION& _position) const
        ZR_REQUIRES_SHARED(lockTree);
    XMLNodeRef SubNode(std::u16string_view _path) const ZR_REQUIRES_SHARED(lockTree);

    // What changed keys set in motion, and the keys of hosted objects
    HRESULT OnChanged(std::u16string_view _name, std::u16string_view _value, const std::u16string* _pOld)
        ZR_REQUIRES(lockTree);
    void OnAllChanged() ZR_REQUIRES(lockTree);
    HRESULT GetHosted(std::u16string_view _name, BSTR* _pbsPropValue) const ZR_REQUIRES_SHARED(lockTree);
    void ApplyOutputBuffers() ZR_REQUIRES(lockTree);
    void ApplyThreadPriority() ZR_REQUIRES(lockTree);
    void PassAllToPreview() ZR_REQUIRES(lockTree);

    // Start-up
    void SetDefaults();
    void LoadFromStore() ZR_REQUIRES(lockTree);
    void MoveKeys(KeyNames _names, XMLNodeBase& _target) ZR_REQUIRES(lockTree);
    void StartHost() ZR_REQUIRES(lockTree);

    const PROPS_PROFILE* const pProfile = nullptr;
    IPropsHost& host;
    const XMLNodePtr pRoot;
    const XMLNodePtr pObject;
    // Guards the tree as a whole: what a call does to it is done in one go. Held across the host's calls, so it comes
    // before every other lock of the object; nothing below the interfaces takes it.
    mutable CRWSynchroLiteRW lockTree;
};

}  // namespace zr
