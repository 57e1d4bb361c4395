// Mixers whose sources push their frames in, on the virtual clock.

#include <cstring>

#include "mixer_fixture.h"
#include "platform/thread.h"
#include "support/drawn_show.h"
#include "support/paced_source.h"
#include "support/stress.h"
#include "zr/elements.h"
#include "zr/scenes.h"

namespace zr {
namespace {

constexpr double kNtsc = 30000.0 / 1001;

class AsyncTest : public MixerTest {
protected:
    // Asynchronous, without a background.
    void MakeAsync(double _dblRate, bool _bKeepFrames = false) {
        Make(_dblRate, _bKeepFrames);
        NoBackground();
        pProps->PropsSet(u"object::sync_mode", u"false");
    }
    ZrPtr<PacedSource> File(double _dblRate, int32_t _nSamples = 0) {
        return PacedSource::Make(SmallPicture(_dblRate), false, _nSamples);
    }
    ZrPtr<PacedSource> Live(double _dblRate) { return PacedSource::Make(SmallPicture(_dblRate), true); }
    // The output is one line, each frame there, the first alone with a break.
    void ExpectWholeLine(double _dblSeconds, double _dblRate, double _dblTolerance) {
        const auto arrFrames = pCollector->Frames();
        EXPECT_NEAR(static_cast<double>(arrFrames.size()), _dblSeconds * _dblRate, _dblTolerance);
        int64_t rtEnd = 0;
        for (size_t i = 0; i < arrFrames.size(); ++i) {
            ASSERT_EQ(arrFrames[i].time.rtStartTime, rtEnd) << i;
            ASSERT_EQ((arrFrames[i].time.eFFlags & eZrFF_Break) != 0, i == 0) << i;
            rtEnd = arrFrames[i].time.rtEndTime;
        }
    }
};

TEST_F(AsyncTest, EachSourceIsUsedAtItsOwnRate) {
    for (const double dblOutput : {25.0, 50.0, kNtsc}) {
        SCOPED_TRACE(dblOutput);
        MakeAsync(dblOutput);
        const auto pA = File(kNtsc), pB = File(25.0), pC = File(50.0), pD = Live(25.0);
        Add(u"a", pA.Get());
        Add(u"b", pB.Get());
        Add(u"c", pC.Get());
        Add(u"d", pD.Get());
        pMixer->ObjectStart(nullptr);
        SleepFor(60 * kTicksPerSecond);
        EXPECT_NEAR(static_cast<double>(pA->nGiven), 60 * kNtsc, 3);
        EXPECT_NEAR(static_cast<double>(pB->nGiven), 60 * 25, 3);
        EXPECT_NEAR(static_cast<double>(pC->nGiven), 60 * 50, 3);
        EXPECT_NEAR(static_cast<double>(pD->nGiven), 60 * 25, 2);
        EXPECT_EQ(pD->nLost, 0);
        for (const char16_t* szId : {u"a", u"b", u"c", u"d"}) EXPECT_EQ(Counter(std::u16string(u"breaks.") + szId), 1);
        pMixer->ObjectClose();
        ExpectWholeLine(60, dblOutput, 4);
    }
}

// Each picture once, in order and with its own time code, in both ways of mixing, though the source is a frame ahead
// where it pushes, and though the picture is laid out anew again and again.
TEST_F(AsyncTest, TheTimeCodeIsThatOfThePicture) {
    constexpr int32_t kFirst = 20, kStep = 3;  // luma of frame 0, and what the next has more
    for (const bool bSync : {false, true}) {
        SCOPED_TRACE(bSync);
        MakeAsync(25.0, true);
        pProps->PropsSet(u"object::sync_mode", bSync ? u"true" : u"false");
        pProps->PropsSet(u"object::timecode.source_idx", u"1");
        const auto pOther = File(25.0), pStamped = File(25.0);
        pStamped->Furnish = [](int64_t _n, IZrFFrame& _frame) {
            int32_t cb = 0;
            int64_t pb = 0;
            _frame.ZrFVideoGetBytes(&cb, &pb);
            std::memset(reinterpret_cast<void*>(pb), static_cast<int>(kFirst + kStep * _n), static_cast<size_t>(cb));
            ZR_TIME time;
            _frame.ZrFTimeGet(&time);
            time.tcFrame.nSeconds = 7;
            time.tcFrame.nFrames = static_cast<int32_t>(_n);
            _frame.ZrFTimeSet(&time);
        };
        Add(u"other", pOther.Get());
        Add(u"s", pStamped.Get());
        ZrPtr<IZrElements> pScene;
        ZrPtr<IZrElement> pForeground, pVideo;
        ASSERT_EQ(pMixer.As<IZrScenes>()->ScenesActiveGet(nullptr, nullptr, pScene.Out()), S_OK);
        ASSERT_EQ(pScene->ElementsGetByID(u"foreground", pForeground.Out()), S_OK);
        const auto pElements = pForeground.As<IZrElements>();
        ASSERT_EQ(pElements->ElementsAdd(u"v", u"video", u"stream_id=s", pVideo.Out(), 0), S_OK);
        pMixer->ObjectStart(nullptr);
        for (int n = 0; n < 12; ++n) {
            SleepFor(kTicksPerSecond / 5);
            pVideo->ElementDoubleSet(u"w", n % 2 ? 1.0 : 0.8, 0);
        }
        pMixer->ObjectClose();
        const auto arrFrames = pCollector->Frames();
        ASSERT_GT(arrFrames.size(), 50u);
        int32_t nLast = -1;
        for (size_t i = 0; i < arrFrames.size(); ++i) {
            ZRF_FRAME_INFO info;
            ASSERT_EQ(arrFrames[i].pFrame->ZrFAllGet(&info), S_OK);
            const auto* const pb = reinterpret_cast<const uint8_t*>(info.lpVideo);
            const int32_t nLuma = pb[18 * info.avProps.vidProps.nRowBytes + 65];
            if (nLuma < kFirst && nLast < 0 && i < 3) continue;  // nothing has been laid out yet
            const int32_t nPicture = (nLuma - kFirst + 1) / kStep;
            EXPECT_EQ(arrFrames[i].time.tcFrame.nFrames, nPicture) << i;
            EXPECT_EQ(arrFrames[i].time.tcFrame.nSeconds, 7) << i;
            EXPECT_TRUE(nLast < 0 || nPicture == nLast + 1) << i << ": " << nPicture << " after " << nLast;
            nLast = nPicture;
        }
        EXPECT_GT(nLast, 45);
    }
}

// Field f of the source, two a frame or one that fills it, has luma 20 + 2 f in all its lines. What the upper and the
// lower lines of the output show goes on by even steps.
TEST_F(AsyncTest, FieldsOfTheOutputShowFieldsOfTheSource) {
    constexpr auto P = eZrI_Progressive, F1 = eZrI_Field1First, F2 = eZrI_Field2First;
    // Rates and fields of source and output; what a frame of the output has in its lower lines more than in the upper
    // ones, and in the upper ones more than the frame before, in fields of the source.
    const std::tuple<const char*, double, eZrInterlace, double, eZrInterlace, int, int, eZrFCC> arrCases[] = {
        {"two frames are woven", 50, P, 25, F1, 1, 2, eZrFCC_UYVY},
        {"the lower field first", 50, P, 25, F2, -1, 2, eZrFCC_UYVY},
        {"planes are woven", 50, P, 25, F1, 1, 2, eZrFCC_I420},
        {"slow frames go whole", 25, P, 25, F1, 0, 1, eZrFCC_UYVY},
        {"fields go apart", 25, F1, 50, P, 0, 1, eZrFCC_UYVY},
        {"the lower field comes first", 25, F2, 50, P, 0, 1, eZrFCC_UYVY},
        {"fields stay fields", 25, F1, 25, F1, 1, 2, eZrFCC_UYVY},
    };
    for (const auto& [szName, dblRate, eFields, dblOutput, eOutput, nLower, nStep, fcc] : arrCases) {
        SCOPED_TRACE(szName);
        MakeAsync(dblOutput, true);
        ZR_VID_PROPS props = SmallPicture(dblOutput);
        props.eInterlace = eOutput;
        ASSERT_EQ(pMixer.As<IZrFormat>()->FormatVideoSet(eZrFT_Convert, &props), S_OK);
        props = SmallPicture(dblRate);
        props.eInterlace = eFields;
        props.fccType = fcc;
        if (fcc == eZrFCC_I420) props.nRowBytes = props.nWidth;
        const auto pClip = PacedSource::Make(props, false);
        pClip->Furnish = [&, eFields = eFields](int64_t _n, IZrFFrame& _frame) {
            ZRF_FRAME_INFO info;
            _frame.ZrFAllGet(&info);
            const int64_t nFirst = eFields == P ? _n : 2 * _n;
            auto* const pb = reinterpret_cast<uint8_t*>(info.lpVideo);
            for (int32_t y = 0; y < info.avProps.vidProps.nHeight; ++y) {
                const int64_t nField = nFirst + (eFields != P && (y % 2 == 1) == (eFields == F1));
                std::memset(pb + y * info.avProps.vidProps.nRowBytes, static_cast<int>(20 + 2 * nField),
                            static_cast<size_t>(info.avProps.vidProps.nRowBytes));
            }
        };
        Add(u"s", pClip.Get());
        ZrPtr<IZrElements> pScene;
        ZrPtr<IZrElement> pForeground;
        ASSERT_EQ(pMixer.As<IZrScenes>()->ScenesActiveGet(nullptr, nullptr, pScene.Out()), S_OK);
        ASSERT_EQ(pScene->ElementsGetByID(u"foreground", pForeground.Out()), S_OK);
        ASSERT_EQ(pForeground.As<IZrElements>()->ElementsAdd(u"v", u"video", u"stream_id=s", nullptr, 0), S_OK);
        pMixer->ObjectStart(nullptr);
        SleepFor(kTicksPerSecond);
        pMixer->ObjectClose();
        int nLast = 0, nSeen = 0;
        for (const auto& received : pCollector->Frames()) {
            ZRF_FRAME_INFO info;
            ASSERT_EQ(received.pFrame->ZrFAllGet(&info), S_OK);
            const auto Luma = [&](int32_t _y) {
                return reinterpret_cast<const uint8_t*>(info.lpVideo)[_y * info.avProps.vidProps.nRowBytes + 65];
            };
            if (Luma(18) < 20) continue;  // nothing has been laid out yet
            for (int32_t y = 0; y < 36; ++y) ASSERT_EQ(Luma(y), Luma(y % 2)) << y;
            EXPECT_EQ(Luma(1) - Luma(0), 2 * nLower) << nSeen;
            EXPECT_TRUE(nSeen < 3 || Luma(0) - nLast == 2 * nStep)
                << nSeen << ": " << int{Luma(0)} << " after " << nLast;
            ++nSeen;
            nLast = Luma(0);
        }
        EXPECT_GT(nSeen, dblOutput - 6);
        EXPECT_EQ(Counter(u"dups.s"), 0);
    }
}

TEST_F(AsyncTest, ABackgroundDrivesTheCycleAtItsRate) {
    for (const auto eSilence : {PacedSource::Patient, PacedSource::AtOnce}) {
        SCOPED_TRACE(eSilence);
        MakeAsync(25.0);
        const auto pBackground = Live(kNtsc);
        const auto pClip = File(25.0);
        pBackground->eSilence = eSilence;
        pStreams->StreamsBackgroundSet(pBackground.Get(), nullptr, nullptr, nullptr, 0);
        Add(u"a", pClip.Get());
        pMixer->ObjectStart(nullptr);
        SleepFor(30 * kTicksPerSecond);
        EXPECT_NEAR(static_cast<double>(pClip->nGiven), 30 * 25, 3);
        EXPECT_NEAR(static_cast<double>(pBackground->nGiven), 30 * kNtsc, 2);
        EXPECT_NEAR(static_cast<double>(pCollector->Count()), 30 * kNtsc, 3);
        // It stalls: its last picture goes on, and 250 ms are all that is lost.
        pBackground->bStalls = true;
        SleepFor(10 * kTicksPerSecond);
        EXPECT_NEAR(static_cast<double>(pCollector->Count()), 39.75 * kNtsc, 6);
        // Without it the mixer makes its own frames, at its own rate.
        const size_t nBefore = pCollector->Count();
        pStreams->StreamsBackgroundSet(nullptr, nullptr, nullptr, nullptr, 0);
        SleepFor(10 * kTicksPerSecond);
        EXPECT_NEAR(static_cast<double>(pCollector->Count() - nBefore), 10 * 25, 3);
        pMixer->ObjectClose();
    }
}

// With its own size, rate and time; what comes upon it is mixed, and when that has gone it goes straight out again.
TEST_F(AsyncTest, ABackgroundAloneGoesStraightOut) {
    Make(25.0, true);
    pProps->PropsSet(u"background.direct_out", u"true");
    ZR_VID_PROPS small = SmallPicture(50);
    small.nWidth = 32;
    small.nRowBytes = 64;
    const auto pBackground = PacedSource::Make(small, false);
    NoBackground();
    pStreams->StreamsBackgroundSet(pBackground.Get(), nullptr, nullptr, nullptr, 0);
    pMixer->ObjectStart(nullptr);
    SleepFor(kTicksPerSecond);
    const auto Frames = [&](int64_t _nBreaks) {
        const auto arrFrames = pCollector->Frames();
        int64_t nBreaks = 0;
        for (size_t i = 0; i < arrFrames.size(); ++i) {
            const bool bBreak = (arrFrames[i].time.eFFlags & eZrFF_Break) != 0;
            nBreaks += bBreak;
            if (i > 0 && !bBreak) {
                EXPECT_EQ(arrFrames[i].time.rtStartTime, arrFrames[i - 1].time.rtEndTime) << i;
            }
        }
        EXPECT_EQ(nBreaks, _nBreaks);
        ZR_AV_PROPS props;
        EXPECT_EQ(arrFrames.back().pFrame->ZrFAVPropsGet(&props, nullptr), S_OK);
        EXPECT_EQ(props.vidProps.nWidth, 32);
        return arrFrames.size();
    };
    const size_t nAlone = Frames(1);
    EXPECT_NEAR(static_cast<double>(nAlone), 50, 3);
    EXPECT_NEAR(static_cast<double>(pBackground->nGiven), static_cast<double>(nAlone), 2) << "not one is left out";
    Add(u"a", File(25.0).Get());
    SleepFor(kTicksPerSecond);
    EXPECT_NEAR(static_cast<double>(Frames(2) - nAlone), 50, 3);
    pStreams->StreamsRemoveByIndex(0, 0, 0);
    SleepFor(kTicksPerSecond);
    Frames(3);
    pMixer->ObjectClose();
}

TEST_F(AsyncTest, AStalledSourceCostsItsLimitOnce) {
    for (const auto eSilence : {PacedSource::Patient, PacedSource::AtOnce, PacedSource::Deaf}) {
        SCOPED_TRACE(eSilence);
        MakeAsync(25.0);
        const auto pGood = File(25.0), pBad = File(25.0);
        pBad->eSilence = eSilence;
        Add(u"a", pGood.Get());
        Add(u"b", pBad.Get());
        pMixer->ObjectStart(nullptr);
        SleepFor(2 * kTicksPerSecond);
        pBad->bStalls = true;
        SleepFor(4 * kTicksPerSecond);
        const size_t nStalled = pCollector->Count();
        EXPECT_GE(nStalled, 6 * 25u - 10u);
        pBad->bStalls = false;
        SleepFor(2 * kTicksPerSecond);
        EXPECT_GE(pBad->nGiven.load(), 4 * 25 - 3);
        pBad->bEnded = true;
        SleepFor(2 * kTicksPerSecond);
        EXPECT_GE(pCollector->Count(), 10 * 25u - 12u);
        pMixer->ObjectClose();
        ExpectWholeLine(10, 25.0, 12);
    }
}

// A master that comes 300 ms late holds the output back instead of making it jump; one that may drop does not.
TEST_F(AsyncTest, AMasterPacesTheMixer) {
    for (const bool bDrop : {false, true}) {
        SCOPED_TRACE(bDrop);
        MakeAsync(25.0);
        const auto pMaster = Live(12.5), pOther = Live(25.0);
        ZrPtr<IZrItem> pItem;
        Add(u"m", pMaster.Get(), &pItem);
        Add(u"o", pOther.Get());
        NodeOf(pItem)->SetAttribute(u"master", true);
        NodeOf(pItem)->SetAttribute(u"drop_frames", bDrop);
        pMixer->ObjectStart(nullptr);
        SleepFor(20 * kTicksPerSecond);
        pMixer->ObjectClose();
        ExpectWholeLine(20, 25.0, 4);
        EXPECT_NEAR(static_cast<double>(pMaster->nGiven), 20 * 12.5, 2);
    }
}

TEST_F(AsyncTest, SoundIsHeardWhetherTheOutputHasAFormatOrNot) {
    MakeAsync(25.0);
    const auto pA = File(25.0, 1920);
    ZrPtr<IZrItem> pItem;
    Add(u"a", pA.Get(), &pItem);
    pMixer->ObjectStart(nullptr);
    SleepFor(kTicksPerSecond);
    EXPECT_GT(StreamOf(pItem)->Audio().HeldTime(), 0);
    EXPECT_EQ(Counter(u"audio.a.not_enough"), 0);
    pMixer->ObjectClose();
    for (const auto& received : pCollector->Frames()) EXPECT_EQ(received.nSamples, 1920);
}

TEST_F(AsyncTest, AStreamThatWasStoppedPlaysAgain) {
    MakeAsync(25.0);
    const auto pA = File(25.0), pB = File(25.0);
    ZrPtr<IZrItem> pItem;
    Add(u"a", pA.Get(), &pItem);
    Add(u"b", pB.Get());
    pMixer->ObjectStart(nullptr);
    SleepFor(kTicksPerSecond);
    const ZrPtr<IZrFile> pPlay = pItem.As<IZrFile>();
    pPlay->FilePlayStop(0);
    SleepFor(kTicksPerSecond / 5);
    const int64_t nStopped = pA->nGiven;
    SleepFor(kTicksPerSecond);
    EXPECT_EQ(pA->nGiven, nStopped);
    ASSERT_EQ(pPlay->FilePlayStart(), S_OK);
    SleepFor(kTicksPerSecond);
    EXPECT_NEAR(static_cast<double>(pA->nGiven - nStopped), 25, 3);
    pMixer->ObjectClose();
}

// However many ask for it at once.
TEST_F(AsyncTest, AnObjectHasOnePlace) {
    MakeAsync(25.0);
    pMixer->ObjectStart(nullptr);
    for (int n = 0; n < StressRounds(300); ++n) {
        const auto pShared = File(25.0);
        std::atomic<int> nAdded{0};
        Thread arrThreads[3];
        for (int i = 0; i < 3; ++i) {
            arrThreads[i].Start("adds", [&, i](ManualEvent&) {
                const std::u16string id(1, static_cast<char16_t>(u'a' + i));
                nAdded += i == 2 ? pStreams->StreamsBackgroundSet(pShared.Get(), u"", u"", nullptr, 0) == S_OK
                                 : Add(id, pShared.Get()) == S_OK;
            });
        }
        for (Thread& thread : arrThreads) thread.Join();
        ASSERT_EQ(nAdded, 1) << n;
        pStreams->StreamsRemoveByIndex(0, 10, 0);
        pStreams->StreamsBackgroundSet(nullptr, u"", u"", nullptr, 0);
    }
    pMixer->ObjectClose();
}

// A producer is in the midst of a get when its item is replaced: the source ends after that.
TEST_F(AsyncTest, AReplacedSourceEndsAfterItsProducer) {
    struct BUSY final : OneReaderSource {
        std::atomic<bool> bInGet{false}, bTornOff{false};
        HRESULT NextFrame(int64_t _rtMaxWait, IZrFFrame**) override {
            bInGet = true;
            SleepFor(_rtMaxWait);
            bInGet = false;
            return ZR_E_TIMEOUT;
        }
    };
    const auto pBusy = ZrPtr<BUSY>::Attach(new BUSY);
    struct OWNER final : OwnedSource {
        BUSY& busy;
        explicit OWNER(BUSY& _busy) : OwnedSource(nullptr), busy(_busy) {}
        ~OWNER() { busy.bTornOff = busy.bInGet.load(); }
    };
    struct HOST final : IProducerHost {
        STREAM_PUT PutNow() const override { return {}; }
        HRESULT DriveCycle(const FramePtr&, ManualEvent&) override { return S_OK; }
        bool StartsIt(const CCoZrItem&) const override { return true; }
    } host;
    NoStatistics statistics;
    BlockSet blocks;
    StreamTable table;
    AsyncProducers producers(table, host);
    const auto pStream = MixerStreamPtr::Attach(new ZrMixerStream(u"s", statistics, blocks));
    pStream->Connect();
    const auto pOld = CCoZrItem::Make(pBusy.Get(), u"old", std::make_shared<OWNER>(*pBusy));
    {
        MutexLock lock(table.mtxChange);
        table.Append({pOld, pStream});
    }
    const auto pNew = File(25.0);
    pNew->bStalls = true;
    producers.Start();
    while (!pBusy->bInGet) SleepFor(kTicksPerMs);
    {
        MutexLock lock(table.mtxChange);
        table.Replace(0, CCoZrItem::Make(pNew.Get(), u"new"));
    }
    producers.Update();
    pOld->Close();
    SleepFor(kTicksPerSecond);
    producers.Stop();
    EXPECT_FALSE(pBusy->bTornOff);
}

TEST_F(AsyncTest, TheWayOfWorkingIsThatOfTheStart) {
    MakeAsync(25.0);
    const auto pA = File(50.0);
    Add(u"a", pA.Get());
    for (int n = 0; n < 4; ++n) {
        const bool bSync = n % 2;
        pProps->PropsSet(u"object::sync_mode", bSync ? u"true" : u"false");
        const int64_t nBefore = pA->nGiven;
        pFile->FilePlayStart();
        SleepFor(2 * kTicksPerSecond);
        pProps->PropsSet(u"object::sync_mode", bSync ? u"false" : u"true");  // means nothing until the next start
        SleepFor(2 * kTicksPerSecond);
        pFile->FilePlayStop(0);
        EXPECT_NEAR(static_cast<double>(pA->nGiven - nBefore), 4 * (bSync ? 25 : 50), 6) << n;
    }
    pMixer->ObjectClose();
}

}  // namespace
}  // namespace zr
