#include "audio/audio_calc.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <tuple>

#include "media/aud_props.h"
#include "support/stress.h"

namespace zr {
namespace {

ZR_AUD_PROPS Stereo16(int32_t _nRate) { return {2, _nRate, 16, 0}; }

ZR_TIME FrameTime(int64_t _rtStart, int64_t _rtEnd, eZrFrameFlags _eFlags = eZrFF_None) {
    ZR_TIME time{.rtStartTime = _rtStart, .rtEndTime = _rtEnd, .tcFrame = {}, .eFFlags = _eFlags};
    return time;
}

TEST(AudioCalc, ADayHasTheSamplesOfTheRate) {
    static constexpr int64_t arrRates[][2] = {{24000, 1001}, {25, 1}, {30000, 1001}, {50, 1}, {60000, 1001}};
    for (const auto& [nNum, nDen] : arrRates) {
        for (const int32_t nAudioRate : {44100, 48000, 96000}) {
            SCOPED_TRACE(nNum);
            ZrAudioCalc calc;
            int64_t nTotal = 0, rtEnd = 0;
            const int64_t nFrames = StressRounds(86'400) * nNum / nDen;  // a day
            for (int64_t n = 1; n <= nFrames; ++n) {
                const int64_t rtStart = rtEnd;
                rtEnd = static_cast<int64_t>(static_cast<__int128>(n) * 10'000'000 * nDen / nNum);
                int64_t nSamples = 0;
                const auto time = FrameTime(rtStart, rtEnd, n == 1 ? eZrFF_Break : eZrFF_None);
                const int64_t cb = calc.SamplesByTime(Stereo16(nAudioRate), time, eZrFF_None, 100'000, &nSamples);
                ASSERT_EQ(cb, nSamples * 4);
                nTotal += nSamples;
                const double dblIdeal = static_cast<double>(rtEnd) * nAudioRate / 1e7;
                // One sample, and the tick that a time is cut to.
                ASSERT_LT(std::abs(static_cast<double>(nTotal) - dblIdeal), 1.0 + nAudioRate / 1e7) << n;
            }
        }
    }
}

TEST(AudioCalc, GapsAndStepsBackStartAgain) {
    static constexpr int64_t kMost = std::numeric_limits<int64_t>::max(), kLeast = std::numeric_limits<int64_t>::min();
    // The frame before ends at 400000; 40 ms are 1920 samples.
    const std::tuple<const char*, int64_t, int64_t, eZrFrameFlags, eZrFrameFlags, int64_t, int64_t> arrCases[] = {
        {"goes on", 400000, 800000, eZrFF_None, eZrFF_None, 100000, 1920},
        {"a small gap is filled", 450000, 850000, eZrFF_None, eZrFF_None, 100000, 2160},
        {"a gap of the limit is filled", 500000, 900000, eZrFF_None, eZrFF_None, 100000, 2400},
        {"a large one is not", 500001, 900001, eZrFF_None, eZrFF_None, 100000, 1920},
        {"without a limit it is", 600000, 1000000, eZrFF_None, eZrFF_None, 0, 2880},
        {"a step back", 399999, 799999, eZrFF_None, eZrFF_None, 100000, 1920},
        {"a break of the frame", 450000, 850000, eZrFF_Break, eZrFF_None, 100000, 1920},
        {"a break of the caller", 450000, 850000, eZrFF_None, eZrFF_Break, 100000, 1920},
        {"no usable end lasts a frame of 29.97", 400000, 450000, eZrFF_None, eZrFF_None, 100000, 1601},
        {"no end", 400000, kLeast, eZrFF_None, eZrFF_None, 100000, 1601},
        {"endless", kLeast, kMost, eZrFF_None, eZrFF_None, 100000, int64_t{86'400} * 48000},
    };
    for (const auto& [szName, rtStart, rtEnd, eFrameFlags, eFlags, rtMaxGap, nSamplesWanted] : arrCases) {
        SCOPED_TRACE(szName);
        ZrAudioCalc calc;
        EXPECT_EQ(calc.SamplesByTime(Stereo16(48000), FrameTime(0, 400000), eZrFF_None, 100'000), 1920 * 4);
        int64_t nSamples = 0;
        calc.SamplesByTime(Stereo16(48000), FrameTime(rtStart, rtEnd, eFrameFlags), eFlags, rtMaxGap, &nSamples);
        EXPECT_EQ(nSamples, nSamplesWanted);
    }
}

TEST(AudioCalc, WhatIsNoSampleYetIsCarried) {
    struct CASE {
        int64_t rtDuration;
        std::array<int64_t, 5> arrSamples;
    };
    for (const CASE& c : {CASE{166834, {800, 801, 801, 801, 801}}, CASE{333667, {1601, 1602, 1601, 1602, 1602}},
                          CASE{400000, {1920, 1920, 1920, 1920, 1920}}, CASE{90, {0, 0, 1, 0, 1}}, CASE{-5, {}}}) {
        SCOPED_TRACE(c.rtDuration);
        ZrAudioCalc calc;
        for (const int64_t nExpected : c.arrSamples) {
            int64_t nSamples = 0;
            EXPECT_EQ(calc.SamplesByDuration({6, 48000, 24, 0}, c.rtDuration, &nSamples, false), nExpected * 18);
            EXPECT_EQ(nSamples, nExpected);
        }
    }
    ZrAudioCalc calc;
    EXPECT_EQ(calc.SamplesByDuration(Stereo16(48000), 200, nullptr, false), 0);
    EXPECT_EQ(calc.SamplesByDuration(Stereo16(48000), 9, nullptr, false), 4);
    EXPECT_EQ(calc.SamplesByDuration(Stereo16(48000), 200, nullptr, false), 0);
    EXPECT_EQ(calc.SamplesByDuration(Stereo16(48000), 200, nullptr, true), 0);
    EXPECT_EQ(calc.SamplesByDuration({2, 0, 16, 0}, 400000, nullptr, false), 0);
    EXPECT_EQ(calc.SamplesByDuration({kMaxAudioChannels + 1, 48000, 16, 0}, 400000, nullptr, false), 0);
}

}  // namespace
}  // namespace zr
