// Frames over frames: where the overlay ends up, which lines change, and what is refused.

#include <array>
#include <cstdlib>
#include <tuple>
#include <vector>

#include "frame_module/frame_builders.h"
#include "video/mix_image.h"

namespace zr {
namespace {

using Bytes = std::vector<uint8_t>;

Bytes BytesOf(IZrFFrame& _frame) {
    const std::span<uint8_t> video = VideoOf(_frame);
    return {video.begin(), video.end()};
}

// What of an RGB24 base, black before, is no longer black.
struct CHANGED {
    tagRECT rect{INT32_MAX, INT32_MAX, 0, 0};
    int32_t nPixels = 0;
};
CHANGED ChangedOf(IZrFFrame& _frame) {
    const ZRF_VID_PTR planes = PlanesOf(_frame);
    const auto* pTop = reinterpret_cast<const uint8_t*>(planes.lpVideoPlanes[0]);
    CHANGED changed;
    for (int32_t y = 0; y < planes.szVideoPlanes[0].cy; ++y)
        for (int32_t x = 0; x < planes.szVideoPlanes[0].cx; ++x) {
            const uint8_t* p = pTop + y * planes.cbVideoRowBytes[0] + 3 * x;
            if (p[0] == 0 && p[1] == 0 && p[2] == 0) continue;
            tagRECT& r = changed.rect;
            r = {std::min(r.left, x), std::min(r.top, y), std::max(r.right, x + 1), std::max(r.bottom, y + 1)};
            ++changed.nPixels;
        }
    return changed;
}

TEST(FrameOverlay, LiesAtAnEvenColumnIn422) {
    const auto pOver = OneColour(VidProps(eZrFCC_ARGB32, 10, -4), u"color=white");
    for (const auto& [nX, nLeft] : {std::pair{21, 20}, {20, 20}, {-3, -4}}) {
        const auto pBase = OneColour(VidProps(eZrFCC_UYVY, 64, 16));
        const int64_t llBefore = InfoOf(*pBase).llVideoID;
        ASSERT_EQ(pBase.As<IZrFrame>()->FrameOverlay(pOver.As<IZrFrame>().Get(), nX, 3, 1.0, nullptr), S_OK);
        EXPECT_NE(InfoOf(*pBase).llVideoID, llBefore);
        const Bytes bytes = BytesOf(*pBase);
        for (int32_t y = 0; y < 16; ++y)
            for (int32_t x = 0; x < 64; ++x) {
                const bool bIn = x >= nLeft && x < nLeft + 10 && y >= 3 && y < 7;
                ASSERT_EQ(bytes[static_cast<size_t>(y * 128 + 2 * x + 1)], bIn ? 235 : 16)
                    << nX << ": " << x << ' ' << y;
            }
    }
}

TEST(FrameOverlay, MixesByTheMaskOfTheOverlay) {
    // RGB8 stored top-down and bottom-up, and the alpha of ARGB32, say the same.
    const auto pOver = CountingFrame(VidProps(eZrFCC_YUY2, 16, 8));
    const auto pBaseBefore = OneColour(VidProps(eZrFCC_YUY2, 24, 10), u"color=grey");
    Bytes mask(16 * 8);
    for (size_t i = 0; i < mask.size(); ++i) mask[i] = static_cast<uint8_t>(37 * i);
    for (const int nKind : {0, 1, 2}) {
        SCOPED_TRACE(nKind);
        const auto pMask = OneColour(VidProps(nKind == 2 ? eZrFCC_ARGB32 : eZrFCC_RGB8, 16, nKind == 1 ? 8 : -8));
        const ZRF_VID_PTR planes = PlanesOf(*pMask);
        auto* pTop = reinterpret_cast<uint8_t*>(planes.lpVideoPlanes[0]);
        for (int32_t y = 0; y < 8; ++y)
            for (int32_t x = 0; x < 16; ++x)
                pTop[y * planes.cbVideoRowBytes[0] + (nKind == 2 ? 4 * x + 3 : x)] =
                    mask[static_cast<size_t>(16 * y + x)];
        for (const bool bPremul : {false, true}) {
            const auto pBase = CloneOf(*pBaseBefore, eZrFC_Video);
            Bytes want = BytesOf(*pBase);
            ASSERT_EQ(
                pBase->ZrFOverlay(pOver.Get(), pMask.Get(), -2, 5, 0.6, bPremul ? u"premultiplied=true" : u"", nullptr),
                S_OK);
            const tagRECT place{-2, 5, 14, 13};
            const MIX_MASK mixMask{mask.data(), 16, 16, 8};
            ASSERT_EQ(MixImage_Mask8(want.data(), PropsOf(*pBase).vidProps, &place, VideoOf(*pOver).data(),
                                     PropsOf(*pOver).vidProps, nullptr, &mixMask, {0.6, bPremul, 0}),
                      S_OK);
            EXPECT_EQ(BytesOf(*pBase), want);
        }
    }
}

constexpr std::tuple<const char*, ZRF_RECT, uint32_t, int32_t, int32_t, tagRECT> arrRects[] = {
    {"own_size", {30, 20, 100, 50, eZrFRT_Absolute}, eZrFOF_NoScale, 40, 20, {30, 20, 70, 40}},
    {"own_size_cut", {30, 20, 16, 10, eZrFRT_Absolute}, eZrFOF_NoScale, 40, 20, {30, 20, 46, 30}},
    {"stretched", {0.25, 0.5, 0.5, 0.25, eZrFRT_Relative}, eZrFOF_NoAR, 40, 40, {80, 90, 240, 135}},
    {"letter_box", {100, 10, 100, 50, eZrFRT_Absolute}, eZrFOF_LetterBox, 40, 40, {126, 10, 174, 60}},
    {"letter_box_of_a_wide_one", {100, 10, 80, 80, eZrFRT_Absolute}, eZrFOF_LetterBox, 40, 20, {100, 30, 180, 70}},
    {"cropped", {100, 10, 100, 50, eZrFRT_Absolute}, eZrFOF_Crop, 40, 40, {100, 10, 200, 60}},
    {"over_the_edges", {-50, -20, 400, 220, eZrFRT_Absolute}, eZrFOF_NoAR, 8, 8, {0, 0, 320, 180}},
    {"caption_cells", {4, 3, 8, 2, eZrFRT_FixedCC_15x32}, eZrFOF_NoAR, 8, 8, {40, 36, 120, 60}},
    {"rows", {1, 2, 3, 4, eZrFRT_Fixed20}, eZrFOF_NoAR, 8, 8, {9, 18, 36, 54}},
    {"first_field", {10, 20, 40, 40, eZrFRT_Absolute}, eZrFOF_NoAR | eZrFOF_FirstField, 8, 8, {10, 20, 50, 59}},
    {"second_field", {10, 20, 40, 40, eZrFRT_Absolute}, eZrFOF_NoAR | eZrFOF_SecondField, 8, 8, {10, 21, 50, 60}},
    {"both_fields", {10, 20, 40, 40, eZrFRT_Absolute}, eZrFOF_NoAR | 0x3000, 8, 8, {10, 20, 50, 60}},
};

TEST(FrameOverlayRect, FillsTheRectangleAsTheFlagsSay) {
    for (const auto& [szName, rect, nFlags, nOverWidth, nOverHeight, changedWanted] : arrRects) {
        SCOPED_TRACE(szName);
        const auto pBase = OneColour(VidProps(eZrFCC_RGB24, 320, 180));
        const auto pOver = OneColour(VidProps(eZrFCC_RGB32, nOverWidth, nOverHeight), u"color=white");
        ASSERT_EQ(pBase->ZrFOverlayRect(pOver.Get(), nullptr, &rect, static_cast<eZrFOverlayFlags>(nFlags), 1.0,
                                        nullptr, nullptr),
                  S_OK);
        const CHANGED changed = ChangedOf(*pBase);
        EXPECT_EQ(changed.rect.left, changedWanted.left);
        EXPECT_EQ(changed.rect.top, changedWanted.top);
        EXPECT_EQ(changed.rect.right, changedWanted.right);
        EXPECT_EQ(changed.rect.bottom, changedWanted.bottom);
        const bool bOneField = (nFlags & 0x3000) == eZrFOF_FirstField || (nFlags & 0x3000) == eZrFOF_SecondField;
        const int32_t nLines = changedWanted.bottom - changedWanted.top;
        EXPECT_EQ(changed.nPixels,
                  (changedWanted.right - changedWanted.left) * (bOneField ? (nLines + 1) / 2 : nLines));
    }
}

// Each line of the overlay has a value of its own: at its own size a line of the base shows the line that lies on it,
// whether one field changes or both.
TEST(FrameOverlayRect, AFieldShowsTheLinesThatLieOnIt) {
    const auto pOver = OneColour(VidProps(eZrFCC_RGB24, 8, -10));
    const std::span<uint8_t> over = VideoOf(*pOver);
    for (size_t i = 0; i < over.size(); ++i) over[i] = static_cast<uint8_t>(1 + i / (over.size() / 10));
    for (const int32_t nTop : {4, 5, -3, -4})
        for (const uint32_t nField : {0u, 1u, 2u}) {
            SCOPED_TRACE(testing::Message() << "top " << nTop << " field " << nField);
            const auto pBase = OneColour(VidProps(eZrFCC_RGB24, 8, 20));
            const ZRF_RECT rect{0, static_cast<double>(nTop), 8, 10, eZrFRT_Absolute};
            ASSERT_EQ(pBase->ZrFOverlayRect(pOver.Get(), nullptr, &rect, static_cast<eZrFOverlayFlags>(nField << 12), 1,
                                            nullptr, nullptr),
                      S_OK);
            const ZRF_VID_PTR planes = PlanesOf(*pBase);
            for (int32_t y = 0; y < 20; ++y) {
                const int32_t nLine = y - nTop;
                const bool bShown =
                    nLine >= 0 && nLine < 10 && (nField == 0 || y % 2 == static_cast<int32_t>(nField) - 1);
                const auto* p =
                    reinterpret_cast<const uint8_t*>(planes.lpVideoPlanes[0]) + y * planes.cbVideoRowBytes[0];
                ASSERT_EQ(*p, bShown ? 1 + nLine : 0) << y;
            }
        }
}

// A mask that is stretched with the overlay lets the same part of it through.
TEST(FrameOverlayRect, ScalesTheMaskWithTheOverlay) {
    const auto pBase = OneColour(VidProps(eZrFCC_HDYC, 128, 64));
    const auto pOver = OneColour(VidProps(eZrFCC_RGB32, 64, -64), u"color=white");
    const auto pMask = OneColour(VidProps(eZrFCC_RGB8, 32, -32));
    const std::span<uint8_t> mask = VideoOf(*pMask);
    for (size_t i = 0; i < mask.size(); ++i) mask[i] = i % 32 >= 16 ? 255 : 0;  // the right half
    const ZRF_RECT rect{-64, 0, 192, 64, eZrFRT_Absolute};                      // its left half ends at column 32
    ASSERT_EQ(pBase->ZrFOverlayRect(pOver.Get(), pMask.Get(), &rect, eZrFOF_NoAR, 1, nullptr, nullptr), S_OK);
    const Bytes bytes = BytesOf(*pBase);
    for (int32_t x = 0; x < 128; ++x) {
        if (std::abs(x - 32) < 10) continue;
        ASSERT_NEAR(bytes[static_cast<size_t>(30 * 256 + 2 * x + 1)], x < 32 ? 16 : 235, 2) << x;
    }
}

TEST(FrameOverlay, RefusesAndLeavesTheBase) {
    const auto pOver = CountingFrame(VidProps(eZrFCC_UYVY, 16, 8));
    const auto pBase = CountingFrame(VidProps(eZrFCC_UYVY, 32, 16)),
               pPlanar = CountingFrame(VidProps(eZrFCC_I420, 32, 16));
    const auto pEmpty = EmptyFrame();
    const auto pSmallMask = CountingFrame(VidProps(eZrFCC_RGB8, 14, -8)),
               pNoMask = CountingFrame(VidProps(eZrFCC_YUY2, 16, 8));
    const auto Over = [&](IZrFFrame& _base, IZrFFrame* _pOver, IZrFFrame* _pMask, int32_t _x, int32_t _y,
                          double _dblAlpha = 1) {
        return _base.ZrFOverlay(_pOver, _pMask, _x, _y, _dblAlpha, nullptr, nullptr);
    };
    const Bytes before = BytesOf(*pBase);
    EXPECT_EQ(Over(*pBase, nullptr, nullptr, 0, 0), E_POINTER);
    EXPECT_EQ(Over(*pBase, pEmpty.Get(), nullptr, 0, 0), ZR_E_EMPTY);
    EXPECT_EQ(Over(*pEmpty, pOver.Get(), nullptr, 0, 0), ZR_E_EMPTY);
    EXPECT_EQ(Over(*pPlanar, pOver.Get(), nullptr, 0, 0), E_INVALIDARG);
    EXPECT_EQ(Over(*pBase, pOver.Get(), pSmallMask.Get(), 0, 0), E_INVALIDARG);
    EXPECT_EQ(Over(*pBase, pOver.Get(), pNoMask.Get(), 0, 0), E_INVALIDARG);
    for (const int32_t n : {32, INT32_MAX, -16, INT32_MIN}) {
        EXPECT_EQ(Over(*pBase, pOver.Get(), nullptr, n, 0), S_FALSE) << n;
        EXPECT_EQ(Over(*pBase, pOver.Get(), nullptr, 0, n), S_FALSE) << n;
    }
    EXPECT_EQ(Over(*pBase, pOver.Get(), nullptr, 0, 0, 0.0), S_OK);
    EXPECT_EQ(
        pBase->ZrFOverlayRect(pOver.Get(), nullptr, nullptr, static_cast<eZrFOverlayFlags>(3), 1, nullptr, nullptr),
        E_INVALIDARG);
    EXPECT_EQ(BytesOf(*pBase), before);
}

TEST(FrameOverlay, APictureMayLieOverItself) {
    const auto pBase = CountingFrame(VidProps(eZrFCC_RGB32, 32, -16));
    const Bytes before = BytesOf(*pBase);
    ASSERT_EQ(pBase->ZrFOverlay(pBase.Get(), nullptr, 4, 2, 1.0, nullptr, nullptr), S_OK);
    const Bytes after = BytesOf(*pBase);
    for (size_t y = 0; y < 16; ++y)
        for (size_t x = 0; x < 128; ++x)
            ASSERT_EQ(after[y * 128 + x], y >= 2 && x >= 16 ? before[(y - 2) * 128 + x - 16] : before[y * 128 + x]);
}

}  // namespace
}  // namespace zr
