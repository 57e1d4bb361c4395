#pragma once
// The named video formats: what a value of eZrVideoFormat says about a picture. The low byte of a value chooses the
// row, the bits above it a stereoscopic layout of two such pictures.

#include <cstdint>

#include "zr/enums.h"

namespace zr {

struct ZrVideoFormatRow {
    int64_t llVideoFormat;
    const char16_t* szShortName;  // as shown to people and written in attributes
    const char16_t* szEnumName;   // accepted in attributes too
    int32_t nRateNum;             // frames (not fields) a second as a fraction
    int32_t nRateDen;
    double dblRate;  // their quotient
    eZrInterlace eInterlace;
    int32_t nWidth;  // pixels
    int32_t nHeight;
    int32_t nAspectX;  // display aspect ratio
    int32_t nAspectY;
    int32_t nClass;  // 0 standard definition, 1 high definition, 2: 2K, 4: 4K, 8: 4K at 50 frames and up, -1 none
    int32_t nBlankingLines;  // lines that a captured frame may carry above the picture, inside its height
};

struct VIDEO_SIZE {
    int32_t nWidth = 0;
    int32_t nHeight = 0;
};

struct VIDEO_ASPECT {
    int32_t nX = 0;
    int32_t nY = 0;
};

inline constexpr int32_t kVideoFormatRows = 47;

// The row of that index, null outside 0 to 46.
const ZrVideoFormatRow* RowTable(int32_t _nIndex);
// The row of a format with or without a layout, null when there is none.
inline const ZrVideoFormatRow* RowOf(eZrVideoFormat _eFormat) { return RowTable(_eFormat & 0xFF); }

// What the row says; a format without a row is like eZrVF_Custom.
double FormatRate(eZrVideoFormat _eFormat);
eZrInterlace FormatInterlace(eZrVideoFormat _eFormat);
VIDEO_ASPECT FormatAspect(eZrVideoFormat _eFormat);
int32_t FormatClass(eZrVideoFormat _eFormat);
int32_t FormatBlanking(eZrVideoFormat _eFormat);
// The size of the whole picture: a full layout has twice the width or the height of its row.
VIDEO_SIZE FormatSize(eZrVideoFormat _eFormat);

// The layout bits that a format value can carry.
inline constexpr uint32_t kLayoutMask = 0x1600;
inline constexpr uint32_t kLayoutPairMask = 0x0600;  // side by side, top and bottom
constexpr eZr3DFormat Format3D(eZrVideoFormat _eFormat) {
    return static_cast<eZr3DFormat>(static_cast<uint32_t>(_eFormat) & kLayoutMask);
}

}  // namespace zr
