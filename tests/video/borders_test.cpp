// Borders: what the attributes say, and which pixels they take.

#include "video/borders.h"

#include <cstring>
#include <tuple>

#include "media/pixel_format.h"
#include "support/row_test.h"
#include "video/conversion_matrix.h"

namespace zr {
namespace {

using test::Bytes;

TEST(ReadBorders, SpreadsShortLists) {
    struct {
        const char16_t *szWidths, *szColours;
        HRESULT hr;
        int32_t arrWidths[4];
        int arrRed[4];  // -1: not drawn
    } const arrCases[] = {
        {u"4", u"", S_OK, {4, 4, 4, 4}, {255, 255, 255, 255}},
        {u"4, 0x10", u"red", S_OK, {4, 16, 4, 16}, {255, 255, 255, 255}},
        {u"1 2 3", u"red,black;-1", S_OK, {1, 2, 3, 0}, {255, 0, -1, -1}},
        {u"1|2|-3|4|5", u"red black", S_OK, {1, 2, -3, 4}, {255, 0, 255, 0}},
        {u"0", u"red", S_FALSE, {0, 0, 0, 0}, {255, 255, 255, 255}},
        {u"none", u"", S_FALSE, {0, 0, 0, 0}, {255, 255, 255, 255}},
    };
    for (const auto& c : arrCases) {
        SCOPED_TRACE(testing::PrintToString(std::u16string(c.szWidths)));
        BORDERS borders;
        EXPECT_EQ(ReadBorders(c.szWidths, c.szColours, &borders), c.hr);
        for (size_t i = 0; i < 4; ++i) {
            EXPECT_EQ(borders.arrWidths[i], c.arrWidths[i]) << i;
            const FILL_COLOUR& colour = borders.arrColours[i];
            EXPECT_EQ(colour.nAlpha == 0 ? -1 : colour.arrParts[0], c.arrRed[i]) << i;
        }
    }
}

constexpr FILL_COLOUR kRed = FILL_COLOUR::Rgb(255, 0, 0);
constexpr BORDERS AllSides(int32_t _l, int32_t _t, int32_t _r, int32_t _b) {
    return {{_l, _t, _r, _b}, {kRed, kRed, kRed, kRed}};
}

constexpr int32_t kMax = INT32_MAX;
// outer, inner: the border lies between the two
constexpr std::tuple<const char*, eZrFCC, bool, tagRECT, tagRECT, tagRECT, tagRECT> arrBorderCases[] = {
    {"rgb_as_asked", eZrFCC_RGB24, false, {9, 7, 21, 15}, {1, 2, 3, 1}, {8, 5, 24, 16}, {9, 7, 21, 15}},
    {"even_columns", eZrFCC_UYVY, false, {9, 7, 21, 15}, {1, 2, 3, 1}, {8, 5, 26, 16}, {10, 7, 22, 15}},
    {"even_rows", eZrFCC_YUY2, true, {9, 7, 21, 15}, {1, 1, 3, 1}, {8, 6, 26, 18}, {10, 8, 22, 16}},
    {"inside", eZrFCC_RGB32, false, {9, 7, 21, 15}, {-2, -1, -3, -1}, {9, 7, 21, 15}, {11, 8, 18, 14}},
    {"over_the_edge", eZrFCC_RGB32, false, {-5, -3, 12, 9}, {9, 9, 4, 4}, {0, 0, 16, 13}, {0, 0, 12, 9}},
    {"all_of_the_picture", eZrFCC_RGB32, false, {-9, -9, 99, 99}, {3, 3, 3, 3}, {0, 0, 32, 24}, {0, 0, 32, 24}},
    {"no_end", eZrFCC_RGB32, false, {4, 4, 6, 6}, {kMax, kMax, kMax, kMax}, {0, 0, 32, 24}, {4, 4, 6, 6}},
};

TEST(DrawBorders, TakesThePixelsAroundTheRectangle) {
    for (const auto& [szName, fcc, bInterlaced, rect, widths, outer, inner] : arrBorderCases)
        for (const int nAlpha : {100, 50}) {
            SCOPED_TRACE(testing::Message() << szName << ' ' << nAlpha);
            ZR_VID_PROPS props{.fccType = fcc,
                               .nWidth = 32,
                               .nHeight = PixelFormatBottomUp(fcc) ? -24 : 24,
                               .nRowBytes = 132,
                               .eInterlace = bInterlaced ? eZrI_Field1First : eZrI_Progressive};
            Bytes picture(132 * 24, 77);
            const auto& [l, t, r, b] = widths;
            const BORDERS borders = AllSides(l, t, r, b);
            ASSERT_EQ(DrawBorders(picture.data(), props, rect, borders, nAlpha / 100.0), S_OK);
            const FILL_PATTERN pattern = FillPattern(fcc, 0, kRed);
            const auto Inside = [](const tagRECT& _rect, int32_t x, int32_t y) {
                return x >= _rect.left && x < _rect.right && y >= _rect.top && y < _rect.bottom;
            };
            const int32_t nBytes = PixelFormatBits(fcc) / 8;
            for (int32_t y = 0; y < 24; ++y)
                for (int32_t i = 0; i < 132; ++i) {
                    const int32_t x = i / nBytes;
                    const bool bBorder = x < 32 && Inside(outer, x, y) && !Inside(inner, x, y);
                    const int nFill = pattern.arrBytes[static_cast<uint32_t>(i) % pattern.cb];
                    const int nWant = !bBorder ? 77 : nAlpha == 100 ? nFill : (nFill + 77) / 2;
                    ASSERT_EQ(picture[static_cast<size_t>(y * 132 + i)], nWant) << x << ' ' << y << " byte " << i;
                }
        }
}

TEST(DrawBorders, RefusesWhatCannotBeDrawn) {
    ZR_VID_PROPS props{.fccType = eZrFCC_v210, .nWidth = 48, .nHeight = 4};
    Bytes picture(128 * 4, 7);
    const tagRECT rect{6, 1, 12, 3}, outside{48, 0, 60, 4};
    EXPECT_EQ(DrawBorders(picture.data(), props, rect, AllSides(0, 1, 0, 1), 0.5), kTypeNotAccepted);
    EXPECT_EQ(DrawBorders(picture.data(), props, outside, AllSides(9, 9, 9, 9), 1), S_FALSE);
    EXPECT_EQ(picture, Bytes(128 * 4, 7));
    // Half-transparent over premultiplied black: a half of everything.
    props.fccType = eZrFCC_ARGB32;
    props.nHeight = -2;
    BORDERS borders = AllSides(0, -1, 0, 0);
    borders.arrColours[1].nAlpha = 128;
    Bytes clear(48 * 4 * 2);
    ASSERT_EQ(DrawBorders(clear.data(), props, {0, 0, 48, 2}, borders, 1), S_OK);
    EXPECT_EQ(Bytes(clear.begin(), clear.begin() + 4), (Bytes{0, 0, 128, 128}));
    EXPECT_EQ(clear[48 * 4 + 3], 0);
}

}  // namespace
}  // namespace zr
