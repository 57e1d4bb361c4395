#pragma once
// Counts what the program takes from the heap, to show that a steady show takes nothing.

#include <cstdint>

namespace zr {

// Calls of operator new since the program began, of all threads. Stays 0 in the builds with sanitizers, which watch the
// heap themselves.
int64_t AllocationCount();

}  // namespace zr
