#include "video/scale_rects.h"

#include <gtest/gtest.h>

#include <climits>
#include <tuple>

#include "video/scaling_quality.h"

namespace zr {
namespace {

ZR_VID_PROPS Props(int32_t _nWidth, int32_t _nHeight, eZrFCC _fcc = eZrFCC_UYVY) {
    ZR_VID_PROPS props{
        .fccType = _fcc, .nWidth = _nWidth, .nHeight = _nHeight, .eInterlace = eZrI_Progressive, .dblRate = 25};
    return props;
}

struct RECT_PAIR {
    tagRECT src, dst;
};

void ExpectRects(const tagRECT& _got, const tagRECT& _want, const char* _szWhich) {
    EXPECT_EQ(_got.left, _want.left) << _szWhich;
    EXPECT_EQ(_got.top, _want.top) << _szWhich;
    EXPECT_EQ(_got.right, _want.right) << _szWhich;
    EXPECT_EQ(_got.bottom, _want.bottom) << _szWhich;
}

struct FIT_CASE {
    const char* szName;
    int32_t nSrcWidth, nSrcHeight;
    int16_t nSrcAspectX, nSrcAspectY;
    eZrScaleType eType;
    int32_t nDstWidth, nDstHeight;
    bool bScales;
    RECT_PAIR want;
};

constexpr FIT_CASE arrFits[] = {
    // 4:3 is three quarters of 16:9: 1440 of 1920, 240 on each side.
    {"pal_letter_box", 720, 576, 4, 3, eZrST_LetterBox, 1920, 1080, true, {{0, 0, 720, 576}, {240, 0, 1680, 1080}}},
    {"odd_margin", 720, 576, 4, 3, eZrST_LetterBox, 1912, 1080, true, {{0, 0, 720, 576}, {240, 0, 1672, 1080}}},  // 239
    // The other way a quarter of the lines goes, 72 on each side.
    {"pal_crop", 720, 576, 4, 3, eZrST_Crop, 1920, 1080, true, {{0, 72, 720, 504}, {0, 0, 1920, 1080}}},
    {"pal_automatic_is_crop", 720, 576, 4, 3, eZrST_Default, 1920, 1080, true, {{0, 72, 720, 504}, {0, 0, 1920, 1080}}},
    // 4:3 shows 16:9 in three quarters of its lines, 432 of 576.
    {"wide_letter_box", 1920, 1080, 16, 9, eZrST_LetterBox, 720, 576, true, {{0, 0, 1920, 1080}, {0, 72, 720, 504}}},
    {"ignore_aspect", 720, 576, 4, 3, eZrST_IgnoreAR, 1920, 1080, true, {{0, 0, 720, 576}, {0, 0, 1920, 1080}}},
    {"nearly_as_wide", 1920, 1080, 16, 9, eZrST_Default, 2048, 1080, true, {{0, 0, 1920, 1080}, {64, 0, 1984, 1080}}},
    {"half_the_lines", 1920, 540, 16, 9, eZrST_Default, 1920, 1080, true, {{0, 0, 1920, 540}, {0, 0, 1920, 1080}}},
    {"no_scale_smaller", 640, 360, 16, 9, eZrST_NoScale, 1280, 720, true, {{0, 0, 640, 360}, {320, 180, 960, 540}}},
    {"no_scale_larger", 1280, 720, 16, 9, eZrST_NoScale, 640, 360, true, {{320, 180, 960, 540}, {0, 0, 640, 360}}},
    {"the_same", 1920, 1080, 16, 9, eZrST_LetterBox, 1920, 1080, false, {{0, 0, 1920, 1080}, {0, 0, 1920, 1080}}},
    {"nothing", 0, 0, 16, 9, eZrST_Crop, 1920, 1080, false, {{0, 0, 0, 0}, {0, 0, 1920, 1080}}},
};

TEST(ScaleRects, FitsByTheScaleType) {
    for (const FIT_CASE& c : arrFits) {
        SCOPED_TRACE(c.szName);
        ZR_VID_PROPS src = Props(c.nSrcWidth, c.nSrcHeight), dst = Props(c.nDstWidth, c.nDstHeight);
        src.nAspectX = c.nSrcAspectX;
        src.nAspectY = c.nSrcAspectY;
        src.eScaleType = c.eType;
        dst.nAspectX = c.nDstWidth == 720 ? 4 : 16;
        dst.nAspectY = c.nDstWidth == 720 ? 3 : 9;
        RECT_PAIR got;
        EXPECT_EQ(ScaleRects(src, dst, got.src, got.dst), c.bScales);
        ExpectRects(got.dst, c.want.dst, "destination");
        ExpectRects(got.src, c.want.src, "source");
    }
}

TEST(ScaleRects, SourceTypeGoesBeforeDestinationType) {
    ZR_VID_PROPS src = Props(720, 576), dst = Props(1920, 1080);
    src.nAspectX = 4, src.nAspectY = 3, dst.nAspectX = 16, dst.nAspectY = 9;
    dst.eScaleType = eZrST_IgnoreAR;
    RECT_PAIR got;
    ScaleRects(src, dst, got.src, got.dst);
    ExpectRects(got.dst, {0, 0, 1920, 1080}, "destination's");
    src.eScaleType = eZrST_LetterBox;
    ScaleRects(src, dst, got.src, got.dst);
    ExpectRects(got.dst, {240, 0, 1680, 1080}, "source's");
}

// Between 100 x 100 pictures of 32 bits unless the name says otherwise.
constexpr std::tuple<const char*, tagRECT, tagRECT, bool, HRESULT, RECT_PAIR> arrClips[] = {
    {"inside", {10, 10, 60, 60}, {0, 0, 100, 100}, true, S_OK, {{10, 10, 60, 60}, {0, 0, 100, 100}}},
    {"source_cut_by_scale", {0, -10, 50, 40}, {0, 0, 100, 100}, true, S_OK, {{0, 0, 50, 40}, {0, 20, 100, 100}}},
    {"destination_cut_so", {0, 0, 50, 50}, {-20, 0, 80, 100}, true, S_OK, {{10, 0, 50, 50}, {0, 0, 80, 100}}},
    {"overhang_right_and_below", {0, 0, 50, 50}, {50, 50, 150, 150}, true, S_OK, {{0, 0, 25, 25}, {50, 50, 100, 100}}},
    {"no_scale_smaller_size", {0, 0, 80, 30}, {10, 10, 60, 100}, false, S_OK, {{0, 0, 50, 30}, {10, 10, 60, 40}}},
    {"empty_source", {20, 20, 20, 40}, {0, 0, 100, 100}, true, S_FALSE, {}},
    {"reversed_destination", {0, 0, 50, 50}, {60, 0, 40, 100}, true, S_FALSE, {}},
    {"wholly_left_of_the_destination", {0, 0, 50, 50}, {-60, 0, -10, 50}, true, S_FALSE, {}},
    {"left_beyond_the_source", {100, 0, 120, 10}, {0, 0, 100, 100}, true, E_INVALIDARG, {}},
    {"top_beyond_the_destination", {0, 0, 10, 10}, {0, 100, 10, 110}, true, E_INVALIDARG, {}},
    {"extremes", {INT_MIN, INT_MIN, INT_MAX, INT_MAX}, {0, 0, 100, 100}, true, S_FALSE, {}},
};

TEST(ClipRects, KeepsTheScaleOrTheSize) {
    const ZR_VID_PROPS props = Props(100, 100, eZrFCC_RGB32);
    for (const auto& [szName, src, dst, bKeepScale, hr, want] : arrClips) {
        SCOPED_TRACE(szName);
        RECT_PAIR got;
        EXPECT_EQ(ClipRects(props, props, got.src, got.dst, bKeepScale, &src, &dst), hr);
        ExpectRects(got.src, want.src, "source");
        ExpectRects(got.dst, want.dst, "destination");
    }
}

TEST(ClipRects, SharedChromaKeepsPairs) {
    const ZR_VID_PROPS src = Props(100, 100, eZrFCC_RGB32), dst = Props(100, -100, eZrFCC_UYVY);
    const tagRECT srcIn{11, 3, 52, 40}, dstIn{21, 3, 62, 40};
    RECT_PAIR got;
    ASSERT_EQ(ClipRects(src, dst, got.src, got.dst, true, &srcIn, &dstIn), S_OK);
    ExpectRects(got.src, {12, 3, 52, 40}, "source");
    ExpectRects(got.dst, {22, 3, 62, 40}, "destination");
    ASSERT_EQ(ClipRects(src, Props(0, 0), got.src, got.dst, true, nullptr, nullptr), E_INVALIDARG);
}

using enum eInterpolation;
constexpr eZrInterlace P = eZrI_Progressive, I = eZrI_Field1First;

struct QUALITY_CASE {
    const char* szName;
    int32_t nQuality;
    eZrInterlace eSrc, eDst;
    int32_t nSrcHeight, nDstHeight;
    double dblDstRate;
    int32_t nLevel;
    eInterpolation eMode;
    bool bSeparateFields;
};

constexpr QUALITY_CASE arrQualities[] = {
    {"explicit", 6, P, P, 1080, 720, 25, -1, CatmullRom, false},
    {"thirteen_is_linear_by_fields", 13, P, P, 1080, 720, 25, -1, Linear, true},
    {"ten_is_nearest_by_fields", 10, P, P, 1080, 720, 25, -1, Nearest, true},
    {"auto_both_interlaced", 0, I, I, 1080, 720, 25, -1, CatmullRom, true},
    {"auto_both_interlaced_far", 0, I, I, 1080, 360, 25, -1, SuperSampling, true},
    {"auto_both_interlaced_level", 0, I, I, 1080, 720, 25, 0, SuperSampling, true},
    {"auto_interlaced_to_double_rate", 0, I, P, 1080, 720, 50, -1, CatmullRom, true},
    {"auto_interlaced_to_same_rate", 0, I, P, 1080, 720, 25, -1, Cubic, false},
    {"auto_half_is_cubic", 0, P, P, 1080, 540, 25, -1, Cubic, false},
    {"auto_below_half", 0, P, P, 1080, 538, 25, -1, SuperSampling, false},
};

TEST(ScalingQuality, NormalisesAndChooses) {
    for (const QUALITY_CASE& c : arrQualities) {
        SCOPED_TRACE(c.szName);
        ZR_VID_PROPS src = Props(1920, c.nSrcHeight), dst = Props(1280, c.nDstHeight);
        src.eInterlace = c.eSrc;
        dst.eInterlace = c.eDst;
        dst.dblRate = c.dblDstRate;
        const SCALING_QUALITY got = ScalingQuality(c.nQuality, src, dst, c.nLevel);
        EXPECT_EQ(got.eMode, c.eMode);
        EXPECT_EQ(got.bSeparateFields, c.bSeparateFields);
    }
}

}  // namespace
}  // namespace zr
