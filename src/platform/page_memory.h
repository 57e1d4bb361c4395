#pragma once
// Whole pages from the system, for buffers of many pages: they come zeroed and go back to the system when freed.

#include <cstddef>

namespace zr {

inline constexpr size_t kPageBytes = 4096;

// _cb bytes of readable and writable memory, rounded up to whole pages; null for 0 and when memory is out.
void* PagesAlloc(size_t _cb);
// Frees what PagesAlloc gave for the same _cb; null is fine.
void PagesFree(void* _pv, size_t _cb);

}  // namespace zr
