// What the pool and the row bands cost when the work itself costs nothing.

#include "platform/thread_pool.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <vector>

#include <benchmark/benchmark.h>

namespace zr {
namespace {

// From Submit to the first line of the task, and from Submit to the end of the wait for it.
void BM_Platform_PoolSubmit(benchmark::State& _state) {
    ThreadPool pool("bench");
    TaskGroup group;
    std::vector<int64_t> arrTicks;
    arrTicks.reserve(1 << 20);
    for (auto _ : _state) {
        const int64_t rtStart = ClockNow();
        int64_t rtRun = 0;
        pool.Submit([&rtRun] { rtRun = ClockNow(); }, &group);
        group.Wait(nullptr, -1);
        if (arrTicks.size() < arrTicks.capacity()) arrTicks.push_back(rtRun - rtStart);
    }
    std::sort(arrTicks.begin(), arrTicks.end());
    if (arrTicks.empty()) return;
    _state.counters["run_median_us"] = static_cast<double>(arrTicks[arrTicks.size() / 2]) / 10.0;
    _state.counters["run_p99_us"] = static_cast<double>(arrTicks[arrTicks.size() * 99 / 100]) / 10.0;
}
BENCHMARK(BM_Platform_PoolSubmit)->UseRealTime();

// A cycle of the mixer: so many tasks at once, and the wait for all.
void BM_Platform_PoolBatch(benchmark::State& _state) {
    ThreadPool pool("bench");
    TaskGroup group;
    std::atomic<int64_t> nRan{0};
    for (auto _ : _state) {
        for (int64_t i = 0; i < _state.range(0); ++i) pool.Submit([&nRan] { ++nRan; }, &group);
        group.Wait(nullptr, -1);
    }
    _state.SetItemsProcessed(nRan);
}
BENCHMARK(BM_Platform_PoolBatch)->Arg(4)->Arg(16)->UseRealTime();

void BM_Platform_ParallelRowsEmpty(benchmark::State& _state) {
    for (auto _ : _state) {
        ParallelRows(1080, static_cast<int32_t>(_state.range(0)), [](int32_t _nFirst, int32_t _nEnd) {
            benchmark::DoNotOptimize(_nFirst);
            benchmark::DoNotOptimize(_nEnd);
        });
    }
}
BENCHMARK(BM_Platform_ParallelRowsEmpty)->Arg(16)->Arg(1080)->UseRealTime();

// A copy of a 1920 x 1080 picture with 4 bytes a pixel; the argument is the number of threads.
void BM_Platform_ParallelRowsCopy(benchmark::State& _state) {
    constexpr size_t kStride = 1920 * 4;
    std::vector<uint8_t> src(kStride * 1080, 1), dst(kStride * 1080);
    SetRowThreads(static_cast<int32_t>(_state.range(0)));
    for (auto _ : _state) {
        ParallelRows(1080, 32, [&](int32_t _nFirst, int32_t _nEnd) {
            for (int32_t y = _nFirst; y < _nEnd; ++y) {
                std::memcpy(&dst[static_cast<size_t>(y) * kStride], &src[static_cast<size_t>(y) * kStride], kStride);
            }
        });
    }
    SetRowThreads(0);
    _state.SetBytesProcessed(_state.iterations() * static_cast<int64_t>(src.size()));
}
BENCHMARK(BM_Platform_ParallelRowsCopy)->Arg(1)->Arg(2)->UseRealTime();

}  // namespace
}  // namespace zr
