#pragma once
// Holds a sender to real time: each frame waits until its time has passed, without drift.

#include <cstdint>
#include <limits>

#include "framework/lock_order.h"
#include "framework/time_normaliser.h"
#include "platform/event.h"
#include "platform/lock.h"
#include "platform/ref_object.h"
#include "zr/frame.h"
#include "zr/records.h"

namespace zr {

// How long a frame lasts: by its video rate; without video by its audio (_cbAudio bytes); else by its own times; else
// the period of 29.97 frames a second. The periods of the common rates are exact to the third of a tick.
Thirds FrameDuration(const ZR_AV_PROPS& _props, const ZR_TIME& _time, uint32_t _cbAudio);

// The arithmetic of the rate timer: when a frame has passed, by a clock that runs along the positions of the frames.
// A function of its inputs; used under its owner's lock.
class RateClock {
public:
    // Where the clock and the frames part by more than this, the clock is set to the frame.
    static constexpr int64_t kMaxDifference = 10'000'000;  // 1 s
    // Gaps between frames up to this are part of the pace; larger ones are not.
    static constexpr int64_t kGapLimit = 100'000;  // 10 ms

    struct STEP {
        int64_t rtDue = 0;  // when this frame has passed and the next one may go; may lie before _rtNow
        bool bResync = false;
    };

    // The next frame has position 0, and the clock shows _rtShown (in ticks) at _rtNow.
    void Restart(int64_t _rtNow, int64_t _rtShown);
    // Takes the next frame. A clock that was never restarted starts with it.
    STEP Step(int64_t _rtNow, int64_t _rtStart, Thirds _nDuration);

private:
    bool bRuns = false;
    int64_t rtLastStart = std::numeric_limits<int64_t>::min();
    Thirds nOrigin = 0;  // the time at which the clock shows 0
    TimeNormaliser line;
};

// Safe from any thread; meant for one thread that waits.
class ZrRateTimer : public AutoObjBase<ZrRateTimer> {
public:
    // For Reset: the clock shows 0.
    static constexpr int32_t kFromZero = std::numeric_limits<int32_t>::min();  // 0x80000000

    // Since the last Reset.
    struct COUNTERS {
        int64_t nWaits = 0;    // frames that waited
        int64_t nLate = 0;     // frames whose time had passed already
        int64_t nResyncs = 0;  // frames to which the clock was set
    };

    // Restarts the clock, which then shows _nOffset ticks or 0 for kFromZero; the next frame has position 0, so that it
    // has passed one duration (less _nOffset) from now. Ends a wait that is under way. Zeros the counters.
    void Reset(int32_t _nOffset);

    // Waits until the frame has passed: until the next one is due. _cbAudio: bytes of its audio. _pCancel (may be null)
    // ends the wait. _rtOffset: ticks by which this frame's wait ends later, earlier when negative; the next frame's
    // does not change. _rtLimit: 0 does not wait but keeps the pace, positive waits no longer than so many ticks.
    // S_OK: the time has come. S_FALSE: the wait was ended before, by _pCancel or by Reset.
    HRESULT WaitFrame(const ZR_AV_PROPS& _props, const ZR_TIME& _time, uint32_t _cbAudio, Waitable* _pCancel,
                      int64_t _rtOffset, int64_t _rtLimit);
    // The same, with what the frame says of itself. E_POINTER: no frame; or the frame's failure.
    HRESULT WaitFrame(IZrFrame* _pFrame, Waitable* _pCancel, int64_t _rtOffset, int64_t _rtLimit);
    HRESULT WaitFrame(IZrFFrame* _pFrame, Waitable* _pCancel, int64_t _rtOffset, int64_t _rtLimit);

    COUNTERS Counters();

private:
    Mutex mtx{lock_order::kRateTimer};
    RateClock clock ZR_GUARDED_BY(mtx);
    COUNTERS counters ZR_GUARDED_BY(mtx);
    struct WAITER;
    WAITER* pFirst ZR_GUARDED_BY(mtx) = nullptr;  // those that Reset is to release: no wait that begins after it
};

}  // namespace zr
