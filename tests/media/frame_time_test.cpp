#include "media/frame_time.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <tuple>

namespace zr {
namespace {

TEST(FrameTime, SnapsToStandardRates) {
    constexpr std::tuple<int64_t, int64_t, int64_t, double> arrCases[] = {
        {166600, 166700, 166667, 166666.66666666666},
        {166800, 166900, 166833, 166833.33333333334},
        {199950, 200050, 200000, 200000},
        {333300, 333400, 333333, 333333.3333333333},
        {333600, 333700, 333667, 333666.6666666667},
        {399950, 400050, 400000, 400000},
        {416600, 416700, 416667, 416666.6666666667},
        {417000, 417200, 417083, 417083.3333333333},
    };
    for (const auto& [rtFirst, rtEnd, rtDuration, dblExact] : arrCases) {
        for (const int64_t rt : {rtFirst, rtDuration, rtEnd - 1}) {
            const FRAME_DURATION duration = SnapFrameTime(rt);
            EXPECT_TRUE(duration.bStandard) << rt;
            EXPECT_EQ(duration.rtDuration, rtDuration) << rt;
            EXPECT_EQ(duration.dblExact, dblExact) << rt;
        }
        for (const int64_t rt : {rtFirst - 1, rtEnd}) {
            const FRAME_DURATION duration = SnapFrameTime(rt);
            EXPECT_FALSE(duration.bStandard) << rt;
            EXPECT_EQ(duration.rtDuration, rt);
            EXPECT_EQ(duration.dblExact, static_cast<double>(rt));
        }
    }
}

TEST(FrameTime, DurationsOfRates) {
    const std::tuple<double, int64_t> arrCases[] = {
        {25, 400000},
        {29.97, 333667},
        {30 / 1.001, 333667},
        {23.976, 417083},
        {59.94, 166833},
        {12.5, 800000},
        {0, 333667},
        {-25, 333667},
        {NAN, 333667},
        {3e7, 0},
        {1.9e7, 1},  // 0.53 ticks
        {1e-300, std::numeric_limits<int64_t>::max()},
        {INFINITY, 0},
    };
    for (const auto& [dblRate, rtDuration] : arrCases)
        EXPECT_EQ(FrameDurationOfRate(dblRate).rtDuration, rtDuration) << dblRate;
}

TEST(FrameTime, Text) {
    constexpr std::tuple<int64_t, const char16_t*> arrCases[] = {
        {0, u"0.000"},
        {1, u"0.000'0001"},
        {-1, u"-0.000'0001"},
        {-5000000, u"-0.500"},
        {123456789, u"12.345'6789"},
        {-123450000, u"-12.345"},
        {9999999999999999, u"999999999.999'9999"},
        {10000000000000000, u"1000000000.000"},
        {-20000000050000001, u"-2000000005.000'0001"},
        {INT64_MAX - 1, u"922337203685.477'5806"},
        {INT64_MIN + 1, u"-922337203685.477'5807"},
        {INT64_MAX, u"*"},
        {INT64_MIN, u"-"},
    };
    for (const auto& [rtTime, szText] : arrCases) EXPECT_EQ(TimeText(rtTime), szText) << rtTime;
}

}  // namespace
}  // namespace zr
