#pragma once
// One channel taken out of interleaved ones.

#include <cstddef>
#include <cstdint>

namespace zr {

// dst[i] = the _cbSample bytes at _pSrc + i * _cbStep: samples of 1 to 4 bytes, side by side; others do nothing. Any
// alignment; nothing is read behind the last sample. The rows do not overlap.
void TakeChannelRow(size_t _cbSample, const uint8_t* _pSrc, size_t _cbStep, uint8_t* _pDst, size_t _nSamples);

}  // namespace zr
