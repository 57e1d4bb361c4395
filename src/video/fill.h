#pragma once
// One colour all over a picture or a part of one, in every pixel format that can be written.

#include <cstdint>

#include "attributes/attr_types.h"
#include "video/picture.h"
#include "zr/enums.h"
#include "zr/records.h"
#include "zr/status.h"

namespace zr {

// RGB of full range, not premultiplied, or YCbCr of studio range; and an alpha for formats that have one: in ARGB32 the
// colours become premultiplied, as they are in every such picture. RGB becomes
// YCbCr by the matrix of the picture it goes into: BT.709 in HDYC, BT.601 in all others. YCbCr goes as it is into every
// YCbCr format and by BT.601 into RGB.
struct FILL_COLOUR {
    bool bYuv = false;
    uint8_t arrParts[3] = {0, 0, 0};  // red, green, blue; or Y, Cb, Cr
    uint8_t nAlpha = 255;

    static constexpr FILL_COLOUR Rgb(uint8_t _nRed, uint8_t _nGreen, uint8_t _nBlue, uint8_t _nAlpha = 255) {
        return {false, {_nRed, _nGreen, _nBlue}, _nAlpha};
    }
    static constexpr FILL_COLOUR Yuv(uint8_t _nY, uint8_t _nCb, uint8_t _nCr, uint8_t _nAlpha = 255) {
        return {true, {_nY, _nCb, _nCr}, _nAlpha};
    }
    static constexpr FILL_COLOUR Of(AttrColour _colour) {
        const auto Byte = [&](int _nShift) { return static_cast<uint8_t>(_colour.nValue >> _nShift); };
        return Rgb(Byte(0), Byte(8), Byte(16), Byte(24));
    }
};
inline constexpr FILL_COLOUR kFillBlack = FILL_COLOUR::Rgb(0, 0, 0);

// Fills every pixel of the picture (see PictureOf, CutPicture) and nothing beside it.
// E_POINTER: no picture. kTypeNotAccepted: no colour can be written in the pixel format; nothing is written then.
HRESULT FillColour(const PICTURE& _picture, const FILL_COLOUR& _colour);
// The same for the picture at _pBuffer; the codes of PictureOf too.
HRESULT FillColour(uint8_t* _pBuffer, const ZR_VID_PROPS& _props, const FILL_COLOUR& _colour);

// The bytes that repeat along the rows of one plane. cb of 0: the format cannot be filled.
struct FILL_PATTERN {
    uint8_t arrBytes[16] = {};
    uint32_t cb = 0;
};
FILL_PATTERN FillPattern(eZrFCC _fccType, int32_t _nPlane, const FILL_COLOUR& _colour);
// _nRows rows of _cbRow bytes each, the first at _pTop, _nStride bytes from one to the next.
void FillRows(const FILL_PATTERN& _pattern, uint8_t* _pTop, ptrdiff_t _nStride, size_t _cbRow, int32_t _nRows);

}  // namespace zr
