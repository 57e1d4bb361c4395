#include "video/kernels/yuv_rgb_row.h"

#include <cstring>

#include "video/video_bench.h"

namespace zr::bench {
namespace {

// The floor: as many bytes moved as a conversion between 4:2:2 and 32-bit RGB moves.
void BM_Video_Memcpy(benchmark::State& _state) {
    const auto src = Noise(kWidth * 3 * kHeight);
    std::vector<uint8_t> dst(src.size());
    RunFrames(_state, 2 * src.size(),
              [&](size_t y) { std::memcpy(&dst[y * kWidth * 3], &src[y * kWidth * 3], kWidth * 3); });
}
BENCHMARK(BM_Video_Memcpy);

template <auto kRow>
void BM_Video_BgraToYuv(benchmark::State& _state) {
    const auto src = Noise(kWidth * 4 * kHeight);
    std::vector<uint8_t> dst(kWidth * 2 * kHeight);
    RunFrames(_state, src.size() + dst.size(),
              [&](size_t y) { kRow(&src[y * kWidth * 4], &dst[y * kWidth * 2], kWidth / 2); });
}
BENCHMARK(BM_Video_BgraToYuv<BgraToUyvyRow601>)->Name("BM_Video_BgraToUyvyRow601/1920/1080");
BENCHMARK(BM_Video_BgraToYuv<BgraToYuy2Row601>)->Name("BM_Video_BgraToYuy2Row601/1920/1080");
BENCHMARK(BM_Video_BgraToYuv<BgraToUyvyRow709>)->Name("BM_Video_BgraToUyvyRow709/1920/1080");

template <auto kRow>
void BM_Video_YuvToBgra(benchmark::State& _state) {
    const auto src = Noise(kWidth * 2 * kHeight);
    std::vector<uint8_t> dst(kWidth * 4 * kHeight);
    RunFrames(_state, src.size() + dst.size(),
              [&](size_t y) { kRow(&src[y * kWidth * 2], &dst[y * kWidth * 4], kWidth / 2, 255); });
}
BENCHMARK(BM_Video_YuvToBgra<UyvyToBgraRow601>)->Name("BM_Video_UyvyToBgraRow601/1920/1080");
BENCHMARK(BM_Video_YuvToBgra<Yuy2ToBgraRow601>)->Name("BM_Video_Yuy2ToBgraRow601/1920/1080");
BENCHMARK(BM_Video_YuvToBgra<UyvyToBgraRow709>)->Name("BM_Video_UyvyToBgraRow709/1920/1080");

}  // namespace
}  // namespace zr::bench
