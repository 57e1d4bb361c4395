// What the step to the output rate costs a frame of a file, with stereo sound, and what a built-in picture costs.

#include "sources/frame_rate_step.h"

#include <benchmark/benchmark.h>

#include <vector>

#include "frame_module/frame_factory.h"
#include "sources/picture_source.h"

namespace zr {
namespace {

// One second of 1080p frames; its frames are used again, moved on in time.
std::vector<ZrPtr<IZrFFrame>> MakeSecond(int32_t _nRate) {
    std::vector<ZrPtr<IZrFFrame>> arrFrames;
    for (int32_t n = 0; n < _nRate; ++n) {
        ZR_AV_PROPS props;
        props.vidProps.fccType = eZrFCC_UYVY;
        props.vidProps.nWidth = 1920;
        props.vidProps.nHeight = 1080;
        props.vidProps.dblRate = _nRate;
        props.audProps = {2, 48000, 16, 0};
        ZrPtr<IZrFFrame> p;
        CZrFrameFactory::Shared().ZrFFrameCreateFromMem(&props, 0, 48000 / _nRate, 0, p.Out(), nullptr);
        arrFrames.push_back(p);
    }
    return arrFrames;
}

void BM_Sources_FrameRateStep(benchmark::State& _state) {
    const auto nIn = static_cast<int32_t>(_state.range(0));
    const auto arrFrames = MakeSecond(nIn);
    FrameRateStep step;
    step.SetRate(static_cast<double>(_state.range(1)), 1.0);
    int64_t n = 0, nOut = 0;
    for (auto _ : _state) {
        IZrFFrame* const pFrame = arrFrames[static_cast<size_t>(n % nIn)].Get();
        ZR_TIME time;
        time.rtStartTime = (n * 10'000'000 + nIn / 2) / nIn;
        time.rtEndTime = ((n + 1) * 10'000'000 + nIn / 2) / nIn;
        pFrame->ZrFTimeSet(&time);
        step.Put(pFrame, {});
        ZrPtr<IZrFFrame> pOut;
        while (step.Get(&pOut) == S_OK) ++nOut;
        ++n;
    }
    _state.counters["out_frames"] = benchmark::Counter(static_cast<double>(nOut), benchmark::Counter::kIsRate);
}
// Rate of the file, rate of the output.
BENCHMARK(BM_Sources_FrameRateStep)->Args({25, 25})->Args({60, 25})->Args({25, 50})->Args({50, 60});

void BM_Sources_PictureFrame(benchmark::State& _state) {
    const auto pSource = ZrPtr<PictureSource>::Attach(new PictureSource);
    pSource->WorkerOpen(u"black", u"img.default_duration=1e8", 0);
    for (auto _ : _state) {
        ZrPtr<IZrFFrame> pFrame;
        pSource->WorkerFrameGet(0, pFrame.Out());
        benchmark::DoNotOptimize(pFrame);
    }
}
BENCHMARK(BM_Sources_PictureFrame);

}  // namespace
}  // namespace zr
