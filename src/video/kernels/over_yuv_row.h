#pragma once
// Rows of premultiplied 32-bit RGB laid over 4:2:2 YCbCr in one pass: converted by the formulas of yuv_rgb_row.h, then
// mixed by MixMaskOffset (mix_row.h) with the alpha of each pixel as its mask. The same bytes as from the two passes.
//
// _nPairs pairs of pixels, 8 bytes of the overlay and 4 of the base each. _nA: weight of 256 (0..256). Any alignment;
// no byte outside the rows is touched; the rows do not overlap.

#include <cstddef>
#include <cstdint>

namespace zr {

void OverBgraOnUyvyRow601(const uint8_t* _pOver, uint8_t* _pBase, size_t _nPairs, uint32_t _nA);
void OverBgraOnYuy2Row601(const uint8_t* _pOver, uint8_t* _pBase, size_t _nPairs, uint32_t _nA);
void OverBgraOnUyvyRow709(const uint8_t* _pOver, uint8_t* _pBase, size_t _nPairs, uint32_t _nA);

}  // namespace zr
