#pragma once
// Who called whom, for reports of faults.

#include <string>

namespace zr {

// The calling thread's frames, innermost first, one a line: module, function where its name is known, address. Leaves
// out the first _nSkip callers. Empty when the system does not say.
std::string CallStackText(int _nSkip = 0);

}  // namespace zr
