#include "frame_module/frame_factory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>
#include <utility>
#include <vector>

#include "frame_module/frame_builders.h"
#include "framework/frame_factory_access.h"
#include "platform/class_registry.h"
#include "platform/module_info.h"
#include "zr/utf8.h"

namespace zr {
namespace {

CZrFrameFactory& Factory() { return CZrFrameFactory::Shared(); }

std::vector<uint8_t> FirstBytes(IZrFFrame& _frame, size_t _nFrom, size_t _cb) {
    const auto video = VideoOf(_frame).subspan(_nFrom, _cb);
    return {video.begin(), video.end()};
}

TEST(FrameFactory, ColoursFillEveryByte) {
    using Bytes = std::vector<uint8_t>;
    // nOffset: in a picture of 12 x 4
    const std::tuple<eZrFCC, const char16_t*, HRESULT, size_t, Bytes> arrCases[] = {
        {eZrFCC_UYVY, nullptr, S_OK, 90, {0x80, 0x10, 0x80, 0x10}},
        {eZrFCC_HDYC, u"color=black", S_OK, 0, {0x80, 0x10, 0x80, 0x10}},
        {eZrFCC_YUY2, nullptr, S_OK, 92, {0x10, 0x80, 0x10, 0x80}},
        {eZrFCC_YVYU, nullptr, S_OK, 0, {0x10, 0x80}},
        {eZrFCC_v210, nullptr, S_OK, 384 + 120, {0x00, 0x02, 0x01, 0x20, 0x40, 0x00, 0x08, 0x04}},
        {eZrFCC_I420, nullptr, S_OK, 46, {0x10, 0x10, 0x80, 0x80}},
        {eZrFCC_NV12, nullptr, S_OK, 70, {0x80, 0x80}},
        {kFCC_Y422, nullptr, S_OK, 47, {0x10, 0x80}},
        {eZrFCC_RGB24, nullptr, S_OK, 141, {0, 0, 0}},
        {eZrFCC_RGB32, nullptr, S_OK, 188, {0, 0, 0, 255}},
        {eZrFCC_ARGB32, u"x=1 color=black(90)", S_OK, 188, {0, 0, 0, 90}},
        {eZrFCC_ARGB32, u"color='Red(128)'", S_OK, 0, {0, 0, 128, 128}},
        {eZrFCC_ARGB32, u"color=transparent", S_OK, 4, {0, 0, 0, 0}},
        {eZrFCC_RGB24, u"COLOR=102030", S_OK, 3, {0x30, 0x20, 0x10}},
        {kFCC_RGB565, u"color=FF8040", S_OK, 2, {0x08, 0xFC}},  // 11111 100000 01000
        {kFCC_RGB555, u"color=FF8040", S_OK, 2, {0x08, 0x7E}},  // 0 11111 10000 01000
        {kFCC_ARGB1555, nullptr, S_OK, 2, {0x00, 0x80}},
        {kFCC_ARGB1555, u"color='8040FF(100)'", S_OK, 2, {0x1F, 0x41}},  // 0 10000 01000 11111
        {kFCC_ARGB4444, u"color='8040FF(240)'", S_OK, 2, {0x4F, 0xF8}},
        {kFCC_r210, u"color=FF8000", S_OK, 4, {0x3F, 0xF8, 0x08, 0x00}},  // 1023 514 0
        {eZrFCC_RGB8, nullptr, S_OK, 40, {0, 0}},
        {eZrFCC_RGB8, u"color=white", S_OK, 40, {255, 255}},
        // Studio range by the standard's weights; red in BT.709 by its truncating matrix.
        {eZrFCC_UYVY, u"color=red", S_OK, 4, {90, 81, 240, 81}},
        {eZrFCC_HDYC, u"color=red", S_OK, 4, {102, 62, 239, 62}},
        {eZrFCC_YUY2, u"color=blue", S_OK, 88, {41, 240, 41, 110}},
        {eZrFCC_YVYU, u"color=blue", S_OK, 88, {41, 110, 41, 240}},
        {eZrFCC_I420, u"color=red", S_OK, 46, {81, 81, 90, 90}},
        {eZrFCC_YV12, u"color=red", S_OK, 46, {81, 81, 240, 240}},
        {eZrFCC_NV12, u"color=red", S_OK, 68, {90, 240}},
        {kFCC_Y444, u"color=red", S_OK, 94, {90, 90, 240, 240}},
        // Cb 90, Y 81, Cr 240 times four: words 0x3C051168, 0x14416944 (then Cr Y Cb, Y Cr Y).
        {eZrFCC_v210, u"color=red", S_OK, 384, {0x68, 0x11, 0x05, 0x3C, 0x44, 0xA1, 0x45, 0x14}},
    };
    for (const auto& [fccType, szList, hr, nOffset, arrExpected] : arrCases) {
        SCOPED_TRACE(testing::Message() << std::hex << fccType);
        ZR_VID_PROPS props = VidProps(fccType, 12, 4);
        if (PixelFormatBits(fccType) == 0) props.nRowBytes = 24;
        ZrPtr<IZrFrame> pFrame;
        ASSERT_EQ(Factory().FramesCreateFromMem(&props, 0, pFrame.Out(), szList), hr);
        EXPECT_EQ(static_cast<bool>(pFrame), Succeeded(hr));
        if (!pFrame) continue;
        const auto pFull = pFrame.As<IZrFFrame>();
        EXPECT_EQ(FirstBytes(*pFull, nOffset, arrExpected.size()), arrExpected);
    }
}

TEST(FrameFactory, FramesFromMemoryAreCopies) {
    ZR_AV_PROPS props;
    props.vidProps = VidProps(eZrFCC_RGB24, 3, 2);  // 12 bytes a row
    props.audProps = {1, 48000, 16, 0};
    std::vector<uint8_t> arrVideo(24);
    for (size_t i = 0; i < arrVideo.size(); ++i) arrVideo[i] = static_cast<uint8_t>(i + 1);
    const int16_t arrAudio[] = {5, 6, 7};
    ZrPtr<IZrFFrame> pFrame;
    const auto Make = [&](int64_t _lpVideo, int32_t _nSamples, int64_t _lpAudio) {
        return Factory().ZrFFrameCreateFromMem(&props, _lpVideo, _nSamples, _lpAudio, pFrame.Out(), nullptr);
    };
    const auto lpVideo = reinterpret_cast<int64_t>(arrVideo.data()), lpAudio = reinterpret_cast<int64_t>(arrAudio);
    ASSERT_EQ(Make(lpVideo, 3, lpAudio), S_OK);
    EXPECT_TRUE(std::ranges::equal(VideoOf(*pFrame), arrVideo));
    EXPECT_EQ(std::memcmp(AudioOf(*pFrame).data(), arrAudio, 6), 0);
    arrVideo[0] = 99;
    EXPECT_EQ(VideoOf(*pFrame)[0], 1);
    ASSERT_EQ(Make(lpVideo, 2, 0), S_OK);
    EXPECT_EQ(AudioOf(*pFrame)[0], 0);
    EXPECT_EQ(Make(lpVideo, -1, lpAudio), E_INVALIDARG);
    EXPECT_FALSE(pFrame);
    props.audProps.nChannels = 0;
    EXPECT_EQ(Make(lpVideo, 3, lpAudio), E_INVALIDARG);
    EXPECT_EQ(Make(lpVideo, 0, 0), S_OK);
    props.vidProps.eVideoFormat = eZrVF_Disabled;  // says that there is no picture
    ASSERT_EQ(Make(lpVideo, 0, 0), S_OK);
    EXPECT_EQ(InfoOf(*pFrame).cbVideo, 0u);
    ASSERT_EQ(Factory().ZrFFrameCreateFromMem(nullptr, lpVideo, 3, lpAudio, pFrame.Out(), nullptr), S_OK);
    EXPECT_EQ(InfoOf(*pFrame).cbVideo + InfoOf(*pFrame).cbAudio, 0u);
    ZrPtr<IZrFrame> pShort;
    const ZR_VID_PROPS none;
    EXPECT_EQ(Factory().FramesCreateFromMem(&none, 0, pShort.Out(), nullptr), E_INVALIDARG);
    ZR_VID_PROPS named{.eVideoFormat = eZrVF_PAL};
    ASSERT_EQ(Factory().FramesCreateFromMem(&named, 0, pShort.Out(), nullptr), S_OK);
    EXPECT_EQ(VideoOf(*pShort.As<IZrFFrame>()).size(), 720u * 576 * 2);
}

TEST(FrameFactory, PlanesComeFromAnywhereInAnyOrder) {
    uint8_t arr[400];
    for (size_t i = 0; i < sizeof(arr); ++i) arr[i] = static_cast<uint8_t>(i % 251);
    const auto At = [&](size_t _nOffset) { return reinterpret_cast<int64_t>(arr + _nOffset); };
    ZR_AV_PROPS props{VidProps(eZrFCC_YV12, 4, 4), {}, {}};
    ZRF_VID_PTR planes;
    planes.lpVideoPlanes[0] = At(10);
    planes.cbVideoRowBytes[0] = 20;
    planes.lpVideoPlanes[1] = At(160);  // U, whose upper line lies last
    planes.cbVideoRowBytes[1] = -30;
    planes.lpVideoPlanes[2] = At(200);
    ZrPtr<IZrFFrame> pFrame;
    const auto Make = [&] { return Factory().ZrFFrameCreateFromMemEx(&props, &planes, 0, 0, pFrame.Out(), nullptr); };
    ASSERT_EQ(Make(), S_OK);
    const std::vector<uint8_t> arrExpected{10, 11, 12, 13, 30,  31,  32,  33,  50,  51,  52,  53,
                                           70, 71, 72, 73, 200, 201, 202, 203, 160, 161, 130, 131};  // V before U
    EXPECT_TRUE(std::ranges::equal(VideoOf(*pFrame), arrExpected));
    planes.szVideoPlanes[1] = {2, 1};
    EXPECT_EQ(Make(), E_INVALIDARG);
    planes.szVideoPlanes[1] = {2, 2};
    planes.cbVideoRowBytes[0] = -3;
    EXPECT_EQ(Make(), E_INVALIDARG);
    planes.cbVideoRowBytes[0] = 4;
    planes.lpVideoPlanes[2] = 0;
    EXPECT_EQ(Make(), E_POINTER);
    // A bottom-up picture from top-down memory.
    props.vidProps = VidProps(eZrFCC_RGB32, 1, 2);
    planes = {};
    planes.lpVideoPlanes[0] = At(0);
    planes.cbVideoRowBytes[0] = 100;
    ASSERT_EQ(Make(), S_OK);
    EXPECT_EQ(FirstBytes(*pFrame, 0, 8), (std::vector<uint8_t>{100, 101, 102, 103, 0, 1, 2, 3}));
}

TEST(FrameFactory, AWrapperUsesTheOwnersMemoryUntilTheLastWindowGoes) {
    bool bGone = false;
    std::vector<uint8_t> arr(64 * 10, 7);
    const auto lp = reinterpret_cast<int64_t>(arr.data());
    auto pOwner = ZrPtr<Mortal>::Attach(new Mortal(&bGone));
    const ZR_VID_PROPS props = VidProps(eZrFCC_UYVY, 32, 10);
    ZrPtr<IZrFFrame> pFrame, pCut;
    EXPECT_EQ(Factory().ZrFFrameCreateWrapper(&props, 639, lp, pOwner.Get(), pFrame.Out()), E_INVALIDARG);
    EXPECT_EQ(Factory().ZrFFrameCreateWrapper(&props, 640, lp, nullptr, pFrame.Out()), E_POINTER);
    ASSERT_EQ(Factory().ZrFFrameCreateWrapper(&props, 640, lp, pOwner.Get(), pFrame.Out()), S_OK);
    pOwner.Reset();
    EXPECT_EQ(VideoOf(*pFrame).data(), arr.data());
    pCut = CutOf(*pFrame, 2);
    pFrame.Reset();
    EXPECT_FALSE(bGone);
    EXPECT_EQ(VideoOf(*pCut).data(), arr.data() + 64);
    const ZrPtr<IZrFFrame> pCopy = CloneOf(*pCut, eZrFC_Full);
    pCut.Reset();
    EXPECT_TRUE(bGone);
    EXPECT_EQ(VideoOf(*pCopy)[0], 7);
}

// A picture of 4 x 2 whose planes lie apart and whose memory is read on by whoever made it.
TEST(FrameFactory, ABorrowedPictureIsReadWhereItIsAndWrittenInACopy) {
    bool bGone = false;
    std::vector<uint8_t> arr(64);
    for (size_t i = 0; i < arr.size(); ++i) arr[i] = static_cast<uint8_t>(i);
    const std::vector<uint8_t> arrBefore = arr, arrPicture{0, 1, 2, 3, 8, 9, 10, 11, 32, 33, 48, 49};
    auto pOwner = ZrPtr<Mortal>::Attach(new Mortal(&bGone));
    const ZR_VID_PROPS props = VidProps(eZrFCC_I420, 4, 2);
    ZRF_VID_PTR planes;
    for (int i = 0; i < 3; ++i) {
        constexpr size_t arrOffsets[] = {0, 32, 48};
        planes.lpVideoPlanes[i] = reinterpret_cast<int64_t>(arr.data() + arrOffsets[i]);
        planes.cbVideoRowBytes[i] = 8;
    }
    ZrPtr<IZrFrame> pShort;
    ASSERT_EQ(Factory().FrameCreateBorrowed(&props, &planes, pOwner.Get(), pShort.Out()), S_OK);
    planes.cbVideoRowBytes[2] = 1;
    ZrPtr<IZrFrame> pWrong;
    EXPECT_EQ(Factory().FrameCreateBorrowed(&props, &planes, pOwner.Get(), pWrong.Out()), E_INVALIDARG);
    pOwner.Reset();
    auto pFrame = pShort.As<IZrFFrame>();
    pShort.Reset();
    ZrPtr<IZrFFrame> pShared = CloneOf(*pFrame, eZrFC_Reference);
    const ZrPtr<IZrFFrame> pCopy = CloneOf(*pFrame, eZrFC_Full);
    EXPECT_EQ(InfoOf(*pFrame).lpVideo, reinterpret_cast<int64_t>(arr.data()));
    EXPECT_TRUE(std::ranges::equal(VideoOf(*pCopy), arrPicture));

    int32_t cb = 0;
    int64_t lp = 0;
    ASSERT_EQ(pFrame->ZrFVideoGetBytes(&cb, &lp), S_OK);
    ASSERT_EQ(cb, 12);
    auto* const p = reinterpret_cast<uint8_t*>(lp);
    EXPECT_TRUE(std::equal(p, p + cb, arrPicture.begin()));
    EXPECT_NE(InfoOf(*pFrame).llVideoID, InfoOf(*pShared).llVideoID);
    std::fill(p, p + cb, uint8_t{200});
    EXPECT_EQ(arr, arrBefore);
    // A reference shows what was written, one from before does not.
    EXPECT_EQ(VideoOf(*CloneOf(*pFrame, eZrFC_Reference))[0], 200);
    pFrame.Reset();
    ASSERT_EQ(pShared->ZrFVideoGetBytesEx(&planes), S_OK);
    EXPECT_EQ(planes.cbVideoRowBytes[0], 4);
    EXPECT_TRUE(std::ranges::equal(VideoOf(*pShared), arrPicture));
    EXPECT_FALSE(bGone);
    pShared.Reset();
    EXPECT_TRUE(bGone);
}

TEST(FrameFactory, PropertiesOfAPlainFrameFromText) {
    ZrPtr<IZrFrame> pFrame;
    ASSERT_EQ(Factory().FramesCreate(640 * 480 * 4, u"width=640 height=480 pixel_format=ARGB32 rate=30", pFrame.Out()),
              S_OK);
    const ZR_VID_PROPS props = PropsOf(*pFrame.As<IZrFFrame>()).vidProps;
    EXPECT_EQ(props.nRowBytes, 2560);
    EXPECT_EQ(props.dblRate, 30);
    EXPECT_EQ(Factory().FramesCreate(1000, u"width=640 height=480 pixel_format=ARGB32", pFrame.Out()), E_INVALIDARG);
    EXPECT_FALSE(pFrame);
    EXPECT_EQ(Factory().FramesCreate(-1, nullptr, pFrame.Out()), E_INVALIDARG);
    EXPECT_EQ(Factory().FramesCreate(0, nullptr, pFrame.Out()), S_OK);
}

// A frame whose memory is said to be elsewhere: only its bytes can be had.
class ForeignFrame final : public UnknownImpl<IZrFFrame> {
public:
    explicit ForeignFrame(const ZrPtr<IZrFFrame>& _pFrame) : pFrame(_pFrame) {}

