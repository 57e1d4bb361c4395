// A scene of 200 elements, 30 of them on the move: what both passes of a frame cost without any pixel, and what it is
// to change to another.

#include <benchmark/benchmark.h>

#include <string>

#include "media/pixel_format.h"
#include "scenes/no_events.h"
#include "scenes/scene_draw.h"
#include "scenes/scenes_set.h"

namespace zr {
namespace {

// Streams that are always there.
class Videos final : public ISceneVideo {
public:
    bool CollectVideo(const VIDEO_ELEMENT& _video, DrawContext& _context, RECT_F* _pRect) override {
        ++_context.blocks_done;
        *_pRect = PlaceElement(_video.place, nullptr, _context.target_props, _video.parent, _video.previous);
        return true;
    }
    void DrawVideo(const VIDEO_ELEMENT&, DrawContext& _context) override { ++_context.blocks_done; }
    void DropVideo(CoElement&) override {}
    void ChangeEnded(CoElement&) override {}
};

std::u16string Digits(int _n) {
    const std::string s = std::to_string(_n);
    return {s.begin(), s.end()};
}

// Ten groups of 19 pictures each; the first three of each move: by steady motion, by a wave, by a change.
std::u16string SceneText() {
    std::u16string xml = u"<zr_scene><foreground id='foreground'>";
    for (int g = 0; g < 10; ++g) {
        xml += u"<group id='g" + Digits(g) + u"' w='0.5' h='0.5' pos='top-left' alpha='0.9'>";
        for (int v = 0; v < 19; ++v) {
            xml += u"<video id='v" + Digits(g * 19 + v) + u"' stream_id='stream-" + Digits(v) +
                   u"' x='0.1' y='0.2' w='0.3' h='0.3' pos='bottom-right' alpha='0.8' audio_gain='-3.0'>";
            if (v == 0) xml += u"<add x='0.1'/>";
            if (v == 1) xml += u"<vary y='0.1' time='4'/>";
            if (v == 2) xml += u"<node_from x='0.9' w='0.1' _change_time_='1000000'/>";
            xml += u"</video>";
        }
        xml += u"</group>";
    }
    return xml + u"</foreground></zr_scene>";
}

void BM_Scenes_BothPasses(benchmark::State& _state) {
    const ElementPtr pScene = CoElement::CreateTop(u"zr_scene");
    pScene->Parse(SceneText());
    const ElementPtr pForeground = pScene->FindChild(u"foreground");
    Videos videos;
    SceneWalk walk(videos);
    DrawContext context;
    context.target_props.fccType = eZrFCC_UYVY;
    context.target_props.nWidth = 1920;
    context.target_props.nHeight = 1080;
    context.target_props.dblRate = 50;
    double dblNow = 0;
    const auto Frame = [&] {
        for (const bool bDraw : {true, false}) {
            context.bDraw = bDraw;
            context.blocks_done = 0;
            context.now = dblNow + (bDraw ? 0 : 0.02);
            walk.Draw(context, *pScene, *pForeground);
        }
        dblNow += 0.02;
    };
    for (int i = 0; i < 10; ++i) Frame();
    for (auto _ : _state) Frame();
    if (context.blocks_done != 190) _state.SkipWithError("not all elements are drawn");
    _state.SetItemsProcessed(_state.iterations());
}
BENCHMARK(BM_Scenes_BothPasses)->Name("BM_Scenes_BothPasses/200/30");

// Another scene of 200 elements becomes active: the drawing waits for no more than that.
void BM_Scenes_Activate(benchmark::State& _state) {
    NoEvents events;
    ScenesSet set(events);
    for (const char16_t* szID : {u"a", u"b"}) {
        BSTR bs = SysAllocString(szID);
        set.Add(SceneText().c_str(), &bs, nullptr);
        SysFreeString(bs);
    }
    bool bFirst = true;
    for (auto _ : _state) {
        if (set.ActiveSet(bFirst ? u"a" : u"b", nullptr) != S_OK) _state.SkipWithError("not activated");
        bFirst = !bFirst;
    }
}
BENCHMARK(BM_Scenes_Activate)->Name("BM_Scenes_Activate/200");

}  // namespace
}  // namespace zr
