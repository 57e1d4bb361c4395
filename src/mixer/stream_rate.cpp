#include "mixer/stream_rate.h"

#include <algorithm>
#include <cmath>

#include "media/frame_time.h"

namespace zr {
namespace {

constexpr double kTolerance = 10'000;       // ticks that a frame may be off its slot
constexpr double kLargestGap = 20'000'000;  // 2 s: what jumps further goes on from there, as after a break
constexpr double kSameRate = 0.001;
constexpr uint32_t kDupBits = 0x31;

// One that begins a new line: a repeat is none, and neither is the end of a paused source.
bool IsBreak(eZrFrameFlags _eFlags) {
    const bool bLastPause = (_eFlags & eZrFF_Last) && (_eFlags & eZrFF_Pause) == eZrFF_Pause;
    return (_eFlags & kDupBits) == eZrFF_Break && !bLastPause;
}

int64_t Round(double _dbl) { return static_cast<int64_t>(std::round(_dbl)); }

}  // namespace

void StreamRate::Put(const ZR_TIME& _time, double _dblRate, double _dblOutputRate, std::vector<ZR_TIME>& _arrSlots) {
    _arrSlots.clear();
    bStepped = false;
    const auto dblStart = static_cast<double>(_time.rtStartTime);
    if (_dblRate != dblRate || _dblOutputRate != dblOutputRate || IsBreak(_time.eFFlags)) bStarted = false;
    if (std::fabs(dblStart - dblPosition) > kLargestGap) bStarted = false;
    dblRate = _dblRate;
    dblOutputRate = _dblOutputRate;

    const double dblPeriod = _dblOutputRate > 0 ? FrameDurationOfRate(_dblOutputRate).dblExact : 0;
    const auto dblFrame = static_cast<double>(_time.rtEndTime - _time.rtStartTime);
    const bool bSameRate = std::fabs(_dblRate - _dblOutputRate) <= kSameRate &&
                           (dblFrame <= 0 || std::fabs(dblFrame - dblPeriod) <= kTolerance) &&
                           !(_time.eFFlags & eZrFF_Live);
    if (dblPeriod < 1 || bSameRate) {
        _arrSlots.push_back(_time);
        dblPosition = static_cast<double>(_time.rtEndTime);
        bStarted = true;
        return;
    }
    if (!bStarted) dblPosition = dblStart;
    const double dblLate = dblStart - dblPosition;
    int64_t nSlots = 0;
    if (std::fabs(dblLate) <= kTolerance) {
        nSlots = 1;
    } else if (dblLate > 0) {
        // Only what has begun: a line that ran ahead would leave out the next frame, and so on in turn.
        nSlots = static_cast<int64_t>((dblLate + kTolerance) / dblPeriod) + 1;
    }
    // More than the rates explain: the source's clock stands or goes back, and its line goes on from here.
    if (nSlots == 0 && ++nLeftOut > std::max(std::ceil(_dblRate / _dblOutputRate), 1.0)) {
        dblPosition = dblStart;
        nSlots = 1;
    }
    if (nSlots > 0) nLeftOut = 0;
    for (int64_t n = 0; n < nSlots; ++n) {
        ZR_TIME& slot = _arrSlots.emplace_back(_time);
        slot.rtStartTime = Round(dblPosition);
        dblPosition += dblPeriod;
        slot.rtEndTime = Round(dblPosition);
    }
    if (bStarted && _dblRate > 0) {
        const double dblRegular = _dblOutputRate / _dblRate;
        bStepped = static_cast<double>(nSlots) < std::floor(dblRegular + kSameRate) ||
                   static_cast<double>(nSlots) > std::ceil(dblRegular - kSameRate);
    }
    bStarted = true;
}

}  // namespace zr