    HRESULT ZrFGetProcessID(uint32_t* _p) override {
        *_p = bHere ? ProcessId() : ProcessId() + 1;
        return S_OK;
    }
    HRESULT ZrFSave(uint32_t* _pcb, uint8_t** _pp, eZrFrameClone _e) override { return pFrame->ZrFSave(_pcb, _pp, _e); }

    HRESULT ZrFAVPropsGet(ZR_AV_PROPS*, int32_t*) override { return E_NOTIMPL; }
    HRESULT ZrFAVPropsSet(const ZR_AV_PROPS*, const char16_t*) override { return E_NOTIMPL; }
    HRESULT ZrFTimeGet(ZR_TIME*) override { return E_NOTIMPL; }
    HRESULT ZrFTimeSet(const ZR_TIME*) override { return E_NOTIMPL; }
    HRESULT ZrFFlagCheck(eZrFrameFlags, int32_t*) override { return E_NOTIMPL; }
    HRESULT ZrFAllGet(ZRF_FRAME_INFO*) override { return E_NOTIMPL; }
    HRESULT ZrFAudioGetBytes(int32_t*, int64_t*) override { return E_NOTIMPL; }
    HRESULT ZrFAudioChannelGetBytes(int32_t, int32_t, int32_t*, int64_t*) override { return E_NOTIMPL; }
    HRESULT ZrFAudioChannelsUpdate() override { return E_NOTIMPL; }
    HRESULT ZrFAudioAlloc(const ZR_AUD_PROPS*, int32_t) override { return E_NOTIMPL; }
    HRESULT ZrFAudioSet(const ZR_AUD_PROPS*, int32_t, int64_t) override { return E_NOTIMPL; }
    HRESULT ZrFAudioMixDirect(int32_t*, IZrFFrame*, int32_t*, int32_t, double, double, int32_t) override {
        return E_NOTIMPL;
    }
    HRESULT ZrFAudioMix(IZrFFrame*, double, double, int32_t, const char16_t*) override { return E_NOTIMPL; }
    HRESULT ZrFAudioCopyTo(const char16_t*, IZrFFrame*) override { return E_NOTIMPL; }
    HRESULT ZrFAudioSaveToFile(const char16_t*, int32_t) override { return E_NOTIMPL; }
    HRESULT ZrFAudioLoadFromFile(const char16_t*, int64_t, int32_t) override { return E_NOTIMPL; }
    HRESULT ZrFAudioGain(const char16_t*, double, double) override { return E_NOTIMPL; }
    HRESULT ZrFVideoGetBytes(int32_t*, int64_t*) override { return E_NOTIMPL; }
    HRESULT ZrFVideoGetHbitmap(int64_t*) override { return E_NOTIMPL; }
    HRESULT ZrFVideoSaveToFile(const char16_t*) override { return E_NOTIMPL; }
    HRESULT ZrFCut(int32_t, const tagRECT*, IZrFFrame**) override { return E_NOTIMPL; }
    HRESULT ZrFClone(IZrFFrame**, eZrFrameClone, eZrFCC) override { return E_NOTIMPL; }
    HRESULT ZrFOverlay(IZrFFrame*, IZrFFrame*, int32_t, int32_t, double, const char16_t*, const char16_t*) override {
        return E_NOTIMPL;
    }
    HRESULT ZrFConvert(const ZR_AV_PROPS*, IZrFFrame**, int32_t*, const char16_t*, const char16_t*) override {
        return E_NOTIMPL;
    }
    HRESULT ZrFResize(eZrFCC, int32_t, int32_t, int32_t, IZrFFrame**, const char16_t*, const char16_t*) override {
        return E_NOTIMPL;
    }
    HRESULT ZrFTransition(IZrFFrame*, IZrFFrame**, double, const char16_t*, const char16_t*, const char16_t*) override {
        return E_NOTIMPL;
    }
    HRESULT ZrFDataGetByIndex(int32_t, BSTR*, int32_t*, int64_t*) override { return E_NOTIMPL; }
    HRESULT ZrFDataGet(const char16_t*, int32_t*, int64_t*) override { return E_NOTIMPL; }
    HRESULT ZrFDataSet(const char16_t*, int32_t, int64_t) override { return E_NOTIMPL; }
    HRESULT ZrFObjGetByIndex(int32_t, BSTR*, IUnknown**, int32_t) override { return E_NOTIMPL; }
    HRESULT ZrFObjGet(const char16_t*, IUnknown**, int32_t) override { return E_NOTIMPL; }
    HRESULT ZrFObjSet(const char16_t*, IUnknown*) override { return E_NOTIMPL; }
    HRESULT ZrFStrGetByIndex(int32_t, BSTR*, BSTR*) override { return E_NOTIMPL; }
    HRESULT ZrFStrGet(const char16_t*, BSTR*) override { return E_NOTIMPL; }
    HRESULT ZrFStrSet(const char16_t*, const char16_t*) override { return E_NOTIMPL; }
    HRESULT ZrFLoad(uint32_t, const uint8_t*, eZrFrameClone) override { return E_NOTIMPL; }
    HRESULT ZrFWaitAsync() override { return E_NOTIMPL; }
    HRESULT ZrFPrint(const char16_t*, double, const ZRF_RECT*, eZrFTextFlags, const char16_t*) override {
        return E_NOTIMPL;
    }
    HRESULT ZrFOverlayRect(IZrFFrame*, IZrFFrame*, const ZRF_RECT*, eZrFOverlayFlags, double, const char16_t*,
                           const char16_t*) override {
        return E_NOTIMPL;
    }
    HRESULT ZrFVideoGetBytesEx(ZRF_VID_PTR*) override { return E_NOTIMPL; }
    HRESULT ZrFSaveToStream(IStream**, eZrFrameClone) override { return E_NOTIMPL; }
    HRESULT ZrFAddToStream(IStream*, eZrFrameClone) override { return E_NOTIMPL; }
    HRESULT ZrFLoadFromStream(IStream*, eZrFrameClone) override { return E_NOTIMPL; }

