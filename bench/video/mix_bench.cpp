#include "video/kernels/mix_row.h"
#include "video/video_bench.h"

namespace zr::bench {
namespace {

// An overlay over a base of the same size; every byte of the base is read and written, every byte of the others read.
struct Layers {
    explicit Layers(size_t _nBytesPerPixel)
        : cbRow(kWidth * _nBytesPerPixel),
          over(Noise(cbRow * kHeight)),
          base(Noise(cbRow * kHeight, 2)),
          mask(Noise(kWidth * kHeight, 3)) {}
    size_t MovedBytes(bool _bMask) const { return 3 * base.size() + (_bMask ? mask.size() : 0); }
    size_t cbRow;
    std::vector<uint8_t> over, base, mask;
};

void BM_Video_MixPlainRow(benchmark::State& _state) {
    Layers l(2);
    RunFrames(_state, l.MovedBytes(false),
              [&](size_t y) { MixPlainRow(&l.over[y * l.cbRow], &l.base[y * l.cbRow], l.cbRow, 128); });
}
BENCHMARK(BM_Video_MixPlainRow)->Name("BM_Video_MixPlainRow422/1920/1080");

void BM_Video_Fade128Row(benchmark::State& _state) {
    Layers l(2);
    RunFrames(_state, l.MovedBytes(false),
              [&](size_t y) { Fade128Row(&l.over[y * l.cbRow], &l.base[y * l.cbRow], l.cbRow, 64); });
}
BENCHMARK(BM_Video_Fade128Row)->Name("BM_Video_Fade128Row422/1920/1080");

template <auto kRow, size_t kBytesPerPixel>
void BM_Video_MixMask(benchmark::State& _state) {
    Layers l(kBytesPerPixel);
    const auto nA = static_cast<uint32_t>(_state.range(0));
    RunFrames(_state, l.MovedBytes(true),
              [&](size_t y) { kRow(&l.over[y * l.cbRow], &l.mask[y * kWidth], &l.base[y * l.cbRow], kWidth, nA); });
}
void OffsetUyvy(const uint8_t* _pOver, const uint8_t* _pMask, uint8_t* _pBase, size_t _nPixels, uint32_t _nA) {
    MixMaskOffsetRow422(_pOver, _pMask, _pBase, _nPixels, _nA, eLumaAt::Odd);
}
BENCHMARK(BM_Video_MixMask<MixMaskPlainRow422, 2>)
    ->Name("BM_Video_MixMaskPlainRow422/1920/1080/weight")
    ->Arg(256)
    ->Arg(128);
BENCHMARK(BM_Video_MixMask<OffsetUyvy, 2>)->Name("BM_Video_MixMaskOffsetRow422/1920/1080/weight")->Arg(256)->Arg(128);
BENCHMARK(BM_Video_MixMask<MixMaskPremulRow32, 4>)->Name("BM_Video_MixMaskPremulRow32/1920/1080/weight")->Arg(256);
BENCHMARK(BM_Video_MixMask<MixMaskPremulRow24, 3>)->Name("BM_Video_MixMaskPremulRow24/1920/1080/weight")->Arg(256);

void BM_Video_MixOverRow(benchmark::State& _state) {
    Layers l(4);
    const auto nA = static_cast<uint32_t>(_state.range(0));
    RunFrames(_state, l.MovedBytes(false),
              [&](size_t y) { MixOverRow(&l.over[y * l.cbRow], &l.base[y * l.cbRow], kWidth, nA); });
}
BENCHMARK(BM_Video_MixOverRow)->Name("BM_Video_MixOverRow/1920/1080/weight")->Arg(256)->Arg(128);

}  // namespace
}  // namespace zr::bench
