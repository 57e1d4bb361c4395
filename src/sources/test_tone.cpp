#include "sources/test_tone.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include "platform/wide_text.h"

namespace zr {

void TEST_TONE::FrequencySet(std::u16string_view _text) {
    dblHz = 0;
    for (const char16_t* szOff : {u"", u"false", u"no", u"off", u"0"})
        if (EqualNoCase(_text, szOff)) return;
    size_t nUsed = 0;
    const double dbl = ParseDouble(_text, &nUsed);
    dblHz = nUsed > 0 && std::isfinite(dbl) && dbl > 1 && dbl < 1e6 ? dbl : 1000.0;
}

void TEST_TONE::LevelSet(std::u16string_view _text) {
    size_t nUsed = 0;
    const double dbl = ParseDouble(_text, &nUsed);
    dblLevel = nUsed > 0 && std::isfinite(dbl) ? std::min(dbl, 0.0) : -20.0;
}

void TEST_TONE::Write(const ZR_AUD_PROPS& _props, int64_t _nFirst, int32_t _nSamples, void* _pBlock) const {
    const int nBits = _props.nBitsPerSample;
    if (dblHz <= 0 || 2 * dblHz >= _props.nSamplesPerSec || (nBits != 16 && nBits != 24 && std::abs(nBits) != 32))
        return;
    const double dblRate = _props.nSamplesPerSec, dblPeak = std::pow(10.0, dblLevel / 20);
    const double dblScale = nBits > 0 ? std::ldexp(1.0, nBits - 1) - 1 : 1.0;
    const size_t cb = static_cast<size_t>(std::abs(nBits) / 8);
    auto* pOut = static_cast<uint8_t*>(_pBlock);
    for (int32_t i = 0; i < _nSamples; ++i) {
        // Whole turns go before the angle is taken: exact for days of sound.
        const double dblTurns = std::fmod(dblHz * static_cast<double>(_nFirst + i), dblRate) / dblRate;
        const double dbl = dblScale * dblPeak * std::sin(2 * std::numbers::pi * dblTurns);
        uint8_t arrBytes[4];
        if (nBits > 0) {
            const auto n = static_cast<int32_t>(std::lround(dbl));
            std::memcpy(arrBytes, &n, sizeof n);
        } else {
            const auto f = static_cast<float>(dbl);
            std::memcpy(arrBytes, &f, sizeof f);
        }
        for (int32_t c = 0; c < _props.nChannels; ++c, pOut += cb) std::memcpy(pOut, arrBytes, cb);
    }
}

}  // namespace zr
