#pragma once
// Turns a picture by 90 degrees.

#include <cstdint>
#include <string_view>

#include "zr/records.h"
#include "zr/status.h"

namespace zr {

enum class eRotate { None, Right, Left };  // clockwise, counter-clockwise

// "right", "left"; any other text is None.
eRotate ReadRotate(std::u16string_view _text);

// The record of a turned picture: width and lines exchanged, the aspect too; RGB is stored bottom-up. When _pWanted is
// a picture, it gives the pixel format and, if they are enough, the row bytes; otherwise both are the source's own. A
// format with shared chroma loses an odd last column and line.
ZR_VID_PROPS RotatedProps(const ZR_VID_PROPS& _srcProps, const ZR_VID_PROPS* _pWanted);

// Whether RotatePicture takes the format: not planar ones, not v210.
bool CanRotate(eZrFCC _fccType);

// Turns _pSrc into _pDst, whose record must be of the same pixel format and of the exchanged size. Lines become
// columns. Interlaced: each field is turned apart, so that a line of a field is made of pixels of that field alone,
// each twice. 4:2:2: the chroma of two source lines is averaged, rounded up, and stands in two lines. E_POINTER: a null
// buffer. E_INVALIDARG: pictures that cannot be or do not fit each other. E_NOTIMPL: planar formats, v210.
HRESULT RotatePicture(const uint8_t* _pSrc, const ZR_VID_PROPS& _srcProps, uint8_t* _pDst,
                      const ZR_VID_PROPS& _dstProps, eRotate _eRotate);

}  // namespace zr
