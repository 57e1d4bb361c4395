// Whole shows through the public interfaces, as fast as they go, the output discarded:
//     show_bench --scenario S1..S8 --frames N [--a FILE --b FILE] [--picture FILE]
// The sources are still pictures made once, of which every frame is a reference; S8 plays two files. Prints frames a
// second and CPU milliseconds a frame; --picture keeps the last frame for a look.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <map>
#include <string>
#include <vector>

#include "zr/zr.h"

namespace {

struct STREAM {
    std::string source;
    int nWidth, nHeight;  // 0: of the source
    std::string element;
};

std::vector<STREAM> Grid(int _nSide, int _nWidth, int _nHeight) {
    std::vector<STREAM> arrStreams;
    for (int i = 0; i < _nSide * _nSide; ++i) {
        char sz[128];
        std::snprintf(sz, sizeof sz, "pos='top-left' x='%.6f' y='%.6f' w='%.6f' h='%.6f'", i % _nSide / double(_nSide),
                      i / _nSide / double(_nSide), 1.0 / _nSide, 1.0 / _nSide);
        arrStreams.push_back({i % 2 == 0 ? "bars" : "bars100", _nWidth, _nHeight, sz});
    }
    return arrStreams;
}

std::map<std::string, std::vector<STREAM>> Scenarios(const std::string& _a, const std::string& _b) {
    const STREAM full{"bars", 1920, 1080, ""};
    return {{"S1", {full}},
            {"S2", Grid(2, 1920, 1080)},
            {"S3", {full, {"bars100", 1920, 1080, "w='0.333333' h='0.333333' alpha='0.7'"}}},
            {"S4", {full, {"80FF8040", 1920, 1080, ""}}},
            {"S5", {full, {"bars100", 1920, 1080, "alpha='0.5'"}}},
            {"S6", Grid(3, 1280, 720)},
            {"S7", {{"bars", 3840, 2160, ""}}},
            {"S8",
             {{_a, 0, 0, "pos='top-left' y='0.25' w='0.5' h='0.5'"},
              {_b, 0, 0, "pos='top-left' x='0.5' y='0.25' w='0.5' h='0.5'"}}}};
}

void Check(zr::HRESULT _hr, const std::string& _what) {
    if (zr::Succeeded(_hr)) return;
    std::fprintf(stderr, "show_bench: %s: %s\n", _what.c_str(), zr::StatusText(_hr).c_str());
    std::exit(1);
}

zr::Text ToText(const std::string& _text) { return zr::Text(std::string_view(_text)); }

void Build(zr::IZrObject* _pMixer, const std::string& _name, const std::vector<STREAM>& _streams) {
    const zr::ZrPtr<zr::IZrObject> pMixer(_pMixer);
    const auto pProps = pMixer.As<zr::IZrProps>();
    pProps->PropsSet(u"object::rate_control", u"0");
    pProps->PropsSet(u"object::sync_mode.get_max_wait", u"-1");
    if (_name == "S7") pProps->PropsSet(u"object::scaling_quality.blocks", u"4");
    if (_name == "S2") pProps->PropsSet(u"object::scaling_quality.blocks", u"1");
    zr::ZR_VID_PROPS props;
    props.eVideoFormat = zr::eZrVF_HD1080_25p;
    props.fccType = zr::eZrFCC_UYVY;
    Check(pMixer.As<zr::IZrFormat>()->FormatVideoSet(zr::eZrFT_Convert, &props), "format");
    zr::ZrPtr<zr::IZrElements> pScene;
    zr::ZrPtr<zr::IZrElement> pForeground;
    Check(pMixer.As<zr::IZrScenes>()->ScenesActiveGet(nullptr, nullptr, pScene.Out()), "scene");
    Check(pScene->ElementsGetByID(u"foreground", pForeground.Out()), "scene");
    for (size_t i = 0; i < _streams.size(); ++i) {
        const STREAM& stream = _streams[i];
        const std::string id = "s" + std::to_string(i);
        zr::ZrPtr<zr::IZrFile> pFile;  // of its own format, which the mixer does not choose
        Check(zr::ZrCreateInstance(zr::kClsidZrFile, pFile), "file source");
        std::string line = "loop='true'";
        if (stream.nWidth > 0)
            line += " width='" + std::to_string(stream.nWidth) + "' height='" + std::to_string(stream.nHeight) +
                    "' rate='25.0' pixel_format='UYVY'";
        Check(pFile->FileNameSet(ToText(stream.source).Get(), ToText(line).Get()), stream.source);
        Check(pFile->FilePlayStart(), stream.source);
        Check(pMixer.As<zr::IZrStreams>()->StreamsAdd(ToText(id).Get(), pFile.Get(), nullptr, nullptr, nullptr, 0), id);
        Check(pForeground.As<zr::IZrElements>()->ElementsAdd(
                  ToText(id).Get(), u"video", ToText("stream_id='" + id + "' " + stream.element).Get(), nullptr, 0),
              id);
    }
}

double Now() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

}  // namespace

int main(int argc, char** argv) {
    std::map<std::string, std::string> mapOptions;
    for (int i = 1; i + 1 < argc; i += 2) mapOptions[argv[i]] = argv[i + 1];
    const std::string name = mapOptions["--scenario"];
    const int nFrames = std::atoi(mapOptions["--frames"].c_str());
    const auto mapScenarios = Scenarios(mapOptions["--a"], mapOptions["--b"]);
    const auto it = mapScenarios.find(name);
    if (it == mapScenarios.end() || nFrames <= 0 || (name == "S8" && it->second[0].source.empty())) {
        std::fprintf(stderr, "show_bench --scenario S1..S8 --frames N [--a FILE --b FILE]\n");
        return 2;
    }
    zr::ZrPtr<zr::IZrObject> pMixer;
    Check(zr::ZrCreateInstance(zr::kClsidZrMixer, pMixer), "mixer");
    Build(pMixer.Get(), name, it->second);
    const auto pSource = pMixer.As<zr::IZrSource>();
    int64_t llReader = 0;
    const double dblStart = Now();
    const std::clock_t nCpuStart = std::clock();
    Check(pMixer->ObjectStart(nullptr), "mixer");
    for (int i = 0; i < nFrames; ++i) {
        zr::ZrPtr<zr::IZrFrame> pFrame;
        Check(pSource->SourceFrameGetEx(&llReader, -1, pFrame.Out(), 0), "frame");
        if (i == nFrames - 1 && mapOptions.contains("--picture"))
            Check(pFrame->FrameVideoSaveToFile(ToText(mapOptions["--picture"]).Get()), "picture");
    }
    const double dblCpu = static_cast<double>(std::clock() - nCpuStart) / CLOCKS_PER_SEC, dblWall = Now() - dblStart;
    pSource->SourceFrameGetEx(&llReader, 0, nullptr, -1);
    pMixer->ObjectClose();
    std::printf("%s %.0f fps %.3f CPU ms/frame\n", name.c_str(), nFrames / dblWall, dblCpu * 1000 / nFrames);
    return 0;
}
