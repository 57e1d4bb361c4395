// What the picture of a cycle costs: frames put into streams, both passes of the scene, the composition. Processor time
// is that of all threads: new pictures are scaled on all processors.

#include <benchmark/benchmark.h>

#include "../../tests/support/drawn_show.h"

namespace zr {
namespace {

ZR_VID_PROPS Hd(eZrFCC _fcc = eZrFCC_UYVY) { return PictureProps(_fcc, 1920, 1080); }

// _body: the scene; the streams are "s0", "s1", ... Each shows as many frames in turn as the benchmark's argument says:
// with one the picture of a block stays, with two every frame is new, and with sixteen it comes from cold memory.
void DrawScene(benchmark::State& _state, std::u16string_view _body, const std::vector<ZR_VID_PROPS>& _streams,
               bool _bBase) {
    const auto nBuffers = static_cast<int>(_state.range(0));
    DrawnShow show(Hd());
    std::vector<std::vector<ZrPtr<IZrFFrame>>> arrFrames;
    for (size_t i = 0; i < _streams.size(); ++i) {
        show.AddStream(u"s" + std::u16string(1, static_cast<char16_t>(u'0' + i)));
        auto& arr = arrFrames.emplace_back();
        for (int n = 0; n < nBuffers; ++n) arr.push_back(ColourFrame(_streams[i], i % 2 == 0 ? u"FF8040" : u"4080FF"));
    }
    show.Scene(_body);
    const ZrPtr<IZrFFrame> pBase = _bBase ? ColourFrame(Hd(), u"204060") : ZrPtr<IZrFFrame>();
    size_t nFrame = 0;
    const auto Draw = [&] {
        for (size_t i = 0; i < arrFrames.size(); ++i) show.Show(i, arrFrames[i][nFrame % arrFrames[i].size()]);
        ++nFrame;
        return show.Draw(pBase.Get());
    };
    for (int i = 0; i < 8; ++i) Draw();
    for (auto _ : _state) {
        const ZrPtr<IZrFFrame> pFrame = Draw();
        benchmark::DoNotOptimize(pFrame.Get());
    }
    _state.SetItemsProcessed(_state.iterations());
}

void BM_Mixer_OneStream(benchmark::State& _state) {
    DrawScene(_state, u"<video id='a' stream_id='s0'/>", {Hd()}, false);
}
void BM_Mixer_Quad(benchmark::State& _state) {
    DrawScene(_state,
              u"<video id='a' stream_id='s0' pos='top-left' w='0.5' h='0.5'/>"
              u"<video id='b' stream_id='s1' pos='top-right' w='0.5' h='0.5'/>"
              u"<video id='c' stream_id='s2' pos='bottom-left' w='0.5' h='0.5'/>"
              u"<video id='d' stream_id='s3' pos='bottom-right' w='0.5' h='0.5'/>",
              {Hd(), Hd(), Hd(), Hd()}, false);
}
void BM_Mixer_PictureInPicture(benchmark::State& _state) {
    DrawScene(_state, u"<video id='a' stream_id='s0' w='0.33333' h='0.33333' alpha='0.7'/>",
              {PictureProps(eZrFCC_UYVY, 640, 360)}, true);
}
void BM_Mixer_PictureOver(benchmark::State& _state) {
    DrawScene(_state, u"<video id='a' stream_id='s0'/>", {Hd(eZrFCC_ARGB32)}, true);
}
void BM_Mixer_HalfAndHalf(benchmark::State& _state) {
    DrawScene(_state, u"<video id='a' stream_id='s0'/><video id='b' stream_id='s1' alpha='0.5'/>", {Hd(), Hd()}, false);
}
void BM_Mixer_Grid3x3(benchmark::State& _state) {
    std::u16string body;
    for (int i = 0; i < 9; ++i) {
        const char16_t* arrPos[] = {u"top-left", u"top",         u"top-right", u"left",        u"center",
                                    u"right",    u"bottom-left", u"bottom",    u"bottom-right"};
        const std::u16string n(1, static_cast<char16_t>(u'0' + i));
        body += u"<video id='v" + n + u"' stream_id='s" + n + u"' pos='" + arrPos[i] + u"' w='0.33333' h='0.33333'/>";
    }
    DrawScene(_state, body, std::vector<ZR_VID_PROPS>(9, PictureProps(eZrFCC_UYVY, 1280, 720)), false);
}
void BM_Mixer_CoveredStreams(benchmark::State& _state) {
    DrawScene(_state,
              u"<video id='a' stream_id='s0' w='0.7'/><video id='b' stream_id='s1' h='0.7'/>"
              u"<video id='c' stream_id='s2'/>",
              {Hd(), Hd(), Hd()}, false);
}
// A host that moves every element at every frame, and frames that are all new: each picture is made for its new place.
// Argument: whether the puts know that the scene has changed, as those of a synchronous mixer do.
void BM_Mixer_MovingQuad(benchmark::State& _state) {
    DrawnShow show(Hd());
    show.pObject->SetAttribute(u"scaling_quality.blocks", 16);  // Lanczos
    show.bAsCycles = _state.range(0) != 0;
    const char16_t* const arrPos[] = {u"top-left", u"top-right", u"bottom-left", u"bottom-right"};
    std::vector<ZrPtr<IZrFFrame>> arrFrames[4];
    std::u16string body;
    for (size_t i = 0; i < 4; ++i) {
        const std::u16string n(1, static_cast<char16_t>(u'0' + i));
        show.AddStream(u"s" + n);
        body += u"<video id='v" + n + u"' stream_id='s" + n + u"' pos='" + arrPos[i] + u"' w='0.5' h='0.5'/>";
        for (int k = 0; k < 2; ++k) arrFrames[i].push_back(ColourFrame(PictureProps(eZrFCC_UYVY, 3840, 2160)));
    }
    show.Scene(body);
    size_t nFrame = 0;
    for (auto _ : _state) {
        for (size_t i = 0; i < 4; ++i) {
            show.Show(i, arrFrames[i][nFrame % 2]);
            const std::u16string n(1, static_cast<char16_t>(u'0' + i));
            show.Element(u"v" + n)->SetAttribute(u"x", 0.002 * static_cast<double>(nFrame % 8));
        }
        ++show.nChanges;
        ++nFrame;
        const ZrPtr<IZrFFrame> pFrame = show.Draw();
        benchmark::DoNotOptimize(pFrame.Get());
    }
    _state.SetItemsProcessed(_state.iterations());
}
BENCHMARK(BM_Mixer_MovingQuad)->Arg(1)->Arg(0)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(BM_Mixer_OneStream)->Arg(1)->Arg(2)->Arg(16)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(BM_Mixer_Quad)->Arg(1)->Arg(2)->Arg(16)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(BM_Mixer_PictureInPicture)->Arg(1)->Arg(2)->Arg(16)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(BM_Mixer_PictureOver)->Arg(1)->Arg(2)->Arg(16)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(BM_Mixer_HalfAndHalf)->Arg(1)->Arg(2)->Arg(16)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(BM_Mixer_Grid3x3)->Arg(1)->Arg(2)->Arg(16)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(BM_Mixer_CoveredStreams)->Arg(1)->Arg(2)->Arg(16)->MeasureProcessCPUTime()->UseRealTime();

}  // namespace
}  // namespace zr
