#include "framework/time_normaliser.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace zr {
namespace {

constexpr int64_t kTicksPerDay = 864'000'000'000;
constexpr int64_t kLongest = 10 * kTicksPerDay;
constexpr Thirds kLineEnd = INT64_MAX / 2;  // 4900 years; the line stands still there, so that no sum overflows

// Frame times are whole ticks: two of them, rounded or cut, lie up to a tick off their exact distance. A difference no
// larger is rounding and not movement.
constexpr Thirds kRounding = 3;

// The distance from _rtFrom to _rtTo, cut to +-kLongest; the two may be any int64.
int64_t CutDistance(int64_t _rtFrom, int64_t _rtTo) {
    const bool bForward = _rtTo >= _rtFrom;
    const uint64_t nFrom = static_cast<uint64_t>(_rtFrom), nTo = static_cast<uint64_t>(_rtTo);
    const uint64_t nDistance = bForward ? nTo - nFrom : nFrom - nTo;
    const int64_t rtCut = nDistance > static_cast<uint64_t>(kLongest) ? kLongest : static_cast<int64_t>(nDistance);
    return bForward ? rtCut : -rtCut;
}

}  // namespace

Thirds ThirdsFromDuration(double _dblTicks) {
    if (!(_dblTicks > 0)) return 0;
    if (_dblTicks > static_cast<double>(kLongest)) return 3 * kLongest;
    return std::llround(_dblTicks * 3);
}

Thirds TimeNormaliser::Step(int64_t _rtStart, Thirds _nDuration, int64_t _rtGapLimit) {
    Thirds nPosition = nNext;
    nFrameTime += bStarted ? 3 * CutDistance(rtLastStart, _rtStart) : 0;
    const Thirds nGap = std::abs(nFrameTime - nNext);
    const int64_t rtLimit = std::min(_rtGapLimit, kLongest / 2);
    if (!bStarted || nGap > 3 * rtLimit) {
        nFrameTime = nNext;
    } else if (nGap > kRounding) {
        nPosition = nFrameTime;
    }
    bStarted = true;
    rtLastStart = _rtStart;
    nNext = std::min(nPosition + _nDuration, kLineEnd);
    return nPosition;
}

}  // namespace zr
