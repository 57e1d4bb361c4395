// What every frame of a show pays before any pixel is touched.

#include "frame_module/frame.h"

#include <benchmark/benchmark.h>

#include "frame_module/frame_factory.h"

namespace zr {
namespace {

ZrPtr<IZrFFrame> MakeFrame(int32_t _nWidth, int32_t _nHeight, int32_t _nSamples) {
    ZR_AV_PROPS props;
    props.vidProps.fccType = eZrFCC_UYVY;
    props.vidProps.nWidth = _nWidth;
    props.vidProps.nHeight = _nHeight;
    props.vidProps.dblRate = 50;
    props.audProps = {2, 48000, 16, 0};
    ZrPtr<IZrFFrame> p;
    CZrFrameFactory::Shared().ZrFFrameCreateFromMem(&props, 0, _nSamples, 0, p.Out(), nullptr);
    return p;
}

void BM_FrameModule_CloneReference(benchmark::State& _state) {
    const ZrPtr<IZrFFrame> pFrame = MakeFrame(1920, 1080, static_cast<int32_t>(_state.range(0)));
    for (auto _ : _state) {
        ZrPtr<IZrFFrame> pClone;
        pFrame->ZrFClone(pClone.Out(), eZrFC_Reference, eZrFCC_Default);
        benchmark::DoNotOptimize(pClone);
    }
}
// Samples of 16-bit stereo that go along: none, those of a frame at 50 and at 25 frames a second.
BENCHMARK(BM_FrameModule_CloneReference)->Arg(0)->Arg(960)->Arg(1920);

void BM_FrameModule_CloneReferenceWithData(benchmark::State& _state) {
    const ZrPtr<IZrFFrame> pFrame = MakeFrame(1920, 1080, 0);
    const uint8_t arr[48] = {};
    pFrame->ZrFDataSet(u"SRMT", sizeof(arr), reinterpret_cast<int64_t>(arr));
    for (auto _ : _state) {
        ZrPtr<IZrFFrame> pClone;
        pFrame->ZrFClone(pClone.Out(), eZrFC_Reference, eZrFCC_Default);
        benchmark::DoNotOptimize(pClone);
    }
}
BENCHMARK(BM_FrameModule_CloneReferenceWithData);

void BM_FrameModule_CutRectangle(benchmark::State& _state) {
    const ZrPtr<IZrFFrame> pFrame = MakeFrame(1920, 1080, 960);
    const tagRECT rect{100, 100, 1500, 1000};
    for (auto _ : _state) {
        ZrPtr<IZrFFrame> pCut;
        pFrame->ZrFCut(0, &rect, pCut.Out());
        benchmark::DoNotOptimize(pCut);
    }
}
BENCHMARK(BM_FrameModule_CutRectangle);

void BM_FrameModule_CutField(benchmark::State& _state) {
    const ZrPtr<IZrFFrame> pFrame = MakeFrame(1920, 1080, 960);
    for (auto _ : _state) {
        ZrPtr<IZrFFrame> pCut;
        pFrame->ZrFCut(1, nullptr, pCut.Out());
        benchmark::DoNotOptimize(pCut);
    }
}
BENCHMARK(BM_FrameModule_CutField);

// A frame for a converter to write into: room and a record; then it is dropped.
void BM_FrameModule_CreateAndRelease(benchmark::State& _state) {
    const auto cb = static_cast<uint32_t>(_state.range(0));
    const size_t nBlocks = BufferPool::Shared().BlockCount();
    for (auto _ : _state) {
        ZrPtr<IZrFrame> pFrame;
        CZrFrameFactory::Shared().FrameCreateSized(cb, 0, 0, pFrame.Out());
        benchmark::DoNotOptimize(pFrame);
    }
    _state.counters["blocks_made"] = static_cast<double>(BufferPool::Shared().BlockCount() - nBlocks);
}
BENCHMARK(BM_FrameModule_CreateAndRelease)->Arg(720 * 576 * 2)->Arg(1920 * 1080 * 2)->Arg(3840 * 2160 * 4);
BENCHMARK(BM_FrameModule_CreateAndRelease)->Arg(1920 * 1080 * 2)->Threads(2);

void BM_FrameModule_CopyPicture(benchmark::State& _state) {
    const ZrPtr<IZrFFrame> pFrame = MakeFrame(1920, 1080, 0);
    for (auto _ : _state) {
        ZrPtr<IZrFFrame> pClone;
        pFrame->ZrFClone(pClone.Out(), eZrFC_Full, eZrFCC_Default);
        benchmark::DoNotOptimize(pClone);
    }
    _state.SetBytesProcessed(_state.iterations() * 1920 * 1080 * 2);
}
BENCHMARK(BM_FrameModule_CopyPicture);

}  // namespace
}  // namespace zr
