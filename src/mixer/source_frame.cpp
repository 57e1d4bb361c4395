#include "mixer/source_frame.h"

#include <algorithm>
#include <utility>

#include "mixer/mix_clock.h"

namespace zr {

namespace {

// Three times the difference of two such still fits.
int64_t Cut(int64_t _rt) {
    constexpr int64_t kMost = int64_t{1} << 60;
    return std::clamp(_rt, -kMost, kMost);
}

}  // namespace

ZrPtr<IZrFFrame> WithinReach(ZrPtr<IZrFFrame> _pFrame) {
    ZR_TIME time;
    if (!_pFrame || Failed(_pFrame->ZrFTimeGet(&time))) return _pFrame;
    const int64_t rtStart = Cut(time.rtStartTime), rtEnd = Cut(time.rtEndTime);
    if (rtStart == time.rtStartTime && rtEnd == time.rtEndTime) return _pFrame;
    ZrPtr<IZrFFrame> pCut;
    if (Failed(_pFrame->ZrFClone(pCut.Out(), eZrFC_Reference, eZrFCC_Default))) return {};
    time.rtStartTime = rtStart;
    time.rtEndTime = rtEnd;
    pCut->ZrFTimeSet(&time);
    return pCut;
}

ZrPtr<IZrFFrame> BreakClone(const ZrPtr<IZrFFrame>& _pFrame, eZrFrameClone _eParts) {
    ZrPtr<IZrFFrame> pClone;
    ZR_TIME time;
    if (!_pFrame || Failed(_pFrame->ZrFClone(pClone.Out(), _eParts, eZrFCC_Default)) ||
        Failed(pClone->ZrFTimeGet(&time))) {
        return {};
    }
    time.eFFlags = WithBreak(time.eFFlags);
    pClone->ZrFTimeSet(&time);
    return pClone;
}

}  // namespace zr
