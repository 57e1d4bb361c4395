#pragma once
// Durations of frames and times as text. Times (rt) are signed counts of 100 ns.

#include <cstdint>
#include <string>

namespace zr {

// Of a frame whose rate nobody knows: 29.97 a second.
inline constexpr int64_t kDefaultFrameDuration = 333667;

struct FRAME_DURATION {
    int64_t rtDuration = 0;
    double dblExact = 0;     // with the fraction of a tick, so that a long time line does not drift
    bool bStandard = false;  // it is that of a standard rate
};

// A duration that is within some microseconds of that of 59.94 or 60, 50, 29.97 or 30, 25, 23.976 or 24 frames a second
// becomes exactly it; any other stays as it is.
FRAME_DURATION SnapFrameTime(int64_t _rtDuration);

// The snapped duration of a frame; kDefaultFrameDuration's for a rate that is not above 0.
FRAME_DURATION FrameDurationOfRate(double _dblRate);

// Seconds, milliseconds and, unless 0, the remaining ticks: "12.345'6789", "-0.500". Text "-" and "*" for the smallest
// and the largest value, which stand for no time at all.
std::u16string TimeText(int64_t _rtTime);

}  // namespace zr
