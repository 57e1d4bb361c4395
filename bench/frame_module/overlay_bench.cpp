// Frames laid over frames, 1080p, on one thread: the whole operation as a host calls it.

#include <benchmark/benchmark.h>

#include "frame_module/frame_factory.h"
#include "media/pixel_format.h"

namespace zr::bench {
namespace {

ZrPtr<IZrFFrame> Frame(eZrFCC _fccType, int32_t _nWidth, int32_t _nHeight, const char16_t* _szColour) {
    ZR_AV_PROPS props;
    props.vidProps.fccType = _fccType;
    props.vidProps.nWidth = _nWidth;
    props.vidProps.nHeight = PixelFormatBottomUp(_fccType) ? -_nHeight : _nHeight;
    props.vidProps.dblRate = 50;
    ZrPtr<IZrFFrame> pFrame;
    CZrFrameFactory::Shared().ZrFFrameCreateFromMem(&props, 0, 0, 0, pFrame.Out(), _szColour);
    return pFrame;
}

void Report(benchmark::State& _state, HRESULT _hr, size_t _cbMoved) {
    if (_hr != S_OK) _state.SkipWithError("not laid over");
    _state.SetBytesProcessed(_state.iterations() * static_cast<int64_t>(_cbMoved));
}

constexpr size_t kPixels = 1920 * 1080;

// A picture with alpha over the whole of a frame.
void BM_FrameModule_OverlayArgb(benchmark::State& _state) {
    const auto pBase = Frame(eZrFCC_HDYC, 1920, 1080, u"color=blue"),
               pOver = Frame(eZrFCC_ARGB32, 1920, 1080, u"color=60(128)");
    HRESULT hr = S_OK;
    for (auto _ : _state) hr = pBase->ZrFOverlay(pOver.Get(), nullptr, 0, 0, 1, nullptr, nullptr);
    Report(_state, hr, kPixels * (4 + 2 + 2));
}
BENCHMARK(BM_FrameModule_OverlayArgb)->Name("BM_FrameModule_OverlayArgb/1920/1080");

// The same with a mask of its own and no alpha: formula with 8-bit masks.
void BM_FrameModule_OverlayMask(benchmark::State& _state) {
    const auto pBase = Frame(eZrFCC_HDYC, 1920, 1080, u"color=blue"),
               pOver = Frame(eZrFCC_HDYC, 1920, 1080, u"color=red"),
               pMask = Frame(eZrFCC_RGB8, 1920, 1080, u"color=grey");
    HRESULT hr = S_OK;
    for (auto _ : _state) hr = pBase->ZrFOverlay(pOver.Get(), pMask.Get(), 0, 0, 1, nullptr, nullptr);
    Report(_state, hr, kPixels * (2 + 2 + 2 + 1));
}
BENCHMARK(BM_FrameModule_OverlayMask)->Name("BM_FrameModule_OverlayMask/1920/1080");

// A 1080p picture into a quarter of the frame, linear.
void BM_FrameModule_OverlayQuarter(benchmark::State& _state) {
    const auto pBase = Frame(eZrFCC_HDYC, 1920, 1080, u"color=blue"),
               pOver = Frame(eZrFCC_HDYC, 1920, 1080, u"color=red");
    const ZRF_RECT rect{0.5, 0.5, 0.5, 0.5, eZrFRT_Relative};
    HRESULT hr = S_OK;
    for (auto _ : _state)
        hr = pBase->ZrFOverlayRect(pOver.Get(), nullptr, &rect, eZrFOF_LetterBox, 1, nullptr, nullptr);
    Report(_state, hr, kPixels * 2 + kPixels / 4 * 4);
}
BENCHMARK(BM_FrameModule_OverlayQuarter)->Name("BM_FrameModule_OverlayQuarter/1920/1080");

// What a call costs beside its pixels.
void BM_FrameModule_OverlaySmallLogo(benchmark::State& _state) {
    const auto pBase = Frame(eZrFCC_HDYC, 1920, 1080, u"color=blue"),
               pOver = Frame(eZrFCC_ARGB32, 16, 16, u"color=60(128)");
    HRESULT hr = S_OK;
    for (auto _ : _state) hr = pBase->ZrFOverlay(pOver.Get(), nullptr, 1800, 40, 1, nullptr, nullptr);
    Report(_state, hr, 16 * 16 * 8);
}
BENCHMARK(BM_FrameModule_OverlaySmallLogo);

}  // namespace
}  // namespace zr::bench
