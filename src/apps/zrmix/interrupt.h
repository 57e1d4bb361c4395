#pragma once
// Ctrl-C and the system's wish that a run ends: it ends with a whole file.

namespace zrmix {

// From now on they set the flag instead of ending the process.
void CatchInterrupts();
// Not 0 once one came. Any thread.
const volatile int* InterruptFlag();

}  // namespace zrmix
