#pragma once
// What the flags of a frame say about the time line, for those that pass frames on.

#include "zr/frame.h"

namespace zr {

inline bool HasFlags(const ZR_TIME& _time, eZrFrameFlags _eFlags) { return (_time.eFFlags & _eFlags) == _eFlags; }

// The bits of eZrFF_Break, eZrFF_Dup and eZrFF_Pause.
inline constexpr uint32_t kBreakKinds = 0x31;

// A frame at which the time line really begins anew: no repeat, and not held.
inline bool IsRestart(const ZR_TIME& _time) { return (_time.eFFlags & kBreakKinds) == eZrFF_Break; }

enum MarkPause : bool { kReplacePause, kKeepPause };

// Makes the frame, which nobody else has yet, a break. kKeepPause: unless it is a held one.
inline HRESULT MarkBreak(IZrFFrame& _frame, MarkPause _ePause) {
    ZR_TIME time;
    const HRESULT hr = _frame.ZrFTimeGet(&time);
    if (Failed(hr) || (_ePause == kKeepPause && HasFlags(time, eZrFF_Pause))) return hr;
    time.eFFlags = static_cast<eZrFrameFlags>((time.eFFlags & ~kBreakKinds) | eZrFF_Break);
    return _frame.ZrFTimeSet(&time);
}

}  // namespace zr
