#pragma once
// The two clocks of a mixer: the output line that frames are stamped on, and the time that the scene is drawn at.

#include <cstdint>

#include "framework/lock_order.h"
#include "platform/lock.h"
#include "zr/enums.h"
#include "zr/records.h"

namespace zr {

// A time that advances by whole frames of one length: counted, not summed, so that after a day it is exact.
class FrameLine {
public:
    double Now() const { return dblBase + static_cast<double>(nFrames) * dblDuration; }
    double Next(double _dblDuration) const {
        if (_dblDuration != dblDuration) return Now() + _dblDuration;
        return dblBase + static_cast<double>(nFrames + 1) * dblDuration;
    }
    void Advance(double _dblDuration);
    void Reset() { *this = {}; }

private:
    double dblBase = 0;  // ticks, where this length of frames began
    double dblDuration = 0;
    int64_t nFrames = 0;
};

// What one cycle is stamped with.
struct MIX_STAMP {
    double dblDrawTime = 0;     // t1 in ticks: the scene is drawn as of then
    double dblCollectTime = 0;  // t2: the next cycle is laid out as of then
    int64_t rtStartTime = 0;
    int64_t rtEndTime = 0;
    bool bBreak = false;
};

// Any thread; the mix thread stamps.
class MixClock {
public:
    // The stamp of the next frame. In a pause the output line stands still. _nPauseChanges: 0 the scene goes on in a
    // pause, 1 it stands still there, 2 or more it never moves.
    MIX_STAMP Stamp(eZrState _eState, int32_t _nPauseChanges, double _dblDuration);
    // The next frame of a running mixer has the break flag.
    void SetBreakPending();
    // The output line starts again, with a break.
    void Reset();

private:
    Mutex mtx{lock_order::kClock};
    FrameLine output ZR_GUARDED_BY(mtx);
    FrameLine scene ZR_GUARDED_BY(mtx);
    bool bBreakPending ZR_GUARDED_BY(mtx) = true;
};

// Flags of a frame with the break flag set, which ends repeat and pause.
constexpr eZrFrameFlags WithBreak(eZrFrameFlags _eFlags) {
    return static_cast<eZrFrameFlags>((static_cast<uint32_t>(_eFlags) & ~0x31u) | 0x01u);
}

// The stamp of frame _nCycle of a mixer that counts from 0.
void StampByCycle(int64_t _nCycle, double _dblDuration, ZR_TIME& _time);

}  // namespace zr
