#pragma once
// How long something took, for the statistics.

#include "platform/clock.h"

namespace zr {

class Elapsed {
public:
    void Restart() { rtStart = ClockNow(); }
    double Ms() const { return static_cast<double>(ClockNow() - rtStart) / static_cast<double>(kTicksPerMs); }

private:
    int64_t rtStart = ClockNow();
};

}  // namespace zr
