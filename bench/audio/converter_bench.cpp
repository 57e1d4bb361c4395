#include <benchmark/benchmark.h>

#include <vector>

#include "audio/audio_converter.h"

namespace zr::bench {
namespace {

// One second of stereo in blocks of 25 frames a second.
void BM_Audio_Convert(benchmark::State& _state) {
    const ZR_AUD_PROPS src = {2, static_cast<int32_t>(_state.range(0)), static_cast<int32_t>(_state.range(2)), 0};
    const ZR_AUD_PROPS dst = {2, static_cast<int32_t>(_state.range(1)), static_cast<int32_t>(_state.range(2)), 0};
    const size_t cbSample = src.nBitsPerSample == 16 ? 2 : 4;
    const auto nBlock = static_cast<size_t>(src.nSamplesPerSec / 25);
    const std::vector<uint8_t> in(nBlock * 2 * cbSample);
    std::vector<uint8_t> out(1 << 20);
    ZrAudioConverter converter;
    converter.Init(src, dst, static_cast<int32_t>(nBlock), 1.0);
    for (auto _ : _state) {
        for (int i = 0; i < 25; ++i) {
            auto cb = static_cast<int32_t>(out.size());
            converter.Convert(in.data(), static_cast<int32_t>(in.size()), out.data(), &cb, 1.0);
        }
        benchmark::ClobberMemory();
    }
    _state.SetItemsProcessed(static_cast<int64_t>(_state.iterations()));  // seconds of sound
}
BENCHMARK(BM_Audio_Convert)
    ->ArgNames({"from", "to", "bits"})
    ->Unit(benchmark::kMillisecond)
    ->Args({44100, 48000, -32})
    ->Args({44100, 48000, 16})
    ->Args({48000, 44100, -32})
    ->Args({96000, 48000, -32})
    ->Args({48000, 16000, -32})
    ->Args({48000, 48005, -32});

}  // namespace
}  // namespace zr::bench
