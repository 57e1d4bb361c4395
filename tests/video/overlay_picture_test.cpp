// Pictures over pictures of other formats: the one-pass rows against the two formulas one after the other, and whole
// pictures against conversion and mix.

#include "video/overlay_picture.h"

#include "picture_bytes.h"
#include "platform/thread_pool.h"
#include "video/color_convert.h"
#include "video/kernels/mix_row.h"
#include "video/kernels/over_yuv_row.h"
#include "video/kernels/yuv_rgb_row.h"

namespace zr {
namespace {

using test::Bytes;
using test::Props;

struct OVER_ROW {
    const char* szName;
    void (*row)(const uint8_t*, uint8_t*, size_t, uint32_t);
    const RGB_TO_YUV& matrix;
    size_t nLumaAt;
};

TEST(OverYuvRow, IsConversionThenMix) {
    const OVER_ROW arrRows[] = {{"uyvy_601", OverBgraOnUyvyRow601, kRgbToYuv601, 1},
                                {"yuy2_601", OverBgraOnYuy2Row601, kRgbToYuv601, 0},
                                {"uyvy_709", OverBgraOnUyvyRow709, kRgbToYuv709, 1}};
    test::OnEveryTarget(70, [&](std::mt19937& _rng, size_t _nPairs, size_t _nSkew) {
        for (const OVER_ROW& r : arrRows)
            for (const uint32_t nA : {256u, 255u, 128u, 1u, 0u}) {
                SCOPED_TRACE(testing::Message() << r.szName << ' ' << _nPairs << " weight " << nA);
                Bytes over = test::HarshBytes(_rng, 8 * _nPairs);
                if (_nPairs > 32) std::fill_n(over.begin() + 60, 150, uint8_t{0});  // some that is passed over
                const Bytes base = test::HarshBytes(_rng, 4 * _nPairs);
                const test::SourceRow source(over, _nSkew);
                test::GuardedRow row(base, _nSkew);
                r.row(source.Get(), row.Get(), _nPairs, nA);
                Bytes want = base;
                const auto nWeight = static_cast<int>(nA);
                for (size_t x = 0; x < _nPairs; ++x) {
                    const uint8_t* p = &over[8 * x];
                    const int m0 = SolidMask(p[3]), m1 = SolidMask(p[7]), m = (m0 + m1) >> 1;
                    const int nB = p[0] + p[4], nG = p[1] + p[5], nR = p[2] + p[6];
                    const auto Set = [&](size_t _nAt, int _nS, int _nMask, int _nOrigin) {
                        want[4 * x + _nAt] = MixMaskOffset(_nS, base[4 * x + _nAt], _nMask, nWeight, _nOrigin);
                    };
                    Set(r.nLumaAt, LumaOf(r.matrix, p[0], p[1], p[2]), m0, 16);
                    Set(r.nLumaAt + 2, LumaOf(r.matrix, p[4], p[5], p[6]), m1, 16);
                    Set(1 - r.nLumaAt, CbOf(r.matrix, nB, nG, nR), m, 128);
                    Set(3 - r.nLumaAt, CrOf(r.matrix, nB, nG, nR), m, 128);
                }
                ASSERT_EQ(row.Take(), want);
            }
    });
}

// Overlays of every format over bases of every format that mixes, hanging over an edge: the same as the whole overlay
// converted first and then mixed.
TEST(OverlayPicture, AnyFormatIsConvertedThenMixed) {
    std::mt19937 rng(11);
    ScalingEngine engine, other;
    const Bytes maskBytes = test::HarshBytes(rng, 48 * 20);
    const MIX_MASK mask{maskBytes.data(), 48, 48, 20};
    for (const eZrFCC fccOver : {eZrFCC_UYVY, eZrFCC_HDYC, eZrFCC_YUY2, eZrFCC_YVYU, eZrFCC_v210, eZrFCC_RGB24,
                                 eZrFCC_RGB32, eZrFCC_I420, eZrFCC_NV12})
        for (const eZrFCC fccBase : {eZrFCC_UYVY, eZrFCC_HDYC, eZrFCC_YUY2, eZrFCC_RGB24, eZrFCC_RGB32, eZrFCC_ARGB32})
            for (const bool bMask : {false, true}) {
                SCOPED_TRACE(testing::Message()
                             << std::hex << fccOver << " over " << fccBase << (bMask ? " masked" : ""));
                const ZR_VID_PROPS overProps = Props(fccOver, 48, fccOver == eZrFCC_RGB24 ? 20 : -20, 128),
                                   baseProps = Props(fccBase, 64, 24, 8);
                const Bytes over = test::HarshBytes(rng, PictureBytes(overProps));
                Bytes base = test::HarshBytes(rng, PictureBytes(baseProps)), want = base;
                const tagRECT overRect{14, 4, 48, 20}, baseRect{-6, 10, 40, 60};  // 14: within a group of v210
                const MIX_OPTIONS options{0.7, false, 0};
                ASSERT_EQ(OverlayPicture(engine, base.data(), baseProps, &baseRect, over.data(), overProps, &overRect,
                                         bMask ? &mask : nullptr, options),
                          S_OK);
                const ZR_VID_PROPS sameProps = Props(fccBase, 48, 20);
                Bytes converted(PictureBytes(sameProps));
                ASSERT_EQ(ColorConvert(other, over.data(), converted.data(), overProps, sameProps, nullptr, nullptr),
                          S_OK);
                const bool bSame = SameFamily(fccOver, fccBase);
                ASSERT_EQ(MixImage_Mask8(want.data(), baseProps, &baseRect, bSame ? over.data() : converted.data(),
                                         bSame ? overProps : sameProps, &overRect, bMask ? &mask : nullptr, options),
                          S_OK);
                ASSERT_EQ(base, want);
            }
}

TEST(OverlayPicture, ArgbGoesOverPackedPictures) {
    ScalingEngine engine;
    const ZR_VID_PROPS overProps = Props(eZrFCC_ARGB32, 4, -2);
    // A quarter of premultiplied red, clear, solid red, clear with light.
    const Bytes over = {0, 0, 64, 64, 0, 0, 0, 0, 0, 0, 255, 255, 9, 9, 9, 0,
                        0, 0, 64, 64, 0, 0, 0, 0, 0, 0, 255, 255, 9, 9, 9, 0};
    const ZR_VID_PROPS rgbProps = Props(eZrFCC_RGB24, 4, -2, 4);
    Bytes rgb(16 * 2, 100);
    ASSERT_EQ(OverlayPicture(engine, rgb.data(), rgbProps, nullptr, over.data(), overProps, nullptr, nullptr, {}),
              S_OK);
    const Bytes want = {75, 75, 139, 100, 100, 100, 0, 0, 255, 109, 109, 109, 100, 100, 100, 100};
    EXPECT_EQ(Bytes(rgb.begin(), rgb.begin() + 16), want);
    EXPECT_EQ(Bytes(rgb.begin() + 16, rgb.end()), want);

    // Rectangles, threads and row order, against the row over whole rows.
    std::mt19937 rng(3);
    const ZR_VID_PROPS bigProps = Props(eZrFCC_ARGB32, 80, 300, 12), uyvyProps = Props(eZrFCC_HDYC, 80, 300, 4);
    const Bytes big = test::HarshBytes(rng, PictureBytes(bigProps));
    Bytes base = test::HarshBytes(rng, PictureBytes(uyvyProps)), wanted = base;
    const tagRECT overRect{10, 5, 80, 300}, baseRect{-4, -10, 66, 300};
    for (int32_t y = 0; y < 285; ++y)  // ten rows cut off above: base row y is overlay row 15 + y, stored bottom-up
        OverBgraOnUyvyRow709(&big[static_cast<size_t>((299 - 15 - y) * bigProps.nRowBytes + 14 * 4)],
                             &wanted[static_cast<size_t>(y * uyvyProps.nRowBytes)], 33, 128);
    SetRowThreads(3);
    EXPECT_EQ(OverlayPicture(engine, base.data(), uyvyProps, &baseRect, big.data(), bigProps, &overRect, nullptr,
                             {0.5, false, 4}),
              S_OK);
    SetRowThreads(0);
    EXPECT_EQ(base, wanted);
}

TEST(OverlayPicture, RefusesWhatCannotBe) {
    ScalingEngine engine;
    Bytes base(4096, 5), over(4096, 6);
    const auto Overlay = [&](const ZR_VID_PROPS& _base, const ZR_VID_PROPS& _over,
                             const tagRECT* _pOverRect = nullptr) {
        return OverlayPicture(engine, base.data(), _base, nullptr, over.data(), _over, _pOverRect, nullptr, {});
    };
    const ZR_VID_PROPS uyvy = Props(eZrFCC_UYVY, 16, 16), argb = Props(eZrFCC_ARGB32, 16, 16);
    for (const eZrFCC fcc : {eZrFCC_I420, eZrFCC_YVYU, eZrFCC_RGB8})
        EXPECT_EQ(Overlay(Props(fcc, 16, 16), argb), E_INVALIDARG);
    EXPECT_EQ(Overlay(Props(eZrFCC_v210, 6, 6), argb), E_INVALIDARG);
    EXPECT_EQ(Overlay(uyvy, Props(eZrFCC_RGB24, 0, 16)), E_INVALIDARG);
    EXPECT_EQ(Overlay(uyvy, Props(eZrFCC_ARGB32, 16, 65536)), E_INVALIDARG);
    EXPECT_EQ(Overlay(uyvy, Props(eZrFCC_RGB24, 1, 16)), S_FALSE);
    const tagRECT outside{16, 0, 20, 16};
    EXPECT_NE(Overlay(uyvy, Props(eZrFCC_RGB24, 16, 16), &outside), S_OK);
    EXPECT_EQ(OverlayPicture(engine, nullptr, uyvy, nullptr, over.data(), argb, nullptr, nullptr, {}), E_POINTER);
    EXPECT_EQ(base, Bytes(4096, 5));
}

}  // namespace
}  // namespace zr
