// Keys and attributes through the public faces: what a host's calls cost.

#include <benchmark/benchmark.h>

#include "attributes/mixer_keys.h"
#include "attributes/props_impl.h"
#include "zr/text.h"

namespace zr {
namespace {

class BenchHost final : public IPropsHost {};

void BM_Attributes_PropsSet(benchmark::State& _state) {
    BenchHost host;
    ZrPropsHW props(MixerProfile(), host);
    for (auto _ : _state) benchmark::DoNotOptimize(props.PropsSet_I(u"object::cut_overlapped", u"false"));
}
BENCHMARK(BM_Attributes_PropsSet);

void BM_Attributes_PropsGet(benchmark::State& _state) {
    BenchHost host;
    ZrPropsHW props(MixerProfile(), host);
    for (auto _ : _state) {
        BSTR bsValue = nullptr;
        benchmark::DoNotOptimize(props.PropsGet_I(u"object::last_scene.path", &bsValue));
        SysFreeString(bsValue);
    }
}
BENCHMARK(BM_Attributes_PropsGet);

XMLNodePtr SceneNode() {
    XMLNodePtr p = CoXMLNode::Create(u"scene");
    p->AttributesMultipleSet(u"group::video::x=0.25 group::video::y=0.5 group::video::alpha=1.0 group::video::z=7",
                             eZrUT_Update);
    return p;
}

void BM_Attributes_AttributesIntGet(benchmark::State& _state) {
    const XMLNodePtr p = SceneNode();
    int32_t nValue = 0;
    for (auto _ : _state) benchmark::DoNotOptimize(p->AttributesIntGet(u"group::video::z", &nValue));
}
BENCHMARK(BM_Attributes_AttributesIntGet);

void BM_Attributes_AttributesDoubleGet(benchmark::State& _state) {
    const XMLNodePtr p = SceneNode();
    double dblValue = 0;
    for (auto _ : _state) benchmark::DoNotOptimize(p->AttributesDoubleGet(u"group::video::x", &dblValue));
}
BENCHMARK(BM_Attributes_AttributesDoubleGet);

void BM_Attributes_AttributesMultipleSet(benchmark::State& _state) {
    const XMLNodePtr p = CoXMLNode::Create(u"video");
    for (auto _ : _state)
        benchmark::DoNotOptimize(p->AttributesMultipleSet(
            u"x=0.25 y=0.5 w=0.5 h=0.5 alpha=1.0 show=true pos='top-left' stream_id='camera 1' audio_gain=-6.0 sx=0",
            eZrUT_Update));
    _state.SetItemsProcessed(_state.iterations() * 10);
}
BENCHMARK(BM_Attributes_AttributesMultipleSet);

}  // namespace
}  // namespace zr
