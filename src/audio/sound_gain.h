#pragma once
// Samples made louder or softer, each channel by a gain of its own that may move in the course of a block.

#include <cstdint>
#include <span>
#include <vector>

#include "zr/records.h"

namespace zr {

// A gain that goes from one value to another in the course of a block, linear.
struct GAIN_RAMP {
    double dblStart = 1;
    double dblEnd = 1;
    bool IsUnity() const { return dblStart == 1 && dblEnd == 1; }
    bool IsSilent() const { return dblStart == 0 && dblEnd == 0; }
};

// The same by its step: sample i of the block has the gain start + i * step.
struct CHANNEL_RAMP {
    double dblStart = 1;
    double dblStep = 0;
    bool IsUnity() const { return dblStart == 1 && dblStep == 0; }
    bool operator==(const CHANNEL_RAMP&) const = default;
};

// The gain counts as a float. 16-bit samples are rounded and saturate, other integers pass through float; a channel of
// unity gain keeps its samples bit for bit. Memory only grows. One thread at a time; throws std::bad_alloc.
class SoundGain {
public:
    // Interleaved samples, of all channels or of one (_nChannel, -1: all).
    void Apply(const ZR_AUD_PROPS& _props, uint8_t* _p, int64_t _nSamples, const GAIN_RAMP& _ramp,
               int32_t _nChannel = -1);
    // A gain for each of some channels that lie side by side among others: _p is the first sample of the first one, the
    // next sample of the same channel is _cbStep bytes on. _nBits: nBitsPerSample of ZR_AUD_PROPS.
    void Apply(int32_t _nBits, uint8_t* _p, size_t _cbStep, std::span<const CHANNEL_RAMP> _arrRamps, size_t _nSamples);

private:
    void ApplyToRow(int32_t _nBits, uint8_t* _p, size_t _n);
    void ApplyToChannel(int32_t _nBits, uint8_t* _pFirst, size_t _cbStep, size_t _nSamples);
    void FillGains(std::span<const CHANNEL_RAMP> _arrRamps, size_t _nSamples);

    std::vector<float> arrGains;   // interleaved as the samples are
    std::vector<float> arrFloats;  // the row as floats
    std::vector<uint8_t> arrRow;   // one channel
    // What arrGains holds, when no gain moves.
    std::vector<CHANNEL_RAMP> arrFilled;
    size_t nFilled = 0;
};

}  // namespace zr
