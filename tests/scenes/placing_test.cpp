// Where elements stand. The expected values are worked out by hand from what each position name says.

#include "scenes/placing.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <tuple>

namespace zr {
namespace {

ZR_VID_PROPS Props(int32_t _nWidth, int32_t _nHeight, int16_t _nAspectX = 0, int16_t _nAspectY = 0) {
    ZR_VID_PROPS props{
        .fccType = eZrFCC_UYVY, .nWidth = _nWidth, .nHeight = _nHeight, .nAspectX = _nAspectX, .nAspectY = _nAspectY};
    return props;
}

void ExpectRect(const RECT_F& _rect, const RECT_F& _expected) {
    EXPECT_NEAR(_rect.left, _expected.left, 0.01);
    EXPECT_NEAR(_rect.top, _expected.top, 0.01);
    EXPECT_NEAR(_rect.right, _expected.right, 0.01);
    EXPECT_NEAR(_rect.bottom, _expected.bottom, 0.01);
}

// A parent of 1000 x 500 with its corner at (100, 200); the sibling before stands at (300, 250) to (500, 350).
constexpr std::tuple<const char*, const char16_t*, double, double, double, double, RECT_F> arrPlaceCases[] = {
    {"default_fills", u"", 0, 0, 1, 1, {100, 200, 1100, 700}},
    {"center_up_and_right", u"center", 0.1, 0.2, 0.5, 0.4, {450, 250, 950, 450}},
    {"unknown_is_center", u"somewhere", 0, 0, 0.5, 0.5, {350, 325, 850, 575}},
    {"left", u"left", 0.25, 0, 0.5, 1, {350, 200, 850, 700}},
    {"left_keeps_middle_up", u"left", 0, 0.1, 0.5, 0.2, {100, 350, 600, 450}},
    {"right_inward", u"right", 0.1, 0, 0.5, 1, {500, 200, 1000, 700}},
    {"top_down", u"top", 0, 0.1, 0.5, 0.2, {350, 250, 850, 350}},
    {"top_left", u"top-left", 0.1, 0.1, 0.2, 0.2, {200, 250, 400, 350}},
    {"top_right", u"TOP-RIGHT", 0.1, 0.1, 0.2, 0.2, {800, 250, 1000, 350}},
    {"bottom_inward", u"bottom", 0.1, 0.1, 0.2, 0.2, {600, 550, 800, 650}},
    {"bottom_left", u"bottom-left", 0.1, 0.1, 0.2, 0.2, {200, 550, 400, 650}},
    {"bottom_right", u"bottom-right", 0.1, 0.1, 0.2, 0.2, {800, 550, 1000, 650}},
    {"justify_is_from_the_left", u"top-justify", 0.1, 0.1, 0.2, 0.2, {200, 250, 400, 350}},
    {"front_by_its_low_bits", u"front-bottom-right", 0.1, 0.1, 0.2, 0.2, {800, 550, 1000, 650}},
    {"back_alone_is_center", u"back", 0, 0, 0.2, 0.2, {500, 400, 700, 500}},
    {"reserved_slot", u"back-!!! unused", 0.1, 0.1, 0.2, 0.2, {600, 250, 800, 350}},
    {"next_row", u"next-row", 0.1, 0.1, 0.2, 0.2, {200, 400, 400, 500}},
    {"next_col", u"next-col", 0.1, 0.1, 0.2, 0.2, {600, 250, 800, 350}},
    {"next_h", u"next-h", 0.1, 0.1, 0.2, 0.2, {600, 300, 800, 400}},
    {"next_v", u"next-v", 0.1, 0.1, 0.2, 0.2, {400, 400, 600, 500}},
    {"negative_width", u"top-left", 0, 0, -0.1, 0.2, {100, 200, 0, 300}},
};

TEST(PlacingTest, EveryPositionName) {
    for (const auto& [szName, szPos, dblX, dblY, dblW, dblH, expected] : arrPlaceCases) {
        SCOPED_TRACE(szName);
        PLACE_INPUT input;
        input.dblX = dblX, input.dblY = dblY, input.dblW = dblW, input.dblH = dblH;
        input.position = ReadPosition(szPos);
        ExpectRect(PlaceElement(input, nullptr, Props(1920, 1080), {100, 200, 1100, 700}, {300, 250, 500, 350}),
                   expected);
    }
}

TEST(PlacingTest, NamesAreFoundAtTheirPlaces) {
    int nFound = 0;
    for (int32_t i = 0; i < kPositionNames; ++i) nFound += ReadPosition(PositionName(i)).nIndex == i;
    EXPECT_EQ(nFound, kPositionNames - 9);  // of the four reserved ones in a row the first counts
    EXPECT_EQ(PositionName(16 + 4 + 1), u"front-top-left");
    EXPECT_EQ(PositionName(32 + 8 + 3), u"back-bottom-justify");
    EXPECT_EQ(PositionName(48), u"auto");
}

struct FIT_CASE {
    const char* szName;
    ZR_VID_PROPS source;
    double dblW, dblH, dblSw, dblSh;
    bool bHasHeight;
    RECT_F parent;
    float nWidth, nHeight;  // pixels of the result
};

const FIT_CASE arrFitCases[] = {
    {"4_3_by_width", Props(640, 480), 0.5, 1, 1, 1, false, {0, 0, 1920, 1080}, 960, 720},
    {"4_3_by_height", Props(640, 480), 1, 0.5, 1, 1, true, {0, 0, 1920, 1080}, 720, 540},
    {"wide_pixels", Props(720, 576, 16, 9), 0.5, 1, 1, 1, false, {0, 0, 1920, 1080}, 960, 540},
    {"bottom_up", Props(640, -480), 0.5, 1, 1, 1, false, {0, 0, 1920, 1080}, 960, 720},
    {"crop_to_half_the_width", Props(640, 480), 1, 0.5, 0.5, 1, true, {0, 0, 1920, 1080}, 360, 540},
    {"negative_keeps_its_sign", Props(640, 480), -0.5, 1, 1, 1, false, {0, 0, 1920, 1080}, -960, -720},
    {"a_narrow_group_counts_as_the_output", Props(640, 480), 1, 1, 1, 1, false, {0, 0, 480, 1080}, 480, 1440},
    {"in_a_flat_group_by_height", Props(640, 480), 1, 0.5, 1, 1, true, {0, 0, 1920, 540}, 720, 270},
    {"in_a_mirrored_group", Props(640, 480), 0.5, 1, 1, 1, false, {1920, 0, 0, 1080}, -960, 720},
    {"no_picture_no_fit", Props(0, 0), 0.5, 0.5, 1, 1, false, {0, 0, 1920, 1080}, 960, 540},
    {"empty_crop_no_fit", Props(640, 480), 0.5, 0.5, 1, 0, false, {0, 0, 1920, 1080}, 960, 540},
    {"empty_parent", Props(640, 480), 0.5, 0.5, 1, 1, false, {10, 10, 10, 10}, 0, 0},
};

TEST(PlacingTest, FitsToTheAspectOfThePicture) {
    for (const FIT_CASE& c : arrFitCases) {
        SCOPED_TRACE(c.szName);
        PLACE_INPUT input;
        input.dblW = c.dblW, input.dblH = c.dblH, input.dblSw = c.dblSw, input.dblSh = c.dblSh;
        input.bHasHeight = c.bHasHeight;
        input.bMaintainAr = true;
        const RECT_F rect = PlaceElement(input, &c.source, Props(1920, 1080), c.parent, {});
        EXPECT_NEAR(rect.Width(), c.nWidth, 0.01);
        EXPECT_NEAR(rect.Height(), c.nHeight, 0.01);
    }
}

TEST(PlacingTest, WhatIsNoSizeGivesARectangleAllTheSame) {
    constexpr double kInf = std::numeric_limits<double>::infinity();
    const double arrValues[] = {std::nan(""), kInf, -kInf, 1e300, -1e300, 0, 0.5};
    const ZR_VID_PROPS source = Props(640, 480);
    for (const double x : arrValues)
        for (const double w : arrValues)
            for (const char16_t* szPos : {u"center", u"bottom-right", u"next-v"}) {
                PLACE_INPUT input;
                input.dblX = x, input.dblY = w, input.dblW = w, input.dblH = x, input.dblSw = w, input.dblSh = x;
                input.position = ReadPosition(szPos);
                input.bMaintainAr = true;
                const RECT_F r = PlaceElement(input, &source, Props(1920, 1080), {0, 0, 1920, 1080}, {});
                for (const float edge : {r.left, r.top, r.right, r.bottom})
                    ASSERT_LE(std::abs(edge), static_cast<float>(1 << 23)) << x << " " << w;
            }
}

}  // namespace
}  // namespace zr
