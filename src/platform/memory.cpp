#include "zr/memory.h"

#include <cstdlib>

namespace zr {

extern "C" {

void* CoTaskMemAlloc(size_t _cb) { return std::malloc(_cb == 0 ? 1 : _cb); }

void CoTaskMemFree(void* _pv) { std::free(_pv); }

}  // extern "C"

}  // namespace zr
