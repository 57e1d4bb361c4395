#pragma once
// What a level meter sums up over a row of samples of one channel. Any alignment; at most 512 samples.
//
// Floats are added in eight partial sums, sample i to sum i modulo 8, each product rounded before it is added; then sum
// k takes in sum k + 4, k + 2, k + 1. Every instruction set gives the same bits.

#include <cstddef>
#include <cstdint>

namespace zr {

struct LEVEL_SUMS {
    float fSquares = 0;
    float fPeak = 0;                // largest magnitude
    float fFirst = 0, fSecond = 0;  // of magnitude times weight
};
struct LEVEL_SUMS_16 {
    uint64_t nSquares = 0;          // exact
    int32_t nPeak = 0;              // up to 32768
    float fFirst = 0, fSecond = 0;  // of float(magnitude) times weight
    bool operator==(const LEVEL_SUMS_16&) const = default;
};

void LevelRow32f(const float* _pSrc, const float* _pFirst, const float* _pSecond, size_t _nSamples, LEVEL_SUMS* _pSums);
void LevelRow16s(const int16_t* _pSrc, const float* _pFirst, const float* _pSecond, size_t _nSamples,
                 LEVEL_SUMS_16* _pSums);
// The same for two channels side by side, _nSamples each; _pSums: two records.
void LevelRowStereo16s(const int16_t* _pSrc, const float* _pFirst, const float* _pSecond, size_t _nSamples,
                       LEVEL_SUMS_16* _pSums);

// Taps of one interpolated place between two samples.
inline constexpr size_t kTruePeakTaps = 16;
// The largest magnitude at the three places: of the sums over k, in their order, of tap k times sample i + k, for each
// i below _nSamples; each product is rounded before it is added. Reads _nSamples + kTruePeakTaps - 1 samples; a sum
// that is no number is left out.
float TruePeakRow(const float* _pSrc, size_t _nSamples, const float (*_pTaps)[kTruePeakTaps]);

}  // namespace zr
