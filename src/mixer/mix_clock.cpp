#include "mixer/mix_clock.h"

#include <cmath>

namespace zr {
namespace {

int64_t Round(double _dbl) { return static_cast<int64_t>(std::round(_dbl)); }

}  // namespace

void FrameLine::Advance(double _dblDuration) {
    if (_dblDuration != dblDuration) {
        dblBase = Now();
        dblDuration = _dblDuration;
        nFrames = 0;
    }
    ++nFrames;
}

MIX_STAMP MixClock::Stamp(eZrState _eState, int32_t _nPauseChanges, double _dblDuration) {
    const bool bPaused = _eState == eZrS_Paused;
    MIX_STAMP stamp;
    MutexLock lock(mtx);
    stamp.dblDrawTime = scene.Now();
    if (_nPauseChanges < (bPaused ? 1 : 2)) scene.Advance(_dblDuration);
    stamp.dblCollectTime = scene.Now();
    stamp.rtStartTime = Round(output.Now());
    stamp.rtEndTime = Round(output.Next(_dblDuration));
    stamp.bBreak = bPaused || bBreakPending;
    if (!bPaused) {
        output.Advance(_dblDuration);
        bBreakPending = false;
    }
    return stamp;
}

void MixClock::SetBreakPending() {
    MutexLock lock(mtx);
    bBreakPending = true;
}

void MixClock::Reset() {
    MutexLock lock(mtx);
    output.Reset();
    bBreakPending = true;
}

void StampByCycle(int64_t _nCycle, double _dblDuration, ZR_TIME& _time) {
    _time.rtStartTime = Round(_dblDuration * static_cast<double>(_nCycle));
    _time.rtEndTime = Round(_dblDuration * static_cast<double>(_nCycle + 1));
}

}  // namespace zr
