#pragma once
// TGA files.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "media/picture_codec.h"
#include "zr/status.h"

namespace zr {

// Decodes a TGA: palette, true colour or grey, plain or in run lengths, any corner first. RGB24; ARGB32 when the header
// counts 8 bits of alpha, unless an extended file says that they have no meaning. Colours that an extended file says
// to be multiplied by alpha are divided by it.
// E_FAIL: a header that is refused: image type 0, 4 to 8 or above 11, a palette without need or none where one is
// needed, no width or height, a depth of 0 or above 32. ZR_E_INVALID_DATA: sizes of pixels or palette that do not
// exist, or a file that is too short. Or what the target returns.
HRESULT ReadTga(const uint8_t* _pFile, size_t _cbFile, PictureTarget* _pTarget);

// Encodes a picture, plain, top-down, in 24 bits or, ARGB32, 32, with the mark of an extended file. *_parrFile is
// replaced. E_INVALIDARG: a picture that cannot be. E_OUTOFMEMORY.
HRESULT WriteTga(const PICTURE_ROWS& _picture, std::vector<uint8_t>* _parrFile);

}  // namespace zr
