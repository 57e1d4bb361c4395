#include "media/frame_time.h"

#include <cmath>
#include <limits>

#include "platform/wide_text.h"

namespace zr {
namespace {

constexpr double kTicksPerSecond = 1e7;

// Durations from rtFirst on and below rtEnd are taken for the exact one.
struct STANDARD_DURATION {
    int64_t rtFirst;
    int64_t rtEnd;
    int64_t rtDuration;
    double dblExact;
};
constexpr STANDARD_DURATION arrStandard[] = {
    {166600, 166700, 166667, kTicksPerSecond / 60},           {166800, 166900, 166833, kTicksPerSecond * 1001 / 60000},
    {199950, 200050, 200000, kTicksPerSecond / 50},           {333300, 333400, 333333, kTicksPerSecond / 30},
    {333600, 333700, 333667, kTicksPerSecond * 1001 / 30000}, {399950, 400050, 400000, kTicksPerSecond / 25},
    {416600, 416700, 416667, kTicksPerSecond / 24},           {417000, 417200, 417083, kTicksPerSecond * 1001 / 24000},
};

}  // namespace

FRAME_DURATION SnapFrameTime(int64_t _rtDuration) {
    for (const STANDARD_DURATION& standard : arrStandard)
        if (_rtDuration >= standard.rtFirst && _rtDuration < standard.rtEnd)
            return {standard.rtDuration, standard.dblExact, true};
    return {_rtDuration, static_cast<double>(_rtDuration), false};
}

FRAME_DURATION FrameDurationOfRate(double _dblRate) {
    if (!(_dblRate > 0)) return SnapFrameTime(kDefaultFrameDuration);
    const double dblTicks = std::round(kTicksPerSecond / _dblRate);
    constexpr double kTooLong = 9.2e18;  // does not fit 64 bits
    return SnapFrameTime(dblTicks < kTooLong ? static_cast<int64_t>(dblTicks) : std::numeric_limits<int64_t>::max());
}

std::u16string TimeText(int64_t _rtTime) {
    if (_rtTime == std::numeric_limits<int64_t>::min()) return u"-";
    if (_rtTime == std::numeric_limits<int64_t>::max()) return u"*";
    constexpr uint64_t kTicks = 10'000'000;
    const uint64_t nTicks = static_cast<uint64_t>(_rtTime < 0 ? -_rtTime : _rtTime);
    std::u16string text;
    if (_rtTime < 0) text += u'-';
    AppendPadded(text, nTicks / kTicks, 1);
    text += u'.';
    AppendPadded(text, nTicks % kTicks / 10'000, 3);
    if (nTicks % 10'000 != 0) {
        text += u'\'';
        AppendPadded(text, nTicks % 10'000, 4);
    }
    return text;
}

}  // namespace zr
