#include "audio/channel_gain.h"

#include <cmath>

namespace zr {

void ChannelGain::Set(double _dblGain, double _dblSeconds, int32_t _nRate) {
    dblSet = _dblGain;
    if (!bMuted) GoTo(_dblGain, _dblSeconds, _nRate);
}

void ChannelGain::MuteSet(bool _bMute, double _dblSeconds, int32_t _nRate) {
    bMuted = _bMute;
    GoTo(_bMute ? 0 : dblSet, _dblSeconds, _nRate);
}

void ChannelGain::GoTo(double _dblTarget, double _dblSeconds, int32_t _nRate) {
    const double dblSamples = _dblSeconds > 0 ? std::round(_dblSeconds * _nRate) : 0;
    dblTarget = _dblTarget;
    dblStep = 0;
    if (dblSamples >= 1) dblStep = (dblTarget - dblCurrent) / dblSamples;
    if (dblStep == 0) dblCurrent = dblTarget;
}

CHANNEL_RAMP ChannelGain::NextBlock(int64_t _nSamples) {
    if (dblStep == 0 || _nSamples <= 0) return {dblCurrent, 0};
    const auto n = static_cast<double>(_nSamples);
    // What is left of less than half a sample is the rounding of the steps before.
    const double dblEnd = dblCurrent + dblStep * n + dblStep / 2;
    const bool bReached = dblStep >= 0 ? dblEnd >= dblTarget : dblTarget >= dblEnd;
    const CHANNEL_RAMP ramp{dblCurrent, bReached ? (dblTarget - dblCurrent) / n : dblStep};
    dblCurrent = bReached ? dblTarget : dblCurrent + dblStep * n;
    if (bReached) dblStep = 0;
    return ramp;
}

}  // namespace zr
