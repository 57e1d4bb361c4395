// A mixer that runs a scene.

#include <cstring>

#include "mixer_fixture.h"
#include "support/allocation_count.h"
#include "support/paced_source.h"
#include "zr/elements.h"
#include "zr/scenes.h"
#include "zr/utf8.h"

namespace zr {
namespace {

class SceneCycleTest : public MixerTest {
protected:
    // A stream "s" that is white, and an element "v" that shows it.
    void MakeScene(const char16_t* _szElement) {
        Make(25.0, true);
        pSource->bNumbered = false;
        pStream = ScriptedSource::Make(SmallPicture(25.0), 0);
        pStream->bNumbered = false;
        ZrPtr<IZrFFrame> pFrame;
        pStream->LastFrameGet(pFrame.Out());
        int32_t cb = 0;
        int64_t pb = 0;
        pFrame->ZrFVideoGetBytes(&cb, &pb);
        std::memset(reinterpret_cast<void*>(pb), 200, static_cast<size_t>(cb));
        llStream = InfoOf(pFrame).llVideoID;
        ASSERT_EQ(pStreams->StreamsAdd(u"s", pStream.Get(), nullptr, nullptr, nullptr, 0), S_OK);
        ZrPtr<IZrElements> pScene;
        ZrPtr<IZrElement> pForeground;
        ASSERT_EQ(pMixer.As<IZrScenes>()->ScenesActiveGet(nullptr, nullptr, pScene.Out()), S_OK);
        ASSERT_EQ(pScene->ElementsGetByID(u"foreground", pForeground.Out()), S_OK);
        ASSERT_EQ(pForeground.As<IZrElements>()->ElementsAdd(u"v", u"video", _szElement, pVideo.Out(), 0), S_OK);
    }
    static ZRF_FRAME_INFO InfoOf(const ZrPtr<IZrFFrame>& _pFrame) {
        ZRF_FRAME_INFO info;
        EXPECT_EQ(_pFrame->ZrFAllGet(&info), S_OK);
        return info;
    }
    // The luma of a pixel in the middle of the last frame that was sent.
    int32_t Middle() {
        const ZRF_FRAME_INFO info = InfoOf(pCollector->Frames().back().pFrame);
        const ZR_VID_PROPS& props = info.avProps.vidProps;
        return reinterpret_cast<const uint8_t*>(info.lpVideo)[18 * props.nRowBytes + 65];
    }

