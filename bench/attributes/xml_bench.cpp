// Reading and writing a scene file; bench/peers has the same text through another library.

#include <benchmark/benchmark.h>

#include "attributes/co_xml_node.h"
#include "support/scene_text.h"

namespace {

using namespace zr;

constexpr NameKey keyId{u"id"};

void BM_Attributes_XmlRead(benchmark::State& _state) {
    const std::u16string str = bench::SceneText(static_cast<size_t>(_state.range(0)));
    for (auto _ : _state) {
        const XMLNodePtr pNode = CoXMLNode::Create(u"scene", &keyId);
        if (Failed(pNode->Parse(std::u16string_view(str)))) _state.SkipWithError("not read");
    }
    _state.SetBytesProcessed(_state.iterations() * static_cast<int64_t>(str.size() * sizeof(char16_t)));
}
BENCHMARK(BM_Attributes_XmlRead)->Arg(1 << 20)->Unit(benchmark::kMicrosecond);

void BM_Attributes_XmlWrite(benchmark::State& _state) {
    const std::u16string str = bench::SceneText(static_cast<size_t>(_state.range(0)));
    const XMLNodePtr pNode = CoXMLNode::Create(u"scene", &keyId);
    pNode->Parse(std::u16string_view(str));
    size_t nCharacters = 0;
    for (auto _ : _state) {
        std::u16string strOut;
        pNode->Write(strOut);
        nCharacters = strOut.size();
        benchmark::DoNotOptimize(strOut.data());
    }
    _state.SetBytesProcessed(_state.iterations() * static_cast<int64_t>(nCharacters * sizeof(char16_t)));
}
BENCHMARK(BM_Attributes_XmlWrite)->Arg(1 << 20)->Unit(benchmark::kMicrosecond);

}  // namespace
