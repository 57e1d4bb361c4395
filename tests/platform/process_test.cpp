#include "platform/process.h"

#include <gtest/gtest.h>

#include "support/idle_process.h"

namespace zr {
namespace {

constexpr int64_t kPatience = 60 * kTicksPerSecond;  // far more than any of this takes

TEST(Process, EachWatchSetsItsOwnEventAndNoneAfterItsEnd) {
    IdleProcess first, second;
    ManualEvent evFirst, evSecond, evDropped;
    ProcessWatch watchFirst, watchSecond, watchDropped;
    ASSERT_EQ(watchFirst.Begin(first.Id(), evFirst), S_OK);
    ASSERT_EQ(watchSecond.Begin(second.Id(), evSecond), S_OK);
    ASSERT_EQ(watchDropped.Begin(second.Id(), evDropped), S_OK);
    watchDropped.End();
    second.Kill();
    EXPECT_EQ(WaitAny({&evFirst, &evSecond}, kPatience), 1);
    first.Kill();
    EXPECT_TRUE(WaitOne(evFirst, kPatience));
    EXPECT_FALSE(evDropped.IsSet());  // the end of the first was told after all that came before it
    first.Reap();
    EXPECT_EQ(watchFirst.Begin(0, evFirst), ZR_E_NOT_FOUND);
    EXPECT_EQ(watchFirst.Begin(0xFFFFFFFFu, evFirst), ZR_E_NOT_FOUND);
    evFirst.Reset();
    ASSERT_EQ(watchFirst.Begin(second.Id(), evFirst), S_OK);  // ended, but not yet forgotten by the system
    EXPECT_TRUE(WaitOne(evFirst, kPatience));
}

}  // namespace
}  // namespace zr
