// A day on the virtual clock through the rate timer; an hour of a show through the output queue and the rate timer (the
// day of that is a benchmark).

#include <gtest/gtest.h>

#include <cstdint>

#include "framework/deq_active.h"
#include "framework/rate_timer.h"
#include "platform/clock.h"
#include "support/stress.h"

namespace zr {
namespace {

constexpr int64_t kTimerSeconds = StressRounds(86400);
constexpr int64_t kShowSeconds = StressRounds(3600);

struct SHOW_CASE {
    const char* szName;
    int64_t nNumerator, nDenominator;  // frames a second
};

// The start of frame _n, rounded to ticks, in whole numbers.
int64_t StartOf(const SHOW_CASE& _c, int64_t _n) {
    const int64_t nTicks = 10'000'000 * _c.nDenominator;
    return (2 * _n * nTicks + _c.nNumerator) / (2 * _c.nNumerator);
}

ZR_AV_PROPS PropsOf(const SHOW_CASE& _c) {
    ZR_AV_PROPS props;
    props.vidProps.dblRate = static_cast<double>(_c.nNumerator) / static_cast<double>(_c.nDenominator);
    return props;
}

class ShowDay : public testing::TestWithParam<SHOW_CASE> {};

TEST_P(ShowDay, RateTimerDoesNotDrift) {
    const SHOW_CASE& c = GetParam();
    VirtualClock clock;
    ZrRateTimer timer;
    const ZR_AV_PROPS props = PropsOf(c);
    const int64_t rtOrigin = ClockNow();
    const int64_t nFrames = kTimerSeconds * c.nNumerator / c.nDenominator;
    for (int64_t i = 0; i < nFrames; ++i) {
        ZR_TIME time;
        time.rtStartTime = StartOf(c, i);
        if (ClockNow() - rtOrigin != StartOf(c, i)) FAIL() << "frame " << i << " at " << ClockNow() - rtOrigin;
        timer.WaitFrame(props, time, 0, nullptr, 0, -1);
    }
    EXPECT_EQ(timer.Counters().nWaits, nFrames);
    EXPECT_EQ(timer.Counters().nResyncs, 0);
}

// The owner of the queue, as a sender: a frame leaves, then the pace is kept.
class Output {
public:
    Output(const SHOW_CASE& _c, int64_t _rtOrigin) : c(_c), props(PropsOf(_c)), rtOrigin(_rtOrigin) {}

    HRESULT OnActiveDeq(int64_t& _nFrame, int32_t) {
        const int64_t rtNow = ClockNow() - rtOrigin;
        nMisplaced += _nFrame != nSent || rtNow != StartOf(c, _nFrame);
        nDigest = (nDigest ^ static_cast<uint64_t>(rtNow)) * 0x100000001B3u;
        ++nSent;
        ZR_TIME time;
        time.rtStartTime = StartOf(c, _nFrame);
        return timer.WaitFrame(props, time, 0, nullptr, 0, -1);
    }
    void OnActiveDeqOverflow(int64_t&) { ++nMisplaced; }

    const SHOW_CASE& c;
    const ZR_AV_PROPS props;
    const int64_t rtOrigin;
    ZrRateTimer timer;
    int64_t nSent = 0, nMisplaced = 0;
    uint64_t nDigest = 0xCBF29CE484222325u;
};

struct SHOW_RESULT {
    int64_t nSent, nMisplaced;
    uint64_t nDigest;  // of the moments at which frames left and were accepted
    bool operator==(const SHOW_RESULT&) const = default;
};

SHOW_RESULT RunShow(const SHOW_CASE& _c, int64_t _nSeconds) {
    VirtualClock clock;
    Output output(_c, ClockNow());
    CDeqActive<Output, int64_t> deq(output, "output");
    deq.Init(0, 2, false);
    const int64_t nFrames = _nSeconds * _c.nNumerator / _c.nDenominator;
    uint64_t nDigest = 0;
    for (int64_t i = 0; i < nFrames; ++i) {
        deq.Put(i, -1);
        nDigest = (nDigest ^ static_cast<uint64_t>(ClockNow())) * 0x100000001B3u;
    }
    while (deq.Count() > 0) SleepFor(kTicksPerSecond);
    deq.Stop();
    return {output.nSent, output.nMisplaced, output.nDigest ^ nDigest};
}

TEST_P(ShowDay, FramesLeaveTheQueueOnTime) {
    const SHOW_CASE& c = GetParam();
    const SHOW_RESULT result = RunShow(c, kShowSeconds);
    EXPECT_EQ(result.nSent, kShowSeconds * c.nNumerator / c.nDenominator);
    EXPECT_EQ(result.nMisplaced, 0);
    EXPECT_EQ(RunShow(c, 60), RunShow(c, 60));
}

INSTANTIATE_TEST_SUITE_P(Rates, ShowDay, testing::Values(SHOW_CASE{"25", 25, 1}, SHOW_CASE{"29_97", 30000, 1001}),
                         [](const auto& _info) { return std::string(_info.param.szName); });

}  // namespace
}  // namespace zr
