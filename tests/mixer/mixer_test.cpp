// The mixer as a whole, on the virtual clock, with sources and receivers that a test decides.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <random>
#include <vector>

#include "mixer_fixture.h"
#include "platform/thread.h"
#include "support/allocation_count.h"
#include "support/paced_source.h"
#include "support/stress.h"

namespace zr {
namespace {

TEST_F(MixerTest, OneFrameLeavesEveryPeriodOnAnExactLine) {
    Make(30000.0 / 1001);
    ASSERT_EQ(pMixer->ObjectStart(nullptr), S_OK);
    EXPECT_EQ(pMixer->ObjectStart(nullptr), S_FALSE);
    EXPECT_EQ(State(), eZrS_Running);
    SleepFor(60 * kTicksPerSecond);
    const int64_t rtClose = ClockNow();  // what is still on its way then goes out at once
    pMixer->ObjectClose();
    EXPECT_EQ(State(), eZrS_Closed);

    const auto arrFrames = pCollector->Frames();
    EXPECT_NEAR(static_cast<double>(arrFrames.size()), 1798.2, 2.0);
    int64_t nSamples = 0;
    for (size_t i = 0; i < arrFrames.size(); ++i) {
        const auto n = static_cast<int64_t>(i);
        ASSERT_EQ(arrFrames[i].time.rtStartTime, (2 * n * 1'001'000 + 3) / 6) << i;
        ASSERT_EQ((arrFrames[i].time.eFFlags & eZrFF_Break) != 0, i == 0) << i;
        nSamples += arrFrames[i].nSamples;
        if (i > 1 && arrFrames[i].rtArrived < rtClose) {
            const int64_t rtGap = arrFrames[i].rtArrived - arrFrames[i - 1].rtArrived;
            ASSERT_NEAR(static_cast<double>(rtGap), 333666.67, 2.0) << i;
        }
    }
    EXPECT_NEAR(static_cast<double>(nSamples), static_cast<double>(arrFrames.back().time.rtEndTime) * 48000 / 1e7, 1.0);
}

TEST_F(MixerTest, ATimedPauseHoldsTheLineThenRunsByItself) {
    Make(25.0, true);
    pMixer->ObjectStart(nullptr);
    SleepFor(kTicksPerSecond);
    ASSERT_EQ(pFile->FilePlayPause(2.5), S_OK);
    EXPECT_EQ(State(), eZrS_Paused);
    SleepFor(kTicksPerSecond);
    double dblRemain = 0;
    eZrState eState = eZrS_Error;
    pFile->FileStateGet(&eState, &dblRemain);
    EXPECT_NEAR(dblRemain, 1.5, 0.1);
    SleepFor(2 * kTicksPerSecond);
    EXPECT_EQ(State(), eZrS_Running);
    SleepFor(kTicksPerSecond);
    pMixer->ObjectClose();
    EXPECT_EQ(CountEvents(u"pause/pause-done"), 2);
    EXPECT_EQ(CountEvents(u"pause/2.500"), 1);

    int nHeld = 0;
    int32_t nLastNumber = -1;
    int64_t rtEnd = 0;
    for (const auto& received : pCollector->Frames()) {
        const int32_t nNumber = ScriptedSource::NumberOf(received.pFrame.Get());
        if (nNumber >= 0) {  // the source went on where it was: no picture was lost in the pause
            ASSERT_EQ(nNumber, nLastNumber + 1);
            nLastNumber = nNumber;
            ASSERT_EQ(received.time.rtStartTime, rtEnd);
            rtEnd = received.time.rtEndTime;
        } else {
            ++nHeld;
            ASSERT_TRUE(received.time.eFFlags & eZrFF_Break);
        }
    }
    EXPECT_NEAR(nHeld, 62.5, 1.5);
}

TEST_F(MixerTest, AStalledSourceCostsItsLimitOnceAndIsUsedAgain) {
    Make(25.0, true);
    pProps->PropsSet(u"object::rate_control", u"1");
    pMixer->ObjectStart(nullptr);
    SleepFor(kTicksPerSecond);
    pSource->bStalls = true;
    SleepFor(3 * kTicksPerSecond);
    EXPECT_EQ(pSource->rtWaited.load(), 250 * kTicksPerMs);
    const size_t nStalled = pCollector->Count();
    pSource->bStalls = false;
    SleepFor(kTicksPerSecond);
    pMixer->ObjectClose();
    const auto arrFrames = pCollector->Frames();
    EXPECT_GE(nStalled, 25u + 65u);  // 3 s less the 250 ms
    EXPECT_GE(ScriptedSource::NumberOf(arrFrames.back().pFrame.Get()), 0);
    for (size_t i = 1; i < arrFrames.size(); ++i) ASSERT_EQ(arrFrames[i].time.rtStartTime, 400000 * int64_t(i)) << i;
}

// However long a source may be waited for.
TEST_F(MixerTest, AStopDoesNotWaitForAStalledSource) {
    for (const char16_t* szMaxWait : {u"10000", u"-1"}) {
        Make(25.0);
        pProps->PropsSet(u"object::sync_mode.get_max_wait", szMaxWait);
        pFile->FilePlayStart();
        SleepFor(kTicksPerSecond);
        pSource->bStalls = true;
        SleepFor(kTicksPerSecond / 2);
        const int64_t rtBegin = ClockNow();
        pFile->FilePlayStop(0);
        EXPECT_LE(ClockNow() - rtBegin, 120 * kTicksPerMs) << (szMaxWait[0] == u'-' ? "unlimited" : "10 s");
        pMixer->ObjectClose();
    }
}

// A live one gives the output its pace; when it has none, the output keeps to its own.
TEST_F(MixerTest, AStalledLiveBackgroundLeavesTheOutputItsRate) {
    Make(25.0);
    const auto pLive = PacedSource::Make(SmallPicture(25.0), true);
    pStreams->StreamsBackgroundSet(pLive.Get(), u"", u"", nullptr, 0);
    pMixer->ObjectStart(nullptr);
    SleepFor(kTicksPerSecond);
    for (std::atomic<bool>* const pFault : {&pLive->bStalls, &pLive->bEnded}) {
        const size_t nBefore = pCollector->Count();
        *pFault = true;
        SleepFor(3 * kTicksPerSecond);
        EXPECT_NEAR(static_cast<double>(pCollector->Count() - nBefore), 72, 6);
        *pFault = false;
        SleepFor(kTicksPerSecond);
        EXPECT_NEAR(static_cast<double>(pCollector->Count() - nBefore), 97, 6);
    }
    pMixer->ObjectClose();
}

TEST_F(MixerTest, AListenerOnTheMixThreadMayStopTheMixer) {
    for (const char16_t* szEvent : {u"source_connected", u"source_disconnected", u"pause"}) {
        Make(25.0);
        pProps->PropsSet(u"object::on_event.sync", u"true");
        stopAt = szEvent == std::u16string(u"source_connected") ? szEvent : u"";
        pMixer->ObjectStart(nullptr);
        SleepFor(kTicksPerSecond);
        stopAt = szEvent;
        pSource = ScriptedSource::Make(SmallPicture(25.0), 0);
        pStreams->StreamsBackgroundSet(pSource.Get(), u"", u"", nullptr, 0);
        pFile->FilePlayPause(0.5);
        SleepFor(kTicksPerSecond);
        stopAt.clear();
        EXPECT_EQ(pFile->FilePlayStart(), S_OK);
        const size_t nBefore = pCollector->Count();
        SleepFor(kTicksPerSecond);
        EXPECT_NEAR(static_cast<double>(pCollector->Count() - nBefore), 25, 3);
        pMixer->ObjectClose();
    }
}

// A listener that is told at once runs on a thread of the mixer, the one that sends or the one that mixes, while others
// may be stopping the mixer and waiting for that very thread.
TEST_F(MixerTest, AListenerOfFramesMayStopTheMixerWhileOthersDo) {
    struct LISTENER {
        IZrFile* pFile;
        std::atomic<int> nFrames{0}, nRefused{0}, nWrong{0};
        static HRESULT OnFrame(int64_t _llUser, const char16_t*, IUnknown*) {
            auto& self = *reinterpret_cast<LISTENER*>(_llUser);
            if (++self.nFrames % 7 != 0) return S_OK;
            const HRESULT hr = self.pFile->FilePlayStop(0);
            self.nRefused += hr == ZR_E_RETRY;
            self.nWrong += hr != S_OK && hr != ZR_E_RETRY;
            return S_OK;
        }
    };
    for (const bool bSync : {true, false}) {
        SCOPED_TRACE(bSync);
        Make(50.0);
        NoBackground();
        Add(u"a", pSource.Get());
        pProps->PropsSet(u"object::sync_mode", bSync ? u"true" : u"false");
        pProps->PropsSet(u"object::on_frame.sync", u"true");
        LISTENER listener{pFile.Get()};
        pMixer->ObjectCallbackSetFunc(0, reinterpret_cast<int64_t>(&LISTENER::OnFrame),
                                      reinterpret_cast<int64_t>(&listener));
        pFile->FilePlayStart();
        SleepFor(kTicksPerSecond);
        EXPECT_EQ(State(), eZrS_Stopped);
        EXPECT_EQ(listener.nRefused, 0);
        EXPECT_NEAR(listener.nFrames, 7, 2);
        for (int n = 0; n < StressRounds(500); ++n) {
            pFile->FilePlayStart();
            SleepFor((n % 9) * 20 * kTicksPerMs);
            pFile->FilePlayStop(0);
        }
        EXPECT_EQ(listener.nWrong, 0);
        pMixer->ObjectCallbackSetFunc(0, 0, 0);
        pFile->FilePlayStart();
        const size_t nBefore = pCollector->Count();
        SleepFor(kTicksPerSecond);
        EXPECT_NEAR(static_cast<double>(pCollector->Count() - nBefore), 50, 4);
        pMixer->ObjectClose();
    }
}

TEST_F(MixerTest, TheEndOfAPauseDoesNotEndTheNextOne) {
    Make(50.0);
    ZrPtr<IZrItem> pItem;
    Add(u"a", ScriptedSource::Make(SmallPicture(50.0), 0).Get(), &pItem);
    pMixer->ObjectStart(nullptr);
    std::mt19937 random(5);
    for (int n = 0; n < StressRounds(4000); ++n) {
        pFile->FilePlayPause(0.04);
        SleepFor(static_cast<int64_t>(random() % 60) * kTicksPerMs);
        pFile->FilePlayPause(0);
        SleepFor(kTicksPerMs);
        ASSERT_EQ(State(), eZrS_Paused) << n;
        ASSERT_TRUE(StreamOf(pItem)->IsPaused()) << n;
    }
}

TEST_F(MixerTest, TheQueueMayBeTakenAwayAndNoFrameOvertakesAnother) {
    Make(50.0);
    NoBackground();
    Add(u"a", pSource.Get());
    pProps->PropsSet(u"object::sync_mode", u"false");
    pProps->PropsSet(u"object::output.max_buffers", u"12");
    pMixer->ObjectStart(nullptr);
    for (int n = 0; n < 40; ++n) {
        SleepFor(kTicksPerSecond / 3);
        pProps->PropsSet(u"object::output.max_buffers", n % 2 == 0 ? u"0" : u"12");
    }
    pMixer->ObjectClose();
    const auto arrFrames = pCollector->Frames();
    EXPECT_NEAR(static_cast<double>(arrFrames.size()), 50 * 40 / 3.0, 20);
    for (size_t i = 1; i < arrFrames.size(); ++i) {
        ASSERT_EQ(arrFrames[i].time.rtStartTime, arrFrames[i - 1].time.rtEndTime) << i;
    }
}

TEST_F(MixerTest, ThePriorityIsThatOfEachThreadThatMixes) {
    static std::atomic<int> nNice;
    Make(25.0);
    pProps->PropsSet(u"object::on_event.sync", u"true");
    pProps->PropsSet(u"object::on_mix.event", u"true");
    pProps->PropsSet(u"object::threads.priority_on", u"true");
    pProps->PropsSet(u"object::threads.priority_max", u"-3");  // everybody has the right to that: nice 2
    const auto OnEvent = [](int64_t, const char16_t*, const char16_t* _szEvent, const char16_t*, IUnknown*) {
        if (std::u16string_view(_szEvent) == u"mix") nNice = getpriority(PRIO_PROCESS, CurrentThreadId());
        return S_OK;
    };
    pMixer->ObjectCallbackSetFunc(reinterpret_cast<int64_t>(static_cast<PFOnEvent>(OnEvent)), 0, 0);
    for (int n = 0; n < 2; ++n) {
        nNice = -100;
        pFile->FilePlayStart();
        SleepFor(kTicksPerSecond / 2);
        pFile->FilePlayStop(0);
        EXPECT_EQ(nNice, 2) << n;
    }
}

// Whatever allocation fails, of whatever thread: a frame may be lost, the show goes on.
TEST_F(MixerTest, MemoryThatIsOutCostsAFrameAndNotTheShow) {
    if (!FailAllocations(0, 0)) GTEST_SKIP() << "the sanitizer has the heap";
    for (const bool bSync : {true, false}) {
        SCOPED_TRACE(bSync);
        Make(50.0);
        pProps->PropsSet(u"object::sync_mode", bSync ? u"true" : u"false");
        pCollector->Reserve(100'000);
        const auto pB = ScriptedSource::Make(SmallPicture(25.0), 960);
        Add(u"a", ScriptedSource::Make(SmallPicture(50.0), 960).Get());
        Add(u"b", pB.Get());
        pMixer->ObjectStart(nullptr);
        for (int n = 0; n < 400; ++n) {
            SleepFor(50 * kTicksPerMs);
            FailAllocations(n % 50, 1 + n % 3);
            if (n % 4 == 0) pStreams->StreamsRemoveByIndex(1, 0, 0);
            if (n % 4 == 2) pStreams->StreamsAdd(u"b", pB.Get(), nullptr, nullptr, nullptr, 0);
            SleepFor(60 * kTicksPerMs);
            FailAllocations(0, 0);
        }
        const size_t nBefore = pCollector->Count();
        SleepFor(kTicksPerSecond);
        EXPECT_NEAR(static_cast<double>(pCollector->Count() - nBefore), 50, 3);
        pMixer->ObjectClose();
    }
}

// The output is that of a mixer which makes one frame after the other, but so many frames later; the number may change
// on air.
TEST_F(MixerTest, FramesInFlightAreAllThereAndInOrder) {
    Make(25.0, true);
    pProps->PropsSet(u"object::sync_mode.fixed_buffers", u"6");
    for (int nRun = 0; nRun < 2; ++nRun) {
        const int32_t nFirst = pSource->nNext;
        const size_t nBefore = pCollector->Count();
        ASSERT_EQ(pFile->FilePlayStart(), S_OK);
        SleepFor(kTicksPerSecond);
        // Five wait behind the one in the queue and the one that is sent.
        EXPECT_NEAR(pSource->nNext - nFirst - static_cast<int32_t>(pCollector->Count() - nBefore), 7, 1);
        BSTR bs = nullptr;
        pProps->PropsGet(u"stat::mix_fixed_buffers", &bs);
        EXPECT_TRUE(bs && std::u16string_view(bs).ends_with(u"/5(Max:6)"));
        SysFreeString(bs);
        for (const char16_t* sz : {u"1", u"2", u"9", u"0", u"3"}) {
            pProps->PropsSet(u"object::sync_mode.fixed_buffers", sz);
            SleepFor(kTicksPerSecond / 2);
        }
        pFile->FilePlayPause(0.4);
        SleepFor(kTicksPerSecond);
        EXPECT_EQ(State(), eZrS_Running);
        pFile->FilePlayStop(0);
        pProps->PropsSet(u"object::sync_mode.fixed_buffers", u"6");
        const auto arrFrames = pCollector->Frames();
        EXPECT_NEAR(static_cast<double>(arrFrames.size() - nBefore), 4.5 * 25, 8);
        int32_t nNumber = nFirst;
        for (size_t i = nBefore; i < arrFrames.size(); ++i) {
            const int32_t n = ScriptedSource::NumberOf(arrFrames[i].pFrame.Get());
            if (n >= 0) {  // a pause holds the picture, and no number is lost
                ASSERT_EQ(n, nNumber++) << i;
            }
            if (i == nBefore) continue;
            const ZR_TIME &last = arrFrames[i - 1].time, &time = arrFrames[i].time;
            const bool bHeld = (last.eFFlags & eZrFF_Break) && time.rtStartTime == last.rtStartTime;
            ASSERT_TRUE(bHeld || time.rtStartTime == last.rtEndTime) << i;
        }
    }
    pMixer->ObjectClose();
}

TEST_F(MixerTest, AMixerInErrorPlaysAtItsRateAllTheSame) {
    Make(25.0);
    for (bool bStopFirst : {false, true}) {
        pStreams->StreamsBackgroundSet(nullptr, u"", u"", nullptr, 0);
        pProps->PropsSet(u"object::background", u"/nowhere/at-all.mp4");
        EXPECT_LT(pMixer->ObjectStart(nullptr), 0);
        EXPECT_EQ(State(), eZrS_Error);
        pStreams->StreamsBackgroundSet(pSource.Get(), u"", u"", nullptr, 0);
        if (bStopFirst) pFile->FilePlayStop(0);
        const int nBefore = pSource->nGets;
        ASSERT_EQ(pFile->FilePlayStart(), S_OK);
        SleepFor(kTicksPerSecond);
        EXPECT_NEAR(pSource->nGets - nBefore, 25, 3);
        pMixer->ObjectClose();
    }
}

TEST_F(MixerTest, ABackgroundOfSoundAloneStandsOnBlack) {
    Make(25.0, true);
    ZR_VID_PROPS none{.eVideoFormat = eZrVF_Disabled};
    pStreams->StreamsBackgroundSet(ScriptedSource::Make(none, 1920).Get(), u"", u"", nullptr, 0);
    pMixer->ObjectStart(nullptr);
    SleepFor(kTicksPerSecond);
    pMixer->ObjectClose();
    const auto arrFrames = pCollector->Frames();
    ASSERT_GT(arrFrames.size(), 20u);
    for (size_t i = 0; i < arrFrames.size(); ++i) {
        ASSERT_EQ(arrFrames[i].time.rtStartTime, 400000 * static_cast<int64_t>(i));
        ASSERT_EQ(arrFrames[i].nSamples, 1920);
        int32_t cbVideo = 0;
        int64_t pbVideo = 0;
        arrFrames[i].pFrame->ZrFVideoGetBytes(&cbVideo, &pbVideo);
        ASSERT_EQ(cbVideo, 128 * 36);
    }
}

TEST_F(MixerTest, ControlCallsInAnyOrderLeaveACleanMixer) {
    Make(50.0);
    std::vector<std::unique_ptr<Thread>> arrThreads;
    static constexpr int nRounds = 10'000;
    for (unsigned i = 0; i < 3; ++i) {
        arrThreads.push_back(std::make_unique<Thread>());
        arrThreads.back()->Start("control", [this, i](ManualEvent&) {
            std::mt19937 random(i);
            for (int n = 0; n < nRounds; ++n) {
                switch (random() % 8) {
                    case 0: pMixer->ObjectStart(nullptr); break;
                    case 1: pMixer->ObjectClose(); break;
                    case 2: pFile->FilePlayStart(); break;
                    case 3: pFile->FilePlayPause(random() % 2 ? 0.0 : 0.1); break;
                    case 4: pFile->FilePlayStop(0); break;
                    case 5: pMixer->ObjectCommandExecute(u"pause", u"time=0.05", nullptr, nullptr); break;
                    case 6: SleepFor(static_cast<int64_t>(random() % 100'000)); break;
                    default: {
                        ZrPtr<IZrFrame> pFrame;
                        pMixer->ObjectFrameGet(pFrame.Out(), u"max_wait=0 pixel_format=0");
                        break;
                    }
                }
            }
        });
    }
    for (auto& pThread : arrThreads) pThread->Join();
    pMixer->ObjectClose();
    EXPECT_EQ(State(), eZrS_Closed);
    // It still works.
    pStreams->StreamsBackgroundSet(pSource.Get(), u"", u"", nullptr, 0);
    ASSERT_EQ(pFile->FilePlayStart(), S_OK);
    SleepFor(kTicksPerSecond);
    EXPECT_EQ(State(), eZrS_Running);
}

TEST_F(MixerTest, ASteadyShowTakesNothingFromTheHeap) {
    Make(25.0);
    pSource->bNumbered = false;
    pCollector->Reserve(10'000);
    pMixer->ObjectStart(nullptr);
    SleepFor(5 * kTicksPerSecond);
    const int64_t nBefore = AllocationCount();
    const size_t nFrames = pCollector->Count();
    SleepFor(20 * kTicksPerSecond);
    EXPECT_GE(pCollector->Count(), nFrames + 499);
    EXPECT_EQ(AllocationCount(), nBefore);
    pMixer->ObjectClose();
}

}  // namespace
}  // namespace zr
