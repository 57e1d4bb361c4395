#pragma once
// Rows of samples from one format to another. Any alignment; no byte outside the rows is touched; source and
// destination do not overlap. Interleaved channels are one row of _nSamples samples in all.
//
// Every integer sample is a number of 32 bits, n, of which the format keeps the upper ones: 8 bits with 128 added, 16
// bits, 20 or 24 in three bytes (20 in the upper bits), 32. Little-endian. Float is of full scale 1.0 and not limited.

#include <cstddef>
#include <cstdint>

namespace zr {

using SampleRow = void (*)(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples);

// float(n) * 2^-31, the nearest float, ties to even; exact up to 24 bits. "24" reads 20 bits too.
void Pcm8ToFloatRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples);
void Pcm16ToFloatRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples);
void Pcm24ToFloatRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples);
void Pcm32ToFloatRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples);

// With b bits: f * 2^(b-1) to the nearest integer, ties to even, limited to -2^(b-1)..2^(b-1)-1; 0 for what is no
// number.
void FloatToPcm8Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples);
void FloatToPcm16Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples);
void FloatToPcm20Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples);
void FloatToPcm24Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples);
void FloatToPcm32Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples);

// n itself, exact.
void Pcm8To32Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples);
void Pcm16To32Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples);
void Pcm24To32Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples);

// With b bits: min(n + 2^(31-b), 2^31 - 1) >> (32-b): rounded, a half upwards, and limited.
void Pcm32To8Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples);
void Pcm32To16Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples);
void Pcm32To20Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples);
void Pcm32To24Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples);

}  // namespace zr
