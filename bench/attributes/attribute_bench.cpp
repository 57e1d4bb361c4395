// Reading and setting attributes by name, as the mixer does it in every cycle.

#include <benchmark/benchmark.h>

#include <string>

#include "attributes/co_xml_node.h"

namespace {

using namespace zr;

// A node with as many keys as the settings of a mixer, doubles read once.
XMLNodePtr MakeNode(int _nKeys) {
    XMLNodePtr p = CoXMLNode::Create(u"object");
    for (int i = 0; i < _nKeys; ++i) {
        std::u16string strName = u"output.key_";
        strName += static_cast<char16_t>(u'a' + i / 26);
        strName += static_cast<char16_t>(u'a' + i % 26);
        p->SetAttribute(strName, i * 0.5);
    }
    p->SetAttribute(u"cut_overlapped", 1.0);
    return p;
}

void BM_Attributes_GetDouble(benchmark::State& _state) {
    const XMLNodePtr p = MakeNode(static_cast<int>(_state.range(0)) - 1);
    const char16_t* szName = u"cut_overlapped";
    for (auto _ : _state) {
        benchmark::DoNotOptimize(szName);
        double dbl = 0;
        p->GetAttribute(szName, dbl);
        benchmark::DoNotOptimize(dbl);
    }
}
BENCHMARK(BM_Attributes_GetDouble)->Arg(8)->Arg(60)->Arg(1000);

void BM_Attributes_GetDoubleByKey(benchmark::State& _state) {
    const XMLNodePtr p = MakeNode(static_cast<int>(_state.range(0)) - 1);
    static constexpr NameKey key{u"cut_overlapped"};
    for (auto _ : _state) {
        double dbl = 0;
        p->GetOwnAttribute(key, dbl);
        benchmark::DoNotOptimize(dbl);
    }
}
BENCHMARK(BM_Attributes_GetDoubleByKey)->Arg(60);

void BM_Attributes_GetDoublePath(benchmark::State& _state) {
    const XMLNodePtr pTop = CoXMLNode::Create(u"props");
    for (const char16_t* sz : {u"file", u"audio", u"stat"}) pTop->Find(sz, true);
    MakeNode(static_cast<int>(_state.range(0)) - 1)->CopyTo(*pTop->Find(u"object", true), true, eZrUT_Update);
    const char16_t* szName = u"object::cut_overlapped";
    for (auto _ : _state) {
        benchmark::DoNotOptimize(szName);
        double dbl = 0;
        pTop->GetAttribute(szName, dbl);
        benchmark::DoNotOptimize(dbl);
    }
}
BENCHMARK(BM_Attributes_GetDoublePath)->Arg(60);

void BM_Attributes_SetDouble(benchmark::State& _state) {
    const XMLNodePtr p = MakeNode(static_cast<int>(_state.range(0)) - 1);
    const char16_t* szName = u"cut_overlapped";
    double dbl = 0;
    for (auto _ : _state) {
        benchmark::DoNotOptimize(szName);
        p->SetAttribute(szName, dbl += 0.25);
    }
}
BENCHMARK(BM_Attributes_SetDouble)->Arg(60);

}  // namespace
