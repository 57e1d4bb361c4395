#pragma once
// Whether an object is found by others, and under which name it stands in the table of the process.

#include <cstdint>
#include <string>
#include <string_view>

#include "attributes/co_xml_node.h"
#include "platform/lock.h"
#include "platform/object_table.h"
#include "platform/status.h"

namespace zr {

// Any thread. Keys: "external_access" (true) and "external_access.prefix", which makes a group of its own of the
// objects that have it.
class ExternalAccess {
public:
    // _pObject: the node with the keys. _pReferences: the count of _self; null: it cannot be found. All outlive it.
    ExternalAccess(const XMLNodePtr& _pObject, IUnknown& _self, ReferenceCount* _pReferences)
        : pObject(_pObject), self(_self), pReferences(_pReferences) {}
    ~ExternalAccess() { Leave(); }
    ExternalAccess(const ExternalAccess&) = delete;
    ExternalAccess& operator=(const ExternalAccess&) = delete;

    // What the names of the objects of a group begin with. _object: the node with the keys of one of them.
    static std::u16string GroupName(const CoXMLNode& _object);
    // Whether a key, by its whole name, is one of these; an empty name is that of any.
    static bool IsKey(std::u16string_view _name);

    // Whatever the key says: found from now on, or not. E_NOTIMPL: the object cannot be found.
    HRESULT Enable(bool _bEnable);
    // The object has started: the key says whether it is found, until it closes.
    void Show();
    void Hide();
    void OnKeys();
    // The last reference to the object has gone: it is not found any more, whatever is called from now on.
    void Leave();

private:
    HRESULT Enable_I(bool _bEnable) ZR_REQUIRES(mtx);

    const XMLNodePtr pObject;
    IUnknown& self;
    ReferenceCount* const pReferences;

    Mutex mtx;  // that of the table is taken under it, and no other
    bool bShown ZR_GUARDED_BY(mtx) = false;
    bool bGone ZR_GUARDED_BY(mtx) = false;
    uint64_t llCookie ZR_GUARDED_BY(mtx) = 0;  // 0: it is not in the table
    std::u16string strName ZR_GUARDED_BY(mtx);
};

}  // namespace zr
