#include "frame_module/picture_fill.h"

#include <cstdlib>
#include <cstring>

#include "media/pixel_format.h"

namespace zr {

namespace {

// Bytes that repeat along a row.
struct PATTERN {
    uint8_t arr[4] = {};
    uint32_t cb = 0;  // 1 to 4; 0: not known
};

struct RGB {
    uint32_t nRed, nGreen, nBlue, nAlpha;
    bool IsBlack() const { return (nRed | nGreen | nBlue) == 0; }
};

PATTERN Words16(uint32_t _n) { return {{static_cast<uint8_t>(_n), static_cast<uint8_t>(_n >> 8)}, 2}; }

// The same in 10 bits, most significant byte first.
PATTERN R210(const RGB& _rgb) {
    const auto Wide = [](uint32_t _n) { return _n << 2 | _n >> 6; };
    const uint32_t n = Wide(_rgb.nRed) << 20 | Wide(_rgb.nGreen) << 10 | Wide(_rgb.nBlue);
    return {{static_cast<uint8_t>(n >> 24), static_cast<uint8_t>(n >> 16), static_cast<uint8_t>(n >> 8),
             static_cast<uint8_t>(n)},
            4};
}

PATTERN RgbPattern(eZrFCC _fccType, const RGB& _rgb) {
    const auto nRed = static_cast<uint8_t>(_rgb.nRed), nGreen = static_cast<uint8_t>(_rgb.nGreen),
               nBlue = static_cast<uint8_t>(_rgb.nBlue);
    switch (static_cast<uint32_t>(_fccType)) {
        case eZrFCC_RGB24: return {{nBlue, nGreen, nRed}, 3};
        case eZrFCC_RGB32: return {{nBlue, nGreen, nRed, 0xFF}, 4};
        case eZrFCC_ARGB32: return {{nBlue, nGreen, nRed, static_cast<uint8_t>(_rgb.nAlpha)}, 4};
        case kFCC_RGB565: return Words16(_rgb.nRed >> 3 << 11 | _rgb.nGreen >> 2 << 5 | _rgb.nBlue >> 3);
        case kFCC_RGB555: return Words16(_rgb.nRed >> 3 << 10 | _rgb.nGreen >> 3 << 5 | _rgb.nBlue >> 3);
        case kFCC_r210: return R210(_rgb);
        default: return {};
    }
}

// Luma 16, chroma 128; in v210 the two kinds of word take turns, 64 and 512 in ten bits.
PATTERN BlackPattern(eZrFCC _fccType, int32_t _nPlane) {
    switch (static_cast<uint32_t>(_fccType)) {
        case eZrFCC_UYVY:
        case eZrFCC_HDYC: return {{0x80, 0x10}, 2};
        case eZrFCC_YUY2:
        case eZrFCC_YVYU: return {{0x10, 0x80}, 2};
        case kFCC_IYU2: return {{0x80, 0x10, 0x80}, 3};
        case eZrFCC_I420:
        case eZrFCC_YV12:
        case eZrFCC_NV12:
        case kFCC_Y422:
        case kFCC_Y444: return {{static_cast<uint8_t>(_nPlane == 0 ? 0x10 : 0x80)}, 1};
        case eZrFCC_RGB8: return {{0}, 1};
        default: return {};
    }
}

void FillRow(const PATTERN& _pattern, uint8_t* _pRow, size_t _cb) {
    if (_pattern.cb == 1) {
        std::memset(_pRow, _pattern.arr[0], _cb);
        return;
    }
    for (size_t i = 0; i < _cb; ++i) _pRow[i] = _pattern.arr[i % _pattern.cb];
}

void FillV210Row(uint8_t* _pRow, size_t _cb) {
    constexpr uint32_t nChroma = 512, nLuma = 64;
    constexpr uint32_t arrWords[] = {nChroma | nLuma << 10 | nChroma << 20, nLuma | nChroma << 10 | nLuma << 20};
    for (size_t i = 0; i < _cb; ++i) _pRow[i] = static_cast<uint8_t>(arrWords[i / 4 % 2] >> (8 * (i % 4)));
}

}  // namespace

HRESULT PictureFill(const ZR_VID_PROPS& _props, const Picture& _picture, AttrColour _colour) {
    if (_picture.Empty() || _props.nWidth == 0) return ZR_E_EMPTY;
    if (PlaneRowBytes(_props, 0) == 0) {
        std::memset(_picture.pBits, 0, _picture.cbBits);
        return ZR_E_NOT_SUPPORTED;
    }
    const RGB rgb{_colour.nValue & 0xFF, _colour.nValue >> 8 & 0xFF, _colour.nValue >> 16 & 0xFF, _colour.nValue >> 24};
    const PATTERN rgbPattern = RgbPattern(_props.fccType, rgb);
    if (rgbPattern.cb == 0 && !rgb.IsBlack()) return E_NOTIMPL;
    const ZRF_VID_PTR planes = PicturePlanes(_props, _picture);
    for (int32_t i = 0; i < PlaneCount(_props.fccType); ++i) {
        const int64_t nStride = planes.cbVideoRowBytes[i];
        const int64_t cbUsed = PlaneRowBytes(_props, i);
        const auto cbRow = static_cast<size_t>(_picture.bPart ? cbUsed : std::abs(nStride));
        auto* pFirst = reinterpret_cast<uint8_t*>(planes.lpVideoPlanes[i]);
        if (planes.szVideoPlanes[i].cy < 1) continue;
        if (_props.fccType == eZrFCC_v210)
            FillV210Row(pFirst, cbRow);
        else
            FillRow(rgbPattern.cb > 0 ? rgbPattern : BlackPattern(_props.fccType, i), pFirst, cbRow);
        for (int32_t y = 1; y < planes.szVideoPlanes[i].cy; ++y) std::memcpy(pFirst + y * nStride, pFirst, cbRow);
    }
    return S_OK;
}

}  // namespace zr
