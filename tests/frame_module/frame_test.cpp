#include "frame_module/frame.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "frame_module/frame_builders.h"
#include "platform/module_info.h"
#include "support/stress.h"
#include "zr/utf8.h"

namespace zr {
namespace {

CZrFrameFactory& Factory() { return CZrFrameFactory::Shared(); }

// A frame with something of everything.
ZrPtr<IZrFFrame> FullFrame(IUnknown* _pObject) {
    ZrPtr<IZrFFrame> p = FullFrame(VidProps(eZrFCC_UYVY, 32, 16));
    EXPECT_EQ(p->ZrFObjSet(u"thing", _pObject), _pObject ? S_OK : S_FALSE);
    return p;
}

TEST(Frame, ClonesTakeWhatTheirKindNames) {
    bool bGone = false;
    const auto pObject = ZrPtr<Mortal>::Attach(new Mortal(&bGone));
    const ZrPtr<IZrFFrame> pFrame = FullFrame(pObject.Get());
    const ZRF_FRAME_INFO from = InfoOf(*pFrame);
    // nVideo: 0 none, 1 copy, 2 shared
    const std::tuple<eZrFrameClone, int, bool, bool, bool> arrCases[] = {
        {eZrFC_Props, 0, false, false, false},
        {eZrFC_Video, 1, false, false, false},
        {eZrFC_VideoRef, 2, false, false, false},
        {eZrFC_Audio, 0, true, false, false},
        {eZrFC_VideoRef_Audio, 2, true, false, false},
        {eZrFC_Data, 0, false, true, false},
        {eZrFC_Obj, 0, false, false, true},
        {eZrFC_Data_Audio, 0, true, true, false},
        {eZrFC_ObjData_Audio, 0, true, true, true},
        {eZrFC_Reference, 2, true, true, true},
        {eZrFC_Full, 1, true, true, true},
    };
    for (const auto& [eType, nVideo, bAudio, bData, bObjects] : arrCases) {
        SCOPED_TRACE(testing::Message() << std::hex << eType);
        const ZrPtr<IZrFFrame> pClone = CloneOf(*pFrame, eType);
        const ZRF_FRAME_INFO to = InfoOf(*pClone);
        EXPECT_TRUE(SameRecords(to.avProps, from.avProps));
        EXPECT_EQ(to.mTime.rtEndTime, 800000);
        EXPECT_EQ(to.mTime.eFFlags, eZrFF_Break | eZrFF_Live);
        EXPECT_EQ(to.cbVideo, nVideo > 0 ? from.cbVideo : 0);
        EXPECT_EQ(to.lpVideo == from.lpVideo, nVideo == 2);
        EXPECT_EQ(to.llVideoID == from.llVideoID, nVideo == 2);
        EXPECT_EQ(to.llVideoID == 0, nVideo == 0);
        if (nVideo > 0) {
            EXPECT_TRUE(std::ranges::equal(VideoOf(*pClone), VideoOf(*pFrame)));
        }
        EXPECT_EQ(to.lAudioSamples, bAudio ? 3 : 0);
        EXPECT_NE(to.lpAudio, from.lpAudio);
        if (bAudio) {
            EXPECT_TRUE(std::ranges::equal(AudioOf(*pClone), AudioOf(*pFrame)));
        }
        EXPECT_EQ(to.nDataCount, bData);
        EXPECT_EQ(to.nStrCount, bData);
        EXPECT_EQ(to.nObjCount, bObjects);
    }
}

TEST(Frame, CloneToAnotherPixelFormat) {
    const ZrPtr<IZrFFrame> pFrame = CountingFrame(VidProps(eZrFCC_UYVY, 32, 16));
    ZrPtr<IZrFFrame> pClone;
    ASSERT_EQ(pFrame->ZrFClone(pClone.Out(), eZrFC_Reference, eZrFCC_HDYC), S_OK);
    EXPECT_NE(InfoOf(*pClone).lpVideo, InfoOf(*pFrame).lpVideo);  // its own bytes even for a reference
    EXPECT_EQ(PropsOf(*pClone).vidProps.fccType, eZrFCC_HDYC);
    EXPECT_TRUE(std::ranges::equal(VideoOf(*pClone), VideoOf(*pFrame)));
    ASSERT_EQ(pFrame->ZrFClone(pClone.Out(), eZrFC_VideoRef, eZrFCC_UYVY), S_OK);
    EXPECT_EQ(InfoOf(*pClone).lpVideo, InfoOf(*pFrame).lpVideo);
    EXPECT_EQ(pFrame->ZrFClone(pClone.Out(), eZrFC_Reference, eZrFCC_RGB32), S_OK);
    EXPECT_EQ(PropsOf(*pClone).vidProps.nHeight, -16);
    EXPECT_EQ(VideoOf(*pClone)[3], 255);
    EXPECT_EQ(pFrame->ZrFClone(pClone.Out(), eZrFC_Audio, eZrFCC_RGB32), S_OK);  // no picture to convert
}

TEST(Frame, ASizedFrameTakesTheRecordThatFits) {
    constexpr uint32_t cbRoom = 64 * 1024;
    const std::tuple<const char*, ZR_VID_PROPS, HRESULT, int32_t, int32_t> arrCases[] = {
        {"row_bytes_filled_in", VidProps(eZrFCC_UYVY, 100, 50), S_OK, 50, 200},
        {"padding_kept", VidProps(eZrFCC_UYVY, 100, 50, 256), S_OK, 50, 256},
        {"top_down_kept", VidProps(eZrFCC_RGB24, 33, -50), S_OK, -50, 100},
        {"sign_without_meaning", VidProps(eZrFCC_UYVY, 100, -50), S_OK, 50, 200},
        {"planar_fits_exactly", VidProps(eZrFCC_I420, 256, 170), S_OK, 170, 256},
        {"planar_chroma_too_much", VidProps(eZrFCC_I420, 256, 172), E_INVALIDARG, 0, 0},
        {"rows_too_short", VidProps(eZrFCC_RGB32, 100, 10, 399), E_INVALIDARG, 0, 0},
        {"too_many_rows", VidProps(eZrFCC_RGB32, 128, 129), E_INVALIDARG, 0, 0},
        {"no_height", VidProps(eZrFCC_RGB32, 128, 0), E_INVALIDARG, 0, 0},
        {"no_pixel_format", VidProps(eZrFCC_Default, 128, 8), E_INVALIDARG, 0, 0},
        {"negative_width", VidProps(eZrFCC_RGB32, -128, 8), E_INVALIDARG, 0, 0},
        {"negative_rows", VidProps(eZrFCC_RGB32, 8, 8, -32), E_INVALIDARG, 0, 0},
        {"overflowing", VidProps(eZrFCC_RGB32, INT32_MAX, INT32_MIN), E_INVALIDARG, 0, 0},
        {"unknown_code_needs_rows", VidProps(FourCC('A', 'B', 'C', 'D'), 8, 8), E_INVALIDARG, 0, 0},
        {"unknown_code_with_rows", VidProps(FourCC('A', 'B', 'C', 'D'), 8, 8, 100), S_OK, 8, 100},
    };
    for (const auto& [szName, vidProps, hr, nHeight, nRowBytes] : arrCases) {
        SCOPED_TRACE(szName);
        ZrPtr<IZrFrame> pFrame;
        ASSERT_EQ(Factory().FrameCreateSized(cbRoom, 0, 0, pFrame.Out()), S_OK);
        ZR_AV_PROPS props;
        props.vidProps = vidProps;
        EXPECT_EQ(pFrame->FrameAVPropsSet(&props), hr);
        ASSERT_EQ(pFrame->FrameAVPropsGet(&props), S_OK);
        EXPECT_EQ(props.vidProps.nHeight, nHeight);
        EXPECT_EQ(props.vidProps.nRowBytes, nRowBytes);
    }
    ZrPtr<IZrFrame> pFrame;
    EXPECT_EQ(Factory().FrameCreateSized(0x80000000u, 0, 0, pFrame.Out()), E_INVALIDARG);
}

TEST(Frame, APictureMayBeRestatedAndShrunkButNotGrown) {
    const auto Restate = [](int32_t _nFrom, const ZR_VID_PROPS& _to, HRESULT _hr) {
        const ZrPtr<IZrFFrame> p = CountingFrame(VidProps(eZrFCC_RGB32, 32, _nFrom));
        ZR_AV_PROPS props = PropsOf(*p);
        props.vidProps = _to;
        props.bLocked = 1;
        EXPECT_EQ(p->ZrFAVPropsSet(&props, nullptr), _hr);
        EXPECT_EQ(PropsOf(*p).bLocked, Succeeded(_hr));  // all or nothing
        return p;
    };
    Restate(16, VidProps(eZrFCC_RGB32, 33, 16), E_INVALIDARG);
    Restate(16, VidProps(eZrFCC_RGB32, 32, -17), E_INVALIDARG);
    Restate(16, VidProps(eZrFCC_RGB32, 32, 16, 132), E_INVALIDARG);
    Restate(16, VidProps(eZrFCC_UYVY, 32, 16), E_INVALIDARG);
    EXPECT_EQ(PropsOf(*Restate(16, VidProps(eZrFCC_ARGB32, 0, 0), S_OK)).vidProps.nRowBytes, 128);
    // The upper left part stays, in either order of rows.
    ZrPtr<IZrFFrame> p = Restate(16, VidProps(eZrFCC_RGB32, 8, 4), S_OK);
    EXPECT_EQ(VideoOf(*p)[0], 12 * 128 % 251);
    p = Restate(-16, VidProps(eZrFCC_RGB32, 8, -4), S_OK);
    EXPECT_EQ(VideoOf(*p)[0], 0);
    EXPECT_EQ(PropsOf(*p).vidProps.nHeight, -4);
}

TEST(Frame, AttachmentsReplaceRemoveAndEnumerate) {
    const ZrPtr<IZrFFrame> pFrame = FullFrame(nullptr);
    const ZrPtr<IZrFFrame> pClone = CloneOf(*pFrame, eZrFC_Reference);
    int32_t cb = 0, nCode = 0;
    int64_t lp = 0;
    const auto pShort = pFrame.As<IZrFrame>();
    EXPECT_EQ(pShort->FrameDataGet(0x38303643, &cb, &lp), S_OK);  // 'C608', the same list
    EXPECT_EQ(std::string(reinterpret_cast<char*>(lp), static_cast<size_t>(cb)), "abc");
    EXPECT_EQ(pShort->FrameDataSet(0x544D5253, 2, reinterpret_cast<int64_t>("xy")), S_OK);
    EXPECT_EQ(pFrame->ZrFDataSet(u"C608", 1, reinterpret_cast<int64_t>("z")), S_OK);
    EXPECT_EQ(pFrame->ZrFDataSet(u"long id", 1, reinterpret_cast<int64_t>("z")), S_OK);
    Text id, text;
    EXPECT_EQ(pFrame->ZrFDataGetByIndex(1, id.Out(), &cb, &lp), S_OK);
    EXPECT_EQ(id.View(), u"SRMT");
    EXPECT_EQ(pShort->FrameDataGetByIndex(1, &nCode, &cb, &lp), S_OK);
    EXPECT_EQ(nCode, 0x544D5253);
    EXPECT_EQ(pShort->FrameDataGetByIndex(2, &nCode, &cb, &lp), S_OK);
    EXPECT_EQ(nCode, 0);
    for (const int32_t nIndex : {3, -1, INT32_MAX})
        EXPECT_EQ(pFrame->ZrFDataGetByIndex(nIndex, id.Out(), &cb, &lp), ZR_E_BAD_INDEX) << nIndex;
    EXPECT_EQ(pFrame->ZrFDataSet(u"SRMT", 0, 0), S_OK);
    EXPECT_EQ(pFrame->ZrFDataSet(u"SRMT", 0, 0), S_FALSE);
    EXPECT_EQ(pFrame->ZrFDataGet(u"SRMT", &cb, &lp), ZR_E_NOT_FOUND);
    EXPECT_EQ(cb, 0);
    EXPECT_EQ(pFrame->ZrFDataSet(u"C608", -1, 1), E_INVALIDARG);
    EXPECT_EQ(pFrame->ZrFDataSet(u"", 1, reinterpret_cast<int64_t>("z")), E_INVALIDARG);
    EXPECT_EQ(pShort->FrameDataSet(0x00303643, 1, reinterpret_cast<int64_t>("z")), E_INVALIDARG);
    cb = 7;
    EXPECT_EQ(pShort->FrameDataGet(0x00303643, &cb, &lp), E_INVALIDARG);
    EXPECT_EQ(cb | lp, 0);
    EXPECT_EQ(pShort->FrameDataGet(0x00303643, nullptr, &lp), E_POINTER);

    // The clone has kept what was there when it was made.
    EXPECT_EQ(pClone->ZrFDataGet(u"C608", &cb, &lp), S_OK);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(lp), static_cast<size_t>(cb)), "abc");
    EXPECT_EQ(pFrame->ZrFStrSet(u"title", u""), S_OK);
    EXPECT_EQ(pFrame->ZrFStrGet(u"title", text.Out()), S_OK);
    EXPECT_EQ(text.View(), u"");
    EXPECT_EQ(pClone->ZrFStrGetByIndex(0, id.Out(), text.Out()), S_OK);
    EXPECT_EQ(id.Utf8() + text.Utf8(), "titleNews");
}

