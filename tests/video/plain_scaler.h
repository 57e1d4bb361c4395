#pragma once
// The scaler once more, slow and obvious: whole planes, one pass after the other, one sample at a time.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <numbers>
#include <vector>

#include "video/horizontal_resampler.h"

namespace zr::test {

struct PlainPlane {
    int32_t nWidth = 0, nHeight = 0;
    std::vector<uint8_t> arrSamples;
    PlainPlane() = default;
    PlainPlane(int32_t _nWidth, int32_t _nHeight)
        : nWidth(_nWidth),
          nHeight(_nHeight),
          arrSamples(static_cast<size_t>(_nWidth) * static_cast<size_t>(_nHeight)) {}
    uint8_t& At(int32_t _x, int32_t _y) { return arrSamples[static_cast<size_t>(_y * nWidth + _x)]; }
    uint8_t At(int32_t _x, int32_t _y) const { return arrSamples[static_cast<size_t>(_y * nWidth + _x)]; }
};

struct PlainTap {
    int32_t nRow, nWeight;
};

// The table of one parity, row _i: source rows outward from the centre, Gaussian or triangle, weights of 255 in all.
inline std::vector<PlainTap> PlainTaps(int32_t _hs, int32_t _hd, int32_t _fm, int32_t _nTaps, double _w,
                                       int32_t _nParity, int32_t _i) {
    const int32_t a = _fm != 0 ? 1 : 2, b = _fm != 3 ? 2 : 1;
    const double R = double(_hs) / _hd, c = a == 1 && b == 2 ? 2 : 1;
    double p = b, q = 0;
    if (_w > 0) {
        double dblSigma = R > 1 ? R * _w / 1.2 : R * _w * 1.5;
        if (a == 1 || b == 1) dblSigma *= 0.5;
        p = 1 / (std::sqrt(2 * std::numbers::pi) * dblSigma);
        q = 1 / (2 * dblSigma * dblSigma);
    }
    const double dblCentre = _nParity == 0 ? _i * a * R : (a * (_i + 1) - 1) * R;
    const double dblNearest = std::round(dblCentre);
    std::vector<std::pair<int32_t, double>> found;
    for (int32_t k = 0; k <= _nTaps * b * 2 && int32_t(found.size()) < _nTaps; ++k) {
        int32_t nAway = (k + 1) / 2;
        if (k % 2 == 0) nAway = -nAway;
        if (dblCentre < dblNearest) nAway = -nAway;
        const int32_t nRow = int32_t(dblNearest) + nAway;
        const int32_t nLast = _nParity == 0 && b == 2 ? (_hs - 1) / 2 * 2 : _hs - 1;
        if (nRow < _nParity || nRow > nLast || nRow % b != (b > 1 ? _nParity : 0)) continue;
        const double x = (nRow - dblCentre) * c;
        found.emplace_back(nRow, q != 0 ? p * std::exp(-x * x * q) : std::max(p - std::abs(x), 0.0));
    }
    double dblSum = 0;
    for (const auto& [nRow, dblWeight] : found) dblSum += dblWeight;
    std::vector<PlainTap> taps;
    int32_t nTotal = 0;
    for (const auto& [nRow, dblWeight] : found) {
        int32_t nWeight = dblSum > 0 ? int32_t(std::floor(dblWeight / dblSum * 255 + 0.5)) : 0;
        if (nTotal + nWeight > 255) nWeight = 255 - nTotal;
        nTotal += nWeight;
        taps.push_back({nRow, nWeight});
    }
    if (taps.empty()) taps.push_back({0, 0});
    taps[0].nWeight += 255 - nTotal;
    return taps;
}

inline PlainPlane PlainVertical(const PlainPlane& _src, int32_t _hd, double _w, uint32_t _nFlags) {
    const int32_t hs = _src.nHeight, fm = int32_t(_nFlags & 3), e = fm != 0 ? 1 : 2, o = fm == 3 ? 1 : 2;
    if (fm == 1 || fm == 2) _w *= hs == _hd ? 0.75 : 1.5;
    int32_t nTaps = hs > _hd ? std::max(5, int32_t(hs * 1.5 / _hd + 1)) : 4;
    if (_w == 0)
        nTaps = 2;
    else if (_w < 0 || hs / o == _hd / e)
        nTaps = 1;
    else
        nTaps = std::clamp(int32_t(std::floor(nTaps * _w + 0.5)), 3, 12);
    PlainPlane dst(_src.nWidth, _hd);
    for (int32_t y = 0; y < _hd; ++y) {
        int32_t nParity = fm == 2, nIndex = y;
        if (fm == 0) nParity = (y + (_nFlags & 16 ? 1 : 0)) % 2, nIndex = y / 2;
        std::vector<PlainTap> taps = PlainTaps(hs, _hd, fm, nTaps, _w, nParity, nIndex);
        if (nTaps == 1 && hs == _hd && e == o && !(_nFlags & 16)) taps = {{y, 255}};  // equal sizes keep every line
        for (int32_t x = 0; x < _src.nWidth; ++x) {
            int32_t nSum = 0;
            for (const PlainTap& tap : taps) nSum += _src.At(x, tap.nRow) * tap.nWeight;
            dst.At(x, y) = nTaps == 1 ? _src.At(x, taps[0].nRow) : uint8_t(nSum >> 8);
        }
    }
    // The picture one line down or up; the line left free is its neighbour.
    const PlainPlane unmoved = dst;
    for (int32_t y = 0; y < _hd; ++y)
        for (int32_t x = 0; x < _src.nWidth; ++x) {
            if (_nFlags & 32) dst.At(x, y) = unmoved.At(x, std::max(y - 1, 0));
            if (_nFlags & 64) dst.At(x, y) = unmoved.At(x, std::min(y + 1, _hd - 1));
        }
    return dst;
}

inline PlainPlane PlainHorizontal(const PlainPlane& _src, int32_t _wd, eInterpolation _eMode) {
    if (_src.nWidth == _wd) return _src;
    PlainPlane dst(_wd, _src.nHeight);
    const std::vector<RESAMPLE_TAPS> taps = ResampleTaps(_src.nWidth, _wd, _eMode);
    for (int32_t y = 0; y < _src.nHeight; ++y)
        for (int32_t x = 0; x < _wd; ++x) {
            const RESAMPLE_TAPS& tap = taps[size_t(x)];
            int32_t nSum = 1 << 13;
            for (size_t k = 0; k < tap.arrCoefficients.size(); ++k)
                nSum += _src.At(tap.nStart + int32_t(k), y) * tap.arrCoefficients[k];
            dst.At(x, y) = uint8_t(std::clamp(nSum >> 14, 0, 255));
        }
    return dst;
}

}  // namespace zr::test
