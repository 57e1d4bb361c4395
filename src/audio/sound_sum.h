#pragma once
// Blocks of sound of one format added up, each with its gain.

#include <cstdint>
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

// Multiplies the samples of all channels, or of one (_nChannel, -1: all): sample i of n by start + i (end-start)/n, as
// a float; 16-bit samples are rounded and saturate, other integers pass through float. Throws std::bad_alloc.
class SoundGain {
public:
    void Apply(const ZR_AUD_PROPS& _props, uint8_t* _p, int64_t _nSamples, const GAIN_RAMP& _ramp,
               int32_t _nChannel = -1);

private:
    std::vector<float> arrGains, arrFloat;
};

// 16-bit samples add with saturation; all others as floats, limited to full scale. Memory only grows. One thread at a
// time; throws std::bad_alloc.
class SoundSum {
public:
    // _p: _nSamples samples of each channel, to which is added; the result is there when End was called.
    void Begin(const ZR_AUD_PROPS& _props, uint8_t* _p, int64_t _nSamples);
    // Adds a block of _nSamples at most, which is changed. It stands at the begin of the sum.
    void Add(uint8_t* _p, int64_t _nSamples, const GAIN_RAMP& _ramp);
    void End();

private:
    ZR_AUD_PROPS props;
    uint8_t* pSum = nullptr;
    int64_t nSamples = 0;
    bool bAdded = false;
    SoundGain gain;
    std::vector<float> arrSum, arrBlock;
};

}  // namespace zr
