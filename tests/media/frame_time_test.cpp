#include "media/frame_time.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace zr {
namespace {

TEST(FrameTime, SnapsToStandardRates) {
    struct CASE {
        int64_t rtFirst, rtEnd, rtDuration;
        double dblExact;
    };
    constexpr CASE arrCases[] = {
        {166600, 166700, 166667, 166666.66666666666},
        {166800, 166900, 166833, 166833.33333333334},
        {199950, 200050, 200000, 200000},
        {333300, 333400, 333333, 333333.3333333333},
        {333600, 333700, 333667, 333666.6666666667},
        {399950, 400050, 400000, 400000},
        {416600, 416700, 416667, 416666.6666666667},
        {417000, 417200, 417083, 417083.3333333333},
    };
    for (const CASE& c : arrCases) {
        for (const int64_t rt : {c.rtFirst, c.rtDuration, c.rtEnd - 1}) {
            const FRAME_DURATION duration = SnapFrameTime(rt);
            EXPECT_TRUE(duration.bStandard) << rt;
            EXPECT_EQ(duration.rtDuration, c.rtDuration) << rt;
            EXPECT_EQ(duration.dblExact, c.dblExact) << rt;
        }
        for (const int64_t rt : {c.rtFirst - 1, c.rtEnd}) {
            const FRAME_DURATION duration = SnapFrameTime(rt);
            EXPECT_FALSE(duration.bStandard) << rt;
            EXPECT_EQ(duration.rtDuration, rt);
            EXPECT_EQ(duration.dblExact, static_cast<double>(rt));
        }
    }
}

TEST(FrameTime, DurationsOfRates) {
    struct CASE {
        double dblRate;
        int64_t rtDuration;
    };
    const CASE arrCases[] = {
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
    for (const CASE& c : arrCases) EXPECT_EQ(FrameDurationOfRate(c.dblRate).rtDuration, c.rtDuration) << c.dblRate;
}

TEST(FrameTime, Text) {
    struct CASE {
        int64_t rtTime;
        const char16_t* szText;
    };
    constexpr CASE arrCases[] = {
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
    for (const CASE& c : arrCases) EXPECT_EQ(TimeText(c.rtTime), c.szText) << c.rtTime;
}

}  // namespace
}  // namespace zr
