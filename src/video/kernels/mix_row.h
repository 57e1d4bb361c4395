#pragma once
// Rows of one picture laid over another. The base row is changed in place. The scalar formulas below are the
// definition; every vector path gives the same bytes.
//
// Weights: nA of 256 (0..256) for the overlay, nB = 256 - nA for the base. A mask has one byte per pixel, 255 solid.
// Any alignment; no byte outside the rows is touched; the rows do not overlap.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "media/premultiply.h"

namespace zr {

// Cross-fade without a mask, any packed format. The offset of chroma (o = 128) falls out of
// (((s - o) * nA + (d - o) * nB) >> 8) + o, as o * 256 is a whole number of steps, so grey stays grey.
constexpr uint8_t MixPlain(int _nS, int _nD, int _nA) {
    return static_cast<uint8_t>((_nS * _nA + _nD * (256 - _nA)) >> 8);
}

// RGB premultiplied by its mask: the mask only weakens the base.
constexpr uint8_t MixMaskPremul(int _nS, int _nD, int _nMask, int _nA) {
    return static_cast<uint8_t>(std::min((_nS * _nA + (255 - _nMask) * _nD + 255) >> 8, 255));
}

// 4:2:2 with a mask. From nA of 255 on the mask is taken as it is.
constexpr int MaskWeight(int _nMask, int _nA) { return _nA >= 255 ? _nMask : (_nMask * _nA) >> 8; }
constexpr uint8_t MixMaskPlain(int _nS, int _nD, int _nMask, int _nA) {
    const int nWeight = MaskWeight(_nMask, _nA);
    return static_cast<uint8_t>((_nS * nWeight + (255 - nWeight) * _nD + 255) >> 8);
}

// 4:2:2 premultiplied around black, _nOrigin: 16 for luma, 128 for chroma. _nMask: that of the pixel for luma, the mean
// of the pair for chroma, where a 255 counts as 256 (SolidMask).
constexpr int SolidMask(int _nMask) { return _nMask == 255 ? 256 : _nMask; }
constexpr uint8_t MixMaskOffset(int _nS, int _nD, int _nMask, int _nA, int _nOrigin) {
    const int nSum = (_nD - _nOrigin) * (256 - ((_nA * _nMask) >> 8)) + _nA * (_nS - _nOrigin);
    return static_cast<uint8_t>(std::clamp((nSum >> 8) + _nOrigin, 0, 255));
}

// Premultiplied "over" of one byte; _nAlpha is the overlay's alpha, already scaled.
constexpr uint8_t MixOver(int _nS, int _nD, int _nAlpha) {
    return static_cast<uint8_t>(std::min(_nS + Div255(_nD * (255 - _nAlpha)), 255));
}
// A byte scaled by nA / 256 to the nearest, before "over".
constexpr int ScaleByte(int _nS, int _nA) { return (_nS * _nA + 128) >> 8; }

// The whole-picture fade in steps of 1/128: both parts are rounded to nearest before they are added.
constexpr uint8_t Fade128(int _nS, int _nD, int _nA128) {
    return static_cast<uint8_t>(std::min(((_nS * _nA128 + 64) >> 7) + ((_nD * (128 - _nA128) + 64) >> 7), 255));
}

// Where the luma of a 4:2:2 pixel stands: UYVY and HDYC in odd bytes, YUY2 and YVYU in even ones.
enum class eLumaAt { Odd, Even };

// _cbRow bytes.
void MixPlainRow(const uint8_t* _pOver, uint8_t* _pBase, size_t _cbRow, uint32_t _nA);
// The same into another row; the base stays. _pDst may be one of the two.
void MixPlainRowTo(const uint8_t* _pOver, const uint8_t* _pBase, uint8_t* _pDst, size_t _cbRow, uint32_t _nA);
void Fade128Row(const uint8_t* _pOver, uint8_t* _pBase, size_t _cbRow, uint32_t _nA128);

// _nPixels pixels of 4 or 3 bytes.
void MixMaskPremulRow32(const uint8_t* _pOver, const uint8_t* _pMask, uint8_t* _pBase, size_t _nPixels, uint32_t _nA);
void MixMaskPremulRow24(const uint8_t* _pOver, const uint8_t* _pMask, uint8_t* _pBase, size_t _nPixels, uint32_t _nA);

// _nPixels pixels of 2 bytes; the last of an odd count is mixed as if its pair had its own mask.
void MixMaskPlainRow422(const uint8_t* _pOver, const uint8_t* _pMask, uint8_t* _pBase, size_t _nPixels, uint32_t _nA);
void MixMaskOffsetRow422(const uint8_t* _pOver, const uint8_t* _pMask, uint8_t* _pBase, size_t _nPixels, uint32_t _nA,
                         eLumaAt _eLumaAt);

// _nPixels pixels B, G, R, A, the overlay premultiplied and first scaled by nA / 256 in all four bytes. The second form
// scales by 1/128 steps, rounded to nearest.
void MixOverRow(const uint8_t* _pOver, uint8_t* _pBase, size_t _nPixels, uint32_t _nA);
void FadeOverRow128(const uint8_t* _pOver, uint8_t* _pBase, size_t _nPixels, uint32_t _nA128);

}  // namespace zr
