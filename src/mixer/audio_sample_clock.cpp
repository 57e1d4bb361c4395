#include "mixer/audio_sample_clock.h"

#include <algorithm>

#include "media/frame_time.h"
#include "platform/clock.h"

namespace zr {

int32_t AudioSampleClock::SamplesByTime(const ZR_TIME& _time, int32_t _nRate, int64_t _rtGapLimit) {
    constexpr int64_t kShortest = 50'000;  // ticks; a frame that ends sooner has no usable end
    if (_nRate < 1) return 0;
    const bool bGap = rtLast != kUnset &&
                      (_time.rtStartTime < rtLast || (_rtGapLimit > 0 && _time.rtStartTime - rtLast > _rtGapLimit));
    if ((_time.eFFlags & eZrFF_Break) || bGap) rtLast = kUnset;

    const int64_t rtFrom = rtLast != kUnset ? rtLast : _time.rtStartTime;
    const int64_t rtTo =
        _time.rtEndTime > _time.rtStartTime + kShortest ? _time.rtEndTime : _time.rtStartTime + kDefaultFrameDuration;
    rtLast = std::max(rtTo, rtLast);

    const double dblSpan = static_cast<double>(std::max<int64_t>(rtTo - rtFrom, 0)) + rtCarry;
    const auto rtWhole = static_cast<int64_t>(dblSpan);
    const int64_t nSamples = rtWhole / kTicksPerSecond * _nRate + rtWhole % kTicksPerSecond * _nRate / kTicksPerSecond;
    rtCarry = dblSpan - static_cast<double>(nSamples) * static_cast<double>(kTicksPerSecond) / _nRate;
    return static_cast<int32_t>(std::min<int64_t>(nSamples, std::numeric_limits<int32_t>::max()));
}

}  // namespace zr
