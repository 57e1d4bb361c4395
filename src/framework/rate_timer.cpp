#include "framework/rate_timer.h"

#include <algorithm>
#include <cstdlib>

#include "media/aud_props.h"
#include "media/frame_time.h"
#include "platform/clock.h"

namespace zr {
namespace {

constexpr int64_t kMaxOffset = 3600 * kTicksPerSecond;

}  // namespace

Thirds FrameDuration(const ZR_AV_PROPS& _props, const ZR_TIME& _time, uint32_t _cbAudio) {
    const ZR_VID_PROPS& vid = _props.vidProps;
    if (vid.eVideoFormat != eZrVF_Disabled && vid.dblRate > 0) {
        return ThirdsFromDuration(FrameDurationOfRate(vid.dblRate).dblExact);
    }
    const int64_t cbBlock = AudBlockBytes(_props.audProps);
    if (_cbAudio > 0 && cbBlock > 0) {
        const double dblBytesPerSec = static_cast<double>(cbBlock) * _props.audProps.nSamplesPerSec;
        return ThirdsFromDuration(1e7 * _cbAudio / dblBytesPerSec);
    }
    int64_t rtDuration = 0;
    if (__builtin_sub_overflow(_time.rtEndTime, _time.rtStartTime, &rtDuration) || rtDuration <= 0) {
        rtDuration = kDefaultFrameDuration;
    }
    return ThirdsFromDuration(SnapFrameTime(rtDuration).dblExact);
}

void RateClock::Restart(int64_t _rtNow, int64_t _rtShown) {
    bRuns = true;
    nOrigin = 3 * (_rtNow - _rtShown);
    line.Reset();
}

RateClock::STEP RateClock::Step(int64_t _rtNow, int64_t _rtStart, Thirds _nDuration) {
    if (!bRuns) Restart(_rtNow, 0);
    // A time that does not advance at all (a frame shown again) is no small step, however short the frames are:
    // following it would send them without a wait.
    const bool bAdvances = _rtStart > rtLastStart;
    const int64_t rtGapLimit = bAdvances ? kGapLimit : std::clamp<int64_t>(_nDuration / 3 - 1, 0, kGapLimit);
    rtLastStart = _rtStart;
    const Thirds nPosition = line.Step(_rtStart, _nDuration, rtGapLimit);
    STEP step;
    step.rtDue = TicksFromThirds(nOrigin + line.Next());
    if (std::abs(step.rtDue - _rtNow) > kMaxDifference) {
        nOrigin = 3 * _rtNow - nPosition;
        step.rtDue = TicksFromThirds(3 * _rtNow + _nDuration);
        step.bResync = true;
    }
    return step;
}

// One wait, on the stack of its thread; in the timer's list until it leaves or a reset takes it out.
struct ZrRateTimer::WAITER {
    ManualEvent evReset;
    WAITER* pNext = nullptr;
};

void ZrRateTimer::Reset(int32_t _nOffset) {
    MutexLock lock(mtx);
    clock.Restart(ClockNow(), _nOffset == kFromZero ? 0 : _nOffset);
    counters = {};
    for (WAITER* p = pFirst; p; p = p->pNext) p->evReset.Set();
    pFirst = nullptr;
}

HRESULT ZrRateTimer::WaitFrame(const ZR_AV_PROPS& _props, const ZR_TIME& _time, uint32_t _cbAudio, Waitable* _pCancel,
                               int64_t _rtOffset, int64_t _rtLimit) {
    const Thirds nDuration = FrameDuration(_props, _time, _cbAudio);
    WAITER self;
    int64_t rtDue = 0;
    {
        MutexLock lock(mtx);
        const int64_t rtNow = ClockNow();
        const RateClock::STEP step = clock.Step(rtNow, _time.rtStartTime, nDuration);
        counters.nResyncs += step.bResync ? 1 : 0;
        rtDue = step.rtDue + std::clamp(_rtOffset, -kMaxOffset, kMaxOffset);
        if (rtDue <= rtNow) {
            ++counters.nLate;
            return S_OK;
        }
        if (_rtLimit == 0) return S_OK;
        if (_rtLimit > 0) rtDue = std::min(rtDue, DeadlineAfter(rtNow, _rtLimit));
        ++counters.nWaits;
        self.pNext = pFirst;
        pFirst = &self;
    }
    const int32_t nEnd = WaitAnyUntil({_pCancel, &self.evReset}, rtDue);
    MutexLock lock(mtx);
    for (WAITER** pp = &pFirst; *pp; pp = &(*pp)->pNext) {
        if (*pp != &self) continue;
        *pp = self.pNext;
        break;
    }
    return nEnd == kWaitTimeout ? S_OK : S_FALSE;
}

HRESULT ZrRateTimer::WaitFrame(IZrFrame* _pFrame, Waitable* _pCancel, int64_t _rtOffset, int64_t _rtLimit) {
    if (!_pFrame) return E_POINTER;
    ZR_AV_PROPS props;
    ZR_TIME time;
    int32_t cbAudio = 0;
    int64_t pbAudio = 0;
    HRESULT hr = _pFrame->FrameAVPropsGet(&props);
    if (Succeeded(hr)) hr = _pFrame->FrameTimeGet(&time);
    if (Succeeded(hr)) hr = _pFrame->FrameAudioGetBytes(&cbAudio, &pbAudio);
    if (Failed(hr)) return hr;
    return WaitFrame(props, time, static_cast<uint32_t>(std::max(cbAudio, 0)), _pCancel, _rtOffset, _rtLimit);
}

HRESULT ZrRateTimer::WaitFrame(IZrFFrame* _pFrame, Waitable* _pCancel, int64_t _rtOffset, int64_t _rtLimit) {
    if (!_pFrame) return E_POINTER;
    ZRF_FRAME_INFO info;
    if (const HRESULT hr = _pFrame->ZrFAllGet(&info); Failed(hr)) return hr;
    return WaitFrame(info.avProps, info.mTime, info.cbAudio, _pCancel, _rtOffset, _rtLimit);
}

ZrRateTimer::COUNTERS ZrRateTimer::Counters() {
    MutexLock lock(mtx);
    return counters;
}

}  // namespace zr
