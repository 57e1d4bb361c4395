#pragma once
// Samples of one format to another, whatever the two are.

#include <cstddef>
#include <cstdint>

#include "platform/status.h"

namespace zr {

// _nSamples samples (of all channels) of _nSrcBits at _pSrc become samples of _nDstBits at _pDst; both are
// nBitsPerSample of ZR_AUD_PROPS: 8, 16, 20, 24, 32, -32. Integers become shorter by rounding and longer exactly; see
// kernels/sample_row.h for the formulas. The rows do not overlap. ZR_E_NOT_SUPPORTED: other bits, nothing done.
HRESULT ConvertSamples(int32_t _nSrcBits, const uint8_t* _pSrc, int32_t _nDstBits, uint8_t* _pDst, size_t _nSamples);

// What every byte of silence is.
constexpr uint8_t SilenceByte(int32_t _nBits) { return _nBits == 8 ? 0x80 : 0; }
void FillSilence(int32_t _nBits, uint8_t* _p, size_t _cb);

}  // namespace zr
