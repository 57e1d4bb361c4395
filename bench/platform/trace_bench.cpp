#include "platform/trace.h"

#include <benchmark/benchmark.h>

namespace zr {
namespace {

void BM_Platform_TraceScopeOff(benchmark::State& _state) {
    for (auto _ : _state) {
        const TraceScope scope("DoMixing_I(Draw)");
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_Platform_TraceScopeOff);

void BM_Platform_TraceMessageOff(benchmark::State& _state) {
    int n = 0;
    for (auto _ : _state) {
        benchmark::DoNotOptimize(++n);
        ZR_TRACE_MESSAGE("DoMixing_I(Draw)", "%d", n);
    }
}
BENCHMARK(BM_Platform_TraceMessageOff);

// While other labels are on.
void BM_Platform_TraceScopeOtherLabelOn(benchmark::State& _state) {
    SetTraceLabels("Send,Receive");
    for (auto _ : _state) {
        const TraceScope scope("DoMixing_I(Draw)");
        benchmark::ClobberMemory();
    }
    SetTraceLabels(nullptr);
}
BENCHMARK(BM_Platform_TraceScopeOtherLabelOn);

}  // namespace
}  // namespace zr
