#pragma once
// Rows of samples made louder, and added. Interleaved channels are one row. Rows may be the same, else they do not
// overlap. What is no number becomes 0.

#include <cstddef>
#include <cstdint>

namespace zr {

// dst[i] = src[i] * gain[i] to the nearest integer, ties to even, limited to 16 bits.
void GainPcm16Row(const int16_t* _pSrc, const float* _pGains, int16_t* _pDst, size_t _nSamples);
// dst[i] = src[i] * gain[i]
void GainFloatRow(const float* _pSrc, const float* _pGains, float* _pDst, size_t _nSamples);

// dst[i] += src[i], limited to 16 bits.
void AddPcm16Row(const int16_t* _pSrc, int16_t* _pDst, size_t _nSamples);
// Both at once, of two channels side by side, _nSamples each: sample i has the gain start + i * step, in doubles, as a
// float.
void AddRampStereo16Row(const int16_t* _pSrc, double _dblStart, double _dblStep, int16_t* _pDst, size_t _nSamples);
// dst[i] += src[i], limited to -1.0..1.0.
void AddFloatRow(const float* _pSrc, float* _pDst, size_t _nSamples);

}  // namespace zr
