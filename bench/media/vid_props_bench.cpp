// The record arithmetic runs a few times per stream and frame; one 50 fps frame has 20 ms.

#include "media/vid_props.h"

#include <benchmark/benchmark.h>

#include "media/vid_props_text.h"

namespace zr {
namespace {

void BM_Media_NormalizeProps(benchmark::State& _state) {
    const bool bKeepOwnSize = _state.range(0) != 0;
    const ZR_VID_PROPS props = PropsFromFormat(eZrVF_HD1080_50p, eZrFCC_ARGB32);
    for (auto _ : _state) {
        ZR_VID_PROPS copy = props;
        benchmark::DoNotOptimize(NormalizeProps(&copy, bKeepOwnSize));
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(BM_Media_NormalizeProps)->ArgName("frame")->Arg(0)->Arg(1);

void BM_Media_SameProps(benchmark::State& _state) {
    const ZR_VID_PROPS a = PropsFromFormat(eZrVF_HD1080_50p, eZrFCC_ARGB32);
    ZR_VID_PROPS b = a;
    b.nRowBytes = 8192;
    for (auto _ : _state) benchmark::DoNotOptimize(SameProps(&a, &b, static_cast<int32_t>(_state.range(0))));
}
BENCHMARK(BM_Media_SameProps)->ArgName("level")->Arg(0)->Arg(3);

// The last candidate of the longest list, a stacked pair, and numbers of no format.
void BM_Media_DetectFormat(benchmark::State& _state) {
    const ZR_VID_PROPS arrProps[] = {
        PropsFromFormat(eZrVF_HD1080_60p, eZrFCC_UYVY),
        PropsFromFormat(eZrVF_3D_Full_TnB_1080_24p, eZrFCC_UYVY),
        {{}, eZrFCC_UYVY, 640, 360, 1280, eZrI_Progressive, 16, 9, 25},
    };
    for (auto _ : _state) benchmark::DoNotOptimize(DetectFormat(&arrProps[_state.range(0)], false));
}
BENCHMARK(BM_Media_DetectFormat)->ArgName("record")->Arg(0)->Arg(1)->Arg(2);

void BM_Media_VideoTechnicalText(benchmark::State& _state) {
    const ZR_VID_PROPS props = PropsFromFormat(eZrVF_HD1080_5994i, eZrFCC_HDYC);
    for (auto _ : _state) benchmark::DoNotOptimize(VideoTechnicalText(&props));
}
BENCHMARK(BM_Media_VideoTechnicalText);

}  // namespace
}  // namespace zr
