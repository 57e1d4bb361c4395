// The pace of the output: its cost a frame, how late a wait ends, and a whole day of it on the virtual clock.

#include "framework/rate_timer.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <vector>

#include "framework/deq_active.h"
#include "platform/clock.h"
#include "platform/thread.h"

namespace zr {
namespace {

ZR_AV_PROPS PropsOf(double _dblRate) {
    ZR_AV_PROPS props;
    props.vidProps.dblRate = _dblRate;
    return props;
}

// Everything but the wait.
void BM_Framework_RateTimer_Step(benchmark::State& _state) {
    ZrRateTimer timer;
    const ZR_AV_PROPS props = PropsOf(30000 / 1001.0);
    ZR_TIME time;
    for (auto _ : _state) {
        timer.WaitFrame(props, time, 0, nullptr, 0, 0);
        time.rtStartTime += 333'667;
    }
}
BENCHMARK(BM_Framework_RateTimer_Step);

// By how much frames leave after their time on the real clock, at 50 a second on a thread of the given priority.
void BM_Framework_RateTimer_Lateness(benchmark::State& _state) {
    constexpr int64_t kFrames = 250, kPeriod = kTicksPerSecond / 50;
    std::vector<int64_t> arrLate(kFrames);
    const auto body = [&arrLate](ManualEvent& _evStop) {
        ZrRateTimer timer;
        const ZR_AV_PROPS props = PropsOf(50);
        ZR_TIME time;
        timer.Reset(ZrRateTimer::kFromZero);
        const int64_t rtOrigin = ClockNow();
        for (size_t i = 0; i < arrLate.size(); ++i) {
            timer.WaitFrame(props, time, 0, &_evStop, 0, -1);
            time.rtStartTime += kPeriod;
            arrLate[i] = ClockNow() - rtOrigin - time.rtStartTime;
        }
    };
    for (auto _ : _state) {
        Thread thread;
        thread.Start("pace", body, {.nPriority = static_cast<int32_t>(_state.range(0))});
        thread.Join();
    }
    std::sort(arrLate.begin(), arrLate.end());
    _state.counters["median_us"] = static_cast<double>(arrLate[kFrames / 2]) / 10;
    _state.counters["p99_us"] = static_cast<double>(arrLate[kFrames * 99 / 100]) / 10;
}
BENCHMARK(BM_Framework_RateTimer_Lateness)->Arg(0)->Arg(15)->Iterations(1)->UseRealTime();

struct Output {
    HRESULT OnActiveDeq(ZR_TIME& _time, int32_t) {
        nMisplaced += ClockNow() - rtOrigin != _time.rtStartTime;
        ++nSent;
        return timer.WaitFrame(props, _time, 0, nullptr, 0, -1);
    }
    void OnActiveDeqOverflow(ZR_TIME&) {}

    ZR_AV_PROPS props;
    int64_t rtOrigin = 0, nSent = 0, nMisplaced = 0;
    ZrRateTimer timer;
};

// A day of frames from a producer through the output queue and the rate timer.
void BM_Framework_ShowDay(benchmark::State& _state) {
    const int64_t nNumerator = _state.range(0), nDenominator = _state.range(1);
    for (auto _ : _state) {
        VirtualClock clock;
        Output output;
        output.props = PropsOf(static_cast<double>(nNumerator) / static_cast<double>(nDenominator));
        output.rtOrigin = ClockNow();
        CDeqActive<Output, ZR_TIME> deq(output, "output");
        deq.Init(0, 2, false);
        const int64_t nFrames = 86400 * nNumerator / nDenominator;
        ZR_TIME time;
        for (int64_t i = 0; i < nFrames; ++i) {
            time.rtStartTime = (2 * i * 10'000'000 * nDenominator + nNumerator) / (2 * nNumerator);
            deq.Put(time, -1);
        }
        while (deq.Count() > 0) SleepFor(kTicksPerSecond);
        deq.Stop();
        _state.counters["frames"] = static_cast<double>(output.nSent);
        _state.counters["misplaced"] = static_cast<double>(output.nMisplaced);
    }
}
BENCHMARK(BM_Framework_ShowDay)
    ->Args({25, 1})
    ->Args({30000, 1001})
    ->Iterations(1)
    ->UseRealTime()
    ->Unit(benchmark::kSecond);

}  // namespace
}  // namespace zr
