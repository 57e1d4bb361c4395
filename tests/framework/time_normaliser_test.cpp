#include "framework/time_normaliser.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <tuple>
#include <vector>

namespace zr {
namespace {

constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
constexpr int64_t kMax = std::numeric_limits<int64_t>::max();

// arrPositions: ticks
const std::tuple<const char*, std::vector<int64_t>, double, int64_t, std::vector<double>> arrLineCases[] = {
    {"starts_at_zero_wherever_the_first_frame_is", {7'000'000, 7'400'000}, 400'000, 100'000, {0, 400'000}},
    {"small_late_step_is_followed", {0, 450'000, 850'000}, 400'000, 100'000, {0, 450'000, 850'000}},
    {"small_early_step_is_followed", {0, 350'000, 750'000}, 400'000, 100'000, {0, 350'000, 750'000}},
    {"step_of_the_limit_is_followed", {0, 500'000, 900'000}, 400'000, 100'000, {0, 500'000, 900'000}},
    {"step_above_the_limit_leaves_no_trace", {0, 500'001, 900'001}, 400'000, 100'000, {0, 400'000, 800'000}},
    {"step_back_above_the_limit_leaves_no_trace", {0, 299'999, 699'999}, 400'000, 100'000, {0, 400'000, 800'000}},
    {"wider_limit_follows_the_same_step", {0, 500'001, 900'001}, 400'000, 1'000'000, {0, 500'001, 900'001}},
    {"jump_of_two_seconds", {0, 20'400'000, 20'800'000}, 400'000, 100'000, {0, 400'000, 800'000}},
    {"back_to_zero", {36'000'000'000, 36'000'400'000, 0, 400'000}, 400'000, 100'000, {0, 400'000, 800'000, 1'200'000}},
    {"repeated_time_runs_on", {800'000, 800'000, 800'000}, 400'000, 100'000, {0, 400'000, 800'000}},
    {"ends_of_the_range", {kMin, kMax, kMin, 0}, 400'000, 100'000, {0, 400'000, 800'000, 1'200'000}},
    {"ends_of_the_range_without_limit", {kMax, kMax}, 400'000, kMax, {0, 0}},
    {"two_small_steps_add_up_and_stay",
     {0, 460'000, 920'000, 1'320'000},
     400'000,
     100'000,
     {0, 460'000, 920'000, 1'320'000}},
    {"slow_source_is_followed_within_a_tick",
     {0, 400'001, 800'002, 1'200'003},
     400'000,
     100'000,
     {0, 400'000, 800'002, 1'200'002}},
    {"duration_that_is_no_number", {0, 0, 0}, std::nan(""), 100'000, {0, 0, 0}},
};

TEST(TimeNormaliser, Lines) {
    for (const auto& [szName, arrStarts, dblDuration, rtLimit, arrPositions] : arrLineCases) {
        SCOPED_TRACE(szName);
        TimeNormaliser line;
        for (size_t i = 0; i < arrStarts.size(); ++i) {
            const Thirds n = line.Step(arrStarts[i], ThirdsFromDuration(dblDuration), rtLimit);
            EXPECT_EQ(n, 3 * static_cast<int64_t>(arrPositions[i])) << "frame " << i;
        }
    }
}

// nNumerator, nDenominator: frames a second
constexpr std::tuple<const char*, int64_t, int64_t> arrRates[] = {
    {"23.976", 24000, 1001}, {"25", 25, 1}, {"29.97", 30000, 1001}, {"59.94", 60000, 1001}, {"60", 60, 1},
};

// Times cut or rounded to ticks, from any phase: the line is exact to the third after a day of frames.
TEST(TimeNormaliser, DayOfFramesIsExact) {
    for (const auto& [szName, nNumerator, nDenominator] : arrRates) {
        for (const int64_t nPhase : {0, 1, 2}) {
            for (const bool bRound : {false, true}) {
                SCOPED_TRACE(testing::Message() << szName << " phase " << nPhase << " rounded " << bRound);
                const Thirds nPeriod = 30'000'000 * nDenominator / nNumerator;
                ASSERT_EQ(nPeriod * nNumerator, 30'000'000 * nDenominator);  // a whole number of thirds
                const double dblPeriod = 1e7 * static_cast<double>(nDenominator) / static_cast<double>(nNumerator);
                TimeNormaliser line;
                const int64_t nFrames = 86400 * nNumerator / nDenominator;
                for (int64_t i = 0; i < nFrames; ++i) {
                    const int64_t rtStart = (nPhase + i * nPeriod + (bRound ? 1 : 0)) / 3;
                    const Thirds n = line.Step(rtStart, ThirdsFromDuration(dblPeriod), 100'000);
                    if (n != i * nPeriod) FAIL() << "frame " << i << " at " << n;
                }
            }
        }
    }
}

TEST(TimeNormaliser, HugeDurationsDoNotOverflow) {
    TimeNormaliser line;
    Thirds nLast = -1;
    for (int i = 0; i < 1'000'000; ++i) {
        const Thirds n = line.Step(i % 2 ? kMax : kMin, ThirdsFromDuration(1e300), kMax);
        ASSERT_GE(n, 0);
        nLast = n;
    }
    EXPECT_GT(line.Next(), 0);
    EXPECT_GT(nLast, 0);
}

}  // namespace
}  // namespace zr
