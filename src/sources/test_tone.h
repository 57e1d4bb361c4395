#pragma once
// A sine tone, each sample computed from its number on the line, so that frames of any length join without a step.

#include <cstdint>
#include <string_view>

#include "zr/records.h"

namespace zr {

struct TEST_TONE {
    double dblHz = 0;         // 0: none
    double dblLevel = -20.0;  // dB of full scale, of the peak

    // "" and "false", "no", "off", "0": none. A number above 1: Hz. Any other text: 1000 Hz.
    void FrequencySet(std::u16string_view _text);
    void LevelSet(std::u16string_view _text);  // dB; above 0 counts as 0, no number as -20

    // Writes _nSamples samples into all channels. _nFirst: number of the first. A tone at or above half the sample
    // rate, or a sample size other than 16, 24, 32 and -32 bits, leaves the block as it is.
    void Write(const ZR_AUD_PROPS& _props, int64_t _nFirst, int32_t _nSamples, void* _pBlock) const;
};

}  // namespace zr
