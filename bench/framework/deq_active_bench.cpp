// The queue between the mix and the sender: what a put costs, and how soon the thread has the item.

#include "framework/deq_active.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <vector>

#include "platform/clock.h"

namespace zr {
namespace {

int64_t NowNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

void ReportSpread(benchmark::State& _state, std::vector<int64_t>& _arrNs) {
    if (_arrNs.empty()) return;
    std::sort(_arrNs.begin(), _arrNs.end());
    const auto us = [&](double _dblShare) {
        const double dblIndex = _dblShare * static_cast<double>(_arrNs.size() - 1);
        return static_cast<double>(_arrNs[static_cast<size_t>(dblIndex)]) / 1000;
    };
    _state.counters["median_us"] = us(0.5);
    _state.counters["p99_us"] = us(0.99);
    _state.counters["max_us"] = us(1);
}

// Takes the moment at which an item reached it.
struct Stopwatch {
    HRESULT OnActiveDeq(int64_t& _nsPut, int32_t) {
        nsWay = NowNs() - _nsPut;
        evServed.Set();
        return S_OK;
    }
    void OnActiveDeqOverflow(int64_t&) {}

    int64_t nsWay = 0;
    AutoEvent evServed;
};

// From the call of Put to the owner, with the queue's thread asleep; so many microseconds between two puts.
void BM_Framework_DeqActive_PutToServe(benchmark::State& _state) {
    Stopwatch watch;
    CDeqActive<Stopwatch, int64_t> deq(watch, "bench");
    deq.Init(0, 4, false);
    std::vector<int64_t> arrNs;
    arrNs.reserve(1'000'000);
    for (auto _ : _state) {
        deq.Put(NowNs(), -1);
        WaitOne(watch.evServed, -1);
        arrNs.push_back(watch.nsWay);
        _state.PauseTiming();
        SleepFor(_state.range(0) * 10);
        _state.ResumeTiming();
    }
    deq.Stop();
    ReportSpread(_state, arrNs);
}
BENCHMARK(BM_Framework_DeqActive_PutToServe)->Arg(100)->Iterations(20'000)->UseRealTime();
BENCHMARK(BM_Framework_DeqActive_PutToServe)->Arg(5000)->Iterations(500)->UseRealTime();

// Holds the first item until the end.
struct Busy {
    HRESULT OnActiveDeq(int64_t&, int32_t) {
        WaitOne(evEnd, -1);
        return S_OK;
    }
    void OnActiveDeqOverflow(int64_t&) {}
    ManualEvent evEnd;
};

void PutToBusy(benchmark::State& _state, bool _bDropOldest) {
    Busy busy;
    CDeqActive<Busy, int64_t> deq(busy, "bench");
    deq.Init(0, 8, _bDropOldest);
    for (int i = 0; i < 16; ++i) deq.Put(i, 0);
    for (auto _ : _state) benchmark::DoNotOptimize(deq.Put(1, 0));
    busy.evEnd.Set();
    deq.Stop();
}
// A put that goes in, with the oldest item out, while the thread is at work.
void BM_Framework_DeqActive_PutNoWait(benchmark::State& _state) { PutToBusy(_state, true); }
BENCHMARK(BM_Framework_DeqActive_PutNoWait);
void BM_Framework_DeqActive_PutRefused(benchmark::State& _state) { PutToBusy(_state, false); }
BENCHMARK(BM_Framework_DeqActive_PutRefused);

// A producer that is held to the pace of the thread, with the given room between them.
void BM_Framework_DeqActive_Stream(benchmark::State& _state) {
    struct Owner {
        HRESULT OnActiveDeq(int64_t&, int32_t) { return S_OK; }
        void OnActiveDeqOverflow(int64_t&) {}
    } owner;
    CDeqActive<Owner, int64_t> deq(owner, "bench");
    deq.Init(0, static_cast<int32_t>(_state.range(0)), false);
    for (auto _ : _state) deq.Put(1, -1);
    deq.Stop();
    _state.SetItemsProcessed(_state.iterations());
}
BENCHMARK(BM_Framework_DeqActive_Stream)->Arg(1)->Arg(4)->Arg(64)->UseRealTime();

}  // namespace
}  // namespace zr
