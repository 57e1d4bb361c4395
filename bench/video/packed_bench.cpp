#include "video/kernels/packed_row.h"
#include "video/kernels/planar_row.h"
#include "video/video_bench.h"

namespace zr::bench {
namespace {

constexpr size_t kV210Row = (kWidth + 47) / 48 * 128;

// kRow(src, dst, n): rows of cbSrc and cbDst bytes, n pixels, pairs or groups.
template <auto kRow, size_t cbSrc, size_t cbDst, size_t n>
void BM_Video_Packed(benchmark::State& _state) {
    const auto src = Noise(cbSrc * kHeight);
    std::vector<uint8_t> dst(cbDst * kHeight);
    RunFrames(_state, src.size() + dst.size(), [&](size_t y) { kRow(&src[y * cbSrc], &dst[y * cbDst], n); });
}
void SwapPairs(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nGroups) {
    ReorderGroupsRow(_pSrc, _pDst, _nGroups, kSwapPairs);
}
BENCHMARK(BM_Video_Packed<SwapPairs, kWidth * 2, kWidth * 2, kWidth / 2>)->Name("BM_Video_UyvyToYuy2/1920/1080");
BENCHMARK(BM_Video_Packed<UyvyToV210Row, kWidth * 2, kV210Row, kWidth>)->Name("BM_Video_UyvyToV210Row/1920/1080");
BENCHMARK(BM_Video_Packed<V210ToUyvyRow, kV210Row, kWidth * 2, kWidth>)->Name("BM_Video_V210ToUyvyRow/1920/1080");
BENCHMARK(BM_Video_Packed<BgraToBgrRow, kWidth * 4, kWidth * 3, kWidth>)->Name("BM_Video_BgraToBgrRow/1920/1080");
BENCHMARK(BM_Video_Packed<BgraToAlphaRow, kWidth * 4, kWidth, kWidth>)->Name("BM_Video_BgraToAlphaRow/1920/1080");
BENCHMARK(BM_Video_Packed<MirrorRow32, kWidth * 4, kWidth * 4, kWidth>)->Name("BM_Video_MirrorRow32/1920/1080");

// 4:2:0 planes, each chroma row used for two rows of the picture.
void BM_Video_I420ToUyvy(benchmark::State& _state) {
    const auto luma = Noise(kWidth * kHeight), cb = Noise(kWidth / 2 * kHeight / 2, 2),
               cr = Noise(kWidth / 2 * kHeight / 2, 3);
    std::vector<uint8_t> dst(kWidth * 2 * kHeight);
    RunFrames(_state, luma.size() * 3 / 2 + dst.size(), [&](size_t y) {
        const size_t nChroma = y / 2 * (kWidth / 2);
        JoinUyvyRow(&luma[y * kWidth], &cb[nChroma], &cr[nChroma], &dst[y * kWidth * 2], kWidth / 2);
    });
}
BENCHMARK(BM_Video_I420ToUyvy)->Name("BM_Video_I420ToUyvy/1920/1080");

void BM_Video_Nv12ToUyvy(benchmark::State& _state) {
    const auto luma = Noise(kWidth * kHeight), cbcr = Noise(kWidth * kHeight / 2, 2);
    std::vector<uint8_t> dst(kWidth * 2 * kHeight);
    RunFrames(_state, luma.size() * 3 / 2 + dst.size(), [&](size_t y) {
        JoinUyvyRowNv12(&luma[y * kWidth], &cbcr[y / 2 * kWidth], &dst[y * kWidth * 2], kWidth / 2);
    });
}
BENCHMARK(BM_Video_Nv12ToUyvy)->Name("BM_Video_Nv12ToUyvy/1920/1080");

void BM_Video_SplitUyvy(benchmark::State& _state) {
    const auto src = Noise(kWidth * 2 * kHeight);
    std::vector<uint8_t> luma(kWidth * kHeight), cb(kWidth / 2 * kHeight), cr(kWidth / 2 * kHeight);
    RunFrames(_state, 2 * src.size(), [&](size_t y) {
        SplitUyvyRow(&src[y * kWidth * 2], &luma[y * kWidth], &cb[y * kWidth / 2], &cr[y * kWidth / 2], kWidth / 2);
    });
}
BENCHMARK(BM_Video_SplitUyvy)->Name("BM_Video_SplitUyvyRow/1920/1080");

}  // namespace
}  // namespace zr::bench
