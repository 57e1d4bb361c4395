// Plug-ins of a mixer and of its items on air, in every way of mixing.

#include <cstring>

#include "mixer_fixture.h"
#include "support/paced_source.h"
#include "support/scripted_plugin.h"

namespace zr {
namespace {

uint8_t& FirstByte(IZrFrame* _pFrame) {
    int32_t cb = 0;
    int64_t pb = 0;
    _pFrame->FrameVideoGetBytes(&cb, &pb);
    return *reinterpret_cast<uint8_t*>(pb);
}

// Gives another frame with the next byte at the head of its picture.
HRESULT Step(int64_t _llStep, IZrFrame* _pFrame, IZrFrame** _ppResult) {
    if (!_ppResult) return E_FAIL;
    const HRESULT hr = _pFrame->FrameClone(_ppResult, eZrFC_Full, eZrFCC_Default);
    if (Succeeded(hr)) FirstByte(*_ppResult) = static_cast<uint8_t>(FirstByte(_pFrame) + _llStep);
    return hr;
}

class PluginsTest : public MixerTest {};

TEST_F(PluginsTest, AreOnAirInEveryWayOfMixing) {
    struct CASE {
        const char16_t* szKey;
        const char16_t* szValue;
        bool bStream;  // beside the background
        bool bNumbers;
    };
    constexpr CASE arrCases[] = {
        {u"sync_mode", u"true", true, true},
        {u"sync_mode.fixed_buffers", u"3", true, true},
        {u"sync_mode", u"false", true, false},
        {u"background.direct_out", u"true", false, false},
    };
    for (const CASE& c : arrCases) {
        SCOPED_TRACE(std::string(c.szKey, c.szKey + std::char_traits<char16_t>::length(c.szKey)));
        Make(25, true);
        pProps->PropsSet((std::u16string(u"object::") + c.szKey).c_str(), c.szValue);
        const auto Head = [](int64_t, IZrFFrame& _frame) { FirstByte(QueryAs<IZrFrame>(&_frame).Get()) = 10; };
        const auto pBackground = PacedSource::Make(SmallPicture(25), false),
                   pOther = PacedSource::Make(SmallPicture(25), false);
        pBackground->Furnish = pOther->Furnish = Head;
        const auto pOnBackground = ScriptedPlugin::Make(Step), pOnStream = ScriptedPlugin::Make(Step),
                   pOnOutput = ScriptedPlugin::Make(Step);
        ZrPtr<IZrItem> pBackgroundItem, pItem;
        pStreams->StreamsBackgroundSet(pBackground.Get(), u"", u"", pBackgroundItem.Out(), 0);
        ASSERT_EQ(pBackgroundItem.As<IZrPlugins>()->PluginsAdd(pOnBackground.Get(), 20), S_OK);
        ASSERT_EQ(pMixer.As<IZrPlugins>()->PluginsAddVB6(pOnOutput.Get(), 40), S_OK);
        if (c.bStream) {
            ASSERT_EQ(Add(u"a", pOther.Get(), &pItem), S_OK);
            ASSERT_EQ(pItem.As<IZrPlugins>()->PluginsAdd(pOnStream.Get(), 50), S_OK);
        }
        pMixer->ObjectStart(nullptr);
        SleepFor(kTicksPerSecond);
        if (c.bStream) {
            const auto pShown = StreamOf(pItem)->LastFrame();
            ASSERT_TRUE(pShown);
            EXPECT_EQ(FirstByte(pShown.As<IZrFrame>().Get()), 60);
            for (const char16_t* szKey : {u"stat::plugins._mixer_background_", u"stat::plugins.a"}) {
                BSTR bs = nullptr;
                EXPECT_EQ(pProps->PropsGet(szKey, &bs) == S_OK, c.bNumbers);
                SysFreeString(bs);
            }
            ASSERT_EQ(pStreams->StreamsRemove(pItem.Get(), 0), S_OK);
            EXPECT_EQ(pOnStream->nEnds, 1);
        }
        SleepFor(kTicksPerSecond);
        pMixer->ObjectClose();
        const auto arrFrames = pCollector->Frames();
        ASSERT_GT(arrFrames.size(), 45u);
        for (size_t i = 0; i < arrFrames.size(); ++i)
            ASSERT_EQ(FirstByte(arrFrames[i].pFrame.As<IZrFrame>().Get()), 70) << i;
        EXPECT_GE(pOnOutput->nFrames, static_cast<int32_t>(arrFrames.size()));
        EXPECT_EQ(pOnOutput->nEnds, 1);
        EXPECT_EQ(pOnBackground->nEnds, 1);
    }
}

}  // namespace
}  // namespace zr
