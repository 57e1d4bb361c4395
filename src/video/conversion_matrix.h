#pragma once
// Which row function turns one packed pixel format into another.

#include <cstddef>
#include <cstdint>

#include "zr/enums.h"

namespace zr {

// Converts a row of _nPixels; in formats with shared chroma an even number. Source and destination do not overlap.
using RowConversion = void (*)(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels);

// VFW_E_TYPE_NOT_ACCEPTED: a format that has no row in the matrix.
inline constexpr int32_t kTypeNotAccepted = static_cast<int32_t>(0x80040201u);

struct CONVERSION_CELL {
    bool bKnown = false;          // both formats have a row
    RowConversion row = nullptr;  // null: the matrix has no way between the two
};

// RGB32 and ARGB32, RGB24, UYVY, HDYC, YUY2, v210. RGB to v210 is known but not supported.
CONVERSION_CELL ConversionCell(eZrFCC _fccFrom, eZrFCC _fccTo);

}  // namespace zr
