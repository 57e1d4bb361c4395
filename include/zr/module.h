#pragma once
// The way into the library: objects by class id. With the texts of zr/text.h and the memory of zr/memory.h these are
// all the functions that libzrmixer.so exports; everything else is reached through the interfaces of objects.

#include "zr/api.h"
#include "zr/ptr.h"
#include "zr/status.h"
#include "zr/unknown.h"

namespace zr {

extern "C" {

// Makes an object of a class. Must not throw. _pInterfaceId and _ppv are never null, and *_ppv is null at the call;
// on success it holds the wanted face with one reference.
using ZrClassFactory = HRESULT (*)(const GUID* _pInterfaceId, void** _ppv);

// Makes an object of a class (zr/class_ids.h) and asks it for an interface: `I::kIid` of the wanted I.
// _ppv: receives the interface with a reference that the caller releases, or null. Any thread.
// REGDB_E_CLASSNOTREG: no such class in this process. E_NOINTERFACE: the object has no such face. E_OUTOFMEMORY.
// E_POINTER: an argument is null.
ZR_API HRESULT ZrCreateInstance(const GUID* _pClassId, const GUID* _pInterfaceId, void** _ppv);

// Lets a host bring a class of its own, for the library to make objects of: a preview, a capture device, a list of
// items. _pFactory is called on any thread, without a lock held, until the class is taken away. Any thread.
// ZR_E_EXISTS: the class is registered already, and stays as it was. E_POINTER: an argument is null. E_OUTOFMEMORY.
ZR_API HRESULT ZrRegisterClass(const GUID* _pClassId, ZrClassFactory _pFactory);
// Takes a class away again; its objects live on, and so must their code. A call of the factory that another thread
// began before may still be under way. ZR_E_NOT_FOUND: there was none. E_POINTER: an argument is null.
ZR_API HRESULT ZrUnregisterClass(const GUID* _pClassId);

}  // extern "C"

// The same for C++: makes an object and keeps its face I in _p, which is empty after a failure.
template <class I>
HRESULT ZrCreateInstance(const GUID& _clsid, ZrPtr<I>& _p) {
    void* pv = nullptr;
    const HRESULT hr = ZrCreateInstance(&_clsid, &I::kIid, &pv);
    _p = ZrPtr<I>::Attach(static_cast<I*>(pv));
    return hr;
}

}  // namespace zr
