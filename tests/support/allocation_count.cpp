#include "support/allocation_count.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

#include "frame_module/address_check.h"

namespace {

std::atomic<int64_t> nAllocations{0};
std::atomic<int64_t> nFailFrom{-1}, nFailUntil{-1};  // counts of allocations

}  // namespace

int64_t zr::AllocationCount() { return nAllocations.load(std::memory_order_relaxed); }

bool zr::FailAllocations(int64_t _nGood, int64_t _nBad) {
    const int64_t nFrom = AllocationCount() + _nGood;
    nFailFrom = nFrom;
    nFailUntil = nFrom + _nBad;
#if !defined(ZR_ADDRESS_CHECK) && !defined(__SANITIZE_THREAD__)
    return true;
#else
    return false;
#endif
}

#if !defined(ZR_ADDRESS_CHECK) && !defined(__SANITIZE_THREAD__)

namespace {

void* Take(size_t _cb, size_t _cbAlign) {
    const int64_t n = nAllocations.fetch_add(1, std::memory_order_relaxed);
    if (n >= nFailFrom.load(std::memory_order_relaxed) && n < nFailUntil.load(std::memory_order_relaxed))
        return nullptr;
    void* p = nullptr;
    if (_cbAlign <= alignof(std::max_align_t)) {
        p = std::malloc(_cb);
    } else {
        p = std::aligned_alloc(_cbAlign, (_cb + _cbAlign - 1) / _cbAlign * _cbAlign);
    }
    return p;
}

void* TakeOrThrow(size_t _cb, size_t _cbAlign) {
    if (void* const p = Take(_cb ? _cb : 1, _cbAlign)) return p;
    throw std::bad_alloc();
}

}  // namespace

void* operator new(size_t _cb) { return TakeOrThrow(_cb, 0); }
void* operator new[](size_t _cb) { return TakeOrThrow(_cb, 0); }
void* operator new(size_t _cb, std::align_val_t _align) { return TakeOrThrow(_cb, static_cast<size_t>(_align)); }
void* operator new[](size_t _cb, std::align_val_t _align) { return TakeOrThrow(_cb, static_cast<size_t>(_align)); }
void* operator new(size_t _cb, const std::nothrow_t&) noexcept { return Take(_cb ? _cb : 1, 0); }
void* operator new[](size_t _cb, const std::nothrow_t&) noexcept { return Take(_cb ? _cb : 1, 0); }
void operator delete(void* _p) noexcept { std::free(_p); }
void operator delete[](void* _p) noexcept { std::free(_p); }
void operator delete(void* _p, size_t) noexcept { std::free(_p); }
void operator delete[](void* _p, size_t) noexcept { std::free(_p); }
void operator delete(void* _p, std::align_val_t) noexcept { std::free(_p); }
void operator delete[](void* _p, std::align_val_t) noexcept { std::free(_p); }
void operator delete(void* _p, size_t, std::align_val_t) noexcept { std::free(_p); }
void operator delete[](void* _p, size_t, std::align_val_t) noexcept { std::free(_p); }
void operator delete(void* _p, const std::nothrow_t&) noexcept { std::free(_p); }
void operator delete[](void* _p, const std::nothrow_t&) noexcept { std::free(_p); }

#endif
