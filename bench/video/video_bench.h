#pragma once
// What the benchmarks of the pixel kernels share: a 1080p frame of noise, rows walked one by one, bytes that must move.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zr::bench {

inline constexpr size_t kWidth = 1920, kHeight = 1080;

inline std::vector<uint8_t> Noise(size_t _cb, uint32_t _nState = 1) {
    std::vector<uint8_t> bytes(_cb);
    for (uint8_t& n : bytes) n = static_cast<uint8_t>((_nState = _nState * 1664525u + 1013904223u) >> 24);
    return bytes;
}

// Runs row(y) for the rows of a frame; _cbMoved: bytes a frame must read and write.
template <class Row>
void RunFrames(benchmark::State& _state, size_t _cbMoved, const Row& _row) {
    for (auto _ : _state) {
        for (size_t y = 0; y < kHeight; ++y) _row(y);
        benchmark::ClobberMemory();
    }
    _state.SetBytesProcessed(_state.iterations() * static_cast<int64_t>(_cbMoved));
    _state.counters["frames/s"] =
        benchmark::Counter(static_cast<double>(_state.iterations()), benchmark::Counter::kIsRate);
}

}  // namespace zr::bench
