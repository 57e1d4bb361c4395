#pragma once
// Interfaces inside the library: the one smart pointer, and the reference count an object with faces derives from.

#include <atomic>
#include <cassert>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "zr/unknown.h"

namespace zr {

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
        requires std::is_convertible_v<U*, T*>
    ZrPtr(const ZrPtr<U>& _other) : p(_other.Get()) {
        AddRefIfSet();
    }
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

// Reference count and face look-up for an object that carries the given interfaces; the first one answers for IUnknown.
// The object is made with one reference, which belongs to its maker, and deletes itself with the last.
template <class... Interfaces>
class UnknownImpl : public Interfaces... {
public:
    UnknownImpl() = default;
    UnknownImpl(const UnknownImpl&) = delete;
    UnknownImpl& operator=(const UnknownImpl&) = delete;

    HRESULT QueryInterface(const GUID& _iid, void** _ppv) override {
        if (!_ppv) return E_POINTER;
        *_ppv = nullptr;
        if (_iid == IUnknown::kIid) {
            *_ppv = static_cast<First*>(this);
        } else {
            ((_iid == Interfaces::kIid && !*_ppv ? static_cast<void>(*_ppv = static_cast<Interfaces*>(this)) : void()), ...);
        }
        if (!*_ppv) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    uint32_t AddRef() override { return nReferences.fetch_add(1, std::memory_order_relaxed) + 1; }
    uint32_t Release() override {
        const uint32_t nLeft = nReferences.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (nLeft == 0) OnLastRelease();
        return nLeft;
    }

protected:
    virtual ~UnknownImpl() = default;
    // What happens when the last reference is gone; a pooled object puts itself back instead.
    virtual void OnLastRelease() { delete this; }

    std::atomic<uint32_t> nReferences{1};

private:
    template <class F, class...>
    struct FirstOf {
        using Type = F;
    };
    using First = typename FirstOf<Interfaces...>::Type;
};

}  // namespace zr
