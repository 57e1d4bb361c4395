// A mixer that runs a scene.

#include <cstring>

#include "mixer_fixture.h"
#include "support/allocation_count.h"
#include "zr/elements.h"
#include "zr/scenes.h"

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
        ASSERT_EQ(pMixer.As<IZrStreams>()->StreamsAdd(u"s", pStream.Get(), nullptr, nullptr, nullptr, 0), S_OK);
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

}  // namespace
}  // namespace zr
