#include "platform/thread_pool.h"

#include <atomic>
#include <vector>

#include <gtest/gtest.h>

namespace zr {
namespace {

TEST(ThreadPool, GrowsForBlockedTasks) {
    ThreadPool pool("test");
    TaskGroup group;
    ManualEvent evGo;
    std::atomic<int> nRan{0};
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(pool.Submit(
                      [&] {
                          WaitOne(evGo, -1);
                          ++nRan;
                      },
                      &group),
                  S_OK);
    }
    EXPECT_EQ(group.Wait(nullptr, 0), kWaitTimeout);
    evGo.Set();
    EXPECT_EQ(group.Wait(nullptr, -1), 1);
    EXPECT_EQ(nRan, 20);
}

TEST(ParallelRows, EachRowOnce) {
    for (int nThreads : {1, 2, 5}) {
        SetRowThreads(nThreads);
        for (int nRows : {0, 1, 7, 64, 1080}) {
            std::vector<int> arrHits(static_cast<size_t>(nRows));
            ParallelRows(nRows, 4, [&](int32_t _nFirst, int32_t _nEnd) {
                for (int32_t y = _nFirst; y < _nEnd; ++y) ++arrHits[static_cast<size_t>(y)];
            });
            for (int n : arrHits) ASSERT_EQ(n, 1);
        }
    }
    SetRowThreads(0);
}

}  // namespace
}  // namespace zr
