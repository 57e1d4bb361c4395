#pragma once
// Colours of ARGB32 times their alpha, and back: frames have them multiplied, files do not, and colours in text do not.

#include <cstddef>
#include <cstdint>

namespace zr {

// Exactly _n / 255 rounded to nearest, for 0 to 255 * 255.
constexpr int Div255(int _n) { return (_n + 128 + ((_n + 128) >> 8)) >> 8; }

// Rows of B, G, R, A; the destination may be the source. Products and quotients are rounded to nearest. What was
// multiplied and is divided and multiplied again is what it was; colours above their alpha are limited to it.
void PremultiplyRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels);
void UnpremultiplyRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels);

}  // namespace zr
