#pragma once
// The gain of one channel: what is set, whether it is muted, and the ramp on which it gets there.

#include <cstdint>

#include "audio/sound_gain.h"

namespace zr {

// Linear in amplitude. Not guarded.
class ChannelGain {
public:
    // Goes to a gain within so many seconds, at once when they are 0 or less. On a muted channel it counts from the
    // unmuting on.
    void Set(double _dblGain, double _dblSeconds, int32_t _nRate);
    // Goes to silence, or to the gain that is set.
    void MuteSet(bool _bMute, double _dblSeconds, int32_t _nRate);
    double Gain() const { return dblSet; }  // as set, wherever the ramp is
    bool IsMuted() const { return bMuted; }
    double Current() const { return dblCurrent; }
    // The gains of the next block. A ramp that ends in it ends with its last sample, and the block behind it begins
    // with the target itself.
    CHANNEL_RAMP NextBlock(int64_t _nSamples);

private:
    void GoTo(double _dblTarget, double _dblSeconds, int32_t _nRate);

    double dblSet = 1;
    double dblTarget = 1;
    double dblStep = 0;  // a sample
    double dblCurrent = 1;
    bool bMuted = false;
};

}  // namespace zr
