#include "audio/audio_calc.h"

#include <algorithm>

#include "media/aud_props.h"
#include "media/frame_time.h"
#include "platform/clock.h"

namespace zr {

int64_t ZrAudioCalc::SamplesByTime(const ZR_AUD_PROPS& _props, const ZR_TIME& _time, eZrFrameFlags _eFlags,
                                   int64_t _rtMaxGap, int64_t* _pnSamples) {
    constexpr int64_t kShortest = 50'000;            // ticks; a frame that ends sooner has no usable end
    constexpr int64_t kFarthest = int64_t{1} << 60;  // sums and differences of times stay in range
    const int64_t rtStart = std::clamp(_time.rtStartTime, -kFarthest, kFarthest);
    const int64_t rtEnd = std::clamp(_time.rtEndTime, -kFarthest, kFarthest);
    const bool bBreak = (_time.eFFlags | _eFlags) & eZrFF_Break;
    if (bBreak || (rtLast != kUnset && (rtStart < rtLast || (_rtMaxGap > 0 && rtStart - rtLast > _rtMaxGap))))
        rtLast = kUnset;

    const int64_t rtFrom = rtLast != kUnset ? rtLast : rtStart;
    const int64_t rtTo = rtEnd > rtStart + kShortest ? rtEnd : rtStart + kDefaultFrameDuration;
    rtLast = std::max(rtTo, rtLast);
    return SamplesByDuration(_props, rtTo - rtFrom, _pnSamples, false);
}

int64_t ZrAudioCalc::SamplesByDuration(const ZR_AUD_PROPS& _props, int64_t _rtDuration, int64_t* _pnSamples,
                                       bool _bResetCarry) {
    constexpr int64_t kLongest = 86'400 * kTicksPerSecond;
    if (_pnSamples) *_pnSamples = 0;
    if (_bResetCarry) dblCarry = 0;
    if (!AudUsable(_props) || _props.nChannels > kMaxAudioChannels) return 0;
    const int64_t nRate = _props.nSamplesPerSec;
    const double dblSpan = static_cast<double>(std::clamp<int64_t>(_rtDuration, 0, kLongest)) + dblCarry;
    const auto rtWhole = static_cast<int64_t>(dblSpan);
    const int64_t nSamples = rtWhole / kTicksPerSecond * nRate + rtWhole % kTicksPerSecond * nRate / kTicksPerSecond;
    dblCarry =
        dblSpan - static_cast<double>(nSamples) * static_cast<double>(kTicksPerSecond) / static_cast<double>(nRate);
    if (_pnSamples) *_pnSamples = nSamples;
    return nSamples * AudBlockBytes(_props);
}

}  // namespace zr
