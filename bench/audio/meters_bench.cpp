#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "audio/channel_meters.h"
#include "audio/dynamics.h"
#include "media/aud_props.h"

namespace zr::bench {
namespace {

// One frame of 25 a second at 48 kHz; the time of a round is that of a frame.
constexpr size_t kBlock = 1920;

std::vector<uint8_t> Noise(const ZR_AUD_PROPS& _props) {
    std::vector<uint8_t> bytes(kBlock * static_cast<size_t>(AudBlockBytes(_props)));
    if (_props.nBitsPerSample == -32) {
        auto* p = reinterpret_cast<float*>(bytes.data());
        for (size_t i = 0; i < bytes.size() / 4; ++i) p[i] = 0.7f * std::sin(static_cast<float>(i * i % 1009));
    } else {
        for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 37 >> 3);
    }
    return bytes;
}

void MeterFrames(benchmark::State& _state, bool _bLoudness) {
    const ZR_AUD_PROPS props{static_cast<int32_t>(_state.range(1)), 48000, static_cast<int32_t>(_state.range(0)), 0};
    const std::vector<uint8_t> bytes = Noise(props);
    ChannelMeters meters;
    meters.LoudnessSet(_bLoudness);
    for (auto _ : _state) meters.Measure(props, bytes.data(), kBlock);
    _state.SetBytesProcessed(_state.iterations() * static_cast<int64_t>(bytes.size()));
}

void BM_Audio_Meters(benchmark::State& _state) { MeterFrames(_state, false); }
BENCHMARK(BM_Audio_Meters)->ArgNames({"bits", "channels"})->ArgsProduct({{16, 24, 32, -32}, {2, 16}});
void BM_Audio_MetersWithLoudness(benchmark::State& _state) { MeterFrames(_state, true); }
BENCHMARK(BM_Audio_MetersWithLoudness)->ArgNames({"bits", "channels"})->ArgsProduct({{16, -32}, {2, 6}});

template <class Effect>
void EffectFrames(benchmark::State& _state) {
    const ZR_AUD_PROPS props{static_cast<int32_t>(_state.range(1)), 48000, static_cast<int32_t>(_state.range(0)), 0};
    const std::vector<uint8_t> source = Noise(props);
    std::vector<uint8_t> bytes = source;
    const auto pEffect = Effect::Make();
    for (auto _ : _state) {
        bytes = source;  // or it would become ever softer
        pEffect->Process(props, bytes.data(), kBlock);
    }
    _state.SetBytesProcessed(_state.iterations() * static_cast<int64_t>(bytes.size()));
}

void BM_Audio_Compressor(benchmark::State& _state) { EffectFrames<ZrAudioProcessor::CCompressor>(_state); }
BENCHMARK(BM_Audio_Compressor)->ArgNames({"bits", "channels"})->ArgsProduct({{16, -32}, {2, 6}});
void BM_Audio_DynamicAmplify(benchmark::State& _state) { EffectFrames<ZrAudioProcessor::CDynamicAmplify>(_state); }
BENCHMARK(BM_Audio_DynamicAmplify)->ArgNames({"bits", "channels"})->ArgsProduct({{16, -32}, {2, 6}});

}  // namespace
}  // namespace zr::bench
