#pragma once
// Rows between 4:2:2 YCbCr of 8 bits and 32-bit RGB (bytes B, G, R, A in memory), studio range: Y 16..235,
// chroma 16..240 around 128. The scalar formulas below are the definition; every vector path gives the same bytes.
//
// All functions: any alignment, no byte outside is touched, source and destination do not overlap. _nPairs pairs of
// pixels: 4 bytes of 4:2:2 and 8 bytes of RGB each.

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace zr {

// How the 4:2:2 bytes of a pair stand in memory.
enum class eYuvOrder {
    CbYCrY,  // UYVY, HDYC
    YCbYCr,  // YUY2
};

// RGB to YCbCr, as integers with nShift fractional bits. Y = (b*B + g*G + r*R + ...) per pixel; a chroma sample is
// taken from the sum of the pair's two pixels, hence one more bit of shift.
struct RGB_TO_YUV {
    int nYB, nYG, nYR;
    int nCbB, nCbG, nCbR;
    int nCrB, nCrG, nCrR;
    int nShift;
    int nRoundY, nRoundC;
};

namespace detail {
constexpr int RoundToInt(double _n) { return static_cast<int>(_n < 0 ? _n - 0.5 : _n + 0.5); }

// A studio-range matrix from the luma weights of red and blue, rounded to nearest. The rows sum to exactly 219/255 and
// 0, so that white is 235 and every grey has chroma 128: green takes the rest.
constexpr RGB_TO_YUV StudioMatrix(double _dblKr, double _dblKb, int _nShift) {
    const double dblUnit = static_cast<double>(1 << _nShift), dblY = 219.0 / 255 * dblUnit,
                 dblC = 224.0 / 255 * dblUnit;
    RGB_TO_YUV m{};
    m.nYB = RoundToInt(dblY * _dblKb);
    m.nYR = RoundToInt(dblY * _dblKr);
    m.nYG = RoundToInt(dblY) - m.nYB - m.nYR;
    m.nCbB = m.nCrR = RoundToInt(dblC / 2);
    m.nCbR = RoundToInt(-dblC * _dblKr / (2 * (1 - _dblKb)));
    m.nCbG = -m.nCbB - m.nCbR;
    m.nCrB = RoundToInt(-dblC * _dblKb / (2 * (1 - _dblKr)));
    m.nCrG = -m.nCrR - m.nCrB;
    m.nShift = _nShift;
    m.nRoundY = 1 << (_nShift - 1);
    m.nRoundC = 1 << _nShift;
    return m;
}
}  // namespace detail

// ITU-R BT.601 in 15 fractional bits.
inline constexpr RGB_TO_YUV kRgbToYuv601 = detail::StudioMatrix(0.299, 0.114, 15);

// ITU-R BT.709 in 8 fractional bits, truncated.
inline constexpr RGB_TO_YUV kRgbToYuv709 = {16, 157, 47, 112, -87, -26, -10, -102, 112, 8, 0, 0};

constexpr uint8_t LumaOf(const RGB_TO_YUV& _m, int _nB, int _nG, int _nR) {
    return static_cast<uint8_t>(((_m.nYB * _nB + _m.nYG * _nG + _m.nYR * _nR + _m.nRoundY) >> _m.nShift) + 16);
}
// _nB.. are the sums of the two pixels.
constexpr uint8_t CbOf(const RGB_TO_YUV& _m, int _nB, int _nG, int _nR) {
    return static_cast<uint8_t>(((_m.nCbB * _nB + _m.nCbG * _nG + _m.nCbR * _nR + _m.nRoundC) >> (_m.nShift + 1)) +
                                128);
}
constexpr uint8_t CrOf(const RGB_TO_YUV& _m, int _nB, int _nG, int _nR) {
    return static_cast<uint8_t>(((_m.nCrB * _nB + _m.nCrG * _nG + _m.nCrR * _nR + _m.nRoundC) >> (_m.nShift + 1)) +
                                128);
}

struct BGR8 {
    uint8_t nB, nG, nR;
};

constexpr uint8_t ClampToByte(int _n) { return static_cast<uint8_t>(std::clamp(_n, 0, 255)); }

// ITU-R BT.601 back: the products of luma with 255/219 and of chroma with its factors are kept with 6 fractional bits
// (14-bit numbers, factors of 13 and 14 fractional bits), then the sum is rounded to nearest. 1160 takes off the luma
// of black, and gives the half for the rounding and the half that the luma's shift loses on average.
constexpr BGR8 BgrOf601(int _nY, int _nCb, int _nCr) {
    constexpr auto Term = [](int _nChroma, int _nFactor) { return ((_nChroma << 8) * _nFactor + (1 << 14)) >> 15; };
    const int nLuma = ((_nY * 19077) >> 8) - 1160;
    const int nCb = _nCb - 128, nCr = _nCr - 128;
    return {ClampToByte((nLuma + Term(nCb, 16525)) >> 6),
            ClampToByte((nLuma + (Term(nCb, -3209) + Term(nCr, -6660))) >> 6),
            ClampToByte((nLuma + Term(nCr, 13075)) >> 6)};
}

// ITU-R BT.709 back, in 8 fractional bits, truncated.
constexpr BGR8 BgrOf709(int _nY, int _nCb, int _nCr) {
    const int nLuma = 298 * (_nY - 16), nCb = _nCb - 128, nCr = _nCr - 128;
    return {ClampToByte((nLuma + 542 * nCb) >> 8), ClampToByte((nLuma - 55 * nCb - 137 * nCr) >> 8),
            ClampToByte((nLuma + 459 * nCr) >> 8)};
}

// 32-bit RGB to 4:2:2; the fourth byte is not looked at.
void BgraToUyvyRow601(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPairs);
void BgraToYuy2Row601(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPairs);
void BgraToUyvyRow709(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPairs);

// 4:2:2 to 32-bit RGB with _nAlpha in every fourth byte.
void UyvyToBgraRow601(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPairs, uint8_t _nAlpha);
void Yuy2ToBgraRow601(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPairs, uint8_t _nAlpha);
void UyvyToBgraRow709(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPairs, uint8_t _nAlpha);

// 32-bit RGB to and from planes of full width (4:4:4), ITU-R BT.601. _nPixels pixels, one sample of each plane.
void BgraToPlanesRow601(const uint8_t* _pSrc, uint8_t* _pY, uint8_t* _pCb, uint8_t* _pCr, size_t _nPixels);
void PlanesToBgraRow601(const uint8_t* _pY, const uint8_t* _pCb, const uint8_t* _pCr, uint8_t* _pDst, size_t _nPixels,
                        uint8_t _nAlpha);

}  // namespace zr
