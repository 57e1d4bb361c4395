// The streams of a mixer: the table that hosts see, and what comes of their sources' frames.

#include <atomic>
#include <memory>
#include <random>

#include "mixer_fixture.h"
#include "platform/thread.h"
#include "support/paced_source.h"
#include "support/scripted_file.h"

namespace zr {
namespace {

constexpr int kRounds = 2000;

class StreamsTest : public MixerTest {
protected:
    void Make(double _dblRate) { MixerTest::Make(_dblRate, true); }
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
};

TEST_F(StreamsTest, NumbersOfAStreamGoWithIt) {
    Make(25.0);
    const auto Has = [&](const char16_t* _szName) {
        BSTR bs = nullptr;
        const HRESULT hr = pProps->PropsGet(_szName, &bs);
        SysFreeString(bs);
        return hr == S_OK;
    };
    ASSERT_EQ(pFile->FilePlayStart(), S_OK);
    ASSERT_EQ(Add(u"clip", NewSource().Get()), S_OK);
    SleepFor(kTicksPerSecond);
    EXPECT_TRUE(Has(u"stat::put_frame.clip"));
    EXPECT_EQ(pStreams->StreamsRemoveByIndex(0, 0, 0), S_OK);
    SleepFor(kTicksPerSecond);
    EXPECT_FALSE(Has(u"stat::put_frame.clip"));
    EXPECT_TRUE(Has(u"stat::put_frame.bg"));
}

TEST_F(StreamsTest, TheTableKeepsOrderAndSaysWhatIsWrong) {
    Make(25.0);
    EXPECT_EQ(pStreams->StreamsRemove(nullptr, 0), ZR_E_EMPTY);
    EXPECT_EQ(pStreams->StreamsRemoveByIndex(0, 0, 0), ZR_E_EMPTY);
    ZrPtr<IZrItem> arrItems[4];
    const auto pFirst = NewSource();
    ASSERT_EQ(Add(u"", pFirst.Get(), &arrItems[0]), S_OK);
    ASSERT_EQ(Add(u"", NewSource().Get(), &arrItems[1]), S_OK);
    ASSERT_EQ(Add(u"logo", NewSource().Get(), &arrItems[2]), S_OK);
    ASSERT_EQ(Add(u"", NewSource().Get(), &arrItems[3]), S_OK);
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
    ASSERT_EQ(Add(u"", NewSource().Get()), S_OK);
    EXPECT_EQ(Order(), u"stream-000 logo stream-001");
    EXPECT_EQ(pStreams->StreamsRemoveByIndex(-2, 2147483647, 0), S_OK);
    EXPECT_EQ(Order(), u"stream-000");
    EXPECT_EQ(pStreams->StreamsRemove(arrItems[0].Get(), 0), S_OK);
    EXPECT_EQ(Order(), u"");
}

TEST_F(StreamsTest, OneSourceIsAskedOnceForAllItsStreams) {
    Make(25.0);
    NoBackground();
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

// Another mixer is found by its name while it is started and shows itself in the same group.
TEST_F(StreamsTest, AnObjectIsFoundByItsName) {
    Make(25.0);
    ZrPtr<IZrObject> pStudio;
    ASSERT_EQ(CreateInstance(kClsidZrMixer, IZrObject::kIid, reinterpret_cast<void**>(pStudio.Out())), S_OK);
    const auto pStudioProps = pStudio.As<IZrProps>();
    const ZR_VID_PROPS props = SmallPicture(25.0);
    pStudio.As<IZrFormat>()->FormatVideoSet(eZrFT_Convert, &props);
    const auto pUnder = NewSource();
    pStudio.As<IZrStreams>()->StreamsBackgroundSet(pUnder.Get(), u"", u"", nullptr, 0);
    ASSERT_EQ(pMixer->ObjectStart(nullptr), S_OK);
    BSTR bsOwn = nullptr;
    ASSERT_EQ(pMixer->ObjectNameGet(&bsOwn), S_OK);
    const std::u16string own(bsOwn);
    SysFreeString(bsOwn);

    ZrPtr<IZrItem> pItem;
    const auto IsFound = [&](const std::u16string& _name) {
        pItem.Reset();
        return pStreams->StreamsAdd(u"link", nullptr, _name.c_str(), u"", pItem.Out(), 0) == S_OK;
    };
    EXPECT_FALSE(IsFound(own));
    EXPECT_FALSE(IsFound(u"studio"));
    pStudio->ObjectNameSet(u"studio");
    ASSERT_EQ(pStudio->ObjectStart(nullptr), S_OK);
    const struct {
        IZrProps* pProps;
        const char16_t *szKey, *szValue;
        bool bFound;
    } arrSteps[] = {
        {pStudioProps.Get(), u"object::external_access.prefix", u"red", false},
        {pProps.Get(), u"object::external_access.prefix", u"red", true},
        {pStudioProps.Get(), u"object::external_access", u"false", false},
        {pStudioProps.Get(), u"object::external_access", u"true", true},
        {pProps.Get(), u"object::sync_mode.direct_hv_links", u"false", false},
        {pProps.Get(), u"object::sync_mode.direct_hv_links", u"true", true},
    };
    for (const auto& step : arrSteps) {
        ASSERT_EQ(step.pProps->PropsSet(step.szKey, step.szValue), S_OK);
        EXPECT_EQ(IsFound(u"studio"), step.bFound) << &step - arrSteps;
        pStreams->StreamsRemoveByIndex(0, 100, 0);
    }
    ASSERT_TRUE(IsFound(u"studio"));
    // Saved as its name, by which it is found when it is loaded.
    const auto pPersist = pMixer.As<IZrPersist>();
    BSTR bsSaved = nullptr;
    ASSERT_EQ(pPersist->PersistSaveToString(nullptr, &bsSaved, nullptr), S_OK);
    const std::u16string saved(bsSaved);
    SysFreeString(bsSaved);
    pItem.Reset();
    pStreams->StreamsRemoveByIndex(0, 100, 0);
    ASSERT_EQ(pPersist->PersistLoad(nullptr, saved.c_str(), nullptr), S_OK);
    ASSERT_EQ(pStreams->StreamsGet(u"link", nullptr, pItem.Out()), S_OK);
    ZrPtr<IUnknown> pInner;
    ASSERT_EQ(pItem->ItemInnerGet(pInner.Out()), S_OK);
    EXPECT_EQ(QueryAs<IUnknown>(pInner.Get()), QueryAs<IUnknown>(pStudio.Get()));
    pInner.Reset();
    SleepFor(kTicksPerSecond);
    EXPECT_GT(NumberIn(StreamOf(pItem)), 15);
    // Two that show each other keep their rate.
    EXPECT_EQ(pStudio.As<IZrStreams>()->StreamsAdd(u"back", nullptr, own.c_str(), u"", nullptr, 0), S_OK);
    const size_t nAlone = pCollector->Frames().size();
    SleepFor(2 * kTicksPerSecond);
    EXPECT_NEAR(static_cast<double>(pCollector->Frames().size() - nAlone), 50, 8);

    // It goes while it is shown; the output goes on, and nobody finds it any more.
    const size_t nBefore = pCollector->Frames().size();
    EXPECT_EQ(pStudio->ObjectClose(), S_OK);
    SleepFor(2 * kTicksPerSecond);
    EXPECT_NEAR(static_cast<double>(pCollector->Frames().size() - nBefore), 50, 8);
    EXPECT_FALSE(IsFound(u"studio"));
}

// Set on air, the key holds from the next frame on, whether the mixer asks for frames in line or ahead.
TEST_F(StreamsTest, ABackgroundAloneGoesStraightOutFromWhenItIsTold) {
    for (const char16_t* szAhead : {u"0", u"3"}) {
        Make(25.0);
        pProps->PropsSet(u"object::sync_mode.fixed_buffers", szAhead);
        ZR_VID_PROPS other = SmallPicture(25);
        other.nWidth = 32;
        other.nRowBytes = 64;
        const auto pBackground = ScriptedSource::Make(other, 0);
        pStreams->StreamsBackgroundSet(pBackground.Get(), nullptr, nullptr, nullptr, 0);
        pMixer->ObjectStart(nullptr);
        const auto RunWith = [&](const char16_t* _szValue) {
            const size_t nBefore = pCollector->Frames().size();
            pProps->PropsSet(u"background.direct_out", _szValue);
            SleepFor(kTicksPerSecond);
            EXPECT_NEAR(static_cast<double>(pCollector->Frames().size() - nBefore), 25, 2);
            const auto arrFrames = pCollector->Frames();
            return std::vector(arrFrames.begin() + static_cast<ptrdiff_t>(nBefore), arrFrames.end());
        };
        // Of the frames that were asked for ahead some are still mixed.
        const auto Breaks = [](const auto& _arrFrames) {
            return std::count_if(_arrFrames.begin() + 1, _arrFrames.end(),
                                 [](const auto& _f) { return (_f.time.eFFlags & eZrFF_Break) != 0; });
        };
        const auto Width = [](const auto& _arrFrames) {
            ZR_AV_PROPS props;
            _arrFrames.back().pFrame->ZrFAVPropsGet(&props, nullptr);
            return props.vidProps.nWidth;
        };
        const auto arrMixed = RunWith(u"false"), arrStraight = RunWith(u"true"), arrAgain = RunWith(u"false");
        const int32_t nLast = ScriptedSource::NumberOf(arrStraight.back().pFrame.Get());
        EXPECT_EQ(ScriptedSource::NumberOf(arrStraight[arrStraight.size() - 11].pFrame.Get()), nLast - 10);
        EXPECT_EQ(Breaks(arrMixed), 0);
        EXPECT_EQ(Breaks(arrStraight), 1);
        EXPECT_EQ(Breaks(arrAgain), 1);
        EXPECT_EQ(arrStraight.back().time.rtStartTime, 0) << "the source's own time";
        EXPECT_EQ(Width(arrMixed), 64);
        EXPECT_EQ(Width(arrStraight), 32);
        EXPECT_EQ(Width(arrAgain), 64);
        pMixer->ObjectClose();
    }
}

TEST_F(StreamsTest, APausedStreamKeepsItsPictureAndLosesNothing) {
    Make(25.0);
    const auto pPaused = NewSource();
    const auto pOther = NewSource();
    ZrPtr<IZrItem> pA, pB;
    Add(u"a", pPaused.Get(), &pA);
    Add(u"b", pOther.Get(), &pB);
    pMixer->ObjectStart(nullptr);
    SleepFor(kTicksPerSecond);
    StreamOf(pA)->Pause(0.5);
    SleepFor(kTicksPerSecond / 10);
    const int32_t nHeld = NumberIn(StreamOf(pA));
    EXPECT_EQ(nHeld, pPaused->nNext - 1);
    SleepFor(kTicksPerSecond / 4);
    EXPECT_EQ(pPaused->nNext - 1, nHeld);
    EXPECT_NEAR(NumberIn(StreamOf(pB)) - nHeld, 8, 2);
    // Shared with a stream that plays, the source goes on; the paused one loses frames and says so by a break.
    ZrPtr<IZrItem> pC;
    Add(u"c", pPaused.Get(), &pC);
    SleepFor(kTicksPerSecond / 10);
    EXPECT_EQ(NumberIn(StreamOf(pA)), nHeld);
    EXPECT_GT(NumberIn(StreamOf(pC)), nHeld);
    SleepFor(kTicksPerSecond);
    EXPECT_FALSE(StreamOf(pA)->IsPaused());
    EXPECT_EQ(NumberIn(StreamOf(pA)), NumberIn(StreamOf(pC)));
    EXPECT_EQ(Counter(u"user_breaks.a"), 1);
    // One that comes to a paused mixer shows its first picture, once.
    pFile->FilePlayPause(0);
    SleepFor(kTicksPerSecond / 5);
    const auto pLate = NewSource();
    ZrPtr<IZrItem> pD;
    Add(u"d", pLate.Get(), &pD);
    SleepFor(kTicksPerSecond);
    EXPECT_EQ(NumberIn(StreamOf(pD)), 0);
    EXPECT_EQ(pLate->nNext, 1);
    pFile->FilePlayStart();
    SleepFor(kTicksPerSecond);
    EXPECT_EQ(NumberIn(StreamOf(pD)), pLate->nNext - 1);
    EXPECT_GT(pLate->nNext, 20);
}

TEST_F(StreamsTest, OneStreamIsStoppedAndPlaysAgainByItsItem) {
    Make(25.0);
    const auto pStopped = NewSource();
    ZrPtr<IZrItem> pA, pB;
    Add(u"a", pStopped.Get(), &pA);
    Add(u"b", NewSource().Get(), &pB);
    const ZrPtr<IZrFile> pPlay = pA.As<IZrFile>();
    ASSERT_EQ(pPlay->FilePlayStart(), S_OK);  // the mixer was closed
    EXPECT_EQ(State(), eZrS_Running);
    SleepFor(kTicksPerSecond);
    ASSERT_EQ(pPlay->FilePlayStop(0), S_OK);
    SleepFor(kTicksPerSecond / 5);
    const int nGets = pStopped->nGets;
    SleepFor(kTicksPerSecond);
    EXPECT_EQ(pStopped->nGets, nGets);
    EXPECT_GT(NumberIn(StreamOf(pB)), 45);
    // A pause is the source's own affair, unless the mixer's key says otherwise.
    EXPECT_EQ(pPlay->FilePlayPause(0), E_NOINTERFACE);
    pProps->PropsSet(u"pause.no_input", u"true");
    pFile->FilePlayPause(0);
    ASSERT_EQ(pPlay->FilePlayStart(), S_OK);
    EXPECT_EQ(State(), eZrS_Running);
    SleepFor(kTicksPerSecond);
    EXPECT_EQ(NumberIn(StreamOf(pA)), pStopped->nNext - 1);
    EXPECT_FALSE(StreamOf(pB)->IsPaused());
    ASSERT_EQ(pPlay->FilePlayPause(0.5), S_OK);
    EXPECT_TRUE(StreamOf(pA)->IsPaused());
    SleepFor(kTicksPerSecond);
    EXPECT_FALSE(StreamOf(pA)->IsPaused());
    pStreams->StreamsRemove(pA.Get(), 0);
    EXPECT_EQ(pPlay->FilePlayStart(), ZR_E_NOT_FOUND_FILE);
    pMixer->ObjectClose();
    EXPECT_EQ(CountEvents(u"start/"), 1);
    pMixer.Reset(), pFile.Reset(), pProps.Reset(), pStreams.Reset();
    EXPECT_EQ(pPlay->FilePlayStart(), ZR_E_NOT_FOUND_FILE);
}

TEST_F(StreamsTest, AnItemThatPlaysStartsAStoppedMixerWithItselfAlone) {
    Make(25.0);
    ZrPtr<IZrItem> pA, pB;
    Add(u"a", NewSource().Get(), &pA);
    const auto pOther = NewSource();
    Add(u"b", pOther.Get(), &pB);
    pMixer->ObjectStart(nullptr);
    SleepFor(kTicksPerSecond / 5);
    pFile->FilePlayStop(0);
    const int nGets = pOther->nGets;
    ASSERT_EQ(pA.As<IZrFile>()->FilePlayStart(), S_OK);
    SleepFor(kTicksPerSecond);
    EXPECT_EQ(State(), eZrS_Running);
    EXPECT_TRUE(StreamOf(pA)->IsOpen());
    EXPECT_FALSE(StreamOf(pB)->IsOpen());
    EXPECT_EQ(pOther->nGets, nGets);
    EXPECT_GT(NumberIn(StreamOf(pA)), 20);
    pFile->FilePlayStop(0);
    pFile->FilePlayStart();
    EXPECT_TRUE(StreamOf(pB)->IsOpen());
}

// A file that has to be opened when it comes to a mixer on air: it is seen late, and no frame is.
TEST_F(StreamsTest, ASlowStartHoldsNothingUp) {
    struct SLOW final : ScriptedFile {
        std::atomic<int64_t> rtStart{0};
        HRESULT FilePlayStart() override {
            SleepFor(rtStart);
            eState = eZrS_Running;
            return S_OK;
        }
    };
    Make(25.0);
    pMixer->ObjectStart(nullptr);
    SleepFor(kTicksPerSecond);
    const auto pSlow = ZrPtr<SLOW>::Attach(new SLOW);
    pSlow->rtStart = 3 * kTicksPerSecond;
    Add(u"slow", pSlow.As<IZrSource_I>().Get());
    const size_t nBefore = pCollector->Count();
    SleepFor(2 * kTicksPerSecond);
    EXPECT_NEAR(static_cast<double>(pCollector->Count() - nBefore), 50, 2);
    EXPECT_EQ(pSlow->nGets, 0);
    SleepFor(2 * kTicksPerSecond);
    EXPECT_NEAR(pSlow->nGets, 25, 3);
    // Gone before it has started; a show that begins waits for all its sources.
    const auto pGone = ZrPtr<SLOW>::Attach(new SLOW);
    pGone->rtStart = kTicksPerSecond;
    ZrPtr<IZrItem> pItem;
    Add(u"gone", pGone.As<IZrSource_I>().Get(), &pItem);
    SleepFor(kTicksPerSecond / 5);
    pStreams->StreamsRemove(pItem.Get(), 0);
    SleepFor(2 * kTicksPerSecond);
    pFile->FilePlayStop(0);
    EXPECT_EQ(pGone->nGets, 0);
    pSlow->eState = eZrS_Stopped;
    const int nGets = pSlow->nGets;
    const size_t nStopped = pCollector->Count();
    pFile->FilePlayStart();
    SleepFor(5 * kTicksPerSecond);
    EXPECT_NEAR(pSlow->nGets - nGets, 50, 3);
    EXPECT_NEAR(static_cast<double>(pCollector->Count() - nStopped), 50, 3);
    pMixer->ObjectClose();
}

TEST_F(StreamsTest, StalledSourcesHoldNobodyElse) {
    Make(25.0);
    const auto pGood = NewSource();
    const auto pBad = NewSource();
    const auto pBadToo = NewSource();
    ZrPtr<IZrItem> pA, pB;
    Add(u"a", pGood.Get(), &pA);
    Add(u"b", pBad.Get(), &pB);
    Add(u"c", pBadToo.Get());
    pMixer->ObjectStart(nullptr);
    SleepFor(kTicksPerSecond);
    const size_t nBefore = pCollector->Count();
    pBad->bStalls = pBadToo->bStalls = true;
    SleepFor(2 * kTicksPerSecond);
    EXPECT_EQ(pBad->rtWaited.load(), 250 * kTicksPerMs);
    EXPECT_EQ(pBadToo->rtWaited.load(), 250 * kTicksPerMs);
    EXPECT_GE(pCollector->Count() - nBefore, 43u) << "both are waited for at a time";
    const int32_t nShown = NumberIn(StreamOf(pB));
    EXPECT_EQ(nShown, -1);  // a repeat carries no data, but the picture
    ASSERT_TRUE(StreamOf(pB)->LastFrame());
    pBad->bStalls = pBadToo->bStalls = false;
    SleepFor(kTicksPerSecond);
    pFile->FilePlayStop(0);
    EXPECT_EQ(NumberIn(StreamOf(pB)), pBad->nNext - 1);
    EXPECT_EQ(NumberIn(StreamOf(pA)), pGood->nNext - 1);
    const auto arrFrames = pCollector->Frames();
    for (size_t i = 0; i < arrFrames.size(); ++i) ASSERT_EQ(arrFrames[i].time.rtStartTime, 400000 * int64_t(i)) << i;
}

// What the table must hold, done the simple way.
struct TABLE_MODEL {
    std::vector<std::u16string> arrIds;

    int IndexOf(const std::u16string& _id) const {
        const auto it = std::find(arrIds.begin(), arrIds.end(), _id);
        return it == arrIds.end() ? -1 : static_cast<int>(it - arrIds.begin());
    }
    void Add(const std::u16string& _id) {
        if (IndexOf(_id) < 0) arrIds.push_back(_id);
    }
    HRESULT RemoveRange(int _nIndex, int _nExtra) {
        const int nCount = static_cast<int>(arrIds.size());
        if (nCount == 0) return ZR_E_EMPTY;
        if (_nIndex < 0) _nIndex += nCount;
        if (_nIndex < 0 || _nIndex >= nCount) return ZR_E_BAD_INDEX;
        std::vector<std::u16string> arrLeft;
        for (int i = 0; i < nCount; ++i) {
            const bool bGoes =
                _nExtra < 0 ? i <= _nIndex && i >= _nIndex + _nExtra : i >= _nIndex && i <= _nIndex + _nExtra;
            if (!bGoes) arrLeft.push_back(arrIds[static_cast<size_t>(i)]);
        }
        arrIds = arrLeft;
        return S_OK;
    }
    HRESULT Reorder(int _nIndex, int _nAdd) {
        const std::u16string id = arrIds[static_cast<size_t>(_nIndex)];
        arrIds.erase(arrIds.begin() + _nIndex);
        const int nTo = std::clamp(_nIndex + _nAdd, 0, static_cast<int>(arrIds.size()));
        arrIds.insert(arrIds.begin() + nTo, id);
        return nTo == _nIndex ? S_FALSE : S_OK;
    }
    std::u16string Order() const {
        std::u16string order;
        for (const auto& id : arrIds) order += (order.empty() ? u"" : u" ") + id;
        return order;
    }
};

TEST_F(StreamsTest, RandomCallsOnARunningMixerAgreeWithASimpleTable) {
    Make(50.0);
    pMixer->ObjectStart(nullptr);
    std::mt19937 random(7);
    const auto Roll = [&](int _n) { return static_cast<int>(random() % static_cast<unsigned>(_n)); };
    TABLE_MODEL model;
    std::vector<ZrPtr<ScriptedSource>> arrSources;
    for (int i = 0; i < 4; ++i) arrSources.push_back(NewSource());
    bool bStopped = false;
    for (int nStep = 0; nStep < 3000; ++nStep) {
        const std::u16string id(1, static_cast<char16_t>(u'a' + Roll(12)));
        const int nIndex = model.IndexOf(id);
        const auto& pAdded = arrSources[static_cast<size_t>(Roll(4))];
        ZrPtr<IZrItem> pItem;
        pStreams->StreamsGet(id.c_str(), nullptr, pItem.Out());
        ASSERT_EQ(static_cast<bool>(pItem), nIndex >= 0) << nStep;
        switch (Roll(9)) {
            case 0:
            case 1: {
                ZrPtr<IUnknown> pPresent;
                if (pItem) pItem->ItemInnerGet(pPresent.Out());
                const bool bSame = pPresent && pPresent == QueryAs<IUnknown>(pAdded.Get());
                ASSERT_EQ(Add(id, pAdded.Get()), bSame ? ZR_E_EXISTS : S_OK) << nStep;
                if (!bSame) model.Add(id);
                break;
            }
            case 2:
                if (pItem) {
                    ASSERT_EQ(pStreams->StreamsRemove(pItem.Get(), 0), S_OK) << nStep;
                    model.RemoveRange(nIndex, 0);
                }
                break;
            case 3: {
                const int nFrom = Roll(20) - 10;
                const int nExtra = Roll(5) - 2;
                ASSERT_EQ(pStreams->StreamsRemoveByIndex(nFrom, nExtra, 0), model.RemoveRange(nFrom, nExtra)) << nStep;
                break;
            }
            case 4:
                if (pItem) {
                    const int nAdd = Roll(11) - 5;
                    ASSERT_EQ(pStreams->StreamsReorder(pItem.Get(), nAdd, 0), model.Reorder(nIndex, nAdd)) << nStep;
                }
                break;
            case 5: pAdded->bStalls = Roll(4) == 0; break;
            case 6:
                if (pItem) StreamOf(pItem)->Pause(Roll(3) == 0 ? 0.1 : Roll(2) - 1.0);
                break;
            case 7:
                if (Roll(20) == 0) bStopped = true, pFile->FilePlayStop(0), pFile->FilePlayStart();
                if (Roll(10) == 0) pFile->FilePlayPause(0.05);
                break;
            default: SleepFor(Roll(60) * kTicksPerMs); break;
        }
        ASSERT_EQ(Order(), model.Order()) << nStep;
    }
    EXPECT_TRUE(bStopped);
    // Every stream that is left is fed again, by the one get of its source.
    for (auto& p : arrSources) p->bStalls = false;
    pFile->FilePlayStart();
    SleepFor(kTicksPerSecond);
    pFile->FilePlayStop(0);
    for (size_t i = 0; i < model.arrIds.size(); ++i) {
        ZrPtr<IZrItem> pItem;
        pStreams->StreamsGetByIndex(static_cast<int32_t>(i), nullptr, pItem.Out());
        ZrPtr<IUnknown> pInner;
        pItem->ItemInnerGet(pInner.Out());
        EXPECT_EQ(NumberIn(StreamOf(pItem)), static_cast<ScriptedSource*>(pInner.Get())->nNext - 1) << i;
    }
    pMixer->ObjectClose();
    EXPECT_EQ(Order(), u"");
    // Within each line of time no frame was missed, whatever was done.
    ZR_TIME last;
    for (const auto& received : pCollector->Frames()) {
        const bool bBreak = received.time.eFFlags & eZrFF_Break;
        const bool bFromPause = (last.eFFlags & eZrFF_Break) && received.time.rtStartTime == last.rtStartTime;
        ASSERT_TRUE(bBreak || bFromPause || received.time.rtStartTime == last.rtEndTime);
        last = received.time;
    }
    SleepFor(kTicksPerMs);
    EXPECT_EQ(CountEvents(u"source_connected/External"), CountEvents(u"source_disconnected/External"));
}

class WaysTest : public StreamsTest, public ::testing::WithParamInterface<bool> {};

// A source that is pushed has one place: each of a pushing mixer's has its own.
TEST_P(WaysTest, FourThreadsChangeSixteenStreamsDuringTheMix) {
    const bool bSync = GetParam();
    const int nRounds = bSync ? kRounds : kRounds / 4;
    Make(50.0);
    pProps->PropsSet(u"object::sync_mode", bSync ? u"true" : u"false");
    pMixer->ObjectStart(nullptr);
    std::vector<std::unique_ptr<Thread>> arrThreads;
    std::atomic<int> nAdded{0};
    for (unsigned i = 0; i < 4; ++i) {
        arrThreads.push_back(std::make_unique<Thread>());
        arrThreads.back()->Start("edits", [this, i, bSync, nRounds, &nAdded](ManualEvent&) {
            std::mt19937 random(i);
            auto pAdded = NewSource();
            for (int n = 0; n < nRounds; ++n) {
                if (!bSync) pAdded = NewSource();
                const std::u16string id = u"s" + std::u16string(1, static_cast<char16_t>(u'a' + random() % 16));
                ZrPtr<IZrItem> pItem;
                pStreams->StreamsGet(id.c_str(), nullptr, pItem.Out());
                switch (random() % 6) {
                    case 0:
                    case 1: nAdded += Add(id, pAdded.Get()) == S_OK; break;
                    case 2: pStreams->StreamsRemove(pItem.Get(), 0); break;
                    case 3: pStreams->StreamsReorder(pItem.Get(), static_cast<int>(random() % 9) - 4, 0); break;
                    case 4: pStreams->StreamsRemoveByIndex(-1, -1, 0); break;
                    default: SleepFor(static_cast<int64_t>(random() % 100'000)); break;
                }
            }
        });
    }
    for (auto& pThread : arrThreads) pThread->Join();
    EXPECT_GT(nAdded, nRounds / 4);
    const size_t nBefore = pCollector->Count();
    SleepFor(kTicksPerSecond);
    EXPECT_NEAR(static_cast<double>(pCollector->Count() - nBefore), 50, 3);
    pMixer->ObjectClose();
    EXPECT_EQ(Order(), u"");
}

INSTANTIATE_TEST_SUITE_P(BothWays, WaysTest, ::testing::Bool(),
                         [](const auto& _info) { return _info.param ? "Sync" : "Async"; });

// What the host has not started, and the mixer is not to start, stands still; what hangs in its start holds no stop up.
// Nothing that is reckoned with them overflows, and the output keeps its rate.
TEST_P(WaysTest, TimesOfAnyKindAreTaken) {
    Make(25.0);
    pProps->PropsSet(u"object::sync_mode", GetParam() ? u"true" : u"false");
    const auto Furnish = [](int64_t _nFrame, IZrFFrame& _frame) {
        constexpr int64_t arrTimes[] = {INT64_MIN, INT64_MAX, 0, -1, INT64_MIN / 2, INT64_MAX / 3};
        ZR_TIME time;
        time.rtStartTime = arrTimes[_nFrame % 6];
        time.rtEndTime = arrTimes[_nFrame / 6 % 6];
        _frame.ZrFTimeSet(&time);
    };
    const auto pUnder = PacedSource::Make(SmallPicture(25.0), false, 1920),
               pStream = PacedSource::Make(SmallPicture(50.0), false, 960);
    pUnder->Furnish = pStream->Furnish = Furnish;
    pStreams->StreamsBackgroundSet(pUnder.Get(), nullptr, nullptr, nullptr, 0);
    Add(u"a", pStream.Get());
    pMixer->ObjectStart(nullptr);
    SleepFor(4 * kTicksPerSecond);
    EXPECT_GT(pCollector->Count(), 40u);
    EXPECT_GT(pStream->nGiven, 40);
    pMixer->ObjectClose();
}

TEST_P(WaysTest, SourcesOfTheHostStartByTheKeyAndHoldNoStopUp) {
    struct STARTED final : ScriptedFile {
        std::atomic<int> nStarts{0};
        HRESULT FilePlayStart() override {
            ++nStarts;
            SleepFor(20 * kTicksPerSecond);
            return S_OK;
        }
    };
    for (const bool bStarts : {false, true}) {
        Make(25.0);
        NoBackground();
        pProps->PropsSet(u"object::sync_mode", GetParam() ? u"true" : u"false");
        pProps->PropsSet(u"object::external.autostart", bStarts ? u"true" : u"false");
        const auto pSlow = ZrPtr<STARTED>::Attach(new STARTED);
        Add(u"a", pSlow.As<IZrSource_I>().Get());
        pMixer->ObjectStart(nullptr);
        SleepFor(kTicksPerSecond);
        EXPECT_EQ(pSlow->nStarts, bStarts);
        const int64_t rtStop = ClockNow();
        pMixer->ObjectClose();
        EXPECT_LT(ClockNow() - rtStop, 2 * kTicksPerSecond);
        SleepFor(20 * kTicksPerSecond);
    }
}

// One that has no frame and does not wait for one either is not asked all the time.
TEST_P(WaysTest, AStopWaitsForNobodyWhoIsSlow) {
    struct IMPATIENT final : OneReaderSource {
        std::atomic<int> nGets{0};
        HRESULT NextFrame(int64_t, IZrFFrame**) override {
            ++nGets;
            return ZR_E_TIMEOUT;
        }
    };
    struct BLOCKED final : UnknownImpl<IZrReceiver_I> {
        HRESULT MediaReceive(const char16_t*, IUnknown*, IZrFFrame*) override {
            SleepFor(5 * kTicksPerSecond);
            return S_OK;
        }
        HRESULT MediaEnd(const char16_t*, IUnknown*, int32_t) override { return S_OK; }
        HRESULT MediaFlush(const char16_t*, IUnknown*, int32_t) override { return S_OK; }
    };
    Make(25.0);
    pProps->PropsSet(u"object::sync_mode", GetParam() ? u"true" : u"false");
    pProps->PropsSet(u"object::sync_mode.get_max_wait", u"-1");
    pProps->PropsSet(u"object::output.max_buffers", u"1");
    const auto pImpatient = ZrPtr<IMPATIENT>::Attach(new IMPATIENT);
    Add(u"a", NewSource().Get());
    pMixer->ObjectStart(nullptr);
    const auto pBlocked = ZrPtr<BLOCKED>::Attach(new BLOCKED);
    pMixer.As<IZrSender_I>()->SenderConnect(pBlocked.Get(), u"blocked", u"rate_control=0", nullptr);
    SleepFor(kTicksPerSecond);
    const int64_t rtStop = ClockNow();
    pFile->FilePlayStop(0);
    EXPECT_LT(ClockNow() - rtStop, kTicksPerSecond / 2);
    Add(u"b", pImpatient.Get());
    pFile->FilePlayStart();
    SleepFor(2 * kTicksPerSecond);
    EXPECT_GT(pImpatient->nGets, 20);
    EXPECT_LT(pImpatient->nGets, 110);
    pMixer->ObjectClose();
}

// An item goes without a word while its source stays in another place.
TEST_F(StreamsTest, ASourceIsDisconnectedFromItsLastPlace) {
    Make(25.0);
    const auto pShared = NewSource();
    Add(u"a", pShared.Get());
    Add(u"b", pShared.Get());
    Add(u"c", pShared.Get());
    pMixer->ObjectStart(nullptr);
    const auto Disconnects = [&] {
        SleepFor(kTicksPerMs);  // events are told on a thread of their own
        return CountEvents(u"disconnect/External");
    };
    pStreams->StreamsRemoveByIndex(0, 0, 0);
    EXPECT_EQ(Disconnects(), 0);
    Add(u"b", NewSource().Get());  // in its place
    EXPECT_EQ(Disconnects(), 0);
    pStreams->StreamsRemoveByIndex(-1, 0, 0);
    EXPECT_EQ(Disconnects(), 1);
    pStreams->StreamsRemoveByIndex(-1, 0, 0);
    EXPECT_EQ(Disconnects(), 2);
    pMixer->ObjectClose();
}

}  // namespace
}  // namespace zr
