#pragma once
// What a pixel format code says about memory: bits per pixel, planes, row order, row and picture sizes, and its text.

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include "zr/records.h"

namespace zr {

// The code of four characters, first character in the low byte.
constexpr eZrFCC FourCC(char _c0, char _c1, char _c2, char _c3) {
    const auto Byte = [](char _c, int _nShift) { return static_cast<uint32_t>(static_cast<uint8_t>(_c)) << _nShift; };
    return static_cast<eZrFCC>(Byte(_c0, 0) | Byte(_c1, 8) | Byte(_c2, 16) | Byte(_c3, 24));
}

// Codes that the public enumeration does not name.
inline constexpr eZrFCC kFCC_r210 = FourCC('r', '2', '1', '0');  // RGB, 10 bits, 4 bytes a pixel
inline constexpr eZrFCC kFCC_Y422 = FourCC('Y', '4', '2', '2');  // planar 4:2:2
inline constexpr eZrFCC kFCC_Y444 = FourCC('Y', '4', '4', '4');  // planar 4:4:4
inline constexpr eZrFCC kFCC_IYU2 = FourCC('I', 'Y', 'U', '2');
inline constexpr eZrFCC kFCC_YVU9 = FourCC('Y', 'V', 'U', '9');
inline constexpr eZrFCC kFCC_MJPG = FourCC('M', 'J', 'P', 'G');
inline constexpr eZrFCC kFCC_RGB1 = static_cast<eZrFCC>(0xE436EB78);
inline constexpr eZrFCC kFCC_RGB4 = static_cast<eZrFCC>(0xE436EB79);
inline constexpr eZrFCC kFCC_RGB565 = static_cast<eZrFCC>(0xE436EB7B);
inline constexpr eZrFCC kFCC_RGB555 = static_cast<eZrFCC>(0xE436EB7C);
inline constexpr eZrFCC kFCC_ARGB1555 = static_cast<eZrFCC>(0x297C55AF);
inline constexpr eZrFCC kFCC_ARGB4444 = static_cast<eZrFCC>(0x6E6415E6);

// Bits per pixel, 0 for an unknown code. NV12 counts as 16: nothing is sized by it, a planar row is the luma row.
int32_t PixelFormatBits(eZrFCC _fccType);
// The picture is stored as planes; nRowBytes is that of the first.
bool PixelFormatPlanar(eZrFCC _fccType);
// The natural order of rows is bottom-up: a positive height means bottom-up, a negative one top-down.
bool PixelFormatBottomUp(eZrFCC _fccType);
// A packed format whose row size a record may be corrected by.
bool PixelFormatPackedKnown(eZrFCC _fccType);

// Lines of a height that may be negative. INT32_MIN has no counterpart and gives INT32_MAX.
constexpr int32_t AbsHeight(int32_t _nHeight) {
    if (_nHeight == std::numeric_limits<int32_t>::min()) return std::numeric_limits<int32_t>::max();
    return _nHeight < 0 ? -_nHeight : _nHeight;
}

// The least bytes of a row of _nWidth pixels: of the luma row in a planar format, else a multiple of 4 (v210: of 128,
// r210: of 256). 0 for a width below 1 and for an unknown code; INT32_MAX when it is more than that.
int32_t MinRowBytes(eZrFCC _fccType, int32_t _nWidth);
// Bytes of the whole picture: rows of nRowBytes (of the least size when that is below 1) times the lines, and in a
// planar format the chroma planes behind it. Never overflows; may be far more than memory holds.
uint64_t PictureBytes(const ZR_VID_PROPS& _props);

// The code of a text such as "UYVY", "argb32" or any four characters; 0 for all else. Case counts only in a text of
// four characters that is no known name. The texts of RGB1, RGB4, RGB565, RGB555 and ARGB1555 do not read back.
eZrFCC ParsePixelFormat(std::u16string_view _text);
// Its four characters when all are printable, else its name, else "0x" and the code in hexadecimal.
std::u16string PixelFormatText(eZrFCC _fccType);

}  // namespace zr
