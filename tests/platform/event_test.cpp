#include "platform/event.h"

#include <gtest/gtest.h>

#include "platform/thread.h"
#include "platform/waitable_timer.h"

namespace zr {
namespace {

TEST(Event, FirstListedWinsAndOnlyThatOneIsTaken) {
    AutoEvent evA(true), evB(true);
    EXPECT_EQ(WaitAny({&evA, &evB}, 0), 0);
    EXPECT_FALSE(evA.IsSet());
    EXPECT_TRUE(evB.IsSet());
    EXPECT_EQ(WaitAny({&evA, nullptr, &evB}, -1), 2);
    EXPECT_EQ(WaitAny({&evA, &evB}, 0), kWaitTimeout);
}

TEST(Event, VirtualSmoke) {
    VirtualClock clock;
    const int64_t rtStart = ClockNow();
    Thread thread;
    ManualEvent evDone;
    int nTicks = 0;
    ASSERT_EQ(thread.Start("ticker",
                           [&](ManualEvent& _evStop) {
                               WaitableTimer timer;
                               for (int i = 1; i <= 100; ++i) {
                                   timer.Arm(rtStart + i * 400'000);
                                   if (WaitAny({&_evStop, &timer}, -1) == 1) ++nTicks;
                               }
                               evDone.Set();
                           }),
              S_OK);
    EXPECT_TRUE(WaitOne(evDone, -1));
    EXPECT_EQ(nTicks, 100);
    EXPECT_EQ(ClockNow(), rtStart + 40'000'000);
    EXPECT_TRUE(thread.Join());
}

}  // namespace
}  // namespace zr
