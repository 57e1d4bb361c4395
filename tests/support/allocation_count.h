#pragma once
// Counts what the program takes from the heap, to show that a steady show takes nothing.

#include <cstdint>

namespace zr {

// Calls of operator new since the program began, of all threads. Stays 0 in the builds with sanitizers, which watch the
// heap themselves.
int64_t AllocationCount();
// From now on the first _nGood allocations succeed and the next _nBad fail, of whatever thread; the rest succeed again.
// Does nothing in the builds with sanitizers. Returns whether it does something.
bool FailAllocations(int64_t _nGood, int64_t _nBad);

}  // namespace zr
