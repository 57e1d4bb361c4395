#pragma once
// A small convolution that sharpens or softens a row. The scalar formula is the definition.

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace zr {

// Symmetric, 3 by 3, or only its middle row: then nCorner is 0 and the rows above and below do not count.
struct SHARPEN_KERNEL {
    int32_t nCentre, nBeside, nAbove, nCorner;  // nAbove: above and below
    int32_t nDivisor;                           // 2..128; no sum of samples and factors leaves signed 16 bits
};

// To the nearest, limited to 0..255.
constexpr uint8_t SharpenSample(int32_t _nSum, const SHARPEN_KERNEL& _kernel) {
    return static_cast<uint8_t>(std::clamp((_nSum + _kernel.nDivisor / 2) / _kernel.nDivisor, 0, 255));
}

// _cb samples of _pDst from those at the same places of the three rows and their neighbours _cbPixel bytes to the left
// and right, which are read too.
void SharpenRow(const uint8_t* _pAbove, const uint8_t* _pRow, const uint8_t* _pBelow, uint8_t* _pDst, size_t _cb,
                ptrdiff_t _cbPixel, const SHARPEN_KERNEL& _kernel);

}  // namespace zr
