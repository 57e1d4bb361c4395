#pragma once
// The one smart pointer for interfaces, for hosts and inside the library.

#include <cassert>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "zr/unknown.h"

namespace zr {

template <class T>
class ZrPtr;
template <class U, class T>
ZrPtr<U> QueryAs(T* _p);

// Holds one reference to an interface. Not safe for two threads on one holder; each thread has its own.
template <class T>
class ZrPtr {
public:
    ZrPtr() = default;
    ZrPtr(std::nullptr_t) {}
    ZrPtr(T* _p) : p(_p) { AddRefIfSet(); }
    ZrPtr(const ZrPtr& _other) : p(_other.p) { AddRefIfSet(); }
    ZrPtr(ZrPtr&& _other) noexcept : p(std::exchange(_other.p, nullptr)) {}
    template <class U>
    requires std::is_convertible_v<U*, T*> ZrPtr(const ZrPtr<U>& _other) : p(_other.Get()) { AddRefIfSet(); }
    ~ZrPtr() { Reset(); }

    ZrPtr& operator=(ZrPtr _other) noexcept {
        std::swap(p, _other.p);
        return *this;
    }

    // Takes over a reference that the caller already owns.
    static ZrPtr Attach(T* _p) {
        ZrPtr ptr;
        ptr.p = _p;
        return ptr;
    }
    // Gives the reference away; the holder is empty afterwards.
    [[nodiscard]] T* Detach() { return std::exchange(p, nullptr); }
    void Reset() {
        if (T* pOld = std::exchange(p, nullptr)) pOld->Release();
    }

    T* Get() const { return p; }
    T* operator->() const {
        assert(p);
        return p;
    }
    T& operator*() const {
        assert(p);
        return *p;
    }
    explicit operator bool() const { return p != nullptr; }
    friend bool operator==(const ZrPtr& _a, const ZrPtr& _b) { return _a.p == _b.p; }

    // For operations that hand out a reference: drops the old one first.
    T** Out() {
        Reset();
        return &p;
    }
    // Copies the reference to an out parameter of an interface operation.
    HRESULT CopyTo(T** _pp) const {
        if (!_pp) return E_POINTER;
        *_pp = p;
        AddRefIfSet();
        return S_OK;
    }
    // Another face of the held object, empty when it has none.
    template <class U>
    ZrPtr<U> As() const {
        return QueryAs<U>(p);
    }

private:
    void AddRefIfSet() const {
        if (p) p->AddRef();
    }
    T* p = nullptr;
};

// The face U of any object, empty for null and for objects without it.
template <class U, class T>
ZrPtr<U> QueryAs(T* _p) {
    void* pv = nullptr;
    if (!_p || Failed(_p->QueryInterface(U::kIid, &pv))) return {};
    return ZrPtr<U>::Attach(static_cast<U*>(pv));
}

}  // namespace zr
