#pragma once
// Blocks of sound of one format added up, each with its gain.

#include <cstdint>
#include <vector>

#include "audio/sound_gain.h"
#include "zr/records.h"

namespace zr {

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
