#pragma once
// Colours of ARGB32 times their alpha, and back: frames have them multiplied, picture files do not.

#include <cstddef>
#include <cstdint>

namespace zr {

// Rows of B, G, R, A; the destination may be the source. Products and quotients are rounded to nearest. What was
// multiplied and is divided and multiplied again is what it was; colours above their alpha are limited to it.
void PremultiplyRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels);
void UnpremultiplyRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels);

}  // namespace zr
