#pragma once
// Picture files that the core does not read itself: what a backend registers to decode and encode them.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "zr/enums.h"
#include "zr/status.h"
#include "zr/unknown.h"

namespace zr {

enum class ePictureType { Unknown, Bmp, Tga, Png, Jpeg, Tiff };

// The type that a file name's extension stands for: png, jpg, jpeg, bmp, tga, tif, tiff, in any case.
ePictureType PictureTypeOf(const char16_t* _szFileName);

// Largest width and height of a picture in a file.
inline constexpr int32_t kMaxPictureFileSide = 32768;

// A packed picture in memory.
struct PICTURE_ROWS {
    eZrFCC fccType = eZrFCC_Default;  // eZrFCC_RGB24, eZrFCC_RGB32 or eZrFCC_ARGB32: B, G, R (, A) in memory
    int32_t nWidth = 0, nHeight = 0;  // 1 to kMaxPictureFileSide
    uint8_t* pTop = nullptr;          // the top row
    ptrdiff_t nStride = 0;            // bytes from one row to the next lower one; may be negative
};

// Where a decoder puts its picture.
class PictureTarget {
public:
    // Makes room for a picture of the format and size that *_pRows names, and fills in pTop and nStride. Called once,
    // before the first pixel is decoded, so that a size that cannot be costs nothing. The memory belongs to the target
    // and lives until Decode returns. E_INVALIDARG: the format or the size is not taken. E_OUTOFMEMORY.
    virtual HRESULT Make(PICTURE_ROWS* _pRows) = 0;

protected:
    ~PictureTarget() = default;
};

// One object or many, at the registering backend's choice. Any thread, several at once.
struct IPictureCodec_I : IUnknown {
    static constexpr GUID kIid = GuidOf("5D2B3C0A-7D35-4B0C-9E55-1B6C6A4C8E21");

    // Decodes the file in memory, whose type shows in its first bytes, into memory of _target: ARGB32 with colours that
    // are not multiplied by alpha when the file has alpha, RGB32 (the fourth byte 255) or RGB24 otherwise. Deeper
    // samples are rounded to 8 bits, palettes and grey become RGB.
    // ZR_E_NOT_SUPPORTED: a type that is not decoded here. ZR_E_INVALID_DATA: the bytes are not that picture. What
    // Make returned when it failed. E_OUTOFMEMORY. What the target's memory holds is undefined then.
    virtual HRESULT Decode(const uint8_t* _pFile, size_t _cbFile, PictureTarget* _pTarget) = 0;

    // Encodes a picture to a file of the type in *_parrFile, whose former content is dropped. ARGB32 colours are not
    // multiplied by alpha; a type without alpha drops it. _nQuality: of types that lose something, 1 to 100.
    // ZR_E_NOT_SUPPORTED: a type that is not encoded here. E_INVALIDARG: a picture that cannot be. E_OUTOFMEMORY.
    virtual HRESULT Encode(ePictureType _eType, const PICTURE_ROWS& _picture, int32_t _nQuality,
                           std::vector<uint8_t>* _parrFile) = 0;

protected:
    ~IPictureCodec_I() = default;
};

// The class that a backend registers (platform/class_registry.h) for IPictureCodec_I.
inline constexpr GUID kClsidPictureCodec = GuidOf("A3B8A4D2-64E1-4B8F-8C37-0E0C6F1B5B9D");

}  // namespace zr
