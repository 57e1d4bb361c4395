#include "mixer/mix_clock.h"

#include <gtest/gtest.h>

#include <tuple>

#include "media/frame_time.h"
#include "support/stress.h"

namespace zr {
namespace {

// The nearest tick to n frames of _nNum / _nDen seconds, in whole numbers.
int64_t ExactTicks(int64_t _n, int64_t _nRateNum, int64_t _nRateDen) {
    const __int128 n2 = static_cast<__int128>(_n) * 10'000'000 * _nRateDen * 2;
    return static_cast<int64_t>((n2 + _nRateNum) / (_nRateNum * 2));
}

constexpr std::tuple<const char*, int64_t, int64_t> arrRates[] = {
    {"23.976", 24000, 1001}, {"25", 25, 1},          {"29.97", 30000, 1001},
    {"50", 50, 1},           {"59.94", 60000, 1001}, {"60", 60, 1},
};

TEST(MixClock, ADayOfFramesIsExactToTheTick) {
    for (const auto& [szName, nNum, nDen] : arrRates) {
        SCOPED_TRACE(szName);
        const double dblDuration = FrameDurationOfRate(static_cast<double>(nNum) / static_cast<double>(nDen)).dblExact;
        MixClock clock;
        const int64_t nFrames = StressRounds(86'400) * nNum / nDen;  // a day
        for (int64_t n = 0; n < nFrames; ++n) {
            const MIX_STAMP stamp = clock.Stamp(eZrS_Running, 1, dblDuration);
            ASSERT_EQ(stamp.rtStartTime, ExactTicks(n, nNum, nDen)) << n;
            ASSERT_EQ(stamp.rtEndTime, ExactTicks(n + 1, nNum, nDen)) << n;
            ASSERT_EQ(stamp.bBreak, n == 0) << n;
        }
    }
}

TEST(MixClock, APauseHoldsTheLineAndTheScene) {
    constexpr double d = 400000;
    struct CASE {
        int32_t nPauseChanges;
        double dblRunning, dblPaused;  // what the scene moves in a frame
    };
    for (const CASE& c : {CASE{0, d, d}, CASE{1, d, 0}, CASE{2, 0, 0}, CASE{7, 0, 0}}) {
        SCOPED_TRACE(c.nPauseChanges);
        MixClock clock;
        const MIX_STAMP first = clock.Stamp(eZrS_Running, c.nPauseChanges, d);
        EXPECT_EQ(first.dblCollectTime - first.dblDrawTime, c.dblRunning);
        for (int i = 0; i < 3; ++i) {
            const MIX_STAMP held = clock.Stamp(eZrS_Paused, c.nPauseChanges, d);
            EXPECT_EQ(held.rtStartTime, 400000);
            EXPECT_EQ(held.rtEndTime, 800000);
            EXPECT_TRUE(held.bBreak);
            EXPECT_EQ(held.dblCollectTime - held.dblDrawTime, c.dblPaused);
        }
        const MIX_STAMP next = clock.Stamp(eZrS_Running, c.nPauseChanges, d);
        EXPECT_EQ(next.rtStartTime, 400000);
        EXPECT_FALSE(next.bBreak);
    }
}

TEST(MixClock, ABreakThatIsPendingWaitsForARunningFrame) {
    MixClock clock;
    clock.Stamp(eZrS_Running, 1, 200000);
    clock.SetBreakPending();
    EXPECT_TRUE(clock.Stamp(eZrS_Paused, 1, 200000).bBreak);
    EXPECT_TRUE(clock.Stamp(eZrS_Running, 1, 200000).bBreak);
    EXPECT_FALSE(clock.Stamp(eZrS_Running, 1, 200000).bBreak);
}

TEST(MixClock, ANewRateGoesOnFromWhereTheLineIs) {
    MixClock clock;
    for (int i = 0; i < 3; ++i) clock.Stamp(eZrS_Running, 1, 400000);
    const MIX_STAMP stamp = clock.Stamp(eZrS_Running, 1, 200000);
    EXPECT_EQ(stamp.rtStartTime, 1200000);
    EXPECT_EQ(stamp.rtEndTime, 1400000);
}

}  // namespace
}  // namespace zr
