#include "platform/page_memory.h"

#include <sys/mman.h>

#include <cstdint>

namespace zr {

namespace {
size_t WholePages(size_t _cb) { return (_cb + kPageBytes - 1) & ~(kPageBytes - 1); }
}  // namespace

void* PagesAlloc(size_t _cb) {
    if (_cb == 0 || _cb > SIZE_MAX / 2) return nullptr;
    void* pv = mmap(nullptr, WholePages(_cb), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return pv == MAP_FAILED ? nullptr : pv;
}

void PagesFree(void* _pv, size_t _cb) {
    if (_pv) munmap(_pv, WholePages(_cb));
}

}  // namespace zr
