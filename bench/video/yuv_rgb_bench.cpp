#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "video/kernels/yuv_rgb_row.h"

namespace {

constexpr size_t kWidth = 1920, kHeight = 1080;

using RowToYuv = void (*)(const uint8_t*, uint8_t*, size_t);
using RowToRgb = void (*)(const uint8_t*, uint8_t*, size_t, uint8_t);

std::vector<uint8_t> Noise(size_t _cb) {
    std::vector<uint8_t> bytes(_cb);
    uint32_t nState = 1;
    for (uint8_t& n : bytes) n = static_cast<uint8_t>((nState = nState * 1664525u + 1013904223u) >> 24);
    return bytes;
}

void CountFrame(benchmark::State& _state, size_t _cbMoved) {
    _state.SetBytesProcessed(static_cast<int64_t>(_state.iterations()) * static_cast<int64_t>(_cbMoved));
    _state.counters["frames/s"] =
        benchmark::Counter(static_cast<double>(_state.iterations()), benchmark::Counter::kIsRate);
}

void ToYuv(benchmark::State& _state, RowToYuv _row) {
    const auto src = Noise(kWidth * 4 * kHeight);
    std::vector<uint8_t> dst(kWidth * 2 * kHeight);
    for (auto _ : _state) {
        for (size_t y = 0; y < kHeight; ++y) _row(&src[y * kWidth * 4], &dst[y * kWidth * 2], kWidth / 2);
        benchmark::ClobberMemory();
    }
    CountFrame(_state, src.size() + dst.size());
}

void ToRgb(benchmark::State& _state, RowToRgb _row) {
    const auto src = Noise(kWidth * 2 * kHeight);
    std::vector<uint8_t> dst(kWidth * 4 * kHeight);
    for (auto _ : _state) {
        for (size_t y = 0; y < kHeight; ++y) _row(&src[y * kWidth * 2], &dst[y * kWidth * 4], kWidth / 2, 255);
        benchmark::ClobberMemory();
    }
    CountFrame(_state, src.size() + dst.size());
}

BENCHMARK_CAPTURE(ToYuv, BM_Video_BgraToUyvy601 / 1920 / 1080, zr::BgraToUyvyRow601);
BENCHMARK_CAPTURE(ToYuv, BM_Video_BgraToYuy2_601 / 1920 / 1080, zr::BgraToYuy2Row601);
BENCHMARK_CAPTURE(ToYuv, BM_Video_BgraToUyvy709 / 1920 / 1080, zr::BgraToUyvyRow709);
BENCHMARK_CAPTURE(ToRgb, BM_Video_UyvyToBgra601 / 1920 / 1080, zr::UyvyToBgraRow601);
BENCHMARK_CAPTURE(ToRgb, BM_Video_Yuy2ToBgra601 / 1920 / 1080, zr::Yuy2ToBgraRow601);
BENCHMARK_CAPTURE(ToRgb, BM_Video_UyvyToBgra709 / 1920 / 1080, zr::UyvyToBgraRow709);

}  // namespace
