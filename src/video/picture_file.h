#pragma once
// Picture files of any type: BMP and TGA are read and written here, others by the codec that a backend has registered.

#include "media/picture_codec.h"
#include "zr/status.h"

namespace zr {

// Decodes a file. The extension tells a TGA; all other types show in their first bytes.
// ZR_E_NOT_FOUND_FILE: no such file. ZR_E_NOT_SUPPORTED: a type that nobody here decodes. ZR_E_INVALID_DATA: a damaged
// file; E_FAIL: a TGA whose header is refused. Or what the target returns.
HRESULT ReadPictureFile(const char16_t* _szFileName, PictureTarget* _pTarget);

// Encodes a picture into a file of the type that the extension names, in place of one of that name.
// ZR_E_NOT_SUPPORTED: an extension that nobody here encodes; no file is made. E_INVALIDARG: a picture that cannot be.
// Or the system's error.
HRESULT WritePictureFile(const char16_t* _szFileName, const PICTURE_ROWS& _picture);

}  // namespace zr
