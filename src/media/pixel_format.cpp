#include "media/pixel_format.h"

#include <algorithm>
#include <iterator>

#include "platform/wide_text.h"

namespace zr {
namespace {

struct PIXEL_FORMAT {
    int32_t nBits = 0;
    bool bPlanar = false;
    bool bBottomUp = false;
    bool bPackedKnown = false;
};

constexpr PIXEL_FORMAT Packed(int32_t _nBits) { return {_nBits, false, false, true}; }
constexpr PIXEL_FORMAT BottomUp(int32_t _nBits, bool _bKnown) { return {_nBits, false, true, _bKnown}; }
constexpr PIXEL_FORMAT Planar(int32_t _nBits) { return {_nBits, true, false, false}; }
constexpr PIXEL_FORMAT Other(int32_t _nBits) { return {_nBits, false, false, false}; }

PIXEL_FORMAT PixelFormatOf(eZrFCC _fccType) {
    switch (static_cast<uint32_t>(_fccType)) {
        case eZrFCC_UYVY:
        case eZrFCC_HDYC:
        case eZrFCC_YUY2:
        case eZrFCC_YVYU: return Packed(16);
        case eZrFCC_v210: return Packed(20);
        case eZrFCC_RGB8: return BottomUp(8, true);
        case kFCC_RGB565:
        case kFCC_RGB555: return BottomUp(16, false);
        case eZrFCC_RGB24: return BottomUp(24, true);
        case kFCC_r210:
        case eZrFCC_RGB32:
        case eZrFCC_ARGB32: return BottomUp(32, true);
        case eZrFCC_I420:
        case eZrFCC_YV12: return Planar(12);
        case eZrFCC_NV12:
        case kFCC_Y422: return Planar(16);
        case kFCC_Y444: return Planar(24);
        case kFCC_IYU2: return Other(24);
        case kFCC_YVU9: return Other(9);
        default: return {};
    }
}

struct NAMED_CODE {
    const char16_t* szName;
    eZrFCC fccType;
};

// In the order in which a text is compared.
constexpr NAMED_CODE arrParseNames[] = {
    {u"ARGB32", eZrFCC_ARGB32},   {u"RGB32", eZrFCC_RGB32}, {u"RGB24", eZrFCC_RGB24}, {u"YUY2", eZrFCC_YUY2},
    {u"YVYU", eZrFCC_YVYU},       {u"UYVY", eZrFCC_UYVY},   {u"YV12", eZrFCC_YV12},   {u"HDYC", eZrFCC_HDYC},
    {u"I420", eZrFCC_I420},       {u"Y422", kFCC_Y422},     {u"NV12", eZrFCC_NV12},   {u"Y444", kFCC_Y444},
    {u"v210", eZrFCC_v210},       {u"r210", kFCC_r210},     {u"MJPG", kFCC_MJPG},     {u"RGB8", eZrFCC_RGB8},
    {u"BI_RGB", eZrFCC{0}},       {u"BI_RLE8", eZrFCC{1}},  {u"BI_RLE4", eZrFCC{2}},  {u"BI_BITFIELDS", eZrFCC{3}},
    {u"ARGB4444", kFCC_ARGB4444},
};

// Codes that are not four printable characters.
constexpr NAMED_CODE arrPrintNames[] = {
    {u"BI_RGB", eZrFCC{0}},       {u"BI_RLE8", eZrFCC{1}},    {u"BI_RLE4", eZrFCC{2}},  {u"BI_BITFIELDS", eZrFCC{3}},
    {u"RGB1", kFCC_RGB1},         {u"RGB4", kFCC_RGB4},       {u"RGB8", eZrFCC_RGB8},   {u"RGB565", kFCC_RGB565},
    {u"RGB555", kFCC_RGB555},     {u"RGB24", eZrFCC_RGB24},   {u"RGB32", eZrFCC_RGB32}, {u"ARGB1555", kFCC_ARGB1555},
    {u"ARGB4444", kFCC_ARGB4444}, {u"ARGB32", eZrFCC_ARGB32},
};

constexpr bool IsPrintable(uint32_t _nByte) { return _nByte >= 0x20 && _nByte < 0x7F; }

// A character that has no byte of its own counts as "?".
constexpr char NarrowChar(char16_t _c) { return _c < 0x100 ? static_cast<char>(_c) : '?'; }

}  // namespace

int32_t PixelFormatBits(eZrFCC _fccType) { return PixelFormatOf(_fccType).nBits; }

bool PixelFormatPlanar(eZrFCC _fccType) { return PixelFormatOf(_fccType).bPlanar; }

bool PixelFormatBottomUp(eZrFCC _fccType) { return PixelFormatOf(_fccType).bBottomUp; }

bool PixelFormatPackedKnown(eZrFCC _fccType) { return PixelFormatOf(_fccType).bPackedKnown; }

int32_t MinRowBytes(eZrFCC _fccType, int32_t _nWidth) {
    if (_nWidth < 1) return 0;
    const int64_t nWidth = _nWidth;
    const PIXEL_FORMAT format = PixelFormatOf(_fccType);
    int64_t nBytes = 0;
    if (_fccType == eZrFCC_v210) {
        nBytes = (nWidth + 47) / 48 * 128;
    } else if (_fccType == kFCC_r210) {
        nBytes = (nWidth + 63) / 64 * 256;
    } else if (format.bPlanar) {
        nBytes = nWidth;
    } else {
        nBytes = ((nWidth * format.nBits >> 3) + 3) & ~int64_t{3};
    }
    return static_cast<int32_t>(std::min<int64_t>(nBytes, std::numeric_limits<int32_t>::max()));
}

uint64_t PictureBytes(const ZR_VID_PROPS& _props) {
    const int32_t nRowBytes = _props.nRowBytes > 0 ? _props.nRowBytes : MinRowBytes(_props.fccType, _props.nWidth);
    // Below 2^62, so that even three such planes fit.
    const uint64_t nFirstPlane = static_cast<uint64_t>(nRowBytes) * static_cast<uint64_t>(AbsHeight(_props.nHeight));
    if (!PixelFormatPlanar(_props.fccType)) return nFirstPlane;
    if (_props.fccType == kFCC_Y444) return nFirstPlane * 3;
    if (_props.fccType == kFCC_Y422) return nFirstPlane * 2;
    return nFirstPlane * 3 / 2;
}

eZrFCC ParsePixelFormat(std::u16string_view _text) {
    for (const NAMED_CODE& named : arrParseNames)
        if (EqualNoCase(_text, named.szName)) return named.fccType;
    if (_text.size() != 4) return eZrFCC_Default;
    return FourCC(NarrowChar(_text[0]), NarrowChar(_text[1]), NarrowChar(_text[2]), NarrowChar(_text[3]));
}

std::u16string PixelFormatText(eZrFCC _fccType) {
    const uint32_t nCode = _fccType;
    const uint32_t arrBytes[] = {nCode & 0xFF, (nCode >> 8) & 0xFF, (nCode >> 16) & 0xFF, nCode >> 24};
    if (std::all_of(std::begin(arrBytes), std::end(arrBytes), IsPrintable))
        return {std::begin(arrBytes), std::end(arrBytes)};
    for (const NAMED_CODE& named : arrPrintNames)
        if (named.fccType == _fccType) return named.szName;
    std::u16string text = u"0x";
    AppendHex(text, nCode);
    return text;
}

}  // namespace zr
