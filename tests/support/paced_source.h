#pragma once
// A source with a clock of its own, whose rate, size, format, jitter and silences a test decides while it runs.

#include <atomic>
#include <cmath>
#include <functional>
#include <vector>

#include "framework/frame_factory_access.h"
#include "media/frame_time.h"
#include "media/vid_props.h"
#include "mixer/mix_clock.h"
#include "one_reader_source.h"
#include "platform/clock.h"
#include "platform/event.h"
#include "platform/lock.h"

namespace zr {

// Frame n of a line is stamped with n exact periods. A live source gives it at that time after the line's first get,
// and what nobody has fetched when the next comes is lost, which the next says with a break. Any other gives its frames
// when they are asked for. One consumer.
class PacedSource final : public OneReaderSource {
public:
    static ZrPtr<PacedSource> Make(const ZR_VID_PROPS& _vidProps, bool _bLive, int32_t _nSamples = 0) {
        auto p = ZrPtr<PacedSource>::Attach(new PacedSource(_bLive));
        p->SetFormat(_vidProps, _nSamples);
        return p;
    }
    // Another size, rate or pixel format from the next frame on, which begins a line.
    // _nPictures: that are given in turn.
    void SetFormat(const ZR_VID_PROPS& _vidProps, int32_t _nSamples = 0, size_t _nPictures = 1) {
        ZR_AV_PROPS props{_vidProps, {}, {}};
        if (_nSamples > 0) props.audProps = {2, 48000, 16, 0};
        IZrFFactory* pFactory = nullptr;
        FrameFactory(&pFactory);
        std::vector<ZrPtr<IZrFFrame>> arrNew(_nPictures);
        for (auto& pNew : arrNew) pFactory->ZrFFrameCreateFromMem(&props, 0, _nSamples, 0, pNew.Out(), nullptr);
        MutexLock lock(mtx);
        arrFrames.swap(arrNew);
        dblPeriod = FrameDurationOfRate(_vidProps.dblRate).dblExact;
        BeginLine();
    }

    std::function<int64_t(int64_t)> Late;  // ticks that frame n of a live line comes after its time; set before use
    std::function<void(int64_t, IZrFFrame&)> Furnish;  // changes frame n of a line before it is given; set before use
    enum Silence { Patient, AtOnce, Deaf };            // waits as long as it is asked to, not at all, or four seconds
    std::atomic<Silence> eSilence{Patient};            // of its stalls
    std::atomic<bool> bStalls{false};
    std::atomic<bool> bEnded{false};
    std::atomic<int64_t> nGiven{0};
    std::atomic<int64_t> nLost{0};
    std::atomic<int64_t> nBreaks{0};  // given with a break after a loss

    HRESULT NextFrame(int64_t _rtMaxWait, IZrFFrame** _ppFrame) override {
        if (bEnded.load()) return Win32Error(1100);
        const int64_t rtDeadline = DeadlineAfter(ClockNow(), _rtMaxWait);
        if (bStalls.load()) {
            const Silence eHow = eSilence.load();
            if (eHow == Deaf) SleepFor(4 * kTicksPerSecond);
            if (eHow == Patient) WaitAnyUntil({&evNever}, rtDeadline);
            return ZR_E_TIMEOUT;
        }
        if (bLive) {
            const int64_t rtDue = Due();
            if (rtDue > rtDeadline) {
                WaitAnyUntil({&evNever}, rtDeadline);
                return ZR_E_TIMEOUT;
            }
            WaitAnyUntil({&evNever}, rtDue);
        }
        return Give(_ppFrame);
    }

private:
    explicit PacedSource(bool _bLive) : bLive(_bLive) {}

    void BeginLine() ZR_REQUIRES(mtx) {
        nNext = 0;
        rtBase = -1;
    }
    int64_t At(int64_t _n) const ZR_REQUIRES(mtx) {
        return static_cast<int64_t>(std::llround(dblPeriod * static_cast<double>(_n)));
    }
    int64_t DueOf(int64_t _n) const ZR_REQUIRES(mtx) { return rtBase + At(_n) + (Late ? Late(_n) : 0); }
    int64_t Due() {
        MutexLock lock(mtx);
        if (rtBase < 0) rtBase = ClockNow();
        return DueOf(nNext);
    }
    HRESULT Give(IZrFFrame** _ppFrame) {
        MutexLock lock(mtx);
        bool bBreak = nNext == 0;
        if (bLive && rtBase >= 0 && !bBreak) {
            const int64_t nFirst = nNext;
            while (DueOf(nNext + 1) <= ClockNow()) ++nNext;
            bBreak = nNext != nFirst;
            nLost += nNext - nFirst;
            nBreaks += bBreak;
        }
        const HRESULT hr = arrFrames[static_cast<size_t>(nNext) % arrFrames.size()]->ZrFClone(
            _ppFrame, Furnish ? eZrFC_Full : eZrFC_Reference, eZrFCC_Default);
        if (Failed(hr)) return hr;
        if (Furnish) Furnish(nNext, **_ppFrame);
        ZR_TIME time;
        (*_ppFrame)->ZrFTimeGet(&time);
        time.rtStartTime = At(nNext);
        time.rtEndTime = At(nNext + 1);
        time.eFFlags = bLive ? eZrFF_Live : eZrFF_None;
        if (bBreak) time.eFFlags = WithBreak(time.eFFlags);
        (*_ppFrame)->ZrFTimeSet(&time);
        ++nNext;
        ++nGiven;
        return S_OK;
    }

    const bool bLive;
    ManualEvent evNever;
    Mutex mtx;
    std::vector<ZrPtr<IZrFFrame>> arrFrames ZR_GUARDED_BY(mtx);
    double dblPeriod ZR_GUARDED_BY(mtx) = 0;
    int64_t nNext ZR_GUARDED_BY(mtx) = 0;
    int64_t rtBase ZR_GUARDED_BY(mtx) = -1;  // when the line began
};

}  // namespace zr
