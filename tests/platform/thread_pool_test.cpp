#include "platform/thread_pool.h"

#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/lock.h"
#include "platform/thread.h"
#include "support/stress.h"

namespace zr {
namespace {

TEST(ThreadPool, GrowsForBlockedTasksQueuesBeyondTheMaximumAndShrinks) {
    VirtualClock clock;
    ThreadPool pool("test", {.nMaxThreads = 3, .rtIdle = 10 * kTicksPerSecond});
    TaskGroup group;
    ManualEvent evGo;
    std::string trace;
    for (char c = 'a'; c <= 'f'; ++c) {
        const auto task = [&, c] {
            WaitOne(evGo, -1);
            trace += c;
        };
        ASSERT_EQ(pool.Submit(task, &group), S_OK);
    }
    SleepFor(1);
    EXPECT_EQ(pool.ThreadCount(), 3);
    EXPECT_EQ(group.Wait(nullptr, 0), kWaitTimeout);
    ManualEvent evStop(true);
    EXPECT_EQ(group.Wait(&evStop, -1), 0);
    evGo.Set();
    EXPECT_EQ(group.Wait(nullptr, -1), 1);
    EXPECT_EQ(trace, "adefbc");  // the first to run takes the queue, in its order, before it waits again
    EXPECT_EQ(pool.IdleCount(), 3);

    SleepFor(6 * kTicksPerSecond);
    pool.Submit([&] { trace += 'g'; }, &group);  // the one that is used stays
    SleepFor(6 * kTicksPerSecond);
    EXPECT_EQ(pool.ThreadCount(), 1);
    SleepFor(6 * kTicksPerSecond);
    EXPECT_EQ(pool.ThreadCount(), 0);
    pool.Submit([&] { trace += 'h'; }, &group);
    EXPECT_EQ(group.Wait(nullptr, -1), 1);
    EXPECT_EQ(trace, "adefbcgh");
}

TEST(ThreadPool, ItsEndRunsWhatIsQueuedAndWhatThatSubmits) {
    std::atomic<int> nRan{0}, nInner{0};
    const auto pHeld = std::make_shared<int>(0);
    {
        ThreadPool pool("test", {.nMaxThreads = 2});
        for (int i = 0; i < 100; ++i) {
            pool.Submit([&, pHeld] {
                if (++nRan > 50) pool.Submit([&, pHeld] { ++nInner; });
            });
        }
    }
    EXPECT_EQ(nRan, 100);
    EXPECT_EQ(nInner, 50);
    EXPECT_EQ(pHeld.use_count(), 1);
}

// Threads leave all the time (no idle time is granted), while others submit.
TEST(ThreadPoolStress, EveryTaskRunsOnceWhileThreadsComeAndGo) {
    for (const int64_t rtIdle : {int64_t{0}, int64_t{300}, kTicksPerSecond}) {
        ThreadPool pool("test", {.nMaxThreads = 4, .rtIdle = rtIdle});
        std::atomic<int> nRan{0};
        const int nRounds = StressRounds(rtIdle == 0 ? 1000 : 10'000);
        OnThreads(3, [&](int) {
            for (int i = 0; i < nRounds; ++i) {
                TaskGroup group;  // dies as soon as its tasks are done
                for (int n = 0; n < 1 + i % 3; ++n) pool.Submit([&nRan] { ++nRan; }, &group);
                ASSERT_EQ(group.Wait(nullptr, 60 * kTicksPerSecond), 1);
            }
        });
        int nExpected = 0;
        for (int i = 0; i < nRounds; ++i) nExpected += 3 * (1 + i % 3);
        EXPECT_EQ(nRan, nExpected);
        EXPECT_LE(pool.ThreadCount(), 4);
    }
}

TEST(ParallelRows, CoverEachRowOnceInBandsThatAreNotTooSmall) {
    for (const int32_t nThreads : {1, 2, 3, 8}) {
        SetRowThreads(nThreads);
        for (const int32_t nRows : {-1, 0, 1, 3, 4, 7, 8, 9, 64, 1080}) {
            for (const int32_t nMin : {0, 1, 4, 5000}) {
                SCOPED_TRACE(testing::Message() << nThreads << " threads, " << nRows << " rows, at least " << nMin);
                std::vector<std::atomic<int>> arrHits(static_cast<size_t>(std::max(nRows, 0)));
                std::atomic<int32_t> nSmallest{nRows};
                ParallelRows(nRows, nMin, [&](int32_t _nFirst, int32_t _nEnd) {
                    if (_nEnd - _nFirst < nSmallest) nSmallest = _nEnd - _nFirst;
                    for (int32_t y = _nFirst; y < _nEnd; ++y) ++arrHits[static_cast<size_t>(y)];
                });
                for (const auto& nHits : arrHits) ASSERT_EQ(nHits, 1);
                EXPECT_GE(nSmallest, std::min(nRows, nMin));
            }
        }
    }
    SetRowThreads(0);
}

TEST(ParallelRowsStress, SeveralCallersAndCallsInsideBands) {
    SetRowThreads(3);
    std::atomic<int> nBad{0};
    OnThreads(3, [&](int) {
        std::array<int32_t, 96> arrRows{};
        for (int i = 1; i <= StressRounds(20'000); ++i) {
            ParallelRows(96, 1 + i % 9, [&](int32_t _nFirst, int32_t _nEnd) {
                int nCalls = 0;
                ParallelRows(_nEnd - _nFirst, 1, [&](int32_t _nFirstInside, int32_t _nEndInside) {
                    ++nCalls;
                    for (int32_t y = _nFirstInside; y < _nEndInside; ++y) ++arrRows[static_cast<size_t>(_nFirst + y)];
                });
                if (nCalls != 1) ++nBad;
            });
            for (const int32_t n : arrRows) nBad += n != i;
        }
    });
    EXPECT_EQ(nBad, 0);
    SetRowThreads(0);
}

}  // namespace
}  // namespace zr
