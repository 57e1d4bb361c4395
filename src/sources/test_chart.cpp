#include "sources/test_chart.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

namespace zr {
namespace {

constexpr double kGround = 127;

// Lines that run along _dblAlong (0 to 1) and close up from 8 pixels a pair to the 2 that a picture can just hold.
double Wedge(double _dblAcross, double _dblAlong) {
    constexpr double kPairs = 8;
    const double dblPair = _dblAcross / (8 - 6 * _dblAlong);
    if (std::abs(dblPair) > kPairs / 2) return kGround;
    return dblPair - std::floor(dblPair) < 0.5 ? 0 : 255;
}

// Rings that reach half a cycle a pixel, all that a picture can hold, at the rim.
double Rings(double _dblSquare, double _dblRadius) {
    return 127.5 + 127.5 * std::cos(std::numbers::pi * _dblSquare / (2 * _dblRadius));
}

double Grey(double _x, double _y, double _dblWidth, double _dblHeight) {
    const double dblBand = _dblHeight / 10;
    if (_y < dblBand) return 255 * _x / _dblWidth;
    if (_y >= _dblHeight - dblBand) return 25.5 * std::min(10.0, std::floor(11 * _x / _dblWidth));
    const double x = _x - _dblWidth / 2, y = _y - _dblHeight / 2;
    const double dblRadius = std::min(_dblWidth, _dblHeight) / 5, dblSquare = x * x + y * y;
    if (dblSquare < dblRadius * dblRadius) return Rings(dblSquare, dblRadius);
    // Smaller ones where lenses and scalers are weakest.
    const double dblCorner = dblRadius / 2;
    const double cx = std::abs(x) - (_dblWidth / 2 - 1.3 * dblCorner);
    const double cy = std::abs(y) - (_dblHeight / 2 - dblBand - 1.3 * dblCorner);
    if (cx * cx + cy * cy < dblCorner * dblCorner) return Rings(cx * cx + cy * cy, dblCorner);
    const double dblOuterX = _dblWidth / 2 * 0.95, dblOuterY = _dblHeight / 2 * 0.75, dblInner = dblRadius * 1.1;
    if (std::abs(x) > dblInner && std::abs(x) < dblOuterX && std::abs(y) < dblInner)
        return Wedge(y, (dblOuterX - std::abs(x)) / (dblOuterX - dblInner));
    if (std::abs(y) > dblInner && std::abs(y) < dblOuterY && std::abs(x) < dblInner)
        return Wedge(x, (dblOuterY - std::abs(y)) / (dblOuterY - dblInner));
    return kGround;
}

}  // namespace

HRESULT DrawTestChart(const PICTURE& _picture) {
    const bool bRgb = _picture.fccType == eZrFCC_ARGB32;
    if (!bRgb && _picture.fccType != eZrFCC_UYVY && _picture.fccType != eZrFCC_HDYC) return E_INVALIDARG;
    for (int32_t y = 0; y < _picture.Height(); ++y) {
        uint8_t* pPixel = _picture.Packed().Row(y);
        for (int32_t x = 0; x < _picture.Width(); ++x) {
            const double dbl = Grey(x + 0.5, y + 0.5, _picture.Width(), _picture.Height());
            if (bRgb) {
                const uint32_t nPixel = 0xFF000000 | static_cast<uint32_t>(std::lround(dbl)) * 0x010101;
                std::memcpy(pPixel, &nPixel, sizeof nPixel);
                pPixel += sizeof nPixel;
            } else {
                *pPixel++ = 128;
                *pPixel++ = static_cast<uint8_t>(std::lround(16 + 219 * dbl / 255));
            }
        }
    }
    return S_OK;
}

}  // namespace zr
