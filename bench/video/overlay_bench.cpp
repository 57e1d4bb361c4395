// Whole pictures laid over each other, on one thread.

#include "media/pixel_format.h"
#include "platform/thread_pool.h"
#include "video/mix_image.h"
#include "video/overlay_picture.h"
#include "video/video_bench.h"

namespace zr::bench {
namespace {

ZR_VID_PROPS Props(eZrFCC _fccType) {
    ZR_VID_PROPS props;
    props.fccType = _fccType;
    props.nWidth = kWidth;
    props.nHeight = PixelFormatBottomUp(_fccType) ? -static_cast<int32_t>(kHeight) : static_cast<int32_t>(kHeight);
    props.nRowBytes = MinRowBytes(_fccType, kWidth);
    return props;
}

// Range 0: alpha of the whole in percent. Range 1: what of the overlay is transparent: 0 nothing, 1 each pixel by
// chance, 2 all but a logo of a tenth of the width and height.
void BM_Video_ArgbOver(benchmark::State& _state, eZrFCC _fccBase) {
    const ZR_VID_PROPS baseProps = Props(_fccBase), overProps = Props(eZrFCC_ARGB32);
    std::vector<uint8_t> base = Noise(PictureBytes(baseProps)), over = Noise(PictureBytes(overProps), 2);
    for (size_t i = 0; i < over.size(); i += 4) {
        const size_t x = i / 4 % kWidth, y = i / 4 / kWidth;
        if (_state.range(1) == 0) over[i + 3] = 255;
        if (_state.range(1) == 2 && (x >= kWidth / 10 || y >= kHeight / 10))
            over[i] = over[i + 1] = over[i + 2] = over[i + 3] = 0;
    }
    ScalingEngine engine;
    const MIX_OPTIONS options{static_cast<double>(_state.range(0)) / 100, false, 0};
    for (auto _ : _state) {
        if (OverlayPicture(engine, base.data(), baseProps, nullptr, over.data(), overProps, nullptr, nullptr,
                           options) != S_OK)
            _state.SkipWithError("not mixed");
        benchmark::ClobberMemory();
    }
    _state.SetBytesProcessed(_state.iterations() * static_cast<int64_t>(2 * base.size() + over.size()));
}
BENCHMARK_CAPTURE(BM_Video_ArgbOver, UYVY, eZrFCC_UYVY)->Args({100, 1})->Args({50, 1})->Args({100, 0})->Args({100, 2});
BENCHMARK_CAPTURE(BM_Video_ArgbOver, HDYC, eZrFCC_HDYC)->Args({100, 1});
BENCHMARK_CAPTURE(BM_Video_ArgbOver, YUY2, eZrFCC_YUY2)->Args({100, 1});
BENCHMARK_CAPTURE(BM_Video_ArgbOver, RGB24, eZrFCC_RGB24)->Args({100, 1});
BENCHMARK_CAPTURE(BM_Video_ArgbOver, ARGB32, eZrFCC_ARGB32)->Args({100, 1});

}  // namespace
}  // namespace zr::bench
