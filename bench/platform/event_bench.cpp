// Waits: the price of one that is served at once, and the time from a Set to the thread that it wakes.

#include "platform/event.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <vector>

#include <benchmark/benchmark.h>

#include "platform/thread.h"
#include "platform/waitable_timer.h"

namespace zr {
namespace {

// The last of the set is set: all are looked at.
void BM_Platform_WaitAnySignalled(benchmark::State& _state) {
    std::array<ManualEvent, kMaxWaitObjects> arrEvents;
    std::array<Waitable*, kMaxWaitObjects> arrSet;
    const size_t nObjects = static_cast<size_t>(_state.range(0));
    for (size_t i = 0; i < nObjects; ++i) arrSet[i] = &arrEvents[i];
    arrEvents[nObjects - 1].Set();
    for (auto _ : _state) benchmark::DoNotOptimize(WaitAny(WaitSet(arrSet.data(), nObjects), -1));
}
BENCHMARK(BM_Platform_WaitAnySignalled)->Arg(1)->Arg(8)->Arg(64);

void BM_Platform_WaitAnyPoll(benchmark::State& _state) {
    ManualEvent evStop;
    AutoEvent evWake;
    for (auto _ : _state) benchmark::DoNotOptimize(WaitAny({&evStop, &evWake}, 0));
}
BENCHMARK(BM_Platform_WaitAnyPoll);

void BM_Platform_EventSet(benchmark::State& _state) {
    AutoEvent ev;
    for (auto _ : _state) ev.Set();
}
BENCHMARK(BM_Platform_EventSet);

void ReportMedian(benchmark::State& _state, std::vector<int64_t>& _arrTicks) {
    if (_arrTicks.empty()) return;
    std::sort(_arrTicks.begin(), _arrTicks.end());
    const auto at = [&](size_t _nPercent) {
        return static_cast<double>(_arrTicks[(_arrTicks.size() - 1) * _nPercent / 100]) / 10.0;
    };
    _state.counters["median_us"] = at(50);
    _state.counters["p90_us"] = at(90);
    _state.counters["p99_us"] = at(99);
}

// One wake is half of a round.
void BM_Platform_EventPingPong(benchmark::State& _state) {
    AutoEvent evPing, evPong;
    Thread thread;
    thread.Start("pong", [&](ManualEvent& _evStop) {
        while (WaitAny({&_evStop, &evPing}, -1) == 1) evPong.Set();
    });
    std::vector<int64_t> arrRounds;
    arrRounds.reserve(1 << 20);
    for (auto _ : _state) {
        const int64_t rtStart = ClockNow();
        evPing.Set();
        WaitOne(evPong, -1);
        if (arrRounds.size() < arrRounds.capacity()) arrRounds.push_back((ClockNow() - rtStart) / 2);
    }
    thread.RequestStop();
    thread.Join();
    ReportMedian(_state, arrRounds);
}
BENCHMARK(BM_Platform_EventPingPong)->UseRealTime();

// The thread has slept for the given microseconds when it is woken.
void BM_Platform_EventWake(benchmark::State& _state) {
    AutoEvent evWake, evReady;
    std::atomic<int64_t> rtSet{0};
    std::vector<int64_t> arrLatency;
    Thread thread;
    thread.Start("sleeper", [&](ManualEvent& _evStop) {
        while (WaitAny({&_evStop, &evWake}, -1) == 1) {
            arrLatency.push_back(ClockNow() - rtSet.load());
            evReady.Set();
        }
    });
    for (auto _ : _state) {
        SleepFor(_state.range(0) * 10);
        rtSet = ClockNow();
        evWake.Set();
        WaitOne(evReady, -1);
    }
    thread.RequestStop();
    thread.Join();
    ReportMedian(_state, arrLatency);
}
BENCHMARK(BM_Platform_EventWake)->Arg(100)->Arg(5000)->UseRealTime();

// How late a wait for a timer ends.
void BM_Platform_TimerOvershoot(benchmark::State& _state) {
    std::vector<int64_t> arrLate;
    Thread thread;
    thread.Start("timer", [&](ManualEvent& _evStop) {
        WaitableTimer timer;
        for (auto _ : _state) {
            const int64_t rtDue = ClockNow() + _state.range(0) * 10;
            timer.Arm(rtDue);
            WaitAny({&_evStop, &timer}, -1);
            arrLate.push_back(ClockNow() - rtDue);
        }
    });
    thread.Join();
    ReportMedian(_state, arrLate);
}
BENCHMARK(BM_Platform_TimerOvershoot)->Arg(100)->Arg(5000)->UseRealTime();

}  // namespace
}  // namespace zr
