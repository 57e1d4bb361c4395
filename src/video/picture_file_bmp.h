#pragma once
// BMP files.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "media/picture_codec.h"
#include "zr/status.h"

namespace zr {

// The file starts as a BMP does.
bool IsBmp(const uint8_t* _pFile, size_t _cbFile);

// Decodes a BMP of any age: 1, 4, 8 bits with a palette (run lengths too), 16, 24, 32 bits, with or without masks.
// With an alpha mask the picture is ARGB32, otherwise RGB32 for 32 bits and RGB24 for the others; a fourth byte without
// a mask has no meaning. ZR_E_INVALID_DATA: no BMP, or one that contradicts itself or its length. ZR_E_NOT_SUPPORTED:
// another kind of picture in a BMP's frame. Or what the target returns.
HRESULT ReadBmp(const uint8_t* _pFile, size_t _cbFile, PictureTarget* _pTarget);

// Encodes a picture, bottom-up and with its own bits per pixel; ARGB32 with an alpha mask. *_parrFile is replaced.
// E_INVALIDARG: a picture that cannot be. E_OUTOFMEMORY.
HRESULT WriteBmp(const PICTURE_ROWS& _picture, std::vector<uint8_t>* _parrFile);

}  // namespace zr
