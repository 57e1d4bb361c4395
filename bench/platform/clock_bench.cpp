// The virtual clock: what a frame period costs when all there is to do is to wait for it.

#include "platform/clock.h"

#include <memory>
#include <vector>

#include <benchmark/benchmark.h>

#include "platform/lock.h"
#include "platform/thread.h"
#include "platform/waitable_timer.h"

namespace zr {
namespace {

constexpr int64_t kPeriod = kTicksPerSecond / 25;

void BM_Platform_ClockNow(benchmark::State& _state) {
    for (auto _ : _state) benchmark::DoNotOptimize(ClockNow());
}
BENCHMARK(BM_Platform_ClockNow);

void BM_Platform_MutexLock(benchmark::State& _state) {
    Mutex mtx;
    for (auto _ : _state) MutexLock lock(mtx);
}
BENCHMARK(BM_Platform_MutexLock);

// A producer paced by a timer hands each frame to a consumer. The argument is how many such pairs run.
void BM_Platform_VirtualFrame(benchmark::State& _state) {
    struct Pair {
        AutoEvent evFrame, evTaken;
        Thread producer, consumer;
    };
    VirtualClock clock;
    std::vector<std::unique_ptr<Pair>> arrPairs;
    const int64_t nFrames = 25 * 60;
    for (auto _ : _state) {
        for (int64_t i = 0; i < _state.range(0); ++i) {
            arrPairs.push_back(std::make_unique<Pair>());
            Pair& pair = *arrPairs.back();
            pair.consumer.Start("consumer", [&](ManualEvent& _evStop) {
                while (WaitAny({&_evStop, &pair.evFrame}, -1) == 1) pair.evTaken.Set();
            });
            pair.producer.Start("producer", [&](ManualEvent& _evStop) {
                WaitableTimer timer;
                const int64_t rtStart = ClockNow();
                for (int64_t n = 1; n <= nFrames; ++n) {
                    timer.Arm(rtStart + n * kPeriod);
                    if (WaitAny({&_evStop, &timer}, -1) == 0) return;
                    pair.evFrame.Set();
                    if (WaitAny({&_evStop, &pair.evTaken}, -1) == 0) return;
                }
            });
        }
        for (auto& pPair : arrPairs) {
            pPair->producer.Join();
            pPair->consumer.RequestStop();
            pPair->consumer.Join();
        }
        arrPairs.clear();
    }
    _state.SetItemsProcessed(_state.iterations() * nFrames);
}
BENCHMARK(BM_Platform_VirtualFrame)->Arg(1)->Arg(8)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zr