TEST(Frame, AttachedObjectsGoWithTheLastFrameThatHasThem) {
    bool bGone = false;
    auto pObject = ZrPtr<Mortal>::Attach(new Mortal(&bGone));
    ZrPtr<IZrFFrame> pFrame = FullFrame(pObject.Get());
    ZrPtr<IZrFFrame> pClone = CloneOf(*pFrame, eZrFC_Reference);
    ZrPtr<IUnknown> pGot;
    EXPECT_EQ(pClone->ZrFObjGet(u"thing", pGot.Out(), 1), S_OK);
    EXPECT_EQ(pGot, pObject.As<IUnknown>());
    EXPECT_EQ(pFrame->ZrFObjSet(u"self", pFrame.As<IZrFrame>().Get()), E_INVALIDARG);
    EXPECT_EQ(pFrame->ZrFObjSet(u"other", pClone.Get()), S_OK);
    EXPECT_EQ(pFrame->ZrFObjGet(u"other", pGot.Out(), 1), S_OK);
    EXPECT_EQ(pGot, pClone.As<IUnknown>());
    pGot.Reset();
    pObject.Reset();
    pFrame.Reset();
    EXPECT_FALSE(bGone);
    pClone.Reset();
    EXPECT_TRUE(bGone);
}

TEST(Frame, ARecycledFrameIsAsNew) {
    bool bGone = false;
    for (int i = 0; i < 3; ++i) {
        auto pObject = ZrPtr<Mortal>::Attach(new Mortal(&bGone));
        const ZrPtr<IZrFFrame> pUsed = FullFrame(pObject.Get());
        CutOf(*pUsed, 1);
        int32_t cb;
        int64_t lp;
        EXPECT_EQ(pUsed->ZrFAudioChannelGetBytes(0, 0, &cb, &lp), S_OK);
    }
    EXPECT_TRUE(bGone);
    std::vector<ZrPtr<IZrFFrame>> arrFrames;
    for (int i = 0; i < 8; ++i) {
        arrFrames.push_back(EmptyFrame());
        const ZRF_FRAME_INFO info = InfoOf(*arrFrames.back());
        EXPECT_EQ(info.dwProcessID, ProcessId());
        EXPECT_EQ(info.cbAudio + info.cbVideo + info.avProps.vidProps.fccType, 0u);
        EXPECT_EQ(info.llVideoID | info.lpVideo | info.lpAudio | info.mTime.rtStartTime | info.mTime.rtEndTime, 0);
        EXPECT_EQ(info.mTime.eFFlags, eZrFF_None);
        EXPECT_EQ(info.lAudioSamples + info.nDataCount + info.nObjCount + info.nStrCount + info.avProps.bLocked, 0);
        EXPECT_EQ(info.avProps.audProps.nChannels + info.avProps.vidProps.nWidth, 0);
        EXPECT_EQ(arrFrames.back()->ZrFAudioChannelsUpdate(), S_FALSE);
    }
}

