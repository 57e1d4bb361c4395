// The walk over a scene of 200 elements as the mixer does it, with its blocks and streams, but for the pixels.

#include <benchmark/benchmark.h>

#include <string>

#include "../../tests/support/drawn_show.h"
#include "platform/wide_text.h"

namespace zr {
namespace {

constexpr uint64_t kGroups = 10, kOfGroup = 19;

// The first three of each group move: by steady motion, by a wave, by a change.
std::u16string Body() {
    const auto Numbered = [](std::u16string_view _name, uint64_t _n) {
        std::u16string text(_name);
        AppendPadded(text, _n, 1);
        return text;
    };
    std::u16string body;
    for (uint64_t g = 0; g < kGroups; ++g) {
        body += Numbered(u"<group w='0.5' h='0.5' pos='top-left' id='g", g) + u"'>";
        for (uint64_t v = 0; v < kOfGroup; ++v) {
            body += Numbered(u"<video w='0.2' h='0.2' pos='bottom-right' alpha='0.8' audio_gain='-3' id='v", v) +
                    Numbered(u"' stream_id='s", v) + Numbered(u"' x='0.", v) + Numbered(u"' y='0.", g) + u"'>";
            if (v == 0) body += u"<add x='0.1'/>";
            if (v == 1) body += u"<vary y='0.1' time='4'/>";
            if (v == 2) body += u"<node_from x='0.9' w='0.1' _change_time_='1000000'/>";
            body += u"</video>";
        }
        body += u"</group>";
    }
    return body;
}

void BM_Mixer_WalkScene(benchmark::State& _state) {
    DrawnShow show(PictureProps(eZrFCC_UYVY, 1920, 1080));
    for (size_t v = 0; v < kOfGroup; ++v) {
        std::u16string id = u"s";
        AppendPadded(id, v, 1);
        show.AddStream(id);
        show.Show(v, ColourFrame(PictureProps(eZrFCC_UYVY, 64, 36), u"red"));
    }
    show.Scene(Body());
    show.dblStep = 0.02;
    const auto Walk = [&] {
        show.step.WalkScene(show.output, show.arrList, {show.dblNow, show.dblNow + show.dblStep}, show.pScene.Get(),
                            show.nChanges);
        show.dblNow += show.dblStep;
    };
    for (int i = 0; i < 5; ++i) show.Draw();
    for (int i = 0; i < 50; ++i) Walk();
    for (auto _ : _state) Walk();
    if (!show.bReady) _state.SkipWithError("the scene is not drawn whole");
}
BENCHMARK(BM_Mixer_WalkScene)->Name("BM_Mixer_WalkScene/200/30");

}  // namespace
}  // namespace zr
