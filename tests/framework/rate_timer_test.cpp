#include "framework/rate_timer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <tuple>
#include <vector>

#include "platform/clock.h"
#include "platform/thread.h"

namespace zr {
namespace {

ZR_AV_PROPS VideoOf(double _dblRate) {
    ZR_AV_PROPS props{{.dblRate = _dblRate}, {}, {}};
    return props;
}

ZR_AV_PROPS AudioOf(int32_t _nChannels, int32_t _nSamplesPerSec, int32_t _nBits) {
    ZR_AV_PROPS props{{.eVideoFormat = eZrVF_Disabled}, {_nChannels, _nSamplesPerSec, _nBits, 0}, {}};
    return props;
}

ZR_TIME From(int64_t _rtStart, int64_t _rtEnd) {
    ZR_TIME time{.rtStartTime = _rtStart, .rtEndTime = _rtEnd, .tcFrame = {}};
    return time;
}

TEST(RateTimer, FrameDurations) {
    constexpr int64_t kMin = std::numeric_limits<int64_t>::min(), kMax = std::numeric_limits<int64_t>::max();
    const std::tuple<const char*, ZR_AV_PROPS, ZR_TIME, uint32_t, Thirds> arrCases[] = {
        {"rate_before_all_else", VideoOf(25), From(0, 1), 7680, 1'200'000},
        {"29.97_written_short", VideoOf(29.97), From(0, 0), 0, 1'001'000},
        {"29.97_exact", VideoOf(30000 / 1001.0), From(0, 0), 0, 1'001'000},
        {"23.976", VideoOf(24000 / 1001.0), From(0, 0), 0, 1'251'250},
        {"one_frame_in_two_seconds", VideoOf(0.5), From(0, 0), 0, 60'000'000},
        {"audio_of_20_ms", AudioOf(2, 48000, 16), From(0, 0), 3840, 600'000},
        {"float_audio_of_1_ms", AudioOf(1, 48000, -32), From(0, 0), 192, 30'000},
        {"20_bits_lie_in_three_bytes", AudioOf(2, 48000, 20), From(0, 0), 6 * 480, 300'000},
        {"audio_without_bytes_goes_by_its_times", AudioOf(2, 48000, 16), From(0, 333'667), 0, 1'001'000},
        {"times_alone", AudioOf(0, 0, 0), From(100, 400'100), 0, 1'200'000},
        {"nothing_known", AudioOf(0, 0, 0), From(5, 5), 0, 1'001'000},
        {"times_that_overflow", AudioOf(0, 0, 0), From(kMin, kMax), 0, 1'001'000},
    };
    for (const auto& [szName, props, time, cbAudio, nThirds] : arrCases) {
        EXPECT_EQ(FrameDuration(props, time, cbAudio), nThirds) << szName;
    }
}

// A frame a line: when it arrives, its own start, and when it has passed. 25 frames a second.
struct FRAME_STEP {
    int64_t rtArrives, rtStart, rtDue;
    bool bResync;
};
constexpr int64_t kSecond = 10'000'000;

const std::tuple<const char*, std::vector<FRAME_STEP>> arrClockCases[] = {
    {"starts_with_the_first_frame",
     {{5 * kSecond, 77, 5 * kSecond + 400'000, false}, {5 * kSecond + 400'000, 400'077, 5 * kSecond + 800'000, false}}},
    {"late_frames_catch_up", {{0, 0, 400'000, false}, {2'000'000, 400'000, 800'000, false}}},
    {"a_second_late_still_catches_up", {{0, 0, 400'000, false}, {10'800'000, 400'000, 800'000, false}}},
    {"more_than_a_second_late_sets_the_clock",
     {{0, 0, 400'000, false}, {10'800'001, 400'000, 11'200'001, true}, {11'200'001, 800'000, 11'600'001, false}}},
    {"jump_back_is_no_burst",
     {{0, 90'000'000, 400'000, false}, {400'000, 0, 800'000, false}, {800'000, 400'000, 1'200'000, false}}},
    {"frames_that_run_ahead_of_the_clock_set_it",
     {{0, 0, 400'000, false}, {0, 400'000, 800'000, false}, {-11'000'000, 800'000, -10'600'000, true}}},
};

TEST(RateTimer, ClockAndFrames) {
    for (const auto& [szName, arrSteps] : arrClockCases) {
        SCOPED_TRACE(szName);
        RateClock clock;
        for (const FRAME_STEP& s : arrSteps) {
            const RateClock::STEP step = clock.Step(s.rtArrives, s.rtStart, 3 * 400'000);
            EXPECT_EQ(step.rtDue, s.rtDue) << "at " << s.rtArrives;
            EXPECT_EQ(step.bResync, s.bResync) << "at " << s.rtArrives;
        }
    }
}

// A frame left out at 120 frames a second is a gap of 8.3 ms: the pace has it too. At 11 ms it would have none.
TEST(RateTimer, ShortFramesFollowTheSameGaps) {
    for (const auto& [rtGap, rtDue] : {std::pair{83'333, 249'999}, {-41'000, 125'666}, {110'000, 166'667}}) {
        RateClock clock;
        clock.Step(0, 0, 250'000);
        EXPECT_EQ(clock.Step(0, 83'333 + rtGap, 250'000).rtDue, rtDue) << rtGap;
    }
}

// Also where a frame is shorter than a gap that is followed.
TEST(RateTimer, FrameThatIsShownAgainKeepsThePace) {
    for (const int64_t nRate : {25, 50, 100, 120, 240}) {
        RateClock clock;
        for (int64_t i = 0; i < 10; ++i) {
            const int64_t rtDue = clock.Step(0, 800'000, 30'000'000 / nRate).rtDue;
            EXPECT_EQ(rtDue, (kSecond * (i + 1) * 3 / nRate + 1) / 3) << nRate;
        }
    }
}

TEST(RateTimer, ResetStartsThePaceAnew) {
    VirtualClock clock;
    ZrRateTimer timer;
    const ZR_AV_PROPS props = VideoOf(25);
    const int64_t rtStart = ClockNow();
    for (int64_t i = 0; i < 5; ++i) timer.WaitFrame(props, From(i * 400'000, 0), 0, nullptr, 0, -1);
    EXPECT_EQ(ClockNow() - rtStart, 5 * 400'000);
    EXPECT_EQ(timer.Counters().nWaits, 5);

    timer.Reset(ZrRateTimer::kFromZero);
    EXPECT_EQ(timer.Counters().nWaits, 0);
    SleepFor(150'000);
    timer.WaitFrame(props, From(5 * 400'000, 0), 0, nullptr, 0, -1);
    EXPECT_EQ(ClockNow() - rtStart, 6 * 400'000);  // one duration after the reset, and not five

    timer.Reset(300'000);
    timer.WaitFrame(props, From(6 * 400'000, 0), 0, nullptr, 0, -1);
    EXPECT_EQ(ClockNow() - rtStart, 6 * 400'000 + 100'000);
}

TEST(RateTimer, OffsetAndLimitChangeOneWait) {
    constexpr std::tuple<const char*, int64_t, int64_t, int64_t> arrCases[] = {
        {"plain", 0, -1, 400'000},
        {"longer_limit", 0, 500'000, 400'000},
        {"shorter_limit", 0, 1000, 1000},
        {"no_wait", 0, 0, 0},
        {"later", 5000, -1, 405'000},
        {"earlier", -5000, -1, 395'000},
        {"so_early_that_it_is_past", -400'000, -1, 0},
    };
    for (const auto& [szName, rtOffset, rtLimit, rtWaited] : arrCases) {
        SCOPED_TRACE(szName);
        VirtualClock clock;
        ZrRateTimer timer;
        const int64_t rtStart = ClockNow();
        EXPECT_EQ(timer.WaitFrame(VideoOf(25), From(0, 0), 0, nullptr, rtOffset, rtLimit), S_OK);
        EXPECT_EQ(ClockNow() - rtStart, rtWaited);
        timer.WaitFrame(VideoOf(25), From(400'000, 0), 0, nullptr, 0, -1);
        EXPECT_EQ(ClockNow() - rtStart, 800'000);
    }
}

TEST(RateTimer, LateAndResyncedFramesAreCounted) {
    VirtualClock clock;
    ZrRateTimer timer;
    const auto wait = [&](int64_t _nFrame) {
        timer.WaitFrame(VideoOf(25), From(_nFrame * 400'000, 0), 0, nullptr, 0, -1);
    };
    wait(0);
    SleepFor(1'000'000);
    wait(1);  // due 60 ms ago
    wait(2);  // due 20 ms ago
    wait(3);
    SleepFor(2 * kSecond);
    wait(4);
    const ZrRateTimer::COUNTERS counters = timer.Counters();
    EXPECT_EQ(counters.nWaits, 3);
    EXPECT_EQ(counters.nLate, 2);
    EXPECT_EQ(counters.nResyncs, 1);
}

TEST(RateTimer, CancelAndResetEndAWait) {
    VirtualClock clock;
    ZrRateTimer timer;
    ManualEvent evCancel;
    Thread thread;
    const int64_t rtStart = ClockNow();
    thread.Start("ender", [&](ManualEvent&) {
        SleepFor(1000);
        timer.Reset(ZrRateTimer::kFromZero);
        SleepFor(1000);
        evCancel.Set();
    });
    EXPECT_EQ(timer.WaitFrame(VideoOf(25), From(0, 0), 0, &evCancel, 0, -1), S_FALSE);
    EXPECT_EQ(ClockNow() - rtStart, 1000);
    EXPECT_EQ(timer.WaitFrame(VideoOf(25), From(0, 0), 0, &evCancel, 0, -1), S_FALSE);
    EXPECT_EQ(ClockNow() - rtStart, 2000);
    evCancel.Reset();
    EXPECT_EQ(timer.WaitFrame(VideoOf(25), From(400'000, 0), 0, &evCancel, 0, -1), S_OK);
    EXPECT_EQ(ClockNow() - rtStart, 1000 + 800'000);

    // A reset ends the waits that are under way and none that begins after it.
    HRESULT hrOther = S_OK;
    thread.Start("other", [&](ManualEvent&) { hrOther = timer.WaitFrame(VideoOf(25), From(0, 0), 0, nullptr, 0, -1); });
    SleepFor(1000);
    timer.Reset(ZrRateTimer::kFromZero);
    EXPECT_EQ(timer.WaitFrame(VideoOf(25), From(0, 0), 0, nullptr, 0, -1), S_OK);
    EXPECT_EQ(hrOther, S_FALSE);
    EXPECT_EQ(timer.WaitFrame(static_cast<IZrFrame*>(nullptr), &evCancel, 0, -1), E_POINTER);
}

}  // namespace
}  // namespace zr
