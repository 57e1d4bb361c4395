#pragma once
// The frame-rate converter of a stream that is pushed: frames of the source's rate become frames of the output's.

#include <cstdint>
#include <vector>

#include "zr/records.h"

namespace zr {

// A function of what it is fed; producer only. It keeps no frame: a frame is shown in none, one or more of the slots of
// the output's line, which begins with the first frame after a break and never runs ahead of the source.
class StreamRate {
public:
    // Takes a frame with its time; its rate and the output's in frames per second, 0 when unknown. _arrSlots: the times
    // that it is shown at, in order, with the frame's flags; none when it is left out. Keeps the list's memory.
    void Put(const ZR_TIME& _time, double _dblRate, double _dblOutputRate, std::vector<ZR_TIME>& _arrSlots);
    // Whether the last frame was shown in more or fewer slots than frames of these rates regularly are.
    bool HasStepped() const { return bStepped; }
    void Reset() { bStarted = false; }

private:
    double dblPosition = 0;  // ticks, where the next slot begins
    double dblOutputRate = 0;
    double dblRate = 0;
    int32_t nLeftOut = 0;  // frames one after another
    bool bStarted = false;
    bool bStepped = false;
};

}  // namespace zr
