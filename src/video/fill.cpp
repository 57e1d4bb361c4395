#include "video/fill.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>

#include "media/pixel_format.h"
#include "media/premultiply.h"
#include "video/conversion_matrix.h"
#include "video/kernels/yuv_rgb_row.h"

namespace zr {

namespace {

struct YUV8 {
    uint8_t nY, nCb, nCr;
};

YUV8 YuvOf(const FILL_COLOUR& _colour, eZrFCC _fccType) {
    if (_colour.bYuv) return {_colour.arrParts[0], _colour.arrParts[1], _colour.arrParts[2]};
    const RGB_TO_YUV& matrix = _fccType == eZrFCC_HDYC ? kRgbToYuv709 : kRgbToYuv601;
    const int nR = _colour.arrParts[0], nG = _colour.arrParts[1], nB = _colour.arrParts[2];
    return {LumaOf(matrix, nB, nG, nR), CbOf(matrix, 2 * nB, 2 * nG, 2 * nR), CrOf(matrix, 2 * nB, 2 * nG, 2 * nR)};
}

BGR8 BgrOf(const FILL_COLOUR& _colour) {
    if (_colour.bYuv) return BgrOf601(_colour.arrParts[0], _colour.arrParts[1], _colour.arrParts[2]);
    return {_colour.arrParts[2], _colour.arrParts[1], _colour.arrParts[0]};
}

FILL_PATTERN Repeat(std::initializer_list<uint8_t> _bytes) {
    FILL_PATTERN pattern;
    std::copy(_bytes.begin(), _bytes.end(), pattern.arrBytes);
    pattern.cb = static_cast<uint32_t>(_bytes.size());
    return pattern;
}

FILL_PATTERN RepeatWord(uint32_t _nWord, uint32_t _cb) {
    FILL_PATTERN pattern;
    for (uint32_t i = 0; i < _cb; ++i) pattern.arrBytes[i] = static_cast<uint8_t>(_nWord >> (8 * i));
    pattern.cb = _cb;
    return pattern;
}

// A group of six pixels, 8-bit samples in the upper bits of ten.
FILL_PATTERN V210Pattern(const YUV8& _yuv) {
    const uint32_t nY = _yuv.nY * 4u, nCb = _yuv.nCb * 4u, nCr = _yuv.nCr * 4u;
    const auto Word = [](uint32_t _n0, uint32_t _n1, uint32_t _n2) { return _n0 | _n1 << 10 | _n2 << 20; };
    const uint32_t arrWords[] = {Word(nCb, nY, nCr), Word(nY, nCb, nY), Word(nCr, nY, nCb), Word(nY, nCr, nY)};
    FILL_PATTERN pattern;
    pattern.cb = sizeof(pattern.arrBytes);
    for (uint32_t i = 0; i < pattern.cb; ++i)
        pattern.arrBytes[i] = static_cast<uint8_t>(arrWords[i / 4] >> (8 * (i % 4)));
    return pattern;
}

// RGB in 10 bits each, the most significant byte first.
FILL_PATTERN R210Pattern(const BGR8& _bgr) {
    const auto Wide = [](uint32_t _n) { return _n << 2 | _n >> 6; };
    const uint32_t n = Wide(_bgr.nR) << 20 | Wide(_bgr.nG) << 10 | Wide(_bgr.nB);
    const auto Byte = [&](int _nShift) { return static_cast<uint8_t>(n >> _nShift); };
    return Repeat({Byte(24), Byte(16), Byte(8), Byte(0)});
}

FILL_PATTERN RgbPattern(eZrFCC _fccType, const BGR8& _bgr, uint8_t _nAlpha) {
    const uint32_t nB = _bgr.nB, nG = _bgr.nG, nR = _bgr.nR;
    switch (static_cast<uint32_t>(_fccType)) {
        case eZrFCC_RGB8: return Repeat({static_cast<uint8_t>((29 * nB + 150 * nG + 77 * nR + 128) >> 8)});  // grey
        case eZrFCC_RGB24: return Repeat({_bgr.nB, _bgr.nG, _bgr.nR});
        case eZrFCC_RGB32: return Repeat({_bgr.nB, _bgr.nG, _bgr.nR, 255});
        case eZrFCC_ARGB32: {
            const auto Part = [&](int _n) { return static_cast<uint8_t>(Div255(_n * _nAlpha)); };
            return Repeat({Part(_bgr.nB), Part(_bgr.nG), Part(_bgr.nR), _nAlpha});
        }
        case kFCC_RGB565: return RepeatWord(nR >> 3 << 11 | nG >> 2 << 5 | nB >> 3, 2);
        case kFCC_RGB555: return RepeatWord(nR >> 3 << 10 | nG >> 3 << 5 | nB >> 3, 2);
        case kFCC_ARGB1555: return RepeatWord(uint32_t{_nAlpha} >> 7 << 15 | nR >> 3 << 10 | nG >> 3 << 5 | nB >> 3, 2);
        case kFCC_ARGB4444: return RepeatWord(uint32_t{_nAlpha} >> 4 << 12 | nR >> 4 << 8 | nG >> 4 << 4 | nB >> 4, 2);
        case kFCC_r210: return R210Pattern(_bgr);
        default: return {};
    }
}

FILL_PATTERN PlanePattern(eZrFCC _fccType, int32_t _nPlane, const YUV8& _yuv) {
    if (_nPlane == 0) return Repeat({_yuv.nY});
    if (_fccType == eZrFCC_NV12) return Repeat({_yuv.nCb, _yuv.nCr});
    return Repeat({_nPlane == 1 ? _yuv.nCb : _yuv.nCr});
}

}  // namespace

FILL_PATTERN FillPattern(eZrFCC _fccType, int32_t _nPlane, const FILL_COLOUR& _colour) {
    const YUV8 yuv = YuvOf(_colour, _fccType);
    switch (static_cast<uint32_t>(_fccType)) {
        case eZrFCC_UYVY:
        case eZrFCC_HDYC: return Repeat({yuv.nCb, yuv.nY, yuv.nCr, yuv.nY});
        case eZrFCC_YUY2: return Repeat({yuv.nY, yuv.nCb, yuv.nY, yuv.nCr});
        case eZrFCC_YVYU: return Repeat({yuv.nY, yuv.nCr, yuv.nY, yuv.nCb});
        case kFCC_IYU2: return Repeat({yuv.nCb, yuv.nY, yuv.nCr});
        case eZrFCC_v210: return V210Pattern(yuv);
        case eZrFCC_I420:
        case eZrFCC_YV12:
        case eZrFCC_NV12:
        case kFCC_Y422:
        case kFCC_Y444: return PlanePattern(_fccType, _nPlane, yuv);
        default: return RgbPattern(_fccType, BgrOf(_colour), _colour.nAlpha);
    }
}

void FillRows(const FILL_PATTERN& _pattern, uint8_t* _pTop, ptrdiff_t _nStride, size_t _cbRow, int32_t _nRows) {
    if (_nRows < 1 || _cbRow < 1 || _pattern.cb < 1) return;
    size_t cbDone = std::min<size_t>(_pattern.cb, _cbRow);
    std::memcpy(_pTop, _pattern.arrBytes, cbDone);
    while (cbDone < _cbRow) {  // whole patterns, twice as many each time
        const size_t cb = std::min(cbDone, _cbRow - cbDone);
        std::memcpy(_pTop + cbDone, _pTop, cb);
        cbDone += cb;
    }
    for (int32_t y = 1; y < _nRows; ++y) std::memcpy(_pTop + y * _nStride, _pTop, _cbRow);
}

HRESULT FillColour(const PICTURE& _picture, const FILL_COLOUR& _colour) {
    if (_picture.nPlanes < 1 || !_picture.arrPlanes[0].pTop) return E_POINTER;
    if (FillPattern(_picture.fccType, 0, _colour).cb == 0) return kTypeNotAccepted;
    for (int32_t n = 0; n < _picture.nPlanes; ++n) {
        const PLANE& plane = _picture.arrPlanes[n];
        FillRows(FillPattern(_picture.fccType, n, _colour), plane.pTop, plane.nStride, SampleBytes(_picture, n),
                 plane.nHeight);
    }
    return S_OK;
}

HRESULT FillColour(uint8_t* _pBuffer, const ZR_VID_PROPS& _props, const FILL_COLOUR& _colour) {
    PICTURE picture;
    const HRESULT hr = PictureOf(_pBuffer, _props, picture);
    return Failed(hr) ? hr : FillColour(picture, _colour);
}

}  // namespace zr
