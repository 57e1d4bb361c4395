#include "mixer/async_pace.h"

#include <cmath>

namespace zr {

int64_t PaceHistory::Interval(int64_t _rtNow, int64_t _rtFrame, bool _bReceiverPaces, double _dblFixedDiv) {
    if (_rtFrame != rtFrameBefore) {
        rtFrameBefore = _rtFrame;
        Reset();
    }
    Add(_rtNow);
    int64_t rtInterval = -((arrStamps[nFirst] - _rtNow) + _rtFrame * static_cast<int64_t>(nCount));
    if (_bReceiverPaces) rtInterval = std::llround(static_cast<double>(rtInterval) / 1.1);
    if (_dblFixedDiv > 0.00001) return std::llround(static_cast<double>(-_rtFrame) / _dblFixedDiv);
    if (rtInterval > -_rtFrame / 2) Reset();
    return rtInterval;
}

void PaceHistory::Add(int64_t _rtNow) {
    if (nCount == 0) nFirst = 0;
    if (nCount == kMost) {
        nFirst = (nFirst + 1) % kMost;
        --nCount;
    }
    arrStamps[(nFirst + nCount++) % kMost] = _rtNow;
}

}  // namespace zr
