// Filter tables by an independent calculation, and what scaled pictures must look like.

#include <gtest/gtest.h>

#include <cstdlib>
#include <tuple>

#include "picture_bytes.h"
#include "plain_scaler.h"
#include "video/conversion_matrix.h"
#include "video/image_convert.h"
#include "video/resize_sharpen.h"

namespace zr {
namespace {

using test::Bytes;
using test::PlainPlane;
using test::Props;
using enum eInterpolation;

constexpr eInterpolation arrModes[] = {Nearest,    Linear,      Cubic,         BSpline,
                                       CatmullRom, CubicB05C03, SuperSampling, Lanczos};

struct TABLE_CASE {
    int32_t nSrcRows, nDstRows;
    uint32_t nField;
    int32_t nTaps;
    double dblWidth;
    int32_t nParity, nIndex;
    std::vector<test::PlainTap> want;
};

// The rows and weights come from a calculation in another language, written from the rule alone.
const TABLE_CASE arrTables[] = {
    {1080, 720, 3, 3, 0.5, 0, 1, {{2, 128}, {1, 127}}},
    {1080, 720, 3, 4, 0.75, 0, 2, {{3, 212}, {4, 22}, {2, 21}}},
    {1080, 540, 3, 3, 0.5, 0, 100, {{200, 229}, {201, 13}, {199, 13}}},
    {1080, 540, 3, 5, 1, 0, 539, {{1078, 126}, {1079, 61}, {1077, 61}, {1076, 7}}},  // to the last line
    {1080, 576, 0, 5, 1, 0, 3, {{12, 116}, {10, 95}, {14, 28}, {8, 15}, {16, 1}}},
    {1080, 576, 0, 5, 1, 1, 3, {{13, 130}, {15, 63}, {11, 52}, {17, 6}, {9, 4}}},
    {540, 1080, 3, 3, 0.75, 0, 1, {{1, 128}, {0, 127}}},
    {576, 1080, 0, 3, 0.5, 1, 269, {{287, 255}}},
    {1080, 540, 1, 1, 1.125, 0, 10, {{20, 255}}},
    {1080, 540, 2, 1, 1.125, 1, 10, {{21, 255}}},
    {4, 2, 0, 2, 0, 1, 0, {{3, 128}, {1, 127}}},
    {7, 5, 3, 1, -1, 0, 4, {{6, 255}}},
};

TEST(ScalerFilter, HasTheRowsAndWeightsOfTheRule) {
    for (const TABLE_CASE& c : arrTables) {
        SCOPED_TRACE(testing::Message() << c.nSrcRows << " to " << c.nDstRows << ", field mode " << c.nField);
        VerticalFilter filter;
        ASSERT_EQ(filter.Init_Dyn(c.nSrcRows, c.nDstRows, c.nField, c.nTaps, c.dblWidth), S_OK);
        EXPECT_EQ(filter.Init_Dyn(c.nSrcRows, c.nDstRows, c.nField, c.nTaps, c.dblWidth), S_FALSE);
        const FILTER_ROW& row = filter.Row(c.nParity, c.nIndex);
        ASSERT_EQ(static_cast<size_t>(row.weights.nRows), c.want.size());
        for (size_t k = 0; k < c.want.size(); ++k) {
            EXPECT_EQ(row.arrRow[k], c.want[k].nRow) << k;
            EXPECT_EQ(row.weights.arrEven[k], c.want[k].nWeight) << k;
        }
    }
    VerticalFilter filter;
    EXPECT_EQ(filter.Init_Dyn(0, 5, 3, 3, 1), E_INVALIDARG);
    EXPECT_EQ(filter.Init_Dyn(5, -1, 3, 3, 1), E_INVALIDARG);
}

// The taps as real numbers from the kernels' textbook forms (Keys for the cubics with B = 0), at ratios that need no
// widening, so that the position of each sample is all there is to it.
TEST(HorizontalResampler, TapsAreTheKernelAtTheSamplesDistance) {
    struct {
        eInterpolation eMode;
        double (*pKernel)(double);
    } static constexpr arrKernels[] = {
        {Linear, [](double x) { return 1 - x; }},
        {Cubic, [](double x) { return x < 1 ? (x - 2) * x * x + 1 : ((-x + 5) * x - 8) * x + 4; }},
        {CatmullRom, [](double x) { return x < 1 ? (1.5 * x - 2.5) * x * x + 1 : ((-0.5 * x + 2.5) * x - 4) * x + 2; }},
        {BSpline, [](double x) { return x < 1 ? 2.0 / 3 - x * x + x * x * x / 2 : (2 - x) * (2 - x) * (2 - x) / 6; }},
        {Lanczos,
         [](double x) {
             const double p = std::numbers::pi * x;
             return x == 0 ? 1 : 3 * std::sin(p) * std::sin(p / 3) / (p * p);
         }},
    };
    for (const auto& [eMode, pKernel] : arrKernels) {
        SCOPED_TRACE(static_cast<int>(eMode));
        const std::vector<RESAMPLE_TAPS> taps = ResampleTaps(40, 64, eMode);
        for (int32_t x = 8; x < 56; ++x) {  // away from the ends
            const RESAMPLE_TAPS& tap = taps[static_cast<size_t>(x)];
            const double dblCentre = (x + 0.5) * 40 / 64 - 0.5;
            const double dblReach = eMode == Linear ? 1 : eMode == Lanczos ? 3 : 2;
            double dblSum = 0;
            for (int32_t k = 0; k < 40; ++k)
                if (std::abs(k - dblCentre) < dblReach) dblSum += pKernel(std::abs(k - dblCentre));
            int32_t nSum = 0;
            for (size_t k = 0; k < tap.arrCoefficients.size(); ++k) {
                const double dblAway = std::abs(tap.nStart + static_cast<double>(k) - dblCentre);
                const double dblWant = dblAway < dblReach ? pKernel(dblAway) / dblSum * 16384 : 0;
                EXPECT_NEAR(tap.arrCoefficients[k], dblWant, 1.01) << x << ", " << k;
                nSum += tap.arrCoefficients[k];
            }
            EXPECT_EQ(nSum, 16384);
        }
    }
}

TEST(HorizontalResampler, SuperSamplingIsTheMeanOfTheArea) {
    const std::vector<RESAMPLE_TAPS> taps = ResampleTaps(10, 4, SuperSampling);  // 2.5 source samples each
    ASSERT_EQ(taps.size(), 4u);
    EXPECT_EQ(taps[1].nStart, 2);  // 2.5 to 5: half of 2, all of 3 and 4
    EXPECT_NEAR(taps[1].arrCoefficients[0], 16384 * 0.2, 1);
    EXPECT_NEAR(taps[1].arrCoefficients[1], 16384 * 0.4, 1);
    EXPECT_NEAR(taps[1].arrCoefficients[2], 16384 * 0.4, 1);
}

// ---- Pictures

Bytes Resized(const PlainPlane& _src, int32_t _nWidth, int32_t _nHeight, eInterpolation _eMode, double _dblWidth,
              bool _bInterlaced = false, int32_t _nSharpness = 0) {
    ScalingEngine engine;
    Bytes out(static_cast<size_t>(_nWidth) * static_cast<size_t>(_nHeight), 0x5A);
    const RESIZE_INFO src{eZrFCC_RGB8, _src.nWidth, _src.nHeight, _src.nWidth},
        dst{eZrFCC_RGB8, _nWidth, _nHeight, _nWidth};
    RESIZE_PARAMS params;
    params.eMode = _eMode;
    params.dblWidth = _dblWidth;
    params.nSharpness = _nSharpness;
    EXPECT_EQ(SEH_Resize_n_Sharp(engine, _src.arrSamples.data(), out.data(), src, dst, _bInterlaced, params), S_OK);
    return out;
}

constexpr int32_t arrWidths[] = {200, 133, 100, 64, 37, 9};

TEST(Scaler, ConstantStaysButForOneStepOfTheWeights) {
    for (const eInterpolation eMode : arrModes)
        for (const int32_t nWidth : arrWidths)
            for (const int32_t nHeight : {100, 63, 20}) {
                PlainPlane src(100, 63);
                for (const uint8_t n : Bytes{0, 1, 128, 255}) {
                    std::fill(src.arrSamples.begin(), src.arrSamples.end(), n);
                    const uint8_t nWant = nHeight == 63 || n == 0 ? n : static_cast<uint8_t>(n - 1);
                    for (const uint8_t nGot : Resized(src, nWidth, nHeight, eMode, 0.75)) ASSERT_EQ(nGot, nWant);
                }
            }
}

TEST(Scaler, SymmetricRowsStaySymmetric) {
    for (const eInterpolation eMode : arrModes)
        for (const int32_t nWidth : arrWidths) {
            if (eMode == Nearest) continue;  // a tie goes to one side
            PlainPlane src(100, 1);
            for (int32_t x = 0; x < 50; ++x)
                src.At(x, 0) = src.At(99 - x, 0) = static_cast<uint8_t>(128 + 90 * std::sin(x * x * 0.02));
            const Bytes out = Resized(src, nWidth, 1, eMode, 1);
            for (size_t x = 0; x < out.size(); ++x)  // a step for rounding of equal halves
                ASSERT_NEAR(out[x], out[out.size() - 1 - x], 1) << static_cast<int>(eMode) << ", " << nWidth;
        }
}

TEST(Scaler, SharpensAlongRowsAfterAVerticalPassAndLeavesTheBorder) {
    PlainPlane src(6, 8);
    for (int32_t y = 0; y < 8; ++y)
        for (int32_t x = 0; x < 6; ++x) src.At(x, y) = static_cast<uint8_t>(x == 3 ? 150 : 100);
    // To half the height with one row each: then (40 * c - left - right) / 38 at sharpness 20.
    const Bytes out = Resized(src, 6, 4, Linear, -1, false, 20);
    const Bytes row(out.begin(), out.begin() + 6);
    EXPECT_EQ(row, (Bytes{0x5A, 100, 99, 153, 99, 0x5A}));  // 3750 / 38 = 98.7, 5800 / 38 = 152.6
    EXPECT_EQ(Bytes(out.end() - 6, out.end()), Bytes(6, 0x5A));
    // Without a vertical pass 3 by 3, the sharpness limited to 50: (10 * c - 8 around) / 2.
    const Bytes whole = Resized(src, 6, 8, Linear, -1, false, 60);
    EXPECT_EQ(Bytes(whole.begin() + 6, whole.begin() + 12), (Bytes{0x5A, 100, 25, 255, 25, 0x5A}));
    EXPECT_EQ(Bytes(whole.begin(), whole.begin() + 6), Bytes(6, 0x5A));
    // In fields rows of the other field do not count.
    for (int32_t x = 0; x < 6; ++x)
        for (int32_t y = 1; y < 8; y += 2) src.At(x, y) = 0;
    const Bytes fields = Resized(src, 6, 8, Linear, -1, true, 60);
    EXPECT_EQ(Bytes(fields.begin() + 12, fields.begin() + 18), (Bytes{0x5A, 100, 25, 255, 25, 0x5A}));
}

// ---- Arguments

TEST(ImageConvert, RefusesWhatCannotBeAndWritesNothing) {
    const auto U = eZrFCC_UYVY;
    const std::tuple<const char*, ZR_VID_PROPS, ZR_VID_PROPS, tagRECT, HRESULT> arrCases[] = {
        {"no_width", Props(U, 0, 10), Props(U, 8, 8), {0, 0, 8, 8}, E_INVALIDARG},
        {"no_height", Props(U, 16, 10), Props(U, 8, 0), {0, 0, 8, 8}, E_INVALIDARG},
        {"huge", Props(U, 65536, 65536), Props(U, 8, 8), {0, 0, 8, 8}, E_INVALIDARG},
        {"odd_width", Props(U, 15, 10), Props(U, 8, 8), {0, 0, 8, 8}, E_INVALIDARG},
        {"negative_stride", Props(U, 16, 10, -64), Props(U, 8, 8), {0, 0, 8, 8}, E_INVALIDARG},
        {"rectangle_beyond", Props(U, 16, 10), Props(U, 8, 8), {16, 0, 24, 8}, E_INVALIDARG},
        {"rectangle_above", Props(U, 16, 10), Props(U, 8, 8), {0, -9, 8, -1}, S_FALSE},
        {"rectangle_inside_out", Props(U, 16, 10), Props(U, 8, 8), {8, 8, 0, 0}, S_FALSE},
        {"unknown_format", Props(FourCC('a', 'b', 'c', 'd'), 16, 10), Props(U, 8, 8), {0, 0, 8, 8}, E_INVALIDARG},
        {"rgb_to_v210", Props(eZrFCC_RGB24, 16, 10), Props(eZrFCC_v210, 8, 8), {0, 0, 8, 8}, E_FAIL},
        {"565_to_smaller", Props(kFCC_RGB565, 16, 10), Props(kFCC_RGB565, 8, 4), {0, 0, 16, 10}, E_INVALIDARG},
    };
    for (const auto& [szName, srcProps, dstProps, srcRect, hr] : arrCases) {
        SCOPED_TRACE(szName);
        ScalingEngine engine;
        const Bytes src(4096, 1);
        Bytes dst(4096, 0xA5);
        EXPECT_EQ(
            Img_Convert(engine, src.data(), dst.data(), srcProps, dstProps, false, &srcRect, nullptr, Linear, 0, 0),
            hr);
        EXPECT_EQ(dst, Bytes(4096, 0xA5));
    }
    ScalingEngine engine;
    uint8_t n = 0;
    EXPECT_EQ(Img_Convert(engine, nullptr, &n, Props(U, 2, 2), Props(U, 2, 2), false, nullptr, nullptr, Linear, 0, 0),
              E_POINTER);
    EXPECT_EQ(SEH_Resize_n_Sharp(engine, &n, &n, {U, 8, 8, 16}, {U, 4, 4, 8}, false, {}), E_INVALIDARG);
    EXPECT_EQ(SEH_Resize_n_Sharp(engine, &n, &n, {eZrFCC_RGB24, 8, 8, 23}, {eZrFCC_RGB24, 4, 4, 12}, false, {}),
              E_INVALIDARG);
}

// Formats meet on the way: the two steps by hand give the same picture.
TEST(ImageConvert, ChangesFormatBeforeRgbAndAfterIt) {
    std::mt19937 rng(3);
    const Bytes uyvy = test::HarshBytes(rng, 96 * 30 * 2);
    ScalingEngine engine, other;
    const ZR_VID_PROPS large = Props(eZrFCC_UYVY, 96, 30), largeRgb = Props(eZrFCC_ARGB32, 96, -30),
                       small = Props(eZrFCC_UYVY, 48, 20), smallRgb = Props(eZrFCC_ARGB32, 48, -20),
                       smallV210 = Props(eZrFCC_v210, 48, 20);
    const auto Convert = [](ScalingEngine& _engine, const Bytes& _src, const ZR_VID_PROPS& _from,
                            const ZR_VID_PROPS& _to) {
        Bytes dst(PictureBytes(_to));
        EXPECT_EQ(Img_Convert(_engine, _src.data(), dst.data(), _from, _to, false, nullptr, nullptr, Lanczos, 0, 0),
                  S_OK);
        return dst;
    };
    const Bytes rgb = Convert(other, uyvy, large, largeRgb);
    EXPECT_EQ(Convert(engine, uyvy, large, smallRgb), Convert(other, rgb, largeRgb, smallRgb));
    EXPECT_EQ(Convert(engine, rgb, largeRgb, small),
              Convert(other, Convert(other, rgb, largeRgb, smallRgb), smallRgb, small));
    EXPECT_EQ(Convert(engine, uyvy, large, smallV210),
              Convert(other, Convert(other, uyvy, large, small), small, smallV210));
    const Bytes v210 = Convert(other, uyvy, large, Props(eZrFCC_v210, 96, 30));
    EXPECT_EQ(Convert(engine, v210, Props(eZrFCC_v210, 96, 30), small), Convert(other, uyvy, large, small));
}

}  // namespace
}  // namespace zr
