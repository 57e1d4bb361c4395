#include "mixer/mixer_stream.h"

#include <algorithm>
#include <cmath>

#include "platform/clock.h"

namespace zr {
namespace {

int64_t TicksOfSeconds(double _dblSeconds) {
    constexpr double kMost = 9e18;
    return static_cast<int64_t>(std::round(std::fmin(_dblSeconds * static_cast<double>(kTicksPerSecond), kMost)));
}

}  // namespace

ZrMixerStream::ZrMixerStream(std::u16string_view _id, IStatisticsSink& _statistics, BlockSet& _blocks)
    : id(_id),
      statistics(_statistics),
      blocks(_blocks),
      counters([&] {
          const auto Counter = [&](std::u16string_view _prefix) {
              return _statistics.Resolve((std::u16string(_prefix) + id).c_str());
          };
          return COUNTERS{Counter(u"dups."),        Counter(u"pauses."),        Counter(u"breaks."),
                          Counter(u"user_breaks."), Counter(u"skipped_video."), Counter(u"put_frame."),
                          Counter(u"plugins.")};
      }()),
      audio(id, _statistics) {}

void ZrMixerStream::NotePut(double _dblMs, bool _bSkipped) {
    statistics.SetValue(counters.nPutFrame, _dblMs);
    const auto rt = static_cast<int64_t>(_dblMs * static_cast<double>(kTicksPerMs));
    rtLastPut.store(_bSkipped ? 0 : rt, std::memory_order_relaxed);
    rtLastPutAlone.store(rt, std::memory_order_relaxed);
}

void ZrMixerStream::ReleaseNumbers() {
    for (const IStatisticsSink::Handle handle :
         {counters.nDups, counters.nPauses, counters.nBreaks, counters.nUserBreaks, counters.nSkipped,
          counters.nPutFrame, counters.nPlugins})
        statistics.Release(handle);
    audio.ReleaseNumbers();
}

// --- Mix thread

bool ZrMixerStream::HangsInAsk() const {
    const int64_t rtSince = rtAskedSince.load(std::memory_order_relaxed);
    return rtSince != kNever && ClockNow() - rtSince >= kStalledAfter;
}

void ZrMixerStream::ResetGains() {
    dblVisibleGain.store(0, std::memory_order_relaxed);
    dblAudioGain.store(0, std::memory_order_relaxed);
}

void ZrMixerStream::AddGains(double _dblVisible, double _dblAudio) {
    dblVisibleGain.store(VisibleGain() + _dblVisible, std::memory_order_relaxed);
    dblAudioGain.store(AudioGain() + _dblAudio, std::memory_order_relaxed);
}

void ZrMixerStream::MarkConsumed(int32_t _nWaitState, int64_t _rtFrame, ZR_TIME* _pTime) {
    MutexLock lock(mtxFrame);
    if (IsPaused()) {
        if (rtPauseRemainder < 1) {
            evReady.Set();
        } else {
            const int64_t rtOwn = lastTime.rtEndTime - lastTime.rtStartTime;
            rtPauseRemainder -= rtOwn > 0 ? rtOwn : _rtFrame;
            if (rtPauseRemainder > 0) {
                evReady.Set();
            } else {
                evReady.Reset();
                evRunning.Set();
                rtPauseRemainder = 0;
            }
        }
    } else if (bWaitBreak) {
        evReady.Set();
    } else {
        evReady.Reset();
    }
    evTake.Set();
    if (_nWaitState >= kUnknown) nWaitState.store(_nWaitState, std::memory_order_relaxed);
    if (_pTime) *_pTime = lastTime;
}

bool ZrMixerStream::TakeCaptions(IZrFFrame* _pFrame) {
    MutexLock lock(mtxFrame);
    size_t cb = 0;
    const uint8_t* const pb = captions.First(&cb);
    if (cb == 0) return false;
    _pFrame->ZrFDataSet(kCaptionsId, static_cast<int32_t>(cb), reinterpret_cast<int64_t>(pb));
    captions.Drop();
    return true;
}

// --- Blocks

void ZrMixerStream::ClearBlocks() {
    blocks.Clear(this, false);
    Keep({});
    MutexLock lock(mtxFrame);
    bOpen.store(false, std::memory_order_release);
    bWaitBreak = true;
    evStop.Set();
    evReady.Set();
}

ZR_VID_PROPS ZrMixerStream::LastVideoProps() const {
    MutexLock lock(mtxFrame);
    return vidProps;
}

CAutoObj<IZrFFrame> ZrMixerStream::LastFrame() const {
    MutexLock lock(mtxFrame);
    return pLastFrame;
}

double ZrMixerStream::Rate() const {
    MutexLock lock(mtxFrame);
    return dblRate;
}

// --- Control

void ZrMixerStream::Connect() {
    MutexLock lock(mtxFrame);
    if (IsOpen()) return;
    // A source that plays on knows nothing of the stop, so that no break would come.
    bWaitBreak = false;
    audio.Clear();
    evStop.Reset();
    bOpen.store(true, std::memory_order_release);
}

void ZrMixerStream::Pause(double _dblSeconds) {
    {
        MutexLock lock(mtxFrame);
        if (_dblSeconds < 0) {
            evRunning.Set();
            rtPauseRemainder = 0;
            return;
        }
        if (IsPaused()) {
            evRunning.Pulse();
        } else {
            evRunning.Reset();
            evReady.Set();
        }
        rtPauseRemainder = TicksOfSeconds(_dblSeconds);
    }
    audio.MarkResumed();
}

void ZrMixerStream::Close(bool _bClose) {
    CAutoObj<IZrFFrame> pGone, pKeptGone;
    MutexLock lock(mtxFrame);
    if (_bClose) {
        if (bTransitionHold) return;
        captions.Clear();
        bWaitBreak = true;
        evStop.Set();
        audio.Clear();
        std::swap(pGone, pLastFrame);
        std::swap(pKeptGone, pKept);
    } else {
        if (!evStop.IsSet()) return;
        evStop.Reset();
    }
    evReady.Set();
    if (CaptionLevel() < 2) nCaptionLevel.store(0, std::memory_order_relaxed);
}

void ZrMixerStream::HoldForTransition(bool _bHold) {
    MutexLock lock(mtxFrame);
    bTransitionHold = _bHold;
}

}  // namespace zr
