// Whole shows in both ways of mixing, on the virtual clock: what must come out however the sources behave.

#include <cstdlib>
#include <random>
#include <set>

#include "mixer_fixture.h"
#include "sources/frame_rate_step.h"
#include "support/paced_source.h"

namespace zr {
namespace {

constexpr double kNtsc = 30000.0 / 1001;
constexpr double kOutput = 50.0;
constexpr int64_t kPeriod = 200'000;
constexpr int64_t kJitter = 10 * kTicksPerMs;
constexpr int kSteps = 2500;

// A file of another rate: its frames go through the rate conversion that file sources have.
class ConvertedSource final : public OneReaderSource {
public:
    static ZrPtr<ConvertedSource> Make(double _dblRate) {
        auto p = ZrPtr<ConvertedSource>::Attach(new ConvertedSource);
        p->pFile = PacedSource::Make(SmallPicture(_dblRate), false);
        p->step.SetRate(kOutput, 1.0);
        return p;
    }
    std::atomic<int64_t> nGiven{0};

    HRESULT NextFrame(int64_t _rtMaxWait, IZrFFrame** _ppFrame) override {
        ZrPtr<IZrFFrame> pFrame;
        HRESULT hr = step.Get(&pFrame);
        while (hr == S_FALSE) {
            ZrPtr<IZrFFrame> pRaw;
            pFile->SourceFrameGet_I(_rtMaxWait, pRaw.Out(), nullptr);
            step.Put(pRaw.Get(), {});
            hr = step.Get(&pFrame);
        }
        nGiven += hr == S_OK;
        return pFrame.CopyTo(_ppFrame);
    }

private:
    ConvertedSource() = default;
    ZrPtr<PacedSource> pFile;
    FrameRateStep step;
};

class ShowTest : public MixerTest, public ::testing::WithParamInterface<bool> {
protected:
    bool IsSync() const { return GetParam(); }

    void MakeShow() {
        Make(kOutput);
        pProps->PropsSet(u"object::sync_mode", IsSync() ? u"true" : u"false");
        BSTR bs = nullptr;
        const std::u16string scene =
            u"<zr_scene><foreground><video id='a' stream_id='a' w='0.5' h='0.5'/>"
            u"<video id='b' stream_id='b' x='0.5' w='0.5' h='0.5' alpha='0.5'/>"
            u"<video id='c' stream_id='c' y='0.5' w='0.5' h='0.5'/><video id='d' stream_id='d' x='0.3' y='0.3' w='0.5' "
            u"h='0.5'/></foreground></zr_scene>";
        const auto pScenes = pMixer.As<IZrScenes>();
        ASSERT_EQ(pScenes->ScenesAdd(scene.c_str(), &bs, nullptr), S_OK);
        ASSERT_EQ(pScenes->ScenesActiveSet(bs, nullptr), S_OK);
        SysFreeString(bs);
    }

