// What a host does to scenes with thousands of elements while the drawing waits for the lock.

#include <benchmark/benchmark.h>

#include <string>

#include "platform/wide_text.h"
#include "scenes/no_events.h"
#include "scenes/scenes_set.h"

namespace zr {
namespace {

std::u16string Numbered(std::u16string_view _name, uint64_t _n) {
    std::u16string text(_name);
    AppendPadded(text, _n, 1);
    return text;
}

// A view of 1000 ids in a scene of 3000 elements below 30 groups, gone to back and forth.
void BM_Scenes_GoToView(benchmark::State& _state) {
    std::u16string xml = u"<zr_scene><foreground>";
    for (uint64_t g = 0; g < 30; ++g) {
        xml += u"<group id='" + Numbered(u"g", g) + u"'>";
        for (uint64_t v = 0; v < 100; ++v) xml += u"<video id='" + Numbered(u"v", g * 100 + v) + u"' x='0'/>";
        xml += u"</group>";
    }
    xml += u"</foreground><view><a";
    for (uint64_t v = 0; v < 1000; ++v) xml += u" " + Numbered(u"v", v * 3) + u"='x=0.5'";
    xml += u"/><b";
    for (uint64_t v = 0; v < 1000; ++v) xml += u" " + Numbered(u"v", v * 3) + u"='x=0'";
    xml += u"/></view></zr_scene>";
    NoEvents events;
    ScenesSet set(events);
    const ElementPtr pScene = set.Active();
    pScene->Parse(xml);
    const ElementPtr arrViews[] = {pScene->Find(u"view::a"), pScene->Find(u"view::b")};
    size_t n = 0;
    for (auto _ : _state) arrViews[n++ % 2]->ElementInvoke(nullptr, nullptr, 0);
    if (pScene->Find(u"foreground::g29::v2997")->AttributeOr(u"x", 0.0) != (n % 2 != 0 ? 0.5 : 0.0))
        _state.SkipWithError("the view was not gone to");
}
BENCHMARK(BM_Scenes_GoToView)->Name("BM_Scenes_GoToView/1000/3000")->Unit(benchmark::kMicrosecond);

// Adds that leave the id to the scene.
void BM_Scenes_AddNumbered(benchmark::State& _state) {
    NoEvents events;
    ScenesSet set(events);
    const ElementPtr pScene = set.Active();
    for (auto _ : _state) {
        for (int i = 0; i < 10000; ++i) pScene->ElementsAdd(nullptr, u"video", u"x=0.1", nullptr, 0);
        if (!pScene->Find(u"video_9999")) _state.SkipWithError("not all have their numbers");
        pScene->NodeRemoveAll(0);
    }
}
BENCHMARK(BM_Scenes_AddNumbered)->Name("BM_Scenes_AddNumbered/10000")->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zr
