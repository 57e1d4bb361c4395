#include "platform/class_registry.h"

#include <algorithm>
#include <new>
#include <vector>

#include "platform/lock.h"

namespace zr {

namespace {

struct CLASS_ENTRY {
    GUID clsid;
    ZrClassFactory pFactory;
};

class ClassTable {
public:
    // Made at its first use, which may be while other static objects are made, and never destroyed, since some of
    // them take their class away at the end.
    static ClassTable& Get() {
        static ClassTable& table = *new ClassTable;
        return table;
    }

    HRESULT Add(const GUID& _clsid, ZrClassFactory _pFactory) {
        MutexLock lock(mtx);
        if (Find(_clsid) != arrEntries.end()) return ZR_E_EXISTS;
        arrEntries.push_back({_clsid, _pFactory});
        return S_OK;
    }
    HRESULT Remove(const GUID& _clsid) {
        MutexLock lock(mtx);
        const auto it = Find(_clsid);
        if (it == arrEntries.end()) return ZR_E_NOT_FOUND;
        arrEntries.erase(it);
        return S_OK;
    }
    ZrClassFactory FactoryOf(const GUID& _clsid) {
        MutexLock lock(mtx);
        const auto it = Find(_clsid);
        return it == arrEntries.end() ? nullptr : it->pFactory;
    }

private:
    std::vector<CLASS_ENTRY>::iterator Find(const GUID& _clsid) ZR_REQUIRES(mtx) {
        return std::find_if(arrEntries.begin(), arrEntries.end(),
                            [&](const CLASS_ENTRY& _entry) { return _entry.clsid == _clsid; });
    }

    Mutex mtx;
    std::vector<CLASS_ENTRY> arrEntries ZR_GUARDED_BY(mtx);  // a handful
};

}  // namespace

HRESULT RegisterClass(const GUID& _clsid, ZrClassFactory _pFactory) {
    if (!_pFactory) return E_POINTER;
    try {
        return ClassTable::Get().Add(_clsid, _pFactory);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT UnregisterClass(const GUID& _clsid) { return ClassTable::Get().Remove(_clsid); }

HRESULT CreateInstance(const GUID& _clsid, const GUID& _iid, void** _ppv) {
    if (!_ppv) return E_POINTER;
    *_ppv = nullptr;
    const ZrClassFactory pFactory = ClassTable::Get().FactoryOf(_clsid);
    return pFactory ? pFactory(&_iid, _ppv) : REGDB_E_CLASSNOTREG;
}

extern "C" {

HRESULT ZrCreateInstance(const GUID* _pClassId, const GUID* _pInterfaceId, void** _ppv) {
    if (_ppv) *_ppv = nullptr;
    if (!_pClassId || !_pInterfaceId) return E_POINTER;
    return CreateInstance(*_pClassId, *_pInterfaceId, _ppv);
}

HRESULT ZrRegisterClass(const GUID* _pClassId, ZrClassFactory _pFactory) {
    return _pClassId ? RegisterClass(*_pClassId, _pFactory) : E_POINTER;
}

HRESULT ZrUnregisterClass(const GUID* _pClassId) { return _pClassId ? UnregisterClass(*_pClassId) : E_POINTER; }

}  // extern "C"

}  // namespace zr
