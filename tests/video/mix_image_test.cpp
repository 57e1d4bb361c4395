#include "video/mix_image.h"

#include <cstring>

#include "picture_bytes.h"
#include "platform/thread_pool.h"
#include "video/kernels/mix_row.h"

namespace zr {
namespace {

using test::Bytes;
using test::Props;

constexpr int32_t kWidth = 48, kLines = 20;

// A picture of noise of the test's size; with a negative or positive height.
struct NOISE {
    NOISE(eZrFCC _fcc, int32_t _nHeight, uint32_t _nSeed) : props(Props(_fcc, kWidth, _nHeight, 12)) {
        std::mt19937 rng(_nSeed);
        bytes = test::HarshBytes(rng, static_cast<size_t>(props.nRowBytes) * kLines);
    }
    // Byte i of picture row y, from the top.
    size_t At(int32_t _y, int32_t _i) const {
        const bool bBottomUp = props.nHeight > 0 && (props.fccType == eZrFCC_ARGB32 || props.fccType == eZrFCC_RGB32 ||
                                                     props.fccType == eZrFCC_RGB24);
        return static_cast<size_t>((bBottomUp ? kLines - 1 - _y : _y) * props.nRowBytes + _i);
    }
    ZR_VID_PROPS props;
    Bytes bytes;
};

struct DISPATCH_CASE {
    const char* szName;
    eZrFCC fcc;
    int32_t nBytesPerPixel;
    int32_t nBaseHeight, nOverHeight;  // signs
    bool bMask, bPremul;
    // The formula: s, d, mask of the pixel, mask of the pair, byte of the pixel group, alpha of the pixel.
    int (*formula)(int s, int d, int m, int nPair, int32_t i, int nAlpha, int nA);
};

int Plain(int s, int d, int, int, int32_t, int, int nA) { return nA >= 256 ? s : MixPlain(s, d, nA); }
int Premul(int s, int d, int m, int, int32_t, int, int nA) { return MixMaskPremul(s, d, m, nA); }
int MaskPlain(int s, int d, int m, int, int32_t, int, int nA) { return MixMaskPlain(s, d, m, nA); }
int OffsetOdd(int s, int d, int m, int nPair, int32_t i, int, int nA) {
    return i % 2 ? MixMaskOffset(s, d, SolidMask(m), nA, 16) : MixMaskOffset(s, d, nPair, nA, 128);
}
int OffsetEven(int s, int d, int m, int nPair, int32_t i, int, int nA) {
    return OffsetOdd(s, d, m, nPair, i + 1, 0, nA);
}
int Over(int s, int d, int, int, int32_t, int nAlpha, int nA) {
    return nA >= 256 ? MixOver(s, d, nAlpha) : MixOver(ScaleByte(s, nA), d, ScaleByte(nAlpha, nA));
}

constexpr DISPATCH_CASE arrDispatch[] = {
    {"argb_over", eZrFCC_ARGB32, 4, -kLines, -kLines, false, false, Over},
    {"argb_ignores_the_mask", eZrFCC_ARGB32, 4, kLines, -kLines, true, true, Over},
    {"rgb32", eZrFCC_RGB32, 4, -kLines, kLines, false, false, Plain},
    {"rgb32_mask", eZrFCC_RGB32, 4, kLines, kLines, true, false, Premul},
    {"rgb24_mask", eZrFCC_RGB24, 3, kLines, -kLines, true, true, Premul},
    {"uyvy", eZrFCC_UYVY, 2, kLines, kLines, false, true, Plain},
    {"hdyc_mask", eZrFCC_HDYC, 2, kLines, kLines, true, false, MaskPlain},
    {"uyvy_mask_premul", eZrFCC_UYVY, 2, kLines, kLines, true, true, OffsetOdd},
    {"yuy2_mask", eZrFCC_YUY2, 2, kLines, kLines, true, false, MaskPlain},
    {"yuy2_mask_premul", eZrFCC_YUY2, 2, kLines, kLines, true, true, OffsetEven},
};

// The overlay's rectangle goes over the left and the lower edge of the base: 6 columns and 3 rows are cut off.
TEST(MixImageMask8, EachFormatByItsFormulaInItsPlace) {
    const tagRECT overRect{4, 2, 44, 18}, baseRect{-6, 7, 34, 23};
    std::mt19937 rng(5);
    const Bytes mask = test::HarshBytes(rng, 64 * 32);
    const MIX_MASK mixMask{mask.data(), 64, 64, 32, 3, 5};
    for (const DISPATCH_CASE& c : arrDispatch)
        for (const double dblAlpha : {1.0, 0.4}) {
            SCOPED_TRACE(c.szName);
            const NOISE over(c.fcc, c.nOverHeight, 1);
            NOISE base(c.fcc, c.nBaseHeight, 2);
            const Bytes before = base.bytes;
            const MIX_OPTIONS options{dblAlpha, c.bPremul, 0};
            ASSERT_EQ(MixImage_Mask8(base.bytes.data(), base.props, &baseRect, over.bytes.data(), over.props, &overRect,
                                     c.bMask ? &mixMask : nullptr, options),
                      S_OK);
            const int nA = dblAlpha == 1.0 ? 256 : 102;  // 0.4 * 256 = 102.4
            for (int32_t y = 0; y < kLines; ++y)
                for (int32_t i = 0; i < base.props.nRowBytes; ++i) {
                    const int32_t x = i / c.nBytesPerPixel;  // laid on columns 0 to 33, rows 7 to 19
                    int nWant = before[base.At(y, i)];
                    if (x < 34 && y >= 7) {
                        const auto MaskAt = [&](int32_t _x) {
                            return int(mask[static_cast<size_t>((5 + y - 7) * 64 + 3 + 6 + _x)]);
                        };
                        const int32_t nFrom = i + 10 * c.nBytesPerPixel, yFrom = 2 + y - 7;
                        nWant = c.formula(over.bytes[over.At(yFrom, nFrom)], nWant, MaskAt(x),
                                          (SolidMask(MaskAt(x & ~1)) + SolidMask(MaskAt(x | 1))) >> 1, i,
                                          over.bytes[over.At(yFrom, nFrom / 4 * 4 + 3)], nA);
                    }
                    ASSERT_EQ(base.bytes[base.At(y, i)], nWant)
                        << "row " << y << " byte " << i << " alpha " << dblAlpha;
                }
        }
}

TEST(MixImageMask8, RefusesWhatCannotBeMixed) {
    Bytes base(64 * 64 * 4, 7), over(64 * 64 * 4, 9), mask(64 * 64);
    const ZR_VID_PROPS uyvy = Props(eZrFCC_UYVY, 64, 64);
    const auto Mix = [&](const ZR_VID_PROPS& b, const ZR_VID_PROPS& o, const tagRECT* r = nullptr,
                         const MIX_MASK* m = nullptr) {
        return MixImage_Mask8(base.data(), b, r, over.data(), o, nullptr, m, {});
    };
    EXPECT_EQ(Mix(uyvy, Props(eZrFCC_YUY2, 64, 64)), E_INVALIDARG);
    EXPECT_EQ(Mix(Props(eZrFCC_I420, 64, 64), Props(eZrFCC_I420, 64, 64)), E_INVALIDARG);
    EXPECT_EQ(Mix(Props(eZrFCC_v210, 48, 64), Props(eZrFCC_v210, 48, 64)), E_INVALIDARG);
    EXPECT_EQ(Mix(uyvy, Props(eZrFCC_UYVY, 0, 64)), S_FALSE);
    EXPECT_EQ(Mix(Props(eZrFCC_HDYC, 64, 0), uyvy), S_FALSE);
    EXPECT_EQ(Mix(uyvy, Props(eZrFCC_UYVY, 65536, 65536)), E_INVALIDARG);
    EXPECT_EQ(MixImage_Mask8(nullptr, uyvy, nullptr, over.data(), uyvy, nullptr, nullptr, {}), E_POINTER);
    const tagRECT beyond{64, 0, 80, 64}, empty{10, 10, 10, 20}, low{0, 32, 64, 64};
    EXPECT_EQ(Mix(uyvy, uyvy, &beyond), E_INVALIDARG);
    EXPECT_EQ(Mix(uyvy, uyvy, &empty), S_FALSE);
    const MIX_MASK narrow{mask.data(), 64, 63, 64}, shallow{mask.data(), 64, 64, 31},
        negative{mask.data(), 64, 64, 64, -1, 0};
    EXPECT_EQ(Mix(uyvy, uyvy, nullptr, &narrow), E_INVALIDARG);
    EXPECT_EQ(Mix(uyvy, uyvy, &low, &shallow), E_INVALIDARG);
    EXPECT_EQ(Mix(uyvy, uyvy, nullptr, &negative), E_INVALIDARG);
    EXPECT_EQ(base, Bytes(64 * 64 * 4, 7));
}

TEST(MixImageMask8, ManyThreadsGiveTheSame) {
    EXPECT_EQ(MixWorkers(4, 63), 1);
    EXPECT_EQ(MixWorkers(4, 240), 1);
    EXPECT_EQ(MixWorkers(4, 241), 4);
    EXPECT_EQ(MixWorkers(0, 1080), 1);
    std::mt19937 rng(9);
    const ZR_VID_PROPS props = Props(eZrFCC_UYVY, 64, 301);
    const Bytes over = test::HarshBytes(rng, 128 * 301), base = test::HarshBytes(rng, 128 * 301),
                mask = test::HarshBytes(rng, 64 * 301);
    const MIX_MASK mixMask{mask.data(), 64, 64, 301};
    Bytes one = base, many = base;
    SetRowThreads(4);
    ASSERT_EQ(MixImage_Mask8(one.data(), props, nullptr, over.data(), props, nullptr, &mixMask, {0.7, true, 0}), S_OK);
    ASSERT_EQ(MixImage_Mask8(many.data(), props, nullptr, over.data(), props, nullptr, &mixMask, {0.7, true, 4}), S_OK);
    SetRowThreads(0);
    EXPECT_EQ(one, many);
}

TEST(MixImage, FadesInSteps) {
    Bytes base(8, 100);
    const Bytes over(8, 200);
    const ZR_VID_PROPS props = Props(eZrFCC_UYVY, 4, 1);
    ASSERT_EQ(MixImage(base.data(), props, over.data(), Props(eZrFCC_HDYC, 4, 1), 0.5), S_OK);
    EXPECT_EQ(base, Bytes(8, 150));
    ASSERT_EQ(MixImage(base.data(), props, over.data(), props, 2.0), S_OK);
    EXPECT_EQ(base, over);
    EXPECT_EQ(MixImage(base.data(), props, over.data(), Props(eZrFCC_YUY2, 4, 1), 0.5), kMixNotComparable);
    EXPECT_EQ(MixImage(base.data(), props, over.data(), Props(eZrFCC_UYVY, 0, 1), 0.5), kMixBadRecord);
    EXPECT_EQ(MixImage(base.data(), props, nullptr, props, 0.5), E_POINTER);

    // Premultiplied half-transparent white over mid grey: 128 + 100 * 127 / 255 = 177.8.
    Bytes pixel{100, 100, 100, 255};
    const Bytes white{128, 128, 128, 128};
    const ZR_VID_PROPS one = Props(eZrFCC_ARGB32, 1, 1), rgb = Props(eZrFCC_RGB32, 1, 1);
    ASSERT_EQ(MixImage(pixel.data(), rgb, white.data(), one, 1.0), S_OK);
    EXPECT_EQ(pixel, (Bytes{178, 178, 178, 255}));
}

}  // namespace
}  // namespace zr
