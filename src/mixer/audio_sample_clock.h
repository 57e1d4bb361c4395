#pragma once
// How many samples of sound a frame gets, so that over any length of time there are as many as the rate says.

#include <cstdint>
#include <limits>

#include "zr/records.h"

namespace zr {

// Mix thread only.
class AudioSampleClock {
public:
    // Samples of each channel for the frame of that time. A break, a step back, or a gap of more than _rtGapLimit ticks
    // (0: any gap is filled) starts the line again at the frame. 0 for a rate below 1.
    int32_t SamplesByTime(const ZR_TIME& _time, int32_t _nRate, int64_t _rtGapLimit);
    void Reset() { *this = {}; }

private:
    static constexpr int64_t kUnset = std::numeric_limits<int64_t>::min();
    int64_t rtLast = kUnset;
    double rtCarry = 0;  // ticks that have not become samples yet
};

}  // namespace zr
