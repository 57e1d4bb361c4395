// Whole scenes drawn, against a plain twin and against themselves.

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <span>
#include <tuple>
#include <utility>

#include "support/allocation_count.h"
#include "support/drawn_show.h"
#include "support/temp_folder.h"
#include "video/overlay_picture.h"
#include "video/picture_file.h"

namespace zr {
namespace {

std::span<const uint8_t> BytesOf(IZrFFrame& _frame) {
    int32_t cb = 0;
    int64_t pb = 0;
    EXPECT_EQ(_frame.ZrFVideoGetBytes(&cb, &pb), S_OK);
    return {reinterpret_cast<const uint8_t*>(pb), static_cast<size_t>(cb)};
}
int64_t PictureID(IZrFFrame& _frame) {
    ZRF_FRAME_INFO info;
    _frame.ZrFAllGet(&info);
    return info.llVideoID;
}
ZrPtr<IZrFFrame> NoiseFrame(const ZR_VID_PROPS& _props, uint32_t _nSeed) {
    ZrPtr<IZrFFrame> pFrame = ColourFrame(_props);
    std::minstd_rand random(_nSeed);
    int32_t cb = 0;
    int64_t pb = 0;
    pFrame->ZrFVideoGetBytes(&cb, &pb);
    auto* const p = reinterpret_cast<uint8_t*>(pb);
    for (int32_t i = 0; i < cb; ++i) p[i] = static_cast<uint8_t>(random() >> 8);
    if (_props.fccType == eZrFCC_ARGB32)  // colours stay below their alpha
        for (int32_t i = 0; i < cb; i += 4)
            for (int k = 0; k < 3; ++k) p[i + k] = static_cast<uint8_t>(p[i + k] * p[i + 3] / 255);
    return pFrame;
}

CAutoObj<BlockPicture> PictureOf(ZrVideoBlock& _block) {
    BLOCK_DRAW draw = _block.ToDraw();
    _block.MakePicture(draw, false);
    return draw.pPicture;
}

// One layer after the other over the whole picture, the way one would do it by hand. Of flat scenes.
std::vector<uint8_t> Twin(DrawnShow& _show, IZrFFrame* _pBase) {
    const ZR_VID_PROPS& output = _show.output;
    const ZrPtr<IZrFFrame> pBase = _pBase ? ZrPtr<IZrFFrame>(_pBase) : ColourFrame(output);
    const std::span<const uint8_t> base = BytesOf(*pBase);
    std::vector<uint8_t> out(base.begin(), base.end());
    const ElementPtr pForeground = _show.pScene->FindChild(u"foreground");
    ScalingEngine engine;
    for (size_t i = 0; i < pForeground->ChildCount(); ++i) {
        const ElementPtr p = pForeground->ChildAt(i);
        const BlockPtr pBlock = p->ObjectAs<BlockPtr>(kVideoBlockKey);
        const CAutoObj<BlockPicture> pPicture = pBlock ? PictureOf(*pBlock) : CAutoObj<BlockPicture>();
        if (!pPicture || !pPicture->pBits) continue;
        const MIX_OPTIONS options{p->AttributeOr(u"alpha", 1.0), pPicture->bPremultiplied, 0};
        const MIX_MASK mask = pPicture->mask.Mask();
        OverlayPicture(engine, out.data(), output, &pPicture->dstRect, pPicture->pBits, pPicture->props,
                       &pPicture->srcRect, pPicture->bMasked ? &mask : nullptr, options);
    }
    return out;
}

std::string FccText(const ZR_VID_PROPS& _props) {
    return std::to_string(_props.fccType) + " of " + std::to_string(_props.nWidth) + "x" +
           std::to_string(_props.nHeight);
}

constexpr const char16_t* arrPositions[] = {u"center", u"top-left", u"bottom-right", u"left", u"next-h", u"next-row"};
constexpr double arrOdd[] = {1e300, -1e300, 1e-300, 0, -0.5, 7};

void Scatter(std::minstd_rand& _random, CoElement& _element) {
    const auto Unit = [&] { return static_cast<double>(_random() % 1000) / 1000; };
    const auto Size = [&] { return _random() % 12 == 0 ? arrOdd[_random() % std::size(arrOdd)] : Unit() * 1.3; };
    const uint32_t nWhat = _random() % 4;
    if (nWhat < 2) {  // only another part of the picture
        _element.SetAttribute(u"sx", Unit() * 0.5);
        _element.SetAttribute(u"sw", 0.5);
    }
    if (nWhat == 1) {  // ... in its own size, half seen through
        _element.SetAttribute(u"w", 0.5);
        _element.SetAttribute(u"h", 1.0);
        _element.SetAttribute(u"alpha", 0.5);
        _element.SetAttribute(u"maintain_ar", false);
    }
    if (nWhat < 2) return;
    _element.SetAttribute(u"pos", arrPositions[_random() % std::size(arrPositions)]);
    _element.SetAttribute(u"x", Size() - 0.5);
    _element.SetAttribute(u"y", Size() - 0.5);
    _element.SetAttribute(u"w", Size());
    _element.SetAttribute(u"h", Size());
    _element.SetAttribute(u"sx", _random() % 4 == 0 ? Size() - 0.5 : 0.0);
    _element.SetAttribute(u"sw", _random() % 4 == 0 ? Size() : 1.0);
    _element.SetAttribute(u"alpha", _random() % 2 == 0 ? Unit() : 1.0);
    const char16_t* const arrMasks[] = {u"", u"", u"", u"circle", u"round_rect"};
    _element.SetAttribute(u"mask", arrMasks[_random() % std::size(arrMasks)]);
    _element.SetAttribute(u"screen_mask", _random() % 8 == 0 ? u"circle" : u"");
    _element.SetAttribute(u"maintain_ar", _random() % 3 == 0);
    _element.SetAttribute(u"cut_offscreen", _random() % 2 == 0);
}

const std::tuple<const char*, ZR_VID_PROPS, bool> arrShowCases[] = {
    {"packed", PictureProps(eZrFCC_UYVY, 320, 180), true},
    {"packed_on_black", PictureProps(eZrFCC_YUY2, 322, 178), false},
    {"fields", PictureProps(eZrFCC_UYVY, 320, 576, eZrI_Field1First), true},
    {"rgb", PictureProps(eZrFCC_RGB24, 324, 181), true},
    {"alpha", PictureProps(eZrFCC_ARGB32, 320, 180), false},
};

// Each frame some elements move, some streams show another frame, some masks change; the picture is that of the twin,
// and of a show that begins with this frame.
TEST(DrawTest, IncrementalDrawingIsDrawingAnew) {
    const ZR_VID_PROPS arrSources[] = {
        PictureProps(eZrFCC_UYVY, 320, 180), PictureProps(eZrFCC_ARGB32, 100, 80), PictureProps(eZrFCC_I420, 64, 48),
        PictureProps(eZrFCC_UYVY, 720, 576, eZrI_Field2First), PictureProps(eZrFCC_RGB32, 33, 21)};
    for (const auto& [szName, output, bBase] : arrShowCases) {
        SCOPED_TRACE(szName);
        std::minstd_rand random(7);
        DrawnShow show(output);
        int32_t nLaidByRows = 0;
        show.pObject->SetAttribute(u"mixing.threads", 3);
        std::u16string body;
        for (size_t i = 0; i < std::size(arrSources); ++i) {
            const char16_t n = static_cast<char16_t>(u'0' + i);
            show.AddStream(std::u16string(u"s") + n);
            show.Show(i, NoiseFrame(arrSources[i], static_cast<uint32_t>(i + 1)));
            body += std::u16string(u"<video id='v") + n + u"' stream_idx='" + n + u"'/>";
        }
        show.Scene(body);
        const ZrPtr<IZrFFrame> pBase = bBase ? NoiseFrame(output, 99) : ZrPtr<IZrFFrame>();
        show.Draw(pBase.Get());
        for (uint32_t nFrame = 0; nFrame < 60; ++nFrame) {
            SCOPED_TRACE(nFrame);
            for (size_t i = 0; i < std::size(arrSources); ++i) {
                if (random() % 4 == 0) Scatter(random, *show.Element(std::u16string(u"v") + char16_t(u'0' + i)));
                if (random() % 3 == 0)
                    show.Show(i, NoiseFrame(arrSources[(i + random() % 2) % std::size(arrSources)],
                                            nFrame * 10 + static_cast<uint32_t>(i)));
            }
            show.Draw(pBase.Get());
            // Once more, as what was set is laid out in one frame and seen in the next: with the same frames, whose
            // pictures are kept then, or with copies of them, which are scaled as they are laid. Then the twin looks.
            for (size_t i = 0; nFrame % 2 != 0 && i < std::size(arrSources); ++i) {
                ZrPtr<IZrFFrame> pCopy;
                ASSERT_EQ(show.arrFrames[i]->ZrFClone(pCopy.Out(), eZrFC_Full, eZrFCC_Default), S_OK);
                show.Show(i, pCopy);
            }
            ZrPtr<IZrFFrame> pFrame = show.Draw(pBase.Get());
            for (size_t i = 0; i < std::size(arrSources); ++i) {
                const BlockPtr p =
                    show.Element(std::u16string(u"v") + char16_t(u'0' + i))->ObjectAs<BlockPtr>(kVideoBlockKey);
                nLaidByRows += p && p->ToDraw().pFrame ? 1 : 0;
            }
            if (!pFrame) pFrame = pBase ? pBase : ColourFrame(output);
            const std::vector<uint8_t> twin = Twin(show, pBase.Get());
            const std::span<const uint8_t> drawn = BytesOf(*pFrame);
            ASSERT_EQ(twin.size(), drawn.size());
            ASSERT_EQ(std::memcmp(twin.data(), drawn.data(), drawn.size()), 0);

            if (nFrame % 6 != 0) continue;
            DrawnShow fresh(output);
            std::u16string xml;
            show.pScene->Write(xml);
            fresh.pScene->Parse(xml);
            for (size_t i = 0; i < std::size(arrSources); ++i) {
                fresh.AddStream(show.arrStreams[i]->Id());
                fresh.Show(i, show.arrFrames[i]);
            }
            ZrPtr<IZrFFrame> pAnew;
            for (int i = 0; i < 3; ++i) pAnew = fresh.Draw(pBase.Get());
            if (!pAnew) pAnew = pBase ? pBase : ColourFrame(output);
            const std::span<const uint8_t> anew = BytesOf(*pAnew);
            ASSERT_EQ(std::memcmp(anew.data(), drawn.data(), drawn.size()), 0);
        }
        EXPECT_EQ(nLaidByRows > 10, output.fccType == eZrFCC_UYVY || output.fccType == eZrFCC_YUY2);
    }
}

// The last column and line are seen at the edges of the output, whatever the sizes.
TEST(DrawTest, PicturesOfOddSizesAreShownToTheirEdges) {
    const ZR_VID_PROPS arrOutputs[] = {PictureProps(eZrFCC_UYVY, 320, 180), PictureProps(eZrFCC_UYVY, 34, 22),
                                       PictureProps(eZrFCC_UYVY, 320, 180, eZrI_Field1First),
                                       PictureProps(eZrFCC_RGB24, 33, 21), PictureProps(eZrFCC_ARGB32, 33, 21)};
    const ZR_VID_PROPS arrSources[] = {
        PictureProps(eZrFCC_RGB24, 33, 21),   PictureProps(eZrFCC_RGB32, 33, 21),  PictureProps(eZrFCC_ARGB32, 33, 21),
        PictureProps(eZrFCC_RGB32, 321, 181), PictureProps(eZrFCC_UYVY, 320, 181), PictureProps(eZrFCC_UYVY, 34, 21),
        PictureProps(eZrFCC_I420, 34, 22),    PictureProps(eZrFCC_YUY2, 322, 181), PictureProps(eZrFCC_RGB32, 1, 1)};
    for (const ZR_VID_PROPS& output : arrOutputs)
        for (const ZR_VID_PROPS& source : arrSources) {
            if (source.nWidth > output.nWidth + 1) continue;  // an edge of one pixel would not be seen
            SCOPED_TRACE(FccText(source) + " over " + FccText(output));
            const int32_t nWidth = source.nWidth, nLines = AbsHeight(source.nHeight);
            // Black, its last four columns or one of RGB, and its last line, white; the fourth byte of RGB32, which
            // means nothing, is 0.
            const ZrPtr<IZrFFrame> pRgb = ColourFrame(PictureProps(eZrFCC_ARGB32, nWidth, nLines));
            auto* p = reinterpret_cast<uint32_t*>(const_cast<uint8_t*>(BytesOf(*pRgb).data()));
            const int32_t nColumns = PixelFormatBottomUp(source.fccType) ? 1 : 4;
            for (int32_t y = 0; y < nLines; ++y)
                for (int32_t x = 0; x < nWidth; ++x)
                    *p++ = (source.fccType == eZrFCC_RGB32 ? 0 : 0xFF000000) |
                           (x >= nWidth - nColumns || y == nLines - 1 ? 0xFFFFFF : 0);
            ZrPtr<IZrFFrame> pSource;
            ASSERT_EQ(pRgb->ZrFClone(pSource.Out(), eZrFC_Full, source.fccType), S_OK);
            DrawnShow show(output);
            show.AddStream(u"s");
            show.Scene(u"<video id='v' stream_id='s' maintain_ar='false'/>");
            show.Show(0, pSource);
            const ZrPtr<IZrFFrame> pDrawn = show.DrawTwice(ColourFrame(output, u"gray").Get());
            EXPECT_TRUE(pDrawn);
            if (!pDrawn) continue;
            ZrPtr<IZrFFrame> pShown;
            ASSERT_EQ(pDrawn->ZrFClone(pShown.Out(), eZrFC_Full, eZrFCC_ARGB32), S_OK);
            const auto* const pTop = reinterpret_cast<const uint32_t*>(BytesOf(*pShown).data());
            const auto GreenAt = [&](int32_t _x, int32_t _y) { return pTop[_y * output.nWidth + _x] >> 8 & 255; };
            const int32_t nRight = output.nWidth - 1, nBottom = AbsHeight(output.nHeight) - 1;
            EXPECT_GT(GreenAt(nRight, nBottom / 2), 140u);
            EXPECT_GT(GreenAt(nRight / 2, nBottom), 140u);
            if (nWidth > 1) {
                EXPECT_LT(GreenAt(0, 0), 40u);
            }
        }
}

// What is not seen, or is the picture already, is not touched.
TEST(DrawTest, PicturesAreReferencedWhereNothingIsToBeDone) {
    const ZR_VID_PROPS hd = PictureProps(eZrFCC_UYVY, 320, 180);
    DrawnShow show(hd);
    show.AddStream(u"under"), show.AddStream(u"top");
    show.Scene(u"<video id='a' stream_id='under' w='0.5'/><video id='b' stream_id='top'/>");
    show.Show(0, NoiseFrame(hd, 1)), show.Show(1, NoiseFrame(hd, 2));
    const ZrPtr<IZrFFrame> pFrame = show.Draw();  // the very first frame has all of it
    ASSERT_TRUE(pFrame);
    EXPECT_TRUE(show.bReady);
    EXPECT_EQ(PictureID(*pFrame), PictureID(*show.arrFrames[1]));
    const BlockPtr pUnder = show.Element(u"a")->ObjectAs<BlockPtr>(kVideoBlockKey);
    const BlockPtr pTop = show.Element(u"b")->ObjectAs<BlockPtr>(kVideoBlockKey);
    EXPECT_FALSE(PictureOf(*pUnder));
    EXPECT_FALSE(pUnder->State().bVisible);

    // Half the size: made once for a frame, anew for another frame or another place.
    show.Element(u"b")->SetAttribute(u"w", 0.25);
    show.DrawTwice();
    const CAutoObj<BlockPicture> pOnce = PictureOf(*pTop);
    ASSERT_TRUE(pOnce);
    show.Show(1, show.arrFrames[1]);
    show.DrawTwice();
    EXPECT_EQ(PictureOf(*pTop).Get(), pOnce.Get());
    show.Show(1, NoiseFrame(hd, 3));
    show.Draw();
    const CAutoObj<BlockPicture> pOther = PictureOf(*pTop);
    EXPECT_NE(pOther.Get(), pOnce.Get());
    show.Element(u"b")->SetAttribute(u"h", 0.5);
    show.DrawTwice();
    const CAutoObj<BlockPicture> pTaller = PictureOf(*pTop);
    EXPECT_NE(pTaller.Get(), pOther.Get());
    show.Element(u"b")->SetAttribute(u"sw", 0.5);
    show.DrawTwice();
    EXPECT_NE(PictureOf(*pTop).Get(), pTaller.Get());
}

// A cycle that finds the scene changed makes each picture once, by the new layout; who does not know of it, twice.
TEST(DrawTest, AChangedLayoutMakesNoPictureTwice) {
    const ZR_VID_PROPS hd = PictureProps(eZrFCC_UYVY, 320, 180);
    DrawnShow show(hd);
    show.AddStream(u"a"), show.AddStream(u"b");
    show.Scene(u"<video id='a' stream_id='a' w='0.5' pos='left'/><video id='b' stream_id='b' w='0.5' pos='right'/>");
    for (uint32_t n = 0; n < 8; ++n) {
        SCOPED_TRACE(n);
        show.bAsCycles = n % 4 != 3;
        show.Show(0, NoiseFrame(hd, 2 * n)), show.Show(1, NoiseFrame(hd, 2 * n + 1));
        const BlockPtr pBlock = show.Element(u"a")->ObjectAs<BlockPtr>(kVideoBlockKey);
        const uint32_t nBefore = pBlock ? pBlock->ToDraw().nPictures : 0;
        show.Element(u"a")->SetAttribute(u"x", 0.01 * n);
        show.nChanges += n % 2;
        show.Draw();
        if (pBlock) {
            EXPECT_EQ(pBlock->ToDraw().nPictures, nBefore + (show.bAsCycles ? 0 : 1));
        }
    }

    // One that its producer puts while an older frame is made for the draw is not lost.
    const BlockPtr pBlock = show.Element(u"a")->ObjectAs<BlockPtr>(kVideoBlockKey);
    const ZrPtr<IZrFFrame> pOlder = NoiseFrame(hd, 100), pNewer = NoiseFrame(hd, 101);
    pBlock->Offer(*pOlder);
    BLOCK_DRAW draw = pBlock->ToDraw();
    ASSERT_TRUE(draw.pFrame);
    EXPECT_EQ(pBlock->Put(*pNewer, 2), S_OK);
    const CAutoObj<BlockPicture> pShown = pBlock->ToDraw().pPicture;
    pBlock->MakePicture(draw, false);
    EXPECT_TRUE(draw.pPicture && draw.pPicture.Get() != pShown.Get());
    EXPECT_EQ(pBlock->ToDraw().pPicture.Get(), pShown.Get());
}

// Files of masks are read beside the drawing: by the first frame where they can be, and never is a new block seen
// without. One that is missing hides and masks nothing, until it comes.
TEST(DrawTest, MasksAreReadBesideTheDrawing) {
    VirtualClock clock;
    const TempFolder folder;
    const auto WriteMask = [&](const char* _szName) {
        const std::u16string path = (folder.path / _szName).u16string();
        std::vector<uint8_t> picture(16 * 8 * 3);  // its right half is white
        for (size_t i = 0; i < picture.size(); ++i) picture[i] = i % 48 >= 24 ? 255 : 0;
        EXPECT_EQ(WritePictureFile(path.c_str(), {eZrFCC_RGB24, 16, 8, picture.data(), 48}), S_OK);
        return path;
    };
    const ZR_VID_PROPS hd = PictureProps(eZrFCC_UYVY, 64, 36);
    const ZrPtr<IZrFFrame> pWhite = ColourFrame(hd, u"white");
    const auto Luma = [](IZrFFrame* _p, size_t _x) { return _p ? BytesOf(*_p)[18 * 128 + 2 * _x + 1] : 0; };
    const std::u16string path = WriteMask("mask.bmp"), late = (folder.path / "late.bmp").u16string();

    DrawnShow show(hd);
    show.AddStream(u"s");
    show.Show(0, pWhite);
    show.Scene(u"<video id='under' stream_id='s'/><video id='v' stream_id='s' mask='" + late + u"'/>");
    show.Draw();
    EXPECT_EQ(Luma(show.Draw().Get(), 8), 235);
    const BlockPtr pUnder = show.Element(u"under")->ObjectAs<BlockPtr>(kVideoBlockKey);
    EXPECT_FALSE(pUnder->State().bVisible);
    WriteMask("late.bmp");
    show.Element(u"under")->SetAttribute(u"w", 0.001);
    show.DrawTwice();
    EXPECT_EQ(Luma(show.Draw().Get(), 8), 235);
    SleepFor(kTicksPerSecond);
    show.Draw();
    const ZrPtr<IZrFFrame> pMasked = show.DrawTwice();
    EXPECT_EQ(Luma(pMasked.Get(), 8), 16);
    EXPECT_EQ(Luma(pMasked.Get(), 56), 235);

    DrawnShow fresh(hd);
    fresh.AddStream(u"s");
    fresh.Show(0, pWhite);
    fresh.Scene(u"<video id='v' stream_id='s' mask='" + path + u"'/>");
    const ZrPtr<IZrFFrame> pFirst = fresh.Draw();
    EXPECT_EQ(Luma(pFirst.Get(), 8), 16);
    EXPECT_EQ(Luma(pFirst.Get(), 56), 235);

    const BlockPtr pBlock = ZrVideoBlock::Make();
    BLOCK_LAYOUT layout;
    layout.output = hd;
    layout.parent = {0, 0, 64, 36};
    EXPECT_EQ(pBlock->SetMasks(u"circle", path), 3u);  // a file of the name would be taken
    EXPECT_EQ(pBlock->SetMasks(u"circle", path), 0u);
    pBlock->Layout(layout);
    UpdateBlocks(hd, {pBlock}, true);
    EXPECT_EQ(pBlock->Put(*pWhite, 2), S_OK);
    EXPECT_FALSE(PictureOf(*pBlock));
    EXPECT_EQ(pBlock->SetMasks(u"circle", u"none"), 0u);
    EXPECT_TRUE(PictureOf(*pBlock));  // nothing is waited for any more
    pBlock->ReadMask(true);           // too late
    pBlock->ReadMask(false);
    const CAutoObj<BlockPicture> pPicture = PictureOf(*pBlock);
    ASSERT_TRUE(pPicture && pPicture->bMasked);
    EXPECT_EQ(pPicture->mask.Row(18)[32], 255);
    EXPECT_EQ(pPicture->mask.Row(18)[0], 0);
}

TEST(DrawTest, ASteadySceneTakesNothingFromTheHeap) {
    const ZR_VID_PROPS hd = PictureProps(eZrFCC_UYVY, 320, 180);
    DrawnShow show(hd);
    show.AddStream(u"a"), show.AddStream(u"b");
    show.Scene(
        u"<group id='g' alpha='0.8'><video id='v' stream_id='a' w='0.5' h='0.5' mask='circle' "
        u"pos='left' x='0.2'><vary x='0.1' time='2'/></video></group>"
        u"<video id='w' stream_id='b' w='0.3' borders='2' borders_color='red'><vary y='0.2' time='1'/></video>");
    const ZrPtr<IZrFFrame> arrFrames[] = {NoiseFrame(PictureProps(eZrFCC_UYVY, 640, 360), 1),
                                          NoiseFrame(PictureProps(eZrFCC_UYVY, 640, 360), 2)};
    const auto Draw = [&](size_t _n) {
        show.Show(0, arrFrames[_n % 2]), show.Show(1, arrFrames[(_n + 1) % 2]);
        ASSERT_TRUE(show.Draw());
    };
    show.Draw();
    for (size_t i = 0; i < 150; ++i) Draw(i);
    const int64_t nBefore = AllocationCount();
    for (size_t i = 0; i < 150; ++i) Draw(i);
    EXPECT_EQ(AllocationCount(), nBefore);
}

class EventList final : public IEventSink {
public:
    void RaiseEvent(const char16_t* _szName, const char16_t* _szEvent, const char16_t*, IUnknown*) override {
        arr.push_back(std::u16string(_szName) + u"/" + _szEvent);
    }
    void RaiseFrame(const char16_t*, IZrFFrame*) override {}
    std::vector<std::u16string> arr;
};

// One frame between two scenes is black at most; then the new one shows, as nothing of it was laid out yet.
TEST(DrawTest, AFrameWithoutASceneLaysNothingOut) {
    const ZR_VID_PROPS hd = PictureProps(eZrFCC_UYVY, 64, 36);
    DrawnShow show(hd);
    show.AddStream(u"s");
    show.Show(0, NoiseFrame(hd, 1));
    show.Scene(u"<video stream_id='s'/>");
    const ElementPtr pScene = std::exchange(show.pScene, {});
    show.nChanges = 2;
    EXPECT_FALSE(show.Draw());
    show.pScene = pScene;
    EXPECT_TRUE(show.Draw());
}

// Wherever a picture is on its way, its border lies close around it.
TEST(DrawTest, BordersMoveWithTheirPicture) {
    const ZR_VID_PROPS pal = PictureProps(eZrFCC_UYVY, 720, 576, eZrI_Field1First);
    DrawnShow show(pal);
    show.AddStream(u"s");
    show.Show(0, ColourFrame(pal, u"white"));
    show.Scene(u"<video id='v' stream_id='s' pos='top-left' w='0.3' h='0.3' borders='6' borders_color='red'/>");
    for (int i = 0; i < 12; ++i) {
        SCOPED_TRACE(i);
        show.Element(u"v")->SetAttribute(u"x", 0.2 + i * 0.0007);
        show.Element(u"v")->SetAttribute(u"y", 0.2 + i * 0.0007);
        ++show.nChanges;
        const ZrPtr<IZrFFrame> pFrame = show.Draw();
        ASSERT_TRUE(pFrame);
        const std::span<const uint8_t> bytes = BytesOf(*pFrame);
        const auto Lit = [&](int _x, int _y) { return bytes[static_cast<size_t>((_y * 720 + _x) * 2 + 1)] > 16; };
        int nAcross = 0, nDown = 0;  // changes between lit and not: one on and one off
        for (int x = 1; x < 720; ++x) nAcross += Lit(x, 200) != Lit(x - 1, 200);
        for (int y = 1; y < 576; ++y) nDown += Lit(240, y) != Lit(240, y - 1);
        EXPECT_EQ(nAcross, 2);
        EXPECT_EQ(nDown, 2);
    }
}

// A change ends once, by its time; an element that goes leaves its siblings in place; one that is hidden loses its
// block.
TEST(DrawTest, ChangesEndAndElementsGo) {
    const ZR_VID_PROPS hd = PictureProps(eZrFCC_UYVY, 64, 36);
    DrawnShow show(hd);
    show.AddStream(u"s");
    show.Show(0, NoiseFrame(hd, 1));
    show.Scene(
        u"<video id='a' stream_id='s' _remove_='true'><node_from alpha='1' _change_time_='0.1'/></video>"
        u"<video id='b' stream_id='s'><node_from x='0.5' _change_time_='0.2'/></video>"
        u"<group id='g'><video id='c' stream_id='s'/></group>");
    EventList events;
    for (int i = 0; i < 2; ++i) show.Draw();  // laid out up to 0.08 s
    show.step.RaiseEvents(events);
    EXPECT_TRUE(events.arr.empty());
    EXPECT_TRUE(show.Element(u"a"));
    for (int i = 0; i < 5; ++i) show.Draw();
    show.step.RaiseEvents(events);
    EXPECT_EQ(events.arr, (std::vector<std::u16string>{u"foreground::a/trans-done", u"foreground::b/trans-done"}));
    EXPECT_FALSE(show.Element(u"a"));
    ASSERT_TRUE(show.Element(u"b"));
    EXPECT_FALSE(show.Element(u"b::node_from"));
    EXPECT_TRUE(show.Element(u"g::c")->Object(kVideoBlockKey));
    show.Element(u"g")->SetAttribute(u"show", false);
    show.arrStreams[0]->ClearBlocks();  // and one whose stream went away
    show.Draw();
    EXPECT_FALSE(show.Element(u"g::c")->Object(kVideoBlockKey));
    EXPECT_FALSE(show.Element(u"b")->Object(kVideoBlockKey));
}

}  // namespace
}  // namespace zr
