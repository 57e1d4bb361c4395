#pragma once
// Rows of the level effects. Any alignment, no byte outside the rows is touched; every instruction set gives the same
// bits. Samples that are no numbers count as 0.

#include <cstddef>

namespace zr {

// dst = src > limit ? exp2(exponent * log2(src / limit)) : 1, to within 1e-6 of it.
// Both functions by these steps, each rounded to float:
//   src / limit = m * 2^k with m in [sqrt(1/2), sqrt(2)): t = (m - 1) / (m + 1), log2 = k + t * P(t * t);
//   y = exponent * log2 kept within -126..126, n the nearest integer (ties to even): exp2 = 2^n * Q(y - n).
void PowerAboveRow(const float* _pSrc, float* _pDst, size_t _nSamples, float _fLimit, float _fExponent);

// x = x * (gain * _fFactor), limited to -1..1; in place.
void GainLimitRow(float* _pSamples, const float* _pGains, size_t _nSamples, float _fFactor);

// The largest magnitude.
float PeakRow(const float* _pSrc, size_t _nSamples);

}  // namespace zr
