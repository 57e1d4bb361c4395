#include "platform/page_memory.h"

#include <sys/mman.h>

#include <cstdint>

namespace zr {

namespace {

// A picture of HD or more is walked through from end to end: with one entry of the address table for 512 of its pages
// the processor fetches ahead over their ends.
constexpr size_t kHugePageBytes = size_t{2} << 20;

size_t WholePages(size_t _cb) { return (_cb + kPageBytes - 1) & ~(kPageBytes - 1); }

void* Map(size_t _cb) {
    void* const pv = mmap(nullptr, _cb, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return pv == MAP_FAILED ? nullptr : pv;
}

// What lies before and behind the aligned part goes back at once.
void* MapHuge(size_t _cb) {
    auto* const p = static_cast<uint8_t*>(Map(_cb + kHugePageBytes));
    if (!p) return nullptr;
    const size_t cbBefore = -reinterpret_cast<uintptr_t>(p) & (kHugePageBytes - 1);
    if (cbBefore > 0) munmap(p, cbBefore);
    munmap(p + cbBefore + _cb, kHugePageBytes - cbBefore);
    madvise(p + cbBefore, _cb, MADV_HUGEPAGE);  // a wish
    return p + cbBefore;
}

}  // namespace

void* PagesAlloc(size_t _cb) {
    if (_cb == 0 || _cb > SIZE_MAX / 2) return nullptr;
    const size_t cb = WholePages(_cb);
    return cb < kHugePageBytes ? Map(cb) : MapHuge(cb);
}

void PagesFree(void* _pv, size_t _cb) {
    if (_pv) munmap(_pv, WholePages(_cb));
}

}  // namespace zr
