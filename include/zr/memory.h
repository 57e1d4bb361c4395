#pragma once
// Memory that crosses the interfaces: blocks that an operation hands out for the caller to free.

#include <cstddef>

#include "zr/api.h"

namespace zr {

extern "C" {

// A block of _cb bytes, aligned for any type; null when memory is out. 0 bytes is a block too.
ZR_API void* CoTaskMemAlloc(size_t _cb);
// Frees a block that CoTaskMemAlloc or an operation of the library made; null is fine.
ZR_API void CoTaskMemFree(void* _pv);

}  // extern "C"

}  // namespace zr
