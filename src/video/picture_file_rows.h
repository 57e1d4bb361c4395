#pragma once
// What the picture readers and writers here share about the picture in memory.

#include <cstddef>
#include <cstdint>

#include "media/picture_codec.h"

namespace zr {

inline uint8_t* RowOf(const PICTURE_ROWS& _rows, int32_t _y) { return _rows.pTop + _y * _rows.nStride; }

// Bytes of a pixel; 0 for a picture that cannot be written: another format, a size out of range, no memory.
inline size_t PixelBytes(const PICTURE_ROWS& _rows) {
    const bool bSize = _rows.nWidth >= 1 && _rows.nWidth <= kMaxPictureFileSide && _rows.nHeight >= 1 &&
                       _rows.nHeight <= kMaxPictureFileSide;
    if (!bSize || !_rows.pTop) return 0;
    if (_rows.fccType == eZrFCC_RGB24) return 3;
    return _rows.fccType == eZrFCC_RGB32 || _rows.fccType == eZrFCC_ARGB32 ? 4 : 0;
}

}  // namespace zr
