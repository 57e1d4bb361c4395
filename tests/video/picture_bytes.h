#pragma once
// Records and bytes of pictures for the tests of this folder.

#include "media/pixel_format.h"
#include "support/row_test.h"
#include "zr/records.h"

namespace zr::test {

// A progressive picture; rows have _nExtra bytes more than they need.
inline ZR_VID_PROPS Props(eZrFCC _fccType, int32_t _nWidth, int32_t _nHeight, int32_t _nExtra = 0) {
    ZR_VID_PROPS props{.fccType = _fccType,
                       .nWidth = _nWidth,
                       .nHeight = _nHeight,
                       .nRowBytes = MinRowBytes(_fccType, _nWidth) + _nExtra,
                       .eInterlace = eZrI_Progressive,
                       .dblRate = 25};
    return props;
}

inline Bytes Noise(const ZR_VID_PROPS& _props, uint32_t _nSeed = 4) {
    std::mt19937 rng(_nSeed);
    return HarshBytes(rng, PictureBytes(_props));
}

}  // namespace zr::test
