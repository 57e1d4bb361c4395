#pragma once
// Class ids and what makes their objects, inside this process. Objects of other folders are found here, so that who
// uses them need not know where they are.

#include <new>

#include "platform/status.h"
#include "zr/module.h"
#include "zr/unknown.h"

namespace zr {

// From now on _pFactory makes the objects of the class. Any thread.
// ZR_E_EXISTS: the class has one already, which stays. E_POINTER: no factory. E_OUTOFMEMORY.
HRESULT RegisterClass(const GUID& _clsid, ZrClassFactory _pFactory);
// Takes the class away; objects that were made live on. ZR_E_NOT_FOUND: it was not there. Any thread.
HRESULT UnregisterClass(const GUID& _clsid);
// Makes an object and gives its face _iid with a reference. *_ppv is null after a failure. Any thread.
// REGDB_E_CLASSNOTREG: nobody registered the class. Otherwise the factory's result.
HRESULT CreateInstance(const GUID& _clsid, const GUID& _iid, void** _ppv);

// The usual factory: a new T, which is made with one reference, asked for its face.
template <class T>
HRESULT MakeObject(const GUID* _piid, void** _ppv) noexcept {
    try {
        T* const p = new T();
        const HRESULT hr = p->QueryInterface(*_piid, _ppv);
        p->Release();
        return hr;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

// Keeps a class registered for its own lifetime: as a static object of the file that implements the class, or in a
// test.
class ClassRegistrar {
public:
    ClassRegistrar(const GUID& _clsid, ZrClassFactory _pFactory)
        : clsid(_clsid), bOwns(Succeeded(RegisterClass(_clsid, _pFactory))) {}
    ~ClassRegistrar() {
        if (bOwns) UnregisterClass(clsid);
    }
    ClassRegistrar(const ClassRegistrar&) = delete;
    ClassRegistrar& operator=(const ClassRegistrar&) = delete;

private:
    const GUID clsid;
    const bool bOwns;
};

}  // namespace zr
