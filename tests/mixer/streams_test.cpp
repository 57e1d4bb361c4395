// The streams of a mixer: the table that hosts see, and what comes of their sources' frames.

#include <atomic>
#include <map>
#include <random>

#include "mixer_fixture.h"
#include "platform/thread.h"
#include "support/stress.h"

namespace zr {
namespace {

class StreamsTest : public MixerTest {
protected:
    void Make(double _dblRate) {
        MixerTest::Make(_dblRate, true);
        pStreams = pMixer.As<IZrStreams>();
    }
    HRESULT Add(const char16_t* _szId, IUnknown* _pSource, ZrPtr<IZrItem>* _ppItem = nullptr) {
        ZrPtr<IZrItem> pItem;
        const HRESULT hr = pStreams->StreamsAdd(_szId, _pSource, nullptr, nullptr, pItem.Out(), 0);
        if (_ppItem) *_ppItem = pItem;
        return hr;
    }
    ZrPtr<ScriptedSource> NewSource() { return ScriptedSource::Make(SmallPicture(25.0), 0); }
    // "a b c", as the table has them.
    std::u16string Order() {
        std::u16string order;
        int32_t nCount = 0;
        pStreams->StreamsGetCount(&nCount);
        for (int32_t i = 0; i < nCount; ++i) {
            BSTR bs = nullptr;
            EXPECT_EQ(pStreams->StreamsGetByIndex(i, &bs, nullptr), S_OK);
            int32_t nIndex = -1;
            EXPECT_EQ(pStreams->StreamsGet(bs, &nIndex, nullptr), S_OK);
            EXPECT_EQ(nIndex, i);
            order += (i > 0 ? u" " : u"") + std::u16string(bs);
            SysFreeString(bs);
        }
        return order;
    }
    static MixerStreamPtr StreamOf(const ZrPtr<IZrItem>& _pItem) {
        return static_cast<CCoZrItem*>(_pItem.Get())->Node()->ObjectAs<MixerStreamPtr>(kMixStreamKey);
    }
    static int32_t NumberIn(const MixerStreamPtr& _pStream) {
        const auto pFrame = _pStream->LastFrame();
        return pFrame ? ScriptedSource::NumberOf(pFrame.Get()) : -1;
    }