    // What events said of sources, on the thread that tells them.
    struct TOLD {
        Mutex mtx;
        // Items and sources apart: an item may go without a word, and a source be made where it was.
        std::set<IUnknown*> arrItems ZR_GUARDED_BY(mtx), arrSources ZR_GUARDED_BY(mtx);
        int nCame ZR_GUARDED_BY(mtx) = 0;
        int nWrong ZR_GUARDED_BY(mtx) = 0;
    };
    // A source comes and goes in turn, and an item goes that has come.
    static HRESULT OnSource(int64_t _llUser, const char16_t*, const char16_t* _szEvent, const char16_t*,
                            IUnknown* _pObject) {
        TOLD& told = *reinterpret_cast<TOLD*>(_llUser);
        const std::u16string_view event(_szEvent);
        MutexLock lock(told.mtx);
        const bool bSource = event.starts_with(u"source_");
        std::set<IUnknown*>& arrOn = bSource ? told.arrSources : told.arrItems;
        if (event == u"source_connected" || event == u"connect") {
            const bool bNew = arrOn.insert(_pObject).second;
            told.nWrong += bSource && !bNew;
            ++told.nCame;
        } else if (event == u"source_disconnected" || event == u"disconnect") {
            told.nWrong += arrOn.erase(_pObject) == 0;
        }
        return S_OK;
    }
};

// Frames of so many in 1001 s ticks on slots of 20 ms: how many of the first _nSlots show a picture again. In whole
// numbers: slot k begins at k x 20 ms, of which frame n, from n x _nUnits / _nPerUnits ms on, is on screen; frames are
// taken a millisecond early.
int64_t RepeatsIn(int64_t _nSlots, int64_t _nMs, int64_t _nFrames) {
    int64_t nRepeats = 0;
    for (int64_t k = 1; k < _nSlots; ++k) {
        nRepeats += (20 * k + 1) * _nFrames / _nMs == (20 * (k - 1) + 1) * _nFrames / _nMs;
    }
    return nRepeats;
}

// Ten minutes; ZR_SHOW_MINUTES=60 for the hour.
TEST_P(ShowTest, FourRatesAndALiveSourceMissNoFrame) {
    const char* const sz = std::getenv("ZR_SHOW_MINUTES");
    const int64_t nSeconds = 60 * (sz ? std::atoi(sz) : 10);
    MakeShow();
    NoBackground();
    const auto pConvertedA = ConvertedSource::Make(kNtsc), pConvertedB = ConvertedSource::Make(25.0);
    const auto pFileA = PacedSource::Make(SmallPicture(kNtsc), false);
    const auto pFileB = PacedSource::Make(SmallPicture(25.0), false);
    const auto pC = PacedSource::Make(SmallPicture(50.0), false);
    const auto pLive = PacedSource::Make(SmallPicture(50.0), true);
    std::mt19937 random(11);
    std::vector<int64_t> arrLate;
    for (int n = 0; n < 1000; ++n) arrLate.push_back(static_cast<int64_t>(random() % (kJitter + 1)));
    pLive->Late = [&](int64_t _n) { return arrLate[static_cast<size_t>(_n) % 1000]; };
    IUnknown* const pA = IsSync() ? static_cast<IUnknown*>(pConvertedA.Get()) : pFileA.Get();
    IUnknown* const pB = IsSync() ? static_cast<IUnknown*>(pConvertedB.Get()) : pFileB.Get();
    ASSERT_EQ(Add(u"a", pA), S_OK);
    ASSERT_EQ(Add(u"b", pB), S_OK);
    ASSERT_EQ(Add(u"c", pC.Get()), S_OK);
    ASSERT_EQ(Add(u"d", pLive.Get()), S_OK);
    pCollector->Reserve(static_cast<size_t>(nSeconds) * 50 + 100);
    pMixer->ObjectStart(nullptr);
    SleepFor(nSeconds * kTicksPerSecond);

    // The sources: each at its rate, every frame of the live one in time.
    const auto Expect = [&](int64_t _nGiven, double _dblRate) {
        EXPECT_NEAR(static_cast<double>(_nGiven), static_cast<double>(nSeconds) * _dblRate, 4);
    };
    if (IsSync()) {
        Expect(pConvertedA->nGiven, 50);
        EXPECT_EQ(Counter(u"dups.a"), RepeatsIn(pConvertedA->nGiven, 1001, 30));
        EXPECT_EQ(Counter(u"dups.b"), RepeatsIn(pConvertedB->nGiven, 1000, 25));
    } else {
        Expect(pFileA->nGiven, kNtsc);
        Expect(pFileB->nGiven, 25);
        EXPECT_EQ(Counter(u"dups.a") + Counter(u"dups.b"), 0);
    }
    Expect(pC->nGiven, 50);
    Expect(pLive->nGiven, 50);
    EXPECT_EQ(pLive->nLost, 0);
    for (const char16_t* szId : {u"a", u"b", u"c", u"d"}) {
        const std::u16string id(szId);
        EXPECT_EQ(Counter(u"breaks." + id), 1);
        EXPECT_EQ(Counter(u"user_breaks." + id), 0);
        EXPECT_EQ(Counter(u"pauses." + id), 0);
        EXPECT_EQ(Counter(u"skipped_video." + id), 0);
    }
    EXPECT_EQ(Counter(u"dups.c") + Counter(u"dups.d"), 0);
    const int64_t rtClose = ClockNow();
    pMixer->ObjectClose();

    // The output: every frame, on one line, and never further from its time than the jitter.
    const auto arrFrames = pCollector->Frames();
    EXPECT_NEAR(static_cast<double>(arrFrames.size()), static_cast<double>(nSeconds) * 50, 4);
    for (size_t i = 0; i < arrFrames.size(); ++i) {
        ASSERT_EQ(arrFrames[i].time.rtStartTime, kPeriod * static_cast<int64_t>(i));
        ASSERT_EQ((arrFrames[i].time.eFFlags & eZrFF_Break) != 0, i == 0);
        if (i < 10 || arrFrames[i].rtArrived >= rtClose) continue;
        const int64_t rtOff = arrFrames[i].rtArrived - arrFrames[10].rtArrived - kPeriod * static_cast<int64_t>(i - 10);
        ASSERT_LE(std::abs(rtOff), 2 * kJitter) << i;
    }
}

// Sources come, go, stall, end, are replaced, and change size, rate and pixel format, files and live ones, with a
// background that does the same or without one. Whatever they do, the output goes on.
TEST_P(ShowTest, WhateverSourcesDoTheOutputGoesOn) {
    MakeShow();
    std::mt19937 random(IsSync() ? 3 : 4);
    const auto Roll = [&](int _n) { return static_cast<int>(random() % static_cast<unsigned>(_n)); };
    const auto Format = [&] {
        constexpr double arrRates[] = {23.976, 25, kNtsc, 50, 60, 5, 120};
        constexpr eZrFCC arrPixels[] = {eZrFCC_UYVY, eZrFCC_ARGB32, eZrFCC_YUY2, eZrFCC_I420};
        ZR_VID_PROPS props = SmallPicture(arrRates[Roll(7)]);
        props.fccType = arrPixels[Roll(4)];
        props.nWidth = 16 + 16 * Roll(6);
        props.nHeight = 16 + 2 * Roll(20);
        props.nRowBytes = props.fccType == eZrFCC_I420     ? props.nWidth
                          : props.fccType == eZrFCC_ARGB32 ? 4 * props.nWidth
                                                           : 2 * props.nWidth;
        return props;
    };
    const auto NewSource = [&] { return PacedSource::Make(Format(), Roll(2) == 0, Roll(3) == 0 ? 960 : 0); };
    TOLD told;
    pMixer->ObjectCallbackSetFunc(reinterpret_cast<int64_t>(&OnSource), 0, reinterpret_cast<int64_t>(&told));
    std::vector<ZrPtr<PacedSource>> arrSources;
    for (int i = 0; i < 6; ++i) arrSources.push_back(NewSource());
    // One that always works: without any source a mixer that asks has nothing to put out.
    const auto pSteady = PacedSource::Make(SmallPicture(50.0), false);
    ASSERT_EQ(Add(u"e", pSteady.Get()), S_OK);
    pMixer->ObjectStart(nullptr);

    int64_t rtBegin = ClockNow();
    int nStalls = 0, nReplaced = 0;
    for (int nStep = 0; nStep < kSteps; ++nStep) {
        ZrPtr<PacedSource>& pAny = arrSources[static_cast<size_t>(Roll(6))];
        const std::u16string id(1, static_cast<char16_t>(u'a' + Roll(4)));
        ZrPtr<IZrItem> pItem;
        pStreams->StreamsGet(id.c_str(), nullptr, pItem.Out());
        switch (Roll(12)) {
            case 0:
            case 1:
                if (Roll(3) == 0) pAny = NewSource();
                nReplaced += Add(id, pAny.Get()) == S_OK && pItem;
                break;
            case 2: pStreams->StreamsRemove(pItem.Get(), 0); break;
            case 3: pAny->SetFormat(Format(), Roll(3) == 0 ? 960 : 0); break;
            case 4:
                pAny->bStalls = Roll(3) == 0;
                nStalls += pAny->bStalls;
                break;
            case 5: pAny->bEnded = Roll(3) == 0; break;
            case 6:
                if (pItem) {
                    const XMLNodePtr& pNode = static_cast<CCoZrItem*>(pItem.Get())->Node();
                    constexpr const char16_t* arrKeys[] = {u"master", u"drop_frames", u"video", u"audio"};
                    pNode->SetAttribute(arrKeys[Roll(4)], Roll(2) == 0);
                }
                break;
            case 7:
                if (Roll(4) == 0) pStreams->StreamsBackgroundSet(Roll(2) ? pAny.Get() : nullptr, u"", u"", nullptr, 0);
                break;
            case 8:
                if (Roll(4) == 0) pFile->FilePlayPause(0.05);
                if (Roll(16) == 0) pFile->FilePlayStop(0), pFile->FilePlayStart();
                break;
            case 9:
                pProps->PropsSet(u"object::live.wait_all", Roll(2) ? u"true" : u"false");
                if (Roll(3) == 0) pProps->PropsSet(u"object::sync_mode.fixed_buffers", Roll(2) ? u"4" : u"0");
                break;
            case 10: pProps->PropsSet(u"object::sync_mode", Roll(2) ? u"true" : u"false"); break;
            default: break;
        }
        SleepFor(Roll(80) * kTicksPerMs);
    }
    EXPECT_GT(nStalls, kSteps / 50);
    EXPECT_GT(nReplaced, kSteps / 50);
    // Frames never stopped coming for longer than stalls, one a source, can hold them back.
    int64_t rtLast = rtBegin, rtLongest = 0;
    ZR_TIME last;
    for (const auto& received : pCollector->Frames()) {
        rtLongest = std::max(rtLongest, received.rtArrived - rtLast);
        rtLast = received.rtArrived;
        const bool bBreak = received.time.eFFlags & eZrFF_Break;
        const bool bFromPause = (last.eFFlags & eZrFF_Break) && received.time.rtStartTime == last.rtStartTime;
        ASSERT_TRUE(bBreak || bFromPause || received.time.rtStartTime == last.rtEndTime)
            << "after " << received.rtArrived - rtBegin << " ticks";
        last = received.time;
    }
    EXPECT_LE(rtLongest, 5 * 300 * kTicksPerMs);
    // And with sources that work the show is whole again.
    pProps->PropsSet(u"object::live.wait_all", u"true");
    pStreams->StreamsRemoveByIndex(0, 100, 0);
    pStreams->StreamsBackgroundSet(nullptr, u"", u"", nullptr, 0);
    pFile->FilePlayStop(0);
    pProps->PropsSet(u"object::sync_mode", IsSync() ? u"true" : u"false");
    const auto pGood = PacedSource::Make(SmallPicture(50.0), true);
    ASSERT_EQ(Add(u"a", pGood.Get()), S_OK);
    pFile->FilePlayStart();
    const size_t nBefore = pCollector->Count();
    SleepFor(2 * kTicksPerSecond);
    EXPECT_NEAR(static_cast<double>(pCollector->Count() - nBefore), 100, 4);
    EXPECT_NEAR(static_cast<double>(pGood->nGiven), 100, 4);
    pMixer->ObjectClose();
    SleepFor(kTicksPerMs);  // events are told on a thread of their own
    pMixer->ObjectCallbackSetFunc(0, 0, 0);
    MutexLock lock(told.mtx);
    EXPECT_GT(told.nCame, nReplaced);
    EXPECT_EQ(told.nWrong, 0);
}

INSTANTIATE_TEST_SUITE_P(BothWays, ShowTest, ::testing::Bool(),
                         [](const auto& _info) { return _info.param ? "Sync" : "Async"; });

}  // namespace
}  // namespace zr
