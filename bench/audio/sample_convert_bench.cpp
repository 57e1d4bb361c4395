#include <benchmark/benchmark.h>

#include <vector>

#include "audio/sample_convert.h"
#include "media/aud_props.h"

namespace zr::bench {
namespace {

// One second of stereo at 48 kHz in blocks of 25 frames a second; samples/s counts both channels.
constexpr size_t kBlock = 1920 * 2, kBlocks = 25;

void BM_Audio_ConvertSamples(benchmark::State& _state) {
    const auto nFrom = static_cast<int32_t>(_state.range(0)), nTo = static_cast<int32_t>(_state.range(1));
    const auto cbFrom = static_cast<size_t>(AudBytesPerSample(nFrom)) * kBlock,
               cbTo = static_cast<size_t>(AudBytesPerSample(nTo)) * kBlock;
    std::vector<uint8_t> src(cbFrom * kBlocks), dst(cbTo * kBlocks);
    if (nFrom != -32)
        for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<uint8_t>(i * 37 >> 3);
    for (auto _ : _state) {
        for (size_t i = 0; i < kBlocks; ++i) ConvertSamples(nFrom, &src[i * cbFrom], nTo, &dst[i * cbTo], kBlock);
        benchmark::ClobberMemory();
    }
    const int64_t nRounds = static_cast<int64_t>(_state.iterations());
    _state.SetItemsProcessed(nRounds * static_cast<int64_t>(kBlock * kBlocks));
    _state.SetBytesProcessed(nRounds * static_cast<int64_t>(src.size() + dst.size()));
}
BENCHMARK(BM_Audio_ConvertSamples)
    ->ArgNames({"from", "to"})
    ->Unit(benchmark::kMicrosecond)
    ->ArgsProduct({{16, 24, 32, -32}, {16, 20, 24, 32, -32}});

}  // namespace
}  // namespace zr::bench
