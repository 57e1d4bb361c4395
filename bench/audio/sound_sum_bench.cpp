#include <benchmark/benchmark.h>

#include <vector>

#include "audio/sound_sum.h"

namespace zr::bench {
namespace {

// Nine 16-bit stereo streams of one second, in blocks of 25 frames a second as a show has them, or all at once.
void BM_Audio_SumNine(benchmark::State& _state) {
    constexpr ZR_AUD_PROPS kProps{2, 48000, 16, 0};
    constexpr size_t kStreams = 9, kSecond = 48000;
    const auto nBlocks = static_cast<size_t>(_state.range(0)), nBlock = kSecond / nBlocks;
    std::vector<std::vector<int16_t>> arrStreams(kStreams, std::vector<int16_t>(2 * kSecond));
    for (size_t s = 0; s < kStreams; ++s)
        for (size_t i = 0; i < 2 * kSecond; ++i) arrStreams[s][i] = static_cast<int16_t>(i * (s + 77));
    std::vector<int16_t> out(2 * kSecond);
    SoundSum sum;
    for (auto _ : _state) {
        for (size_t b = 0; b < nBlocks; ++b) {
            auto* const pOut = out.data() + b * nBlock * 2;
            std::fill_n(pOut, nBlock * 2, int16_t{0});
            sum.Begin(kProps, reinterpret_cast<uint8_t*>(pOut), static_cast<int64_t>(nBlock));
            for (auto& stream : arrStreams)
                sum.Add(reinterpret_cast<uint8_t*>(stream.data() + b * nBlock * 2), static_cast<int64_t>(nBlock), {});
            sum.End();
        }
        benchmark::ClobberMemory();
    }
    _state.SetBytesProcessed(static_cast<int64_t>(_state.iterations()) * 10 * 2 * 2 * int64_t{kSecond});
}
BENCHMARK(BM_Audio_SumNine)->ArgName("blocks")->Unit(benchmark::kMicrosecond)->Arg(25)->Arg(1);

}  // namespace
}  // namespace zr::bench
