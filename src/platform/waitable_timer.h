#pragma once
// A one-shot timer that can stand in the sets of platform/event.h. It has no thread: a thread that waits for it wakes
// by its own timed wait.

#include "platform/event.h"

namespace zr {

// Set from its due time on, until it is armed again or cancelled; an auto-reset one until one thread was released.
class WaitableTimer : public Waitable {
public:
    explicit constexpr WaitableTimer(bool _bAutoReset = false) : Waitable(_bAutoReset, false) {}

    // Clears the timer and arms it anew: for a time of ClockNow(), or for so many ticks from now. A time that has
    // passed sets it at once. Threads that wait for it wait for the new time.
    void Arm(int64_t _rtDue);
    void ArmIn(int64_t _rtTicks);
    // Disarms and clears it.
    void Cancel();
};

}  // namespace zr
