#include "video/kernels/yuv_rgb_row.h"

#include <array>
#include <cmath>

#include "support/row_test.h"

namespace zr {
namespace {

using test::Bytes;
using test::GuardedRow;
using test::SourceRow;

// The definitions again, written apart: the standard in floating point for 601, the integer matrices for 709.
constexpr double kKr = 0.299, kKb = 0.114;

double Grey601(double _b, double _g, double _r) { return kKr * _r + (1 - kKr - kKb) * _g + kKb * _b; }
double Luma601(double _b, double _g, double _r) { return 16 + 219.0 / 255 * Grey601(_b, _g, _r); }
double Cb601(double _b, double _g, double _r) {
    return 128 + 224.0 / 255 * (_b - Grey601(_b, _g, _r)) / (2 * (1 - kKb));
}
double Cr601(double _b, double _g, double _r) {
    return 128 + 224.0 / 255 * (_r - Grey601(_b, _g, _r)) / (2 * (1 - kKr));
}

int Limit(double _n) { return static_cast<int>(_n < 0 ? 0 : _n > 255 ? 255 : _n); }

std::array<int, 3> Bgr601(int _y, int _cb, int _cr) {
    const double y = 255.0 / 219 * (_y - 16), cb = 2 * 255.0 / 224 * (_cb - 128), cr = 2 * 255.0 / 224 * (_cr - 128);
    const double r = y + (1 - kKr) * cr, b = y + (1 - kKb) * cb;
    const double g = (y - kKr * r - kKb * b) / (1 - kKr - kKb);
    return {Limit(std::floor(b + 0.5)), Limit(std::floor(g + 0.5)), Limit(std::floor(r + 0.5))};
}

TEST(YuvRgb, BackFrom601IsTheStandardWithinOneStepForAllCodes) {
    int nOff = 0;
    for (int y = 0; y < 256; ++y)
        for (int cb = 0; cb < 256; cb += 3)
            for (int cr = 0; cr < 256; ++cr) {
                const BGR8 got = BgrOf601(y, cb, cr);
                const auto want = Bgr601(y, cb, cr);
                const int nDiff[] = {got.nB - want[0], got.nG - want[1], got.nR - want[2]};
                for (int n : nDiff) {
                    ASSERT_LE(std::abs(n), 1) << y << ' ' << cb << ' ' << cr;
                    nOff += n != 0;
                }
            }
    EXPECT_LT(nOff, 3 * 256 * 86 * 256 / 50);  // rounded the other way in less than 2 of 100
}

TEST(YuvRgb, To601IsTheStandardRounded) {
    const RGB_TO_YUV& m = kRgbToYuv601;
    for (int b = 0; b < 256; b += 3)
        for (int g = 0; g < 256; ++g)
            for (int r = 0; r < 256; r += 5) {
                ASSERT_NEAR(LumaOf(m, b, g, r), Luma601(b, g, r), 0.5 + 0.01);
                ASSERT_NEAR(CbOf(m, 2 * b, 2 * g, 2 * r), Cb601(b, g, r), 0.5 + 0.01);
                ASSERT_NEAR(CrOf(m, 2 * b, 2 * g, 2 * r), Cr601(b, g, r), 0.5 + 0.01);
            }
}

// ---- Whole rows on every instruction set, against plain loops over the definitions.

using ToYuvRow = void (*)(const uint8_t*, uint8_t*, size_t);
using ToRgbRow = void (*)(const uint8_t*, uint8_t*, size_t, uint8_t);

struct TO_YUV_CASE {
    const char* szName;
    ToYuvRow row;
    const RGB_TO_YUV* pMatrix;
    bool bLumaFirst;
};
struct TO_RGB_CASE {
    const char* szName;
    ToRgbRow row;
    BGR8 (*pPixel)(int, int, int);
    bool bLumaFirst;
};

BGR8 Matrix709(int _y, int _cb, int _cr) {
    const long y = _y - 16, cb = _cb - 128, cr = _cr - 128;
    const auto High = [](long n) { return static_cast<uint8_t>((n < 0 ? 0 : n > 65535 ? 65535 : n) / 256); };
    return {High(298 * y + 542 * cb), High(298 * y - 55 * cb - 137 * cr), High(298 * y + 459 * cr)};
}

constexpr TO_YUV_CASE arrToYuv[] = {
    {"uyvy_601", BgraToUyvyRow601, &kRgbToYuv601, false},
    {"yuy2_601", BgraToYuy2Row601, &kRgbToYuv601, true},
    {"uyvy_709", BgraToUyvyRow709, &kRgbToYuv709, false},
};
constexpr TO_RGB_CASE arrToRgb[] = {
    {"uyvy_601", UyvyToBgraRow601, BgrOf601, false},
    {"yuy2_601", Yuy2ToBgraRow601, BgrOf601, true},
    {"uyvy_709", UyvyToBgraRow709, Matrix709, false},
};

void CheckToYuv(const TO_YUV_CASE& _case, std::mt19937& _rng, size_t _nPairs, size_t _nSkew) {
    const Bytes src = test::HarshBytes(_rng, 8 * _nPairs);
    GuardedRow row(4 * _nPairs, _nSkew);
    _case.row(SourceRow(src, _nSkew).Get(), row.Get(), _nPairs);
    const Bytes got = row.Take();
    const RGB_TO_YUV& m = *_case.pMatrix;
    const size_t nLumaAt = _case.bLumaFirst ? 0 : 1;
    for (size_t x = 0; x < _nPairs; ++x) {
        const uint8_t* p = &src[8 * x];
        const int b = p[0] + p[4], g = p[1] + p[5], r = p[2] + p[6];
        ASSERT_EQ(got[4 * x + nLumaAt], LumaOf(m, p[0], p[1], p[2])) << "pair " << x << " of " << _nPairs;
        ASSERT_EQ(got[4 * x + nLumaAt + 2], LumaOf(m, p[4], p[5], p[6])) << "pair " << x << " of " << _nPairs;
        ASSERT_EQ(got[4 * x + 1 - nLumaAt], CbOf(m, b, g, r)) << "pair " << x << " of " << _nPairs;
        ASSERT_EQ(got[4 * x + 3 - nLumaAt], CrOf(m, b, g, r)) << "pair " << x << " of " << _nPairs;
    }
}

void CheckToRgb(const TO_RGB_CASE& _case, std::mt19937& _rng, size_t _nPairs, size_t _nSkew) {
    const Bytes src = test::HarshBytes(_rng, 4 * _nPairs);
    const auto nAlpha = static_cast<uint8_t>(_rng());
    GuardedRow row(8 * _nPairs, _nSkew);
    _case.row(SourceRow(src, _nSkew).Get(), row.Get(), _nPairs, nAlpha);
    const Bytes got = row.Take();
    const size_t nLumaAt = _case.bLumaFirst ? 0 : 1;
    for (size_t x = 0; x < 2 * _nPairs; ++x) {
        const uint8_t* pPair = &src[x / 2 * 4];
        const BGR8 want = _case.pPixel(pPair[nLumaAt + x % 2 * 2], pPair[1 - nLumaAt], pPair[3 - nLumaAt]);
        ASSERT_EQ(got[4 * x], want.nB) << "pixel " << x << " of " << 2 * _nPairs;
        ASSERT_EQ(got[4 * x + 1], want.nG) << "pixel " << x << " of " << 2 * _nPairs;
        ASSERT_EQ(got[4 * x + 2], want.nR) << "pixel " << x << " of " << 2 * _nPairs;
        ASSERT_EQ(got[4 * x + 3], nAlpha);
    }
}

TEST(YuvRgb, EveryTargetGivesTheFormula) {
    test::OnEveryTarget(130, [](std::mt19937& rng, size_t nPairs, size_t nSkew) {
        for (const auto& c : arrToYuv) {
            SCOPED_TRACE(c.szName);
            CheckToYuv(c, rng, nPairs, nSkew);
        }
        for (const auto& c : arrToRgb) {
            SCOPED_TRACE(c.szName);
            CheckToRgb(c, rng, nPairs, nSkew);
        }
    });
}

// A pixel in planes of full width is what a pair of that pixel is in 4:2:2.
TEST(YuvRgb, FullWidthChromaIsThatOfEqualPairs) {
    test::OnEveryTarget(200, [](std::mt19937& rng, size_t nPixels, size_t nSkew) {
        const Bytes src = test::HarshBytes(rng, 4 * nPixels);
        Bytes pairs;
        for (size_t x = 0; x < 8 * nPixels; ++x) pairs.push_back(src[x / 8 * 4 + x % 4]);
        GuardedRow y(nPixels, nSkew), cb(nPixels, nSkew + 1), cr(nPixels, nSkew + 2), uyvy(4 * nPixels);
        BgraToPlanesRow601(SourceRow(src, nSkew).Get(), y.Get(), cb.Get(), cr.Get(), nPixels);
        BgraToUyvyRow601(pairs.data(), uyvy.Get(), nPixels);
        const Bytes ys = y.Take(), cbs = cb.Take(), crs = cr.Take(), wanted = uyvy.Take();
        for (size_t x = 0; x < nPixels; ++x) {
            ASSERT_EQ(cbs[x], wanted[4 * x]) << x;
            ASSERT_EQ(ys[x], wanted[4 * x + 1]) << x;
            ASSERT_EQ(crs[x], wanted[4 * x + 2]) << x;
        }
        GuardedRow bgra(4 * nPixels, nSkew), twice(8 * nPixels);
        PlanesToBgraRow601(y.Get(), cb.Get(), cr.Get(), bgra.Get(), nPixels, 77);
        UyvyToBgraRow601(wanted.data(), twice.Get(), nPixels, 77);
        const Bytes got = bgra.Take(), want = twice.Take();
        for (size_t x = 0; x < got.size(); ++x) ASSERT_EQ(got[x], want[x / 4 * 8 + x % 4]) << x;
    });
}

}  // namespace
}  // namespace zr
