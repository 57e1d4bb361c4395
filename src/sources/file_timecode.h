#pragma once
// Time codes and the frames they stand for.

#include <cstdint>
#include <string>
#include <string_view>

#include "zr/records.h"

namespace zr {

// How the frames of a file are counted. Above 30 frames a second two or more share a number and are told apart by the
// flags of the code.
class TimecodeRate {
public:
    // _dblRate: frames a second. _bDropFrame: numbers are left out so that the count follows the clock; of 29.97 and
    // its multiples only.
    TimecodeRate(double _dblRate, bool _bDropFrame);

    // The frame from the code 00:00:00:00 on. Codes that cannot be (minute 75, a dropped number) count on.
    int64_t FrameOf(const ZR_TIMECODE& _tc) const;
    // The code of a frame, within a day.
    ZR_TIMECODE CodeOf(int64_t _nFrame) const;

    double SecondsOf(int64_t _nFrame) const { return static_cast<double>(_nFrame) / dblRate; }
    // The frame that is shown at a time; a little before its start counts as it.
    int64_t FrameAt(double _dblSeconds) const;

private:
    double dblRate;
    int32_t nNumbers;  // in a second
    int32_t nShare;    // frames with one number
    int32_t nDropped;  // numbers left out in a minute
};

// "10:20:30:05", with a ";" or "." before the frames of a drop-frame code. False: it is no time code.
bool ParseTimecode(std::u16string_view _text, ZR_TIMECODE* _ptc);
std::u16string TimecodeText(const ZR_TIMECODE& _tc);

}  // namespace zr
