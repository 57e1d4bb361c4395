#include "transport/source_readers.h"

#include <atomic>
#include <limits>
#include <random>
#include <tuple>
#include <vector>

#include "support/stress.h"
#include "transport/transport_support.h"

namespace zr {
namespace {

constexpr HRESULT kEnd = Win32Error(1100);

int64_t DataOf(IZrFFrame& _frame, const char16_t* _szId) {
    int32_t cb = 0;
    int64_t lp = 0;
    if (_frame.ZrFDataGet(_szId, &cb, &lp) != S_OK || cb != sizeof(int64_t)) return -1;
    int64_t n = 0;
    std::memcpy(&n, reinterpret_cast<const void*>(lp), sizeof(n));
    return n;
}

// The source puts every 40 ms, one reader fetches as fast as it can, the other every 150 ms: the fast one has all
// frames in a row, the slow one knows of each gap, and no put is held up for longer than two thirds of a frame.
TEST(SourceReaders, TwoReadersAtTheirOwnSpeeds) {
    VirtualClock clock;
    Door door;
    constexpr int64_t kFrames = 200;
    const uint64_t llFast = door.NewReader(), llSlow = door.NewReader();
    std::vector<int64_t> arrFast, arrSlow;
    int64_t nFastBreaks = 0, nSlowFaults = 0;
    Thread fast, slow;
    fast.Start("fast", [&](ManualEvent&) {
        for (ZrPtr<IZrFFrame> p; door.Get(llFast, -1, &p) == S_OK;) {
            nFastBreaks += (TimeOf(*p).eFFlags & eZrFF_Break) != 0;
            arrFast.push_back(TimeOf(*p).rtStartTime / kFrame25);
        }
    });
    slow.Start("slow", [&](ManualEvent&) {
        for (ZrPtr<IZrFFrame> p; door.Get(llSlow, -1, &p) == S_OK; SleepFor(150 * kMs)) {
            const int64_t nIndex = TimeOf(*p).rtStartTime / kFrame25;
            const bool bGap = nIndex != (arrSlow.empty() ? 0 : arrSlow.back() + 1);
            nSlowFaults += bGap != ((TimeOf(*p).eFFlags & eZrFF_Break) != 0);
            arrSlow.push_back(nIndex);
        }
    });
    int64_t rtLongest = 0;
    const int64_t rtStart = ClockNow();
    for (int64_t i = 0; i < kFrames; ++i) {
        SleepUntil(rtStart + i * kFrame25);
        const int64_t rtPut = ClockNow();
        ASSERT_EQ(door.Put(i), S_OK);
        rtLongest = std::max(rtLongest, ClockNow() - rtPut);
    }
    SleepFor(kFrame25);
    door.readers.End();
    slow.Join();
    fast.Join();
    ASSERT_EQ(arrFast.size(), static_cast<size_t>(kFrames));
    for (int64_t i = 0; i < kFrames; ++i) EXPECT_EQ(arrFast[static_cast<size_t>(i)], i);
    EXPECT_EQ(nFastBreaks, 0);
    EXPECT_EQ(nSlowFaults, 0);
    EXPECT_NEAR(static_cast<double>(arrSlow.size()), 54, 2);
    EXPECT_EQ(rtLongest, 266'667);
}

TEST(SourceReaders, AFrameAfterAGapIsABreak) {
    constexpr std::tuple<const char*, int32_t, uint32_t, uint32_t> arrCases[] = {
        {"none_missed", 0, 0, 0},
        {"one_missed", 1, 0, eZrFF_Break},
        {"two_missed_live", 2, eZrFF_Live, eZrFF_Live | eZrFF_Break},
        {"repeat_becomes_a_break", 1, eZrFF_Dup, eZrFF_Break},
        {"held_frame_stays", 1, eZrFF_Pause, eZrFF_Pause},
        {"held_repeat_stays", 3, eZrFF_Pause | eZrFF_Dup, eZrFF_Pause | eZrFF_Dup},
    };
    for (const auto& [szName, nMissed, nFlags, nExpected] : arrCases) {
        VirtualClock clock;
        Door door;
        door.pRoot->SetAttribute(u"pull_mode.cycles_before_disconnect", 0);
        const uint64_t llID = door.NewReader();
        for (int32_t i = 0; i < nMissed; ++i) door.Put(i);
        ASSERT_EQ(door.Put(nMissed, nFlags), S_OK);
        SleepFor(3 * kMs);
        ZrPtr<IZrFFrame> p;
        ASSERT_EQ(door.Get(llID, 0, &p), S_OK);
        EXPECT_EQ(TimeOf(*p).eFFlags, nExpected) << szName;
        EXPECT_EQ(TimeOf(*p).rtStartTime, nMissed * kFrame25) << szName;
        EXPECT_EQ(DataOf(*p, u"AFPT"), 3 * kMs) << szName;
        EXPECT_EQ(DataOf(*p, u"WAIT"), 0) << szName;
        ASSERT_EQ(door.Put(nMissed + 1, 0), S_OK);
        ASSERT_EQ(door.Get(llID, 0, &p), S_OK);
        EXPECT_EQ(TimeOf(*p).eFFlags, 0u) << szName;  // the gap is told once
    }
}

TEST(SourceReaders, TheHundredAndFirstMissRemovesAReaderThatIsNotKept) {
    VirtualClock clock;
    Door door;
    door.pRoot->SetAttribute(u"pull_mode.cycles_before_disconnect", 0);
    door.pObject->SetAttribute(u"rate_control", 4);
    const uint64_t llLost = door.NewReader(), llKept = door.NewReader();
    ASSERT_EQ(door.readers.ReaderKeep(llKept), S_OK);
    EXPECT_EQ(door.nKept, 1);
    for (int64_t i = 0; i < 101; ++i) ASSERT_EQ(door.Put(i), S_OK);
    EXPECT_EQ(door.nCount, 2u);
    EXPECT_EQ(door.Put(101), S_OK);
    EXPECT_EQ(door.nCount, 1u);
    EXPECT_EQ(door.Get(llLost, 0), ZR_E_NOT_FOUND);
    EXPECT_EQ(door.pObject->AttributeOr<int32_t>(u"rate_control", 0), 4);
    for (int64_t i = 0; i < 200; ++i) ASSERT_EQ(door.Put(i), S_OK);
    EXPECT_EQ(door.Get(llKept, 0), S_OK);
    EXPECT_EQ(door.readers.ReaderKeep(llKept), S_OK);
    ZrPtr<IZrFFrame> pLast;
    EXPECT_EQ(door.readers.LastFrameGet(pLast.Out()), ZR_E_EMPTY);  // what came before a reader to stay is not for it
    EXPECT_EQ(door.readers.ReaderRemove(llKept), S_OK);
    EXPECT_EQ(door.readers.ReaderRemove(llKept), ZR_E_NOT_FOUND);
    EXPECT_FALSE(door.readers.ReadersExist().IsSet());
    EXPECT_EQ(door.pObject->AttributeOr<int32_t>(u"rate_control", 0), 3);  // by itself from now on
    EXPECT_EQ(door.Put(0), S_FALSE);
}

TEST(SourceReaders, FlushAndEndCloseTheSourceUntilABreak) {
    VirtualClock clock;
    Door door;
    const uint64_t llID = door.NewReader();
    ASSERT_EQ(door.Put(0), S_OK);
    door.readers.Flush();
    EXPECT_EQ(door.Get(llID, -1), E_ABORT);  // what was in the slot is from before the flush
    for (const uint32_t nFlags : {0u, uint32_t{eZrFF_Dup}, uint32_t{eZrFF_Pause}}) {
        EXPECT_EQ(door.Put(1, nFlags), ZR_E_WRONG_STATE);
    }
    EXPECT_EQ(door.Get(llID, -1), E_ABORT);
    EXPECT_EQ(door.Put(2, eZrFF_Break), S_OK);
    door.readers.End();
    EXPECT_EQ(door.Get(llID, -1), S_OK);  // the last frame is still theirs
    EXPECT_EQ(door.Get(llID, -1), kEnd);
    EXPECT_EQ(door.Put(3), ZR_E_WRONG_STATE);
    EXPECT_EQ(door.Put(3, eZrFF_Break), S_OK);
    EXPECT_EQ(door.Get(llID, -1), S_OK);
}

TEST(SourceReaders, GetsWaitAsLongAsTheySay) {
    constexpr std::tuple<const char*, int64_t, int64_t> arrCases[] = {
        {"look", 0, 0}, {"one_tick", 1, 1}, {"limit", 1'234'567, 1'234'567}, {"next_frame", -1, 1000 * kMs}};
    VirtualClock clock;
    Door door;
    const uint64_t llID = door.NewReader();
    for (const auto& [szName, rtMaxWait, rtWaited] : arrCases) {
        const int64_t rtBegin = ClockNow();
        EXPECT_EQ(door.Get(llID, rtMaxWait), ZR_E_TIMEOUT) << szName;
        EXPECT_EQ(ClockNow() - rtBegin, rtWaited) << szName;
    }
    door.hrStart = E_ACCESSDENIED;
    EXPECT_EQ(door.Get(llID, -1), E_ACCESSDENIED);
}

TEST(SourceReaders, TheReaderOfCallersWithoutAnIdSeesTheLastFrameAtOnce) {
    VirtualClock clock;
    Door door;
    EXPECT_EQ(door.Put(7), S_FALSE);
    SleepFor(3600 * kTicksPerSecond);
    ZrPtr<IZrFrame> pFrame;
    ASSERT_EQ(door.readers.SourceFrameGetEx(nullptr, 0, pFrame.Out(), 0), S_OK);
    EXPECT_EQ(TimeOf(*pFrame.As<IZrFFrame>()).rtStartTime, 7 * kFrame25);
    EXPECT_EQ(door.readers.SourceFrameGetEx(nullptr, 0, pFrame.Out(), 0), ZR_E_TIMEOUT);
    EXPECT_EQ(door.readers.SourceFrameGetEx(nullptr, 0, pFrame.Out(), -1), S_OK);  // removes it
    EXPECT_EQ(door.nCount, 0u);
    EXPECT_EQ(door.readers.SourceFrameGetEx(nullptr, 0, pFrame.Out(), 0), S_OK);  // another one
    int64_t llForeign = 12345;
    EXPECT_EQ(door.readers.SourceFrameGetEx(&llForeign, 0, pFrame.Out(), 0), ZR_E_NOT_FOUND);
    EXPECT_FALSE(pFrame);
}

TEST(SourceReaders, RemovalEndsTheWaitOfItsReader) {
    VirtualClock clock;
    Door door;
    const uint64_t llID = door.NewReader();
    Thread getter;
    HRESULT hr = S_OK;
    int64_t rtEnd = 0;
    getter.Start("getter", [&](ManualEvent&) {
        hr = door.Get(llID, -1);
        rtEnd = ClockNow();
    });
    SleepFor(10 * kMs);
    const int64_t rtRemoved = ClockNow();
    EXPECT_EQ(door.readers.ReaderRemove(llID), S_OK);
    getter.Join();
    EXPECT_EQ(hr, E_ABORT);
    EXPECT_EQ(rtEnd, rtRemoved);
}

// A reader that holds a frame and does not fetch: how long the next put is held up.
TEST(SourceReaders, PutsWaitByTheirKeys) {
    constexpr int64_t kTwoThirds = 266'667, kLong = kTwoThirds + 200 * kMs;
    constexpr std::tuple<const char*, uint32_t, int32_t, int32_t, int32_t, int64_t, int64_t> arrCases[] = {
        {"some_of_a_frame", 0, 0, 15, 0, -1, kTwoThirds},      {"no_cycles_no_wait", 0, 0, 0, 0, -1, 0},
        {"longer_for_readers", 0, 1, 15, 0, -1, kLong},        {"capped", 0, 1, 15, 0, 5 * kMs, 5 * kMs},
        {"live_does_not_wait", eZrFF_Live, 1, 15, 0, -1, 0},   {"live_with_its_bit", eZrFF_Live, 2, 15, 0, -1, kLong},
        {"live_output_type", eZrFF_Live, 0, 15, 2, -1, kLong}, {"live_output_type_1", eZrFF_Live, 0, 15, 1, -1, 0},
    };
    for (const auto& [szName, nFlags, nPutWait, nCycles, nOutputType, rtMaxWait, rtWaited] : arrCases) {
        VirtualClock clock;
        Door door;
        door.NewReader();
        door.pRoot->SetAttribute(u"pull_mode.cycles_before_disconnect", nCycles);
        door.pObject->SetAttribute(u"pull_mode.output_type", nOutputType);
        ASSERT_EQ(door.Put(0), S_OK);
        const int64_t rtBegin = ClockNow();
        EXPECT_EQ(door.readers.PutFrame(FrameAt(1, nFlags).Get(), nPutWait, rtMaxWait), S_OK);
        EXPECT_EQ(ClockNow() - rtBegin, rtWaited) << szName;
    }
}

TEST(SourceReaders, APutWaitsForTheFirstReaderAndForItsFetch) {
    VirtualClock clock;
    Door door;
    ManualEvent evStop;
    Thread producer;
    std::vector<HRESULT> arrResults;
    producer.Start("producer", [&](ManualEvent&) {
        for (int64_t i = 0; i < 3; ++i) {
            arrResults.push_back(door.readers.PutFrame(FrameAt(i).Get(), kPutWaitForReaders, -1, &evStop));
        }
    });
    SleepFor(5 * kTicksPerSecond);
    EXPECT_TRUE(arrResults.empty());
    const uint64_t llID = door.NewReader();
    ZrPtr<IZrFFrame> p;
    for (int64_t i = 0; i < 3; ++i, SleepFor(100 * kMs)) {
        ASSERT_EQ(door.Get(llID, -1, &p), S_OK);
        EXPECT_EQ(TimeOf(*p).rtStartTime, i * kFrame25);
        EXPECT_EQ(TimeOf(*p).eFFlags, 0u);
    }
    producer.Join();
    EXPECT_EQ(arrResults, (std::vector<HRESULT>{S_OK, S_OK, S_OK}));
    door.readers.ReaderRemove(llID);
    producer.Start("producer", [&](ManualEvent&) {
        arrResults.push_back(door.readers.PutFrame(FrameAt(3).Get(), kPutWaitForReaders, -1, &evStop));
    });
    SleepFor(kTicksPerSecond);
    evStop.Set();
    producer.Join();
    EXPECT_EQ(arrResults.back(), ZR_E_WRONG_STATE);
}

// A frame that was on its way when the flush came does not show after it.
TEST(SourceReaders, AFlushEndsThePutThatWaits) {
    VirtualClock clock;
    Door door;
    const uint64_t llID = door.NewReader();
    ASSERT_EQ(door.Put(0), S_OK);
    for (const uint32_t nFlags : {0u, uint32_t{eZrFF_Break}}) {
        Thread producer;
        HRESULT hr = S_OK;
        producer.Start("producer", [&](ManualEvent&) { hr = door.Put(1, nFlags, kPutWaitForReaders); });
        SleepFor(5 * kMs);
        const int64_t rtFlush = ClockNow();
        door.readers.Flush();
        producer.Join();
        EXPECT_EQ(ClockNow(), rtFlush);
        EXPECT_EQ(hr, ZR_E_WRONG_STATE);
        EXPECT_EQ(door.Get(llID, -1), E_ABORT);
        ASSERT_EQ(door.Put(2, eZrFF_Break), S_OK);
    }
}

// Any order of calls from three threads: every get ends, with a frame or a known status, and nothing is left over.
TEST(SourceReaders, RandomCallsFromThreeThreads) {
    Door door;
    door.pRoot->SetAttribute(u"pull_mode.wait_till_get", 0);
    std::atomic<uint64_t> arrIDs[4] = {};
    std::atomic<int32_t> nUnknown{0}, nFrames{0};
    OnThreads(3, [&](int _nThread) {
        std::mt19937 random(static_cast<uint32_t>(_nThread + 1));
        for (int i = 0; i < StressRounds(10'000); ++i) {
            std::atomic<uint64_t>& llSlot = arrIDs[random() % 4];
            uint64_t llID = llSlot;
            ZrPtr<IZrFFrame> pFrame;
            HRESULT hr = S_OK;
            switch (random() % 12) {
                case 0: hr = door.readers.ReaderRemove(llID); break;
                case 1: hr = door.readers.ReaderKeep(llID); break;
                case 2: door.readers.Flush(); break;
                case 3: door.readers.End(); break;
                case 4: hr = door.readers.LastFrameGet(pFrame.Out()); break;
                case 5:
                case 6:
                case 7: hr = door.readers.PutFrame(FrameAt(i, random() % 2).Get(), 0, kMs / 10); break;
                default:
                    hr = door.readers.SourceFrameGetEx_I(random() % 8 ? &llID : nullptr, random() % 100, pFrame.Out(),
                                                         nullptr);
                    llSlot = hr == ZR_E_NOT_FOUND ? 0 : llID;
                    break;
            }
            nFrames += pFrame ? 1 : 0;
            const bool bKnown = hr == S_OK || hr == S_FALSE || hr == E_ABORT || hr == kEnd || hr == ZR_E_TIMEOUT ||
                                hr == ZR_E_NOT_FOUND || hr == ZR_E_EMPTY || hr == ZR_E_WRONG_STATE;
            nUnknown += bKnown ? 0 : 1;
        }
    });
    EXPECT_EQ(nUnknown, 0);
    EXPECT_GT(nFrames, 0);
}

}  // namespace
}  // namespace zr
