#pragma once
// Interfaces inside the library: the reference count and the face look-up that an object derives from.

#include <atomic>
#include <cstdint>

#include "zr/ptr.h"
#include "zr/unknown.h"

namespace zr {

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
            ((_iid == Interfaces::kIid && !*_ppv ? static_cast<void>(*_ppv = static_cast<Interfaces*>(this)) : void()),
             ...);
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

// The face look-up of an object that is put together from interfaces and interface templates and counts its references
// itself; First answers for IUnknown.
template <class First, class... Rest, class T>
HRESULT QueryFaces(T* _pObject, const GUID& _iid, void** _ppv) {
    if (!_ppv) return E_POINTER;
    *_ppv = nullptr;
    if (_iid == IUnknown::kIid || _iid == First::kIid) *_ppv = static_cast<First*>(_pObject);
    ((_iid == Rest::kIid ? static_cast<void>(*_ppv = static_cast<Rest*>(_pObject)) : void()), ...);
    if (!*_ppv) return E_NOINTERFACE;
    _pObject->AddRef();
    return S_OK;
}

// The count of such an object, which is made with one reference.
class ReferenceCount {
public:
    uint32_t Add() { return nReferences.fetch_add(1, std::memory_order_relaxed) + 1; }
    // One more, unless there is none any more: false.
    bool TryAdd() {
        uint32_t nHeld = nReferences.load(std::memory_order_relaxed);
        while (nHeld != 0) {
            if (nReferences.compare_exchange_weak(nHeld, nHeld + 1, std::memory_order_acquire)) return true;
        }
        return false;
    }
    // 0: that was the last.
    uint32_t Drop() { return nReferences.fetch_sub(1, std::memory_order_acq_rel) - 1; }

private:
    std::atomic<uint32_t> nReferences{1};
};

}  // namespace zr
