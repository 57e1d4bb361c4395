// The coverage grid: 12 columns of 160 and 8 rows of 135 pixels of a picture of 1920 x 1080, counted by hand.

#include "mixer/coverage.h"

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>
#include <vector>

#include "mixer/video_block.h"
#include "support/drawn_show.h"

namespace zr {
namespace {

// nSolid, nEdge: cells
constexpr std::tuple<const char*, RECT_F, int32_t, int32_t, int32_t> arrFillCases[] = {
    {"whole", {0, 0, 1920, 1080}, 1080, 96, 0},
    {"whole_of_a_bottom_up_picture", {0, 0, 1920, 1080}, -1080, 96, 0},
    {"one_cell", {160, 135, 320, 270}, 1080, 1, 0},
    {"inside_a_cell", {170, 140, 200, 160}, 1080, 0, 1},
    {"quarter", {0, 0, 960, 540}, 1080, 24, 0},
    {"half_a_cell_wider", {0, 0, 1040, 540}, 1080, 24, 4},
    {"off_by_half_a_cell_all_around", {80, 67.5F, 400, 337.5F}, 1080, 1, 8},
    {"almost_on_the_border_is_on_it", {0.05F, 0, 159.95F, 135}, 1080, 0, 1},  // solid columns are cut, not rounded
    {"edges_in_the_wrong_order", {960, 540, 0, 0}, 1080, 24, 0},
    {"left_of_the_screen", {-500, 0, 0, 1080}, 1080, 0, 0},
    {"below_the_screen", {0, 1080, 1920, 2000}, 1080, 0, 0},
    {"larger_than_the_screen", {-1e6F, -1e6F, 1e6F, 1e6F}, 1080, 96, 0},
    {"empty", {160, 135, 160, 135}, 1080, 0, 0},
};

TEST(CoverageTest, CellsOfARectangle) {
    for (const auto& [szName, rect, nHeight, nSolidWanted, nEdgeWanted] : arrFillCases) {
        SCOPED_TRACE(szName);
        GLRectAuto map;
        map.Fill(rect, 1920, nHeight, 0.8);
        int32_t nSolid = 0, nEdge = 0;
        for (int32_t y = 0; y < GLRectAuto::kRows; ++y)
            for (int32_t x = 0; x < GLRectAuto::kColumns; ++x)
                if (map.At(x, y).bThere) ++(map.At(x, y).bSolid ? nSolid : nEdge);
        EXPECT_EQ(nSolid, nSolidWanted);
        EXPECT_EQ(nEdge, nEdgeWanted);
        EXPECT_EQ(map.Count(), nSolidWanted + nEdgeWanted);
        EXPECT_NEAR(map.Sum(), 0.8 * nSolidWanted + 0.4 * nEdgeWanted, 1e-9);
        EXPECT_EQ(map.IsVisible(), nSolidWanted + nEdgeWanted > 0);
    }
}

struct LAYER {
    RECT_F rect;
    double dblAlpha = 1;
    eZrFCC fccType = eZrFCC_UYVY;
    const char16_t* szMask = u"";
};
constexpr RECT_F kAll{0, 0, 1920, 1080};

// arrLayers: the last on top; arrShares: what is seen of each, of 1; below 0: not visible
const std::tuple<const char*, std::vector<LAYER>, bool, std::vector<double>> arrStackCases[] = {
    {"opaque_hides", {{kAll}, {kAll}}, true, {-1, 1}},
    // 0.99 of 0.01 is left, above a 256th; the one below has 0.0001 of it and is gone
    {"uncut_leaves_a_trace", {{kAll}, {kAll}}, false, {0.01, 1}},
    {"a_third_is_below_a_256th", {{kAll}, {kAll}, {kAll}}, false, {-1, 0.01, 1}},
    {"transparent_lets_through", {{kAll}, {kAll, 0.6}}, true, {0.4, 0.6}},
    {"alpha_in_the_picture_counts_three_tenths", {{kAll}, {kAll, 1, eZrFCC_ARGB32}}, true, {0.7, 1}},
    {"so_does_a_mask", {{kAll}, {kAll, 1, eZrFCC_UYVY, u"circle"}}, true, {0.7, 1}},
    {"no_picture_hides_little", {{kAll}, {kAll, 1, eZrFCC_Default}}, true, {0.7, 1}},
    {"two_above_multiply", {{kAll}, {kAll, 0.5}, {kAll, 0.5}}, true, {0.25, 0.25, 0.5}},
    {"half_covered", {{kAll}, {{0, 0, 960, 1080}}}, true, {0.5, 1}},
    {"edge_cells_hide_nothing", {{{0, 0, 100, 100}}, {{0, 0, 100, 100}}}, true, {1, 1}},
    {"off_screen_is_not_there", {{{2000, 0, 3000, 1080}}, {kAll}}, true, {-1, 1}},
    {"no_alpha_is_not_there", {{kAll}, {kAll, 0}}, true, {1, -1}},
    {"one_that_is_hidden_by_two", {{kAll}, {{0, 0, 960, 1080}}, {{960, 0, 1920, 1080}}}, true, {-1, 1, 1}},
};

TEST(CoverageTest, WhatIsSeenOfBlocksThatOverlap) {
    const ZR_VID_PROPS output = PictureProps(eZrFCC_UYVY, 1920, 1080);
    for (const auto& [szName, arrLayers, bCutOverlapped, arrShares] : arrStackCases) {
        SCOPED_TRACE(szName);
        std::vector<BlockPtr> arrBlocks;
        for (const LAYER& layer : arrLayers) {
            const BlockPtr pBlock = ZrVideoBlock::Make();
            BLOCK_LAYOUT layout;
            layout.output = output;
            layout.parent = layer.rect;  // which the block fills
            layout.dblAlpha = layer.dblAlpha;
            pBlock->SetMasks(layer.szMask, u"");
            pBlock->Layout(layout);
            if (layer.fccType != eZrFCC_Default) pBlock->Put(*ColourFrame(PictureProps(layer.fccType, 64, 36)), 2);
            arrBlocks.push_back(pBlock);
        }
        UpdateBlocks(output, arrBlocks, bCutOverlapped);
        for (size_t i = 0; i < arrBlocks.size(); ++i) {
            SCOPED_TRACE(i);
            const BLOCK_STATE state = arrBlocks[i]->State();
            EXPECT_EQ(state.bVisible, arrShares[i] >= 0);
            EXPECT_NEAR(state.dblVisibleShare, std::max(arrShares[i], 0.0), 1e-6);
        }
    }
}

}  // namespace
}  // namespace zr