    bool bHere = false;

private:
    const ZrPtr<IZrFFrame> pFrame;
};

TEST(FrameFactory, FramesAreMadeLocal) {
    const ZrPtr<IZrFFrame> pFrame = CountingFrame(VidProps(eZrFCC_UYVY, 16, 4));
    ZrPtr<IZrFFrame> pLocal;
    ASSERT_EQ(Factory().ZrFFrameMakeLocal(pFrame.Get(), pLocal.Out(), 0), S_OK);
    EXPECT_EQ(pLocal, pFrame);
    ASSERT_EQ(Factory().ZrFFrameMakeLocal(pFrame.Get(), pLocal.Out(), 1), S_OK);
    EXPECT_NE(pLocal, pFrame);
    EXPECT_EQ(InfoOf(*pLocal).lpVideo, InfoOf(*pFrame).lpVideo);
    ZrPtr<IZrFrame> pShort;
    ASSERT_EQ(Factory().FramesMakeLocal(pFrame.As<IZrFrame>().Get(), pShort.Out(), 0), S_OK);
    EXPECT_EQ(pShort.As<IZrFFrame>(), pFrame);
    bool bGone = false;
    const auto pThing = ZrPtr<Mortal>::Attach(new Mortal(&bGone));
    EXPECT_EQ(Factory().ZrFFrameMakeLocal(pThing.Get(), pLocal.Out(), 1), E_NOINTERFACE);
    EXPECT_FALSE(pLocal);

    const auto pForeign = ZrPtr<ForeignFrame>::Attach(new ForeignFrame(pFrame));
    ASSERT_EQ(Factory().ZrFFrameMakeLocal(pForeign.Get(), pLocal.Out(), 0), S_OK);
    EXPECT_EQ(InfoOf(*pLocal).dwProcessID, ProcessId());
    EXPECT_TRUE(std::ranges::equal(VideoOf(*pLocal), VideoOf(*pFrame)));
    // Attached to another frame, it comes out local only when that is asked for.
    const ZrPtr<IZrFFrame> pHolder = EmptyFrame();
    EXPECT_EQ(pHolder->ZrFObjSet(u"remote", pForeign.Get()), S_OK);
    ZrPtr<IUnknown> pGot;
    EXPECT_EQ(pHolder->ZrFObjGet(u"remote", pGot.Out(), 0), S_OK);
    EXPECT_EQ(pGot, pForeign.As<IUnknown>());
    EXPECT_EQ(pHolder->ZrFObjGetByIndex(0, Text().Out(), pGot.Out(), 1), S_OK);
    EXPECT_NE(pGot, pForeign.As<IUnknown>());
    EXPECT_EQ(InfoOf(*pGot.As<IZrFFrame>()).cbVideo, 128u);
    // A frame of this process that has not the face that is wanted.
    pForeign->bHere = true;
    auto* pAsShort = reinterpret_cast<IZrFrame*>(static_cast<IUnknown*>(pForeign.Get()));
    EXPECT_EQ(Factory().FramesMakeLocal(pAsShort, pShort.Out(), 0), E_NOINTERFACE);
    EXPECT_FALSE(pShort);
}

}  // namespace
}  // namespace zr