TEST(Frame, ReleaseDropsTheMemoryAtOnce) {
    const ZrPtr<IZrFFrame> pFrame = FullFrame(nullptr);
    const ZrPtr<IZrFFrame> pClone = CloneOf(*pFrame, eZrFC_Reference);
    EXPECT_EQ(pFrame.As<IZrFrame>()->FrameRelease(), S_OK);
    const ZRF_FRAME_INFO info = InfoOf(*pFrame);
    EXPECT_EQ(info.cbVideo + info.cbAudio, 0u);
    EXPECT_EQ(info.lpVideo | info.lpAudio, 0);
    EXPECT_EQ(info.nDataCount + info.nStrCount, 0);
    EXPECT_EQ(VideoOf(*pClone)[5], 5);
}

TEST(Frame, TheRecordOfPlanesFollowsThePicture) {
    const ZrPtr<IZrFFrame> pFrame = CountingFrame(VidProps(eZrFCC_I420, 32, 16));
    ZrPtr<IZrFFrame> pCut = CutOf(*pFrame, {8, 8, 24, 16});
    int32_t cb = 0;
    int64_t lp = 0;
    EXPECT_EQ(pFrame->ZrFDataGet(u"__vptr_", &cb, &lp), ZR_E_NOT_FOUND);
    const auto Planes = [&](IZrFFrame& _frame) {
        ZRF_VID_PTR planes;
        EXPECT_EQ(_frame.ZrFDataGet(u"__vptr_", &cb, &lp), S_OK);
        if (cb == sizeof(planes)) std::memcpy(&planes, reinterpret_cast<void*>(lp), sizeof(planes));
        return planes;
    };
    const int64_t lpBase = InfoOf(*pFrame).lpVideo;
    EXPECT_EQ(Planes(*pCut).lpVideoPlanes[1], lpBase + 32 * 16 + 4 * 16 + 4);
    EXPECT_EQ(Planes(*CloneOf(*pCut, eZrFC_VideoRef)).lpVideoPlanes[2], lpBase + 32 * 16 + 8 * 16 + 4 * 16 + 4);
    EXPECT_EQ(CloneOf(*pCut, eZrFC_Full)->ZrFDataGet(u"__vptr_", &cb, &lp), ZR_E_NOT_FOUND);
    EXPECT_EQ(CloneOf(*pCut, eZrFC_Data)->ZrFDataGet(u"__vptr_", &cb, &lp), ZR_E_NOT_FOUND);
    EXPECT_EQ(InfoOf(*pCut).nDataCount, 1);
    Text id;
    EXPECT_EQ(pCut->ZrFDataGetByIndex(0, id.Out(), &cb, &lp), S_OK);
    EXPECT_EQ(id.View(), u"__vptr_");
    EXPECT_EQ(pCut->ZrFDataSet(u"__vptr_", 0, 0), E_INVALIDARG);  // without it the chroma would not be found

    // A second view of a packed picture is cut like the first.
    const ZrPtr<IZrFFrame> pLeft = CountingFrame(VidProps(eZrFCC_RGB32, 16, 8));
    const ZrPtr<IZrFFrame> pRight = CountingFrame(VidProps(eZrFCC_RGB32, 16, 8));
    ZRF_VID_PTR views;
    views.lpVideoPlanes[1] = PlanesOf(*pRight).lpVideoPlanes[0];
    views.cbVideoRowBytes[1] = PlanesOf(*pRight).cbVideoRowBytes[0];
    EXPECT_EQ(pLeft->ZrFDataSet(u"__vptr_", sizeof(views), reinterpret_cast<int64_t>(&views)), S_OK);
    pCut = CutOf(*pLeft, {4, 2, 8, 6});
    EXPECT_EQ(PlanesOf(*pCut).lpVideoPlanes[1] - InfoOf(*pRight).lpVideo, 5 * 64 + 16);
    EXPECT_EQ(PlanesOf(*pCut).lpVideoPlanes[0] - InfoOf(*pLeft).lpVideo, 5 * 64 + 16);
    EXPECT_EQ(pLeft->ZrFDataSet(u"__vptr_", 79, reinterpret_cast<int64_t>(&views)), E_INVALIDARG);
    EXPECT_EQ(pLeft->ZrFDataSet(u"__vptr_", 0, 0), S_OK);
    EXPECT_EQ(EmptyFrame()->ZrFDataSet(u"__vptr_", sizeof(views), reinterpret_cast<int64_t>(&views)), E_INVALIDARG);

    // What cannot be read line by line is not accepted.
    const std::tuple<const char*, eZrFCC, int32_t, int32_t, HRESULT> arrCases[] = {
        {"view_without_a_stride", eZrFCC_RGB32, 1, 0, E_INVALIDARG},
        {"view_with_short_rows", eZrFCC_RGB32, 3, -63, E_INVALIDARG},
        {"fourth_of_three_planes", eZrFCC_I420, 3, 64, E_INVALIDARG},
        {"unknown_layout", FourCC('A', 'B', 'C', 'D'), 1, 64, ZR_E_NOT_SUPPORTED},
        {"third_view", eZrFCC_RGB32, 2, -64, S_OK},
    };
    for (const auto& [szName, fccType, nPlane, nStride, hr] : arrCases) {
        const auto pSet = SizedFrame(64 * 24, VidProps(fccType, 16, 8, 64));
        views = PlanesOf(*pSet);
        views.lpVideoPlanes[nPlane] = PlanesOf(*pRight).lpVideoPlanes[0];
        views.cbVideoRowBytes[nPlane] = nStride;
        EXPECT_EQ(pSet->ZrFDataSet(u"__vptr_", sizeof(views), reinterpret_cast<int64_t>(&views)), hr) << szName;
        EXPECT_EQ(InfoOf(*pSet).nDataCount, hr == S_OK) << szName;
    }
}

// Threads clone, cut and drop frames that they share; the count of the last one decides.
TEST(Frame, ThreadsMayShareAFrameThatNobodyWrites) {
    bool bGone = false;
    {
        auto pObject = ZrPtr<Mortal>::Attach(new Mortal(&bGone));
        const ZrPtr<IZrFFrame> pFrame = FullFrame(pObject.Get());
        OnThreads(4, [&pFrame](int) {
            ZrPtr<IZrFFrame> pLast = pFrame;
            for (int i = 0; i < StressRounds(10000); ++i) {
                ZrPtr<IZrFFrame> pNext = CloneOf(*pLast, eZrFC_Reference), pCut;
                pNext->ZrFCut(i % 3, nullptr, pCut.Out());
                EXPECT_EQ(VideoOf(*pCut)[1], (i % 3 == 2 ? 64 : 0) + 1);
                pLast = std::move(pNext);
            }
        });
    }
    EXPECT_TRUE(bGone);
}

}  // namespace
}  // namespace zr