    ZrPtr<ScriptedSource> pStream;
    ZrPtr<IZrElement> pVideo;
    int64_t llStream = 0;
};

TEST_F(SceneCycleTest, AStreamThatCoversAllIsTheOutput) {
    MakeScene(u"stream_id=s");
    pMixer->ObjectStart(nullptr);
    SleepFor(kTicksPerSecond);
    EXPECT_EQ(InfoOf(pCollector->Frames().back().pFrame).llVideoID, llStream);
    // Half of it over the black of the background: 16 and 200.
    pVideo->ElementDoubleSet(u"alpha", 0.5, 0);
    SleepFor(kTicksPerSecond / 2);
    EXPECT_NE(InfoOf(pCollector->Frames().back().pFrame).llVideoID, llStream);
    EXPECT_NEAR(Middle(), 108, 1);
    // A fade to nothing ends once, and on the background.
    pVideo->ElementBoolSet(u"show", false, 0.4);
    SleepFor(kTicksPerSecond);
    EXPECT_EQ(Middle(), 16);
    EXPECT_EQ(CountEvents(u"trans-done/"), 1);
    pVideo->ElementBoolSet(u"show", true, 0);
    SleepFor(kTicksPerSecond / 2);
    EXPECT_NEAR(Middle(), 108, 1);
    pVideo->ElementDetach(0);
    SleepFor(kTicksPerSecond / 2);
    EXPECT_EQ(Middle(), 16);
}

TEST_F(SceneCycleTest, ACropThatLeavesItsSourceHidesNothing) {
    MakeScene(u"stream_id=s");
    ZrPtr<IZrElement> pForeground;
    pVideo->ElementParentGet(pForeground.Out());
    pForeground.As<IZrElements>()->ElementsAdd(u"over", u"video", u"stream_id=s sx=0.8 sw=1", nullptr, 0);
    pMixer->ObjectStart(nullptr);
    SleepFor(kTicksPerSecond);
    EXPECT_EQ(Middle(), 200);
}

TEST_F(SceneCycleTest, AStreamByItsPlaceIsThatOfTheTable) {
    MakeScene(u"stream_idx=1");
    ZrPtr<IZrItem> pFirst, pItem;
    ASSERT_EQ(Add(u"first", ScriptedSource::Make(SmallPicture(25.0), 0).Get(), &pFirst), S_OK);
    pStreams->StreamsReorder(pFirst.Get(), -1, 0);
    pMixer->ObjectStart(nullptr);
    SleepFor(kTicksPerSecond);
    EXPECT_EQ(Middle(), 200);
    pFirst.As<IZrFile>()->FilePlayStop(0);  // it keeps its place
    SleepFor(kTicksPerSecond / 2);
    EXPECT_EQ(Middle(), 200);
    pStreams->StreamsRemove(pFirst.Get(), 0);
    SleepFor(kTicksPerSecond / 2);
    EXPECT_EQ(Middle(), 16);
}

// The scenes of a mixer that is a stream of another are reached through the stream.
TEST_F(SceneCycleTest, AStreamThatHasScenesGoesToThem) {
    MakeScene(u"stream_id=inner");
    ZrPtr<IZrObject> pInner;
    ASSERT_EQ(CreateInstance(kClsidZrMixer, IZrObject::kIid, reinterpret_cast<void**>(pInner.Out())), S_OK);
    const ZR_VID_PROPS props = SmallPicture(25.0);
    ASSERT_EQ(pInner.As<IZrFormat>()->FormatVideoSet(eZrFT_Convert, &props), S_OK);
    ASSERT_EQ(pInner.As<IZrStreams>()->StreamsAdd(u"s", pStream.Get(), nullptr, nullptr, nullptr, 0), S_OK);
    ASSERT_EQ(pInner.As<IZrElements>()->ElementsAdd(u"v", u"video", u"stream_id=s", nullptr, 0), S_OK);
    BSTR bs = SysAllocString(u"empty");
    ASSERT_EQ(pInner.As<IZrScenes>()->ScenesAdd(nullptr, &bs, nullptr), S_OK);
    SysFreeString(bs);
    pInner->ObjectStart(nullptr);
    ZrPtr<IZrItem> pItem, pPlain;
    ASSERT_EQ(Add(u"inner", pInner.Get(), &pItem), S_OK);
    ASSERT_EQ(pStreams->StreamsGet(u"s", nullptr, pPlain.Out()), S_OK);
    EXPECT_FALSE(pPlain.As<IZrScenes>());
    const auto pScenes = pItem.As<IZrScenes>();
    ASSERT_TRUE(pScenes);
    EXPECT_EQ(pScenes.As<IZrItem>(), pItem);
    pMixer->ObjectStart(nullptr);
    SleepFor(kTicksPerSecond);
    EXPECT_EQ(Middle(), 200);
    EXPECT_EQ(pScenes->ScenesActiveSet(u"empty", nullptr), S_OK);
    SleepFor(kTicksPerSecond);
    EXPECT_EQ(Middle(), 16);
    EXPECT_EQ(pScenes->ScenesActiveSet(u"empty", nullptr), S_FALSE);
    EXPECT_EQ(pScenes->ScenesActiveSet(u"no", nullptr), ZR_E_NOT_FOUND_FILE);
    pInner->ObjectClose();
}

// Four streams of another size than the output, each with a new picture and sound in every frame, one half transparent.
TEST_F(SceneCycleTest, ASteadyQuadTakesNothingFromTheHeap) {
    for (const char16_t* szSync : {u"true", u"false"}) {
        SCOPED_TRACE(ToUtf8(szSync));
        MakeScene(u"stream_id=q0 w=0.5 h=0.5");
        pCollector = ZrPtr<FrameCollector>::Attach(new FrameCollector(false));  // keeps no frames
        pMixer.As<IZrSender_I>()->SenderDisconnect(u"test");
        pMixer.As<IZrSender_I>()->SenderConnect(pCollector.Get(), u"test", u"rate_control=0", nullptr);
        NoBackground();
        pProps->PropsSet(u"object::sync_mode", szSync);
        ZrPtr<IZrElement> pForeground;
        pVideo->ElementParentGet(pForeground.Out());
        const auto pElements = pForeground.As<IZrElements>();
        for (const char16_t* szElement : {u"stream_id=q1 x=0.5 w=0.5 h=0.5 alpha=0.5 audio_gain=-6",
                                          u"stream_id=q2 y=0.5 w=0.5 h=0.5", u"stream_id=q3 x=0.5 y=0.5 w=0.5 h=0.5"})
            pElements->ElementsAdd(u"", u"video", szElement, nullptr, 0);
        for (const char16_t* szId : {u"q0", u"q1", u"q2", u"q3"}) {
            ZR_VID_PROPS props = SmallPicture(25.0);
            props.nWidth = 160;
            props.nRowBytes = 320;
            const auto pQuad = PacedSource::Make(props, false);
            pQuad->SetFormat(props, 1920, 3);
            Add(szId, pQuad.Get());
        }
        pCollector->Reserve(10'000);
        pMixer->ObjectStart(nullptr);
        SleepFor(10 * kTicksPerSecond);
        EXPECT_EQ(Counter(u"audio.q1.not_enough"), 0);
        const int64_t nBefore = AllocationCount();
        const size_t nFrames = pCollector->Count();
        SleepFor(20 * kTicksPerSecond);
        EXPECT_GE(pCollector->Count(), nFrames + 495);
        EXPECT_EQ(AllocationCount(), nBefore);
        pMixer->ObjectClose();
    }
}

TEST_F(SceneCycleTest, ASceneThatIsNotReadyIsNotSent) {
    MakeScene(u"stream_id=s");
    pProps->PropsSet(u"object::output.skip_if_not_ready", u"true");
    pMixer->ObjectStart(nullptr);
    SleepFor(kTicksPerSecond);
    const auto arrFrames = pCollector->Frames();
    ASSERT_GE(arrFrames.size(), 20u);
    for (const auto& received : arrFrames) EXPECT_EQ(InfoOf(received.pFrame).llVideoID, llStream);
    EXPECT_TRUE(arrFrames[0].time.eFFlags & eZrFF_Break);
}

// Nothing of what a host changes between two frames shows half or late: a scene is whole in its first frame, a stream
// that stands still goes along, and what is done at the event of a frame shows in that frame.
TEST_F(SceneCycleTest, WhatChangesShowsWholeInTheNextFrame) {
    MakeScene(u"stream_id=s");
    const auto pScenes = pMixer.As<IZrScenes>();
    BSTR bs = SysAllocString(u"other");
    ASSERT_EQ(pScenes->ScenesAdd(u"<zr_scene><foreground><video id='w' stream_id='s'/></foreground></zr_scene>", &bs,
                                 nullptr),
              S_OK);
    SysFreeString(bs);
    pProps->PropsSet(u"object::on_mix.event", u"true");
    pProps->PropsSet(u"object::on_event.sync", u"true");
    struct HOST {
        ZrPtr<IZrScenes> pScenes;
        ZrPtr<IZrElement> pVideo;
        ZrPtr<IZrItem> pItem;
        int64_t nFrame = -1;
        bool bCounted = true;
        static HRESULT OnEvent(int64_t _llUser, const char16_t*, const char16_t* _szEvent, const char16_t* _szParam,
                               IUnknown*) {
            auto& host = *reinterpret_cast<HOST*>(_llUser);
            if (std::u16string_view(_szEvent) != u"mix") return S_OK;
            const int64_t n = std::stoll(ToUtf8(_szParam));
            host.bCounted &= n == host.nFrame + 1;
            host.nFrame = n;
            if (n == 5) host.pScenes->ScenesActiveSet(u"other", nullptr);
            if (n == 10) host.pItem.As<IZrFile>()->FilePlayPause(0);
            if (n == 12) host.pScenes->ScenesActiveSet(u"scene_000", nullptr);
            if (n == 15) host.pVideo->ElementMultipleSet(u"w=0.4", 0);
            if (n == 16) host.pVideo->ElementMultipleSet(u"w=1 alpha=0.5", 0);
            return S_OK;
        }
    };
    pProps->PropsSet(u"pause.no_input", u"true");
    HOST host{pScenes, pVideo, {}};
    ASSERT_EQ(pMixer.As<IZrStreams>()->StreamsGet(u"s", nullptr, host.pItem.Out()), S_OK);
    pMixer->ObjectCallbackSetFunc(reinterpret_cast<int64_t>(&HOST::OnEvent), 0, reinterpret_cast<int64_t>(&host));
    pMixer->ObjectStart(nullptr);
    SleepFor(kTicksPerSecond);
    pProps->PropsSet(u"object::on_mix.event", u"false");
    pMixer->ObjectCallbackSetFunc(0, 0, 0);
    EXPECT_TRUE(host.bCounted);
    const auto arrFrames = pCollector->Frames();
    ASSERT_GE(arrFrames.size(), 20u);
    const auto At = [&](size_t _n, int32_t _x) {
        const ZRF_FRAME_INFO info = InfoOf(arrFrames[_n].pFrame);
        return reinterpret_cast<const uint8_t*>(info.lpVideo)[18 * info.avProps.vidProps.nRowBytes + 2 * _x + 1];
    };
    for (size_t i = 0; i < 20; ++i) {
        EXPECT_NEAR(At(i, 32), i < 16 ? 200 : 108, 1) << i;
        EXPECT_NEAR(At(i, 4), i == 15 ? 16 : i < 16 ? 200 : 108, 1) << i;
    }
}

}  // namespace
}  // namespace zr