    ZrPtr<IZrStreams> pStreams;
};

TEST_F(StreamsTest, TheTableKeepsOrderAndSaysWhatIsWrong) {
    Make(25.0);
    EXPECT_EQ(pStreams->StreamsRemove(nullptr, 0), ZR_E_EMPTY);
    EXPECT_EQ(pStreams->StreamsRemoveByIndex(0, 0, 0), ZR_E_EMPTY);
    ZrPtr<IZrItem> arrItems[4];
    const auto pFirst = NewSource();
    ASSERT_EQ(Add(nullptr, pFirst.Get(), &arrItems[0]), S_OK);
    ASSERT_EQ(Add(u"", NewSource().Get(), &arrItems[1]), S_OK);
    ASSERT_EQ(Add(u"logo", NewSource().Get(), &arrItems[2]), S_OK);
    ASSERT_EQ(Add(nullptr, NewSource().Get(), &arrItems[3]), S_OK);
    EXPECT_EQ(Order(), u"stream-000 stream-001 logo stream-002");

    EXPECT_EQ(Add(u"x", nullptr), E_INVALIDARG);
    EXPECT_EQ(Add(u"x", pMixer.As<IZrProps>().Get()), S_OK);  // any face of an object that can be pulled
    EXPECT_EQ(pStreams->StreamsRemoveByIndex(-1, 0, 0), S_OK);
    EXPECT_EQ(Add(u"x", pCollector.Get()), E_NOINTERFACE);
    EXPECT_EQ(Add(u"stream-000", pFirst.Get()), ZR_E_EXISTS);
    EXPECT_EQ(Add(u"stream-000", arrItems[0].Get()), ZR_E_EXISTS);  // the item stands for its source
    EXPECT_EQ(pStreams->StreamsGetByIndex(4, nullptr, nullptr), ZR_E_BAD_INDEX);
    EXPECT_EQ(pStreams->StreamsGetByIndex(-1, nullptr, nullptr), ZR_E_BAD_INDEX);
    EXPECT_EQ(pStreams->StreamsGet(u"none", nullptr, nullptr), ZR_E_NOT_FOUND_FILE);
    EXPECT_EQ(pStreams->StreamsRemoveByIndex(4, 0, 0), ZR_E_BAD_INDEX);
    EXPECT_EQ(pStreams->StreamsRemoveByIndex(-5, 0, 0), ZR_E_BAD_INDEX);

    struct MOVE {
        int nItem;
        int32_t nAdd;
        HRESULT hr;
        const char16_t* szOrder;
    };
    for (const MOVE& move : {MOVE{0, 1, S_OK, u"stream-001 stream-000 logo stream-002"},
                             MOVE{0, 1000, S_OK, u"stream-001 logo stream-002 stream-000"},
                             MOVE{0, 1, S_FALSE, u"stream-001 logo stream-002 stream-000"},
                             MOVE{3, -2147483647 - 1, S_OK, u"stream-002 stream-001 logo stream-000"},
                             MOVE{2, 2147483647, S_OK, u"stream-002 stream-001 stream-000 logo"},
                             MOVE{1, 0, S_FALSE, u"stream-002 stream-001 stream-000 logo"}}) {
        EXPECT_EQ(pStreams->StreamsReorder(arrItems[move.nItem].Get(), move.nAdd, 0), move.hr);
        EXPECT_EQ(Order(), move.szOrder);
    }
    // Replaced in its place, by an item that takes the stream over.
    const MixerStreamPtr pStream = StreamOf(arrItems[1]);
    ZrPtr<IZrItem> pNew;
    ASSERT_EQ(Add(u"stream-001", NewSource().Get(), &pNew), S_OK);
    EXPECT_EQ(Order(), u"stream-002 stream-001 stream-000 logo");
    EXPECT_EQ(StreamOf(pNew), pStream);
    EXPECT_FALSE(StreamOf(arrItems[1]));
    EXPECT_EQ(pStreams->StreamsReorder(arrItems[1].Get(), 1, 0), E_INVALIDARG);
    EXPECT_EQ(pStreams->StreamsRemove(arrItems[1].Get(), 0), ZR_E_NOT_FOUND_FILE);
    // Ranges to either side, cut at the ends; the counted id that was freed comes again.
    EXPECT_EQ(pStreams->StreamsRemoveByIndex(1, -7, 0), S_OK);
    EXPECT_EQ(Order(), u"stream-000 logo");
    ASSERT_EQ(Add(nullptr, NewSource().Get()), S_OK);
    EXPECT_EQ(Order(), u"stream-000 logo stream-001");
    EXPECT_EQ(pStreams->StreamsRemoveByIndex(-2, 2147483647, 0), S_OK);
    EXPECT_EQ(Order(), u"stream-000");
    EXPECT_EQ(pStreams->StreamsRemove(arrItems[0].Get(), 0), S_OK);
    EXPECT_EQ(Order(), u"");
}

TEST_F(StreamsTest, OneSourceIsAskedOnceForAllItsStreams) {
    Make(25.0);
    pStreams->StreamsBackgroundSet(nullptr, nullptr, nullptr, nullptr, 0);
    pProps->PropsSet(u"object::background", u"");
    const auto pShared = NewSource();
    const auto pOther = NewSource();
    ZrPtr<IZrItem> pA, pB, pC;
    Add(u"a", pShared.Get(), &pA);
    Add(u"b", pShared.Get(), &pB);
    Add(u"c", pOther.Get(), &pC);
    pMixer->ObjectStart(nullptr);
    SleepFor(2 * kTicksPerSecond);
    pFile->FilePlayStop(0);
    SleepFor(kTicksPerMs);  // events are told on a thread of their own
    EXPECT_NEAR(pShared->nGets, 50, 3);
    EXPECT_EQ(pShared->nGets, pOther->nGets);
    for (const auto& pItem : {pA, pB, pC}) EXPECT_EQ(NumberIn(StreamOf(pItem)), pShared->nNext - 1);
    EXPECT_NE(StreamOf(pA)->LastFrame(), StreamOf(pB)->LastFrame());
    EXPECT_EQ(CountEvents(u"source_connected/Unknown"), 0);
    EXPECT_EQ(CountEvents(u"source_connected/External"), 2);
    EXPECT_EQ(CountEvents(u"source_disconnected/External"), 2);
    EXPECT_EQ(CountEvents(u"connect/External"), 3);
    EXPECT_EQ(CountEvents(u"disconnect/External"), 3);
    const auto arrFrames = pCollector->Frames();
    for (size_t i = 0; i < arrFrames.size(); ++i) {
        ASSERT_EQ(arrFrames[i].time.rtStartTime, 400000 * static_cast<int64_t>(i));
        ASSERT_EQ((arrFrames[i].time.eFFlags & eZrFF_Break) != 0, i == 0);
    }
}

}  // namespace
}  // namespace zr
