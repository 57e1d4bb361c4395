// A steady show takes nothing from the heap for its frames: every allocation of the program is counted here.

#include <gtest/gtest.h>

#include "frame_module/frame_builders.h"
#include "framework/deq_active.h"
#include "framework/rate_timer.h"
#include "platform/clock.h"
#include "support/allocation_count.h"

namespace zr {
namespace {

// What a mixer does with frames in a cycle: makes one, gives it picture, audio and data, clones and cuts it.
void Cycle(ZrPtr<IZrFFrame> (&_arrKept)[3], int64_t _nCycle) {
    const auto pFull = SizedFrame(1920 * 1080 * 2, VidProps(eZrFCC_UYVY, 1920, 1080));
    const ZR_AUD_PROPS audProps{8, 48000, 24, 0};
    ASSERT_EQ(pFull->ZrFAudioAlloc(&audProps, 1920), S_OK);
    int32_t cb = 0;
    int64_t lp = 0;
    for (int32_t i = 0; i < 8; ++i) ASSERT_EQ(pFull->ZrFAudioChannelGetBytes(i, 0, &cb, &lp), S_OK);
    ASSERT_EQ(pFull->ZrFAudioChannelsUpdate(), S_OK);
    ASSERT_EQ(pFull.As<IZrFrame>()->FrameDataSet(0x544D5253, sizeof(_nCycle), reinterpret_cast<int64_t>(&_nCycle)),
              S_OK);
    ASSERT_EQ(pFull->ZrFStrSet(u"a longer name than a short text holds", u"text"), S_OK);
    ASSERT_EQ(pFull->ZrFObjSet(u"object", static_cast<IZrFFactory*>(&CZrFrameFactory::Shared())), S_OK);
    CloneOf(*CutOf(*pFull, {100, 100, 500, 400}, 1), eZrFC_Full);
    _arrKept[_nCycle % 3] = CloneOf(*pFull, eZrFC_Reference);
}

TEST(NoAllocation, FramesOfASteadyShowComeFromThePools) {
    ZrPtr<IZrFFrame> arrKept[3];
    for (int64_t i = 0; i < 20; ++i) Cycle(arrKept, i);
    const int64_t nBefore = AllocationCount();
    const size_t nBlocks = BufferPool::Shared().BlockCount();
    for (int64_t i = 0; i < 200; ++i) Cycle(arrKept, i);
    EXPECT_EQ(AllocationCount(), nBefore);
    EXPECT_EQ(BufferPool::Shared().BlockCount(), nBlocks);  // nor pages from the system
}

// Three overlays in turn, each with its own way: mixed as it is, scaled with a mask, converted out of cut planes.
TEST(NoAllocation, OverlaysKeepTheirTablesAndScratch) {
    const auto pBase = CountingFrame(VidProps(eZrFCC_HDYC, 640, 360)),
               pLogo = CountingFrame(VidProps(eZrFCC_ARGB32, 100, -50)),
               pBox = CountingFrame(VidProps(eZrFCC_UYVY, 320, 180)),
               pPlanes = CountingFrame(VidProps(eZrFCC_I420, 320, 180)),
               pMask = CountingFrame(VidProps(eZrFCC_RGB8, 320, -180));
    const auto pCut = CutOf(*pPlanes, {16, 16, 200, 100});
    const ZRF_RECT arrRects[] = {{0.1, 0.1, 0.3, 0.3, eZrFRT_Relative}, {0.5, 0.1, 0.4, 0.4, eZrFRT_Relative}};
    const auto Frame = [&] {
        ASSERT_EQ(pBase->ZrFOverlay(pLogo.Get(), nullptr, 20, 20, 0.8, nullptr, nullptr), S_OK);
        ASSERT_EQ(
            pBase->ZrFOverlayRect(pBox.Get(), pMask.Get(), &arrRects[0], eZrFOF_NoAR, 1, u"scaling_quality=6", nullptr),
            S_OK);
        ASSERT_EQ(pBase->ZrFOverlayRect(pCut.Get(), nullptr, &arrRects[1], eZrFOF_LetterBox, 0.5, nullptr, nullptr),
                  S_OK);
    };
    for (int i = 0; i < 5; ++i) Frame();
    const int64_t nBefore = AllocationCount();
    for (int i = 0; i < 20; ++i) Frame();
    EXPECT_EQ(AllocationCount(), nBefore);
}

// Each size and format has a converter with its filters and scratch by then.
TEST(NoAllocation, ConversionsOfASteadyShowAllocateNothing) {
    ZR_VID_PROPS source = VidProps(eZrFCC_UYVY, 1920, 1080), argb = VidProps(eZrFCC_ARGB32, 1280, -720),
                 planar = VidProps(eZrFCC_I420, 1920, 1080), letterBox = VidProps(eZrFCC_v210, 1280, 960);
    source.eInterlace = planar.eInterlace = eZrI_Field1First;
    const ZrPtr<IZrFFrame> pFrame = CountingFrame(source);
    const ZrPtr<IZrFrame> pShort = pFrame.As<IZrFrame>();
    const auto ConvertAll = [&] {
        ZrPtr<IZrFrame> pResult;
        ZrPtr<IZrFFrame> pFull;
        ASSERT_EQ(pShort->FrameConvert(&argb, pResult.Out(), u"scaling_quality=9 crop='8,8' mirror=horz"), S_OK);
        ASSERT_EQ(pShort->FrameConvert(&planar, pResult.Out(), nullptr), S_OK);
        ASSERT_EQ(pShort->FrameConvert(&letterBox, pResult.Out(), u"scaling_quality=auto"), S_OK);
        ASSERT_EQ(pFrame->ZrFResize(eZrFCC_NV12, 640, 360, 1, pFull.Out(), nullptr, u"stream-000"), S_OK);
        ASSERT_EQ(pFrame->ZrFClone(pFull.Out(), eZrFC_Video, eZrFCC_RGB24), S_OK);
    };
    for (int32_t i = 0; i < 5; ++i) ConvertAll();
    const int64_t nBefore = AllocationCount();
    const size_t nBlocks = BufferPool::Shared().BlockCount();
    for (int32_t i = 0; i < 20; ++i) ConvertAll();
    EXPECT_EQ(AllocationCount(), nBefore);
    EXPECT_EQ(BufferPool::Shared().BlockCount(), nBlocks);
}

}  // namespace
}  // namespace zr
