#pragma once
// A picture whose every sample is reached by its place, from the description of the formats alone.

#include <random>

#include "picture_bytes.h"
#include "plain_scaler.h"

namespace zr::test {

// A picture in exactly its memory, its samples as planes: B, G, R, A of RGB, else Y, Cb, Cr. The planes say for every
// sample where it stands, from the description of the formats alone.
struct Picture {
    ZR_VID_PROPS props;
    Bytes bytes;

    Picture(const ZR_VID_PROPS& _props, std::mt19937& _rng) : props(_props), bytes(PictureBytes(_props)) {
        bytes = test::HarshBytes(_rng, bytes.size());
    }
    bool IsRgb() const { return PixelFormatBottomUp(props.fccType); }
    int32_t PixelBytes() const { return props.fccType == eZrFCC_RGB24 ? 3 : 4; }
    int32_t Channels() const { return IsRgb() ? PixelBytes() : 3; }
    int32_t Across(int32_t _n) const { return _n > 0 && !IsRgb() && props.fccType != kFCC_Y444 ? 2 : 1; }
    int32_t Down(int32_t _n) const {
        const eZrFCC fcc = props.fccType;
        return _n > 0 && (fcc == eZrFCC_I420 || fcc == eZrFCC_YV12 || fcc == eZrFCC_NV12) ? 2 : 1;
    }
    uint8_t& At(int32_t _n, int32_t _x, int32_t _y) {
        const int32_t nRow = props.nRowBytes, nHeight = std::abs(props.nHeight);
        const int32_t y = IsRgb() && props.nHeight > 0 ? nHeight - 1 - _y : _y;
        const auto Byte = [&](int32_t _nAt) -> uint8_t& { return bytes[static_cast<size_t>(_nAt)]; };
        if (IsRgb()) return Byte(y * nRow + _x * PixelBytes() + _n);
        const int32_t nChroma = nRow * nHeight, nHalf = (nHeight + 1) / 2;
        switch (static_cast<uint32_t>(props.fccType)) {
            case eZrFCC_UYVY:
            case eZrFCC_HDYC: return Byte(y * nRow + (_n == 0 ? 2 * _x + 1 : 4 * _x + (_n == 1 ? 0 : 2)));
            case eZrFCC_YUY2: return Byte(y * nRow + (_n == 0 ? 2 * _x : 4 * _x + (_n == 1 ? 1 : 3)));
            case eZrFCC_YVYU: return Byte(y * nRow + (_n == 0 ? 2 * _x : 4 * _x + (_n == 1 ? 3 : 1)));
            default: break;
        }
        if (_n == 0) return Byte(y * nRow + _x);
        switch (static_cast<uint32_t>(props.fccType)) {
            case eZrFCC_NV12: return Byte(nChroma + y * nRow + 2 * _x + _n - 1);
            case eZrFCC_I420: return Byte(nChroma + (_n - 1) * (nRow / 2) * nHalf + y * (nRow / 2) + _x);
            case eZrFCC_YV12: return Byte(nChroma + (2 - _n) * (nRow / 2) * nHalf + y * (nRow / 2) + _x);
            case static_cast<uint32_t>(kFCC_Y422):
                return Byte(nChroma + (_n - 1) * (nRow / 2) * nHeight + y * (nRow / 2) + _x);
            default: return Byte(nChroma + (_n - 1) * nRow * nHeight + y * nRow + _x);
        }
    }
    tagRECT PlaneRect(int32_t _n, const tagRECT& _rect) const {
        const int32_t a = Across(_n), d = Down(_n);
        return {_rect.left / a, _rect.top / d, _rect.right / a, (_rect.bottom + d - 1) / d};
    }
    PlainPlane Take(int32_t _n, const tagRECT& _rect) {
        const tagRECT r = PlaneRect(_n, _rect);
        PlainPlane plane(r.right - r.left, r.bottom - r.top);
        for (int32_t y = 0; y < plane.nHeight; ++y)
            for (int32_t x = 0; x < plane.nWidth; ++x) plane.At(x, y) = At(_n, r.left + x, r.top + y);
        return plane;
    }
    void Put(int32_t _n, const tagRECT& _rect, const PlainPlane& _plane) {
        const tagRECT r = PlaneRect(_n, _rect);
        for (int32_t y = 0; y < r.bottom - r.top; ++y)
            for (int32_t x = 0; x < r.right - r.left; ++x) At(_n, r.left + x, r.top + y) = _plane.At(x, y);
    }
};

// An even left and right inside a size; the whole at times.
inline tagRECT RandomRect(std::mt19937& _rng, int32_t _nWidth, int32_t _nHeight) {
    if (_rng() % 3 == 0) return {0, 0, _nWidth, _nHeight};
    const auto Below = [&](int32_t _n) { return static_cast<int32_t>(_rng() % static_cast<uint32_t>(_n)); };
    const int32_t nLeft = Below(_nWidth / 2) * 2, nTop = Below(_nHeight) & ~1;
    return {nLeft, nTop, nLeft + 2 + Below((_nWidth - nLeft) / 2) * 2, nTop + 1 + Below(_nHeight - nTop)};
}

}  // namespace zr::test
