#pragma once
// Byte buffers that grow and are kept: an owner resizes its buffer for each frame and nothing is allocated once it has
// reached its size.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include "platform/page_memory.h"
#include "platform/ref_object.h"
#include "platform/status.h"
#include "zr/memory.h"

namespace zr {

// The allocators. Alloc may raise the capacity that it is asked for to what it really gives; it returns null when
// memory is out and is never asked for 0 bytes. Free gets that capacity back.

struct CNewAlloc {
    static uint8_t* Alloc(uint32_t& _nCapacity) {
        return static_cast<uint8_t*>(::operator new(_nCapacity, std::nothrow));
    }
    static void Free(uint8_t* _p, uint32_t) { ::operator delete(_p); }
};

// 16-byte aligned whatever the heap gives; the byte in front of the block holds the way back to the heap's pointer.
struct CHeapAlloc {
    static uint8_t* Alloc(uint32_t& _nCapacity) {
        auto* pRaw = static_cast<uint8_t*>(std::malloc((size_t{_nCapacity} + 31) & ~size_t{7}));
        if (!pRaw) return nullptr;
        const uintptr_t nRaw = reinterpret_cast<uintptr_t>(pRaw);
        const uintptr_t nBack = ((nRaw + 17) & ~uintptr_t{15}) - nRaw;  // 2 to 17
        uint8_t* p = pRaw + nBack;
        p[-1] = static_cast<uint8_t>(nBack);
        return p;
    }
    static void Free(uint8_t* _p, uint32_t) {
        if (_p) std::free(_p - _p[-1]);
    }
};

// Whole pages, for large buffers.
struct CVirtualAlloc {
    static uint8_t* Alloc(uint32_t& _nCapacity) {
        if (_nCapacity > std::numeric_limits<uint32_t>::max() - (kPageBytes - 1)) return nullptr;
        const uint32_t nRounded = (_nCapacity + uint32_t{kPageBytes - 1}) & ~uint32_t{kPageBytes - 1};
        auto* p = static_cast<uint8_t*>(PagesAlloc(nRounded));
        if (p) _nCapacity = nRounded;
        return p;
    }
    static void Free(uint8_t* _p, uint32_t _nCapacity) { PagesFree(_p, _nCapacity); }
};

// For blocks that leave the library: the receiver frees them by CoTaskMemFree.
struct CCoTaskAlloc {
    static uint8_t* Alloc(uint32_t& _nCapacity) { return static_cast<uint8_t*>(CoTaskMemAlloc(_nCapacity)); }
    static void Free(uint8_t* _p, uint32_t) { CoTaskMemFree(_p); }
};

// One buffer of allocator A. It can be a member of its owner or be shared by counted reference. Not guarded: one thread
// at a time.
template <class A>
class CBLOBHolder final : public AutoObjBase<CBLOBHolder<A>> {
public:
    CBLOBHolder() = default;
    ~CBLOBHolder() override { A::Free(pData, nCapacity); }

    // Makes room for _nSize bytes and makes that the used size. S_FALSE: there was room, the content stays. S_OK: a new
    // block, the content is lost. E_OUTOFMEMORY: the holder is empty.
    HRESULT Resize(uint32_t _nSize) {
        if (_nSize <= nCapacity) {
            nSize = _nSize;
            return S_FALSE;
        }
        A::Free(pData, nCapacity);
        nCapacity = _nSize;
        pData = A::Alloc(nCapacity);
        if (!pData) {
            nSize = nCapacity = 0;
            return E_OUTOFMEMORY;
        }
        nSize = _nSize;
        return S_OK;
    }
    // The same; then, if _bFill, sets all _nSize bytes to _nValue; then, if _nUsed is not negative, makes that the used
    // size. E_INVALIDARG: _nUsed is above the capacity, the used size is _nSize.
    HRESULT Resize(uint32_t _nSize, bool _bFill, uint8_t _nValue, int64_t _nUsed) {
        const HRESULT hr = Resize(_nSize);
        if (Failed(hr)) return hr;
        if (_bFill && nSize > 0) std::memset(pData, _nValue, nSize);
        if (_nUsed < 0) return hr;
        if (_nUsed > nCapacity) return E_INVALIDARG;
        nSize = static_cast<uint32_t>(_nUsed);
        return hr;
    }

    // Null when _nOffset is not below the capacity.
    uint8_t* At(uint32_t _nOffset) const { return _nOffset < nCapacity ? pData + _nOffset : nullptr; }
    uint8_t* Data() const { return pData; }
    uint32_t Size() const { return nSize; }
    uint32_t Capacity() const { return nCapacity; }

    // Gives the block away; the holder is empty afterwards.
    [[nodiscard]] uint8_t* Detach() {
        nSize = nCapacity = 0;
        return std::exchange(pData, nullptr);
    }

private:
    uint8_t* pData = nullptr;
    uint32_t nSize = 0;
    uint32_t nCapacity = 0;  // only grows
};

}  // namespace zr
