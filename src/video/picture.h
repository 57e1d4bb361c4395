#pragma once
// A picture in memory as the pixel work sees it: planes of rows from top to bottom, whatever the order in memory.

#include <cstddef>
#include <cstdint>

#include "media/pixel_format.h"
#include "zr/records.h"
#include "zr/status.h"

namespace zr {

// Rows of samples. A picture that is stored bottom-up has its pointer at its last row in memory and a negative stride.
struct PLANE {
    uint8_t* pTop = nullptr;
    ptrdiff_t nStride = 0;  // bytes from one row to the next lower one
    int32_t nWidth = 0;     // pixels of a packed picture, samples of a plane (NV12 chroma: samples of both kinds)
    int32_t nHeight = 0;    // rows

    uint8_t* Row(int32_t _y) const { return pTop + _y * nStride; }
};

// Largest width and height that the pixel work takes; anything above is a bad argument.
inline constexpr int32_t kMaxPictureSide = 32768;

struct PICTURE {
    eZrFCC fccType = eZrFCC_Default;
    int32_t nPlanes = 0;  // 1 packed; 2 luma and Cb, Cr pairs; 3 luma, Cb, Cr, also where memory has Cr first
    PLANE arrPlanes[3];
    bool bBottomUp = false;  // stored bottom-up
    int32_t nFirstLine = 0;  // of the picture that this one is cut from: 4:2:0 shares chroma by it

    const PLANE& Packed() const { return arrPlanes[0]; }
    int32_t Width() const { return arrPlanes[0].nWidth; }
    int32_t Height() const { return arrPlanes[0].nHeight; }
    bool IsPlanar() const { return nPlanes > 1; }
};

// The picture at _pBuffer, its first byte in memory. Row bytes that are absent (0) become the least ones.
// E_POINTER: no buffer. E_INVALIDARG: width or height below 1 or above kMaxPictureSide, row bytes that are negative or
// too small for the width, an odd width of a format with shared chroma, an odd height of one that shares it between
// lines, or an unknown pixel format.
HRESULT PictureOf(uint8_t* _pBuffer, const ZR_VID_PROPS& _props, PICTURE& _picture);

// The picture whose planes are where _planes says (see IZrFFrame::ZrFVideoGetBytesEx). E_POINTER: a plane is missing.
// E_INVALIDARG: as above, or a stride that does not hold a row.
HRESULT PictureOfPlanes(const ZRF_VID_PTR& _planes, const ZR_VID_PROPS& _props, PICTURE& _picture);

// Bytes of a row of samples without padding: the packed width of a plane 0, or the samples of another plane.
size_t PlaneRowBytes(const PICTURE& _picture, int32_t _nPlane);
// Of these, those that hold samples: v210 pads its rows to more.
size_t SampleBytes(const PICTURE& _picture, int32_t _nPlane);

// The part of a picture in a rectangle inside it; of shared chroma, what the rectangle touches downwards.
PICTURE CutPicture(const PICTURE& _whole, const tagRECT& _rect);
// v210 is cut between groups of six pixels only, and at its right edge.
bool CanCutPicture(const PICTURE& _whole, const tagRECT& _rect);

// HDYC counts as UYVY, RGB32 as ARGB32: the bytes are the same, only their meaning differs.
eZrFCC FamilyOf(eZrFCC _fccType);
inline bool SameFamily(eZrFCC _a, eZrFCC _b) { return FamilyOf(_a) == FamilyOf(_b); }

// Planar, with a chroma line for two lines of the picture: I420, YV12, NV12.
constexpr bool Is420(eZrFCC _fccType) {
    return _fccType == eZrFCC_I420 || _fccType == eZrFCC_YV12 || _fccType == eZrFCC_NV12;
}

// Pixels share chroma in pairs, packed or planar.
bool HasChromaPairs(eZrFCC _fccType);

}  // namespace zr
