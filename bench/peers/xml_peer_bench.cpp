// Reading and writing a scene file through pugixml, from and to UTF-16, beside BM_Attributes_XmlRead and _XmlWrite.

#include <benchmark/benchmark.h>

#include <pugixml.hpp>

#include "support/scene_text.h"

namespace {

void BM_Peers_PugixmlRead(benchmark::State& _state) {
    const std::u16string str = zr::bench::SceneText(static_cast<size_t>(_state.range(0)));
    for (auto _ : _state) {
        pugi::xml_document doc;
        const pugi::xml_parse_result result =
            doc.load_buffer(str.data(), str.size() * sizeof(char16_t), pugi::parse_default, pugi::encoding_utf16_le);
        if (!result) _state.SkipWithError(result.description());
        benchmark::DoNotOptimize(doc);
    }
    _state.SetBytesProcessed(_state.iterations() * static_cast<int64_t>(str.size() * sizeof(char16_t)));
}
BENCHMARK(BM_Peers_PugixmlRead)->Arg(1 << 20)->Unit(benchmark::kMicrosecond);

class Utf16Text : public pugi::xml_writer {
public:
    void write(const void* _pData, size_t _cb) override {
        str.append(static_cast<const char16_t*>(_pData), _cb / sizeof(char16_t));
    }
    std::u16string str;
};

void BM_Peers_PugixmlWrite(benchmark::State& _state) {
    const std::u16string str = zr::bench::SceneText(static_cast<size_t>(_state.range(0)));
    pugi::xml_document doc;
    doc.load_buffer(str.data(), str.size() * sizeof(char16_t), pugi::parse_default, pugi::encoding_utf16_le);
    size_t nCharacters = 0;
    for (auto _ : _state) {
        Utf16Text text;
        doc.save(text, "\t", pugi::format_default | pugi::format_no_declaration, pugi::encoding_utf16_le);
        nCharacters = text.str.size();
        benchmark::DoNotOptimize(text.str.data());
    }
    _state.SetBytesProcessed(_state.iterations() * static_cast<int64_t>(nCharacters * sizeof(char16_t)));
}
BENCHMARK(BM_Peers_PugixmlWrite)->Arg(1 << 20)->Unit(benchmark::kMicrosecond);

}  // namespace
