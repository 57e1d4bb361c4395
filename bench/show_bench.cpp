// Whole shows in synchronous operation, as fast as they go, the output discarded:
//     show_bench --scenario S1..S8 --frames N [--buffers N] [--a FILE --b FILE] [--picture FILE]
// The sources give references to frames that are made before: each has one, a still picture, or goes through --buffers
// different ones in turn, which is what live sources do: every frame is new, with two it comes from warm memory and
// with sixteen from cold. The mixer draws on all processors. S8 plays two files. Prints frames a second and CPU
// milliseconds a frame; --picture keeps the last frame for a look.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "media/transport_interfaces.h"
#include "platform/unknown.h"
#include "zr/zr.h"

namespace {

void Check(zr::HRESULT _hr, const std::string& _what) {
    if (zr::Succeeded(_hr)) return;
    std::fprintf(stderr, "show_bench: %s: %s\n", _what.c_str(), zr::StatusText(_hr).c_str());
    std::exit(1);
}

zr::Text ToText(const std::string& _text) { return zr::Text(std::string_view(_text)); }

// ---- Sources

constexpr int kSampleRate = 48000, kFrameSamples = kSampleRate / 25;

// A picture of soft ramps, another for each number; ARGB32 with colours multiplied by its alpha, which grows to the
// right.
std::vector<uint8_t> DrawPicture(zr::eZrFCC _fccType, int _nWidth, int _nHeight, int _nNumber) {
    const bool bAlpha = _fccType == zr::eZrFCC_ARGB32;
    const size_t cbPixel = bAlpha ? 4 : 2;
    std::vector<uint8_t> arrBytes(static_cast<size_t>(_nWidth) * static_cast<size_t>(_nHeight) * cbPixel);
    uint8_t* p = arrBytes.data();
    for (int y = 0; y < _nHeight; ++y) {
        for (int x = 0; x < _nWidth; ++x, p += cbPixel) {
            const int nAcross = 255 * x / _nWidth, nDown = 255 * y / _nHeight, nMoved = (nAcross + 16 * _nNumber) % 256;
            if (bAlpha) {
                const int arrColours[] = {128, nDown, nMoved, 255};
                for (int i = 0; i < 4; ++i) p[i] = static_cast<uint8_t>(arrColours[i] * nAcross / 255);
            } else {
                p[0] = static_cast<uint8_t>(x % 2 == 0 ? 64 + nDown / 2 : 64 + nMoved / 2);
                p[1] = static_cast<uint8_t>(16 + nMoved * 219 / 255);
            }
        }
    }
    return arrBytes;
}

// Frames in turn, over and over, without end.
class RingSource final : public zr::UnknownImpl<zr::IZrSource_I> {
public:
    RingSource(zr::eZrFCC _fccType, int _nWidth, int _nHeight, bool _bSound, int _nBuffers) {
        zr::ZrPtr<zr::IZrFFactory> pFactory;
        Check(zr::ZrCreateInstance(zr::kClsidZrFrameFactory, pFactory), "frame factory");
        zr::ZR_AV_PROPS props;
        props.vidProps.fccType = _fccType;
        props.vidProps.nWidth = _nWidth;
        props.vidProps.nHeight = _nHeight;
        props.vidProps.eInterlace = zr::eZrI_Progressive;
        props.vidProps.dblRate = 25.0;
        if (_bSound) props.audProps = {2, kSampleRate, 16, 0};
        std::vector<int16_t> arrSound(2 * kFrameSamples);
        for (size_t i = 0; i < arrSound.size(); ++i) arrSound[i] = static_cast<int16_t>(i / 2 * 37 % 6000);
        arrFrames.resize(static_cast<size_t>(_nBuffers));
        for (int i = 0; i < _nBuffers; ++i) {
            const std::vector<uint8_t> arrBytes = DrawPicture(_fccType, _nWidth, _nHeight, i);
            Check(pFactory->ZrFFrameCreateFromMem(
                      &props, reinterpret_cast<int64_t>(arrBytes.data()), _bSound ? kFrameSamples : 0,
                      reinterpret_cast<int64_t>(arrSound.data()), arrFrames[static_cast<size_t>(i)].Out(), nullptr),
                  "frame");
        }
    }

    zr::HRESULT SourceFrameGet_I(int64_t, zr::IZrFFrame** _ppFrame, const char16_t*) override {
        return arrFrames[nNext++ % arrFrames.size()]->ZrFClone(_ppFrame, zr::eZrFC_Reference, zr::eZrFCC_Default);
    }
    zr::HRESULT SourceFrameGetEx_I(uint64_t* _pllReaderID, int64_t _rtMaxWait, zr::IZrFFrame** _ppFrame,
                                   const char16_t* _szParam) override {
        if (*_pllReaderID == 0) *_pllReaderID = 1;
        return _ppFrame ? SourceFrameGet_I(_rtMaxWait, _ppFrame, _szParam) : zr::S_OK;
    }
    zr::HRESULT ReaderKeep(uint64_t) override { return zr::S_OK; }
    zr::HRESULT ReaderRemove(uint64_t) override { return zr::S_OK; }
    zr::HRESULT ProcessAdd(uint32_t) override { return zr::E_NOTIMPL; }
    zr::HRESULT ProcessRemove(uint32_t) override { return zr::E_NOTIMPL; }
    zr::HRESULT ProcessCheck(zr::Waitable**) override { return zr::E_NOTIMPL; }
    zr::HRESULT LastFrameGet(zr::IZrFFrame** _ppFrame) override { return arrFrames[0].CopyTo(_ppFrame); }

private:
    std::vector<zr::ZrPtr<zr::IZrFFrame>> arrFrames;
    size_t nNext = 0;
};

zr::ZrPtr<zr::IZrFile> OpenFile(const std::string& _file) {
    zr::ZrPtr<zr::IZrFile> pFile;  // of its own format, which the mixer does not choose
    Check(zr::ZrCreateInstance(zr::kClsidZrFile, pFile), "file source");
    Check(pFile->FileNameSet(ToText(_file).Get(), u"loop='true'"), _file);
    Check(pFile->FilePlayStart(), _file);
    return pFile;
}

// ---- Shows

struct STREAM {
    zr::eZrFCC fccType;
    int nWidth, nHeight;
    std::string element = {};
    bool bSound = false;
    std::string file = {};  // empty: frames made here
};

constexpr zr::eZrFCC kUyvy = zr::eZrFCC_UYVY;

std::vector<STREAM> Grid(int _nSide, int _nWidth, int _nHeight, bool _bSound) {
    std::vector<STREAM> arrStreams;
    for (int i = 0; i < _nSide * _nSide; ++i) {
        char sz[128];
        std::snprintf(sz, sizeof sz, "pos='top-left' x='%.6f' y='%.6f' w='%.6f' h='%.6f'", i % _nSide / double(_nSide),
                      i / _nSide / double(_nSide), 1.0 / _nSide, 1.0 / _nSide);
        arrStreams.push_back({kUyvy, _nWidth, _nHeight, sz, _bSound, ""});
    }
    return arrStreams;
}

struct SHOW {
    std::vector<STREAM> arrStreams;
    const char16_t* szQuality = u"2";
};

std::map<std::string, SHOW> Scenarios(const std::string& _a, const std::string& _b) {
    const STREAM full{kUyvy, 1920, 1080, ""};
    const auto Over = [](zr::eZrFCC _fccType, const char* _szElement) {
        return STREAM{_fccType, 1920, 1080, _szElement};
    };
    return {
        {"S1", {{full}}},
        {"S2", {Grid(2, 1920, 1080, false)}},
        {"S3", {{full, Over(kUyvy, "pos='top-left' x='0.625' y='0.592593' w='0.333333' h='0.333333' alpha='0.7'")}}},
        {"S4", {{full, Over(zr::eZrFCC_ARGB32, "")}}},
        {"S5", {{full, Over(kUyvy, "alpha='0.5'")}}},
        {"S6", {Grid(3, 1280, 720, true)}},
        {"S7", {{{kUyvy, 3840, 2160, ""}}, u"9"}},
        {"S8",
         {{{kUyvy, 0, 0, "pos='top-left' y='0.25' w='0.5' h='0.5'", true, _a},
           {kUyvy, 0, 0, "pos='top-left' x='0.5' y='0.25' w='0.5' h='0.5'", true, _b}}}}};
}

void Build(zr::IZrObject* _pMixer, const SHOW& _show, int _nBuffers) {
    const zr::ZrPtr<zr::IZrObject> pMixer(_pMixer);
    const auto pProps = pMixer.As<zr::IZrProps>();
    pProps->PropsSet(u"object::rate_control", u"0");
    pProps->PropsSet(u"object::sync_mode.get_max_wait", u"-1");
    pProps->PropsSet(u"object::scaling_quality.blocks", _show.szQuality);
    const std::string threads = std::to_string(std::thread::hardware_concurrency());
    pProps->PropsSet(u"object::mixing.threads", ToText(threads).Get());
    zr::ZR_VID_PROPS props;
    props.eVideoFormat = zr::eZrVF_HD1080_25p;
    props.fccType = kUyvy;
    const auto pFormat = pMixer.As<zr::IZrFormat>();
    Check(pFormat->FormatVideoSet(zr::eZrFT_Convert, &props), "format");
    const zr::ZR_AUD_PROPS sound{2, kSampleRate, 16, 0};
    if (_show.arrStreams[0].bSound) Check(pFormat->FormatAudioSet(zr::eZrFT_Convert, &sound), "format of sound");
    zr::ZrPtr<zr::IZrElements> pScene;
    zr::ZrPtr<zr::IZrElement> pForeground;
    Check(pMixer.As<zr::IZrScenes>()->ScenesActiveGet(nullptr, nullptr, pScene.Out()), "scene");
    Check(pScene->ElementsGetByID(u"foreground", pForeground.Out()), "scene");
    for (size_t i = 0; i < _show.arrStreams.size(); ++i) {
        const STREAM& stream = _show.arrStreams[i];
        const std::string id = "s" + std::to_string(i);
        zr::ZrPtr<zr::IUnknown> pSource;
        if (stream.file.empty())
            pSource = zr::ZrPtr<zr::IUnknown>::Attach(
                new RingSource(stream.fccType, stream.nWidth, stream.nHeight, stream.bSound, _nBuffers));
        else
            pSource = OpenFile(stream.file).As<zr::IUnknown>();
        Check(pMixer.As<zr::IZrStreams>()->StreamsAdd(ToText(id).Get(), pSource.Get(), nullptr, nullptr, nullptr, 0),
              id);
        Check(pForeground.As<zr::IZrElements>()->ElementsAdd(
                  ToText(id).Get(), u"video", ToText("stream_id='" + id + "' " + stream.element).Get(), nullptr, 0),
              id);
    }
}

constexpr int64_t kMaxWait = 100'000'000;  // 10 s in ticks of 100 ns: the machine may be busy

double Now() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

}  // namespace

int main(int argc, char** argv) {
    std::map<std::string, std::string> mapOptions;
    for (int i = 1; i + 1 < argc; i += 2) mapOptions[argv[i]] = argv[i + 1];
    const std::string name = mapOptions["--scenario"];
    const int nFrames = std::atoi(mapOptions["--frames"].c_str());
    const auto mapScenarios = Scenarios(mapOptions["--a"], mapOptions["--b"]);
    const auto it = mapScenarios.find(name);
    const int nBuffers = mapOptions.contains("--buffers") ? std::atoi(mapOptions["--buffers"].c_str()) : 1;
    const bool bFiles = !mapOptions["--a"].empty() && !mapOptions["--b"].empty();
    if (it == mapScenarios.end() || nFrames <= 0 || nBuffers <= 0 || (name == "S8" && !bFiles)) {
        std::fprintf(stderr,
                     "show_bench --scenario S1..S8 --frames N [--buffers N] [--a FILE --b FILE] [--stat NAME]\n");
        return 2;
    }
    zr::ZrPtr<zr::IZrObject> pMixer;
    Check(zr::ZrCreateInstance(zr::kClsidZrMixer, pMixer), "mixer");
    Build(pMixer.Get(), it->second, nBuffers);
    const auto pSource = pMixer.As<zr::IZrSource>();
    int64_t llReader = 0;
    const double dblStart = Now();
    const std::clock_t nCpuStart = std::clock();
    Check(pMixer->ObjectStart(nullptr), "mixer");
    for (int i = 0; i < nFrames; ++i) {
        zr::ZrPtr<zr::IZrFrame> pFrame;
        Check(pSource->SourceFrameGetEx(&llReader, kMaxWait, pFrame.Out(), 0), "frame");
        if (i == nFrames - 1 && mapOptions.contains("--picture"))
            Check(pFrame->FrameVideoSaveToFile(ToText(mapOptions["--picture"]).Get()), "picture");
    }
    const double dblCpu = static_cast<double>(std::clock() - nCpuStart) / CLOCKS_PER_SEC, dblWall = Now() - dblStart;
    pSource->SourceFrameGetEx(&llReader, 0, nullptr, -1);
    if (mapOptions.contains("--stat")) {  // a figure of the mixer's own statistics, such as mix_audio
        zr::BSTR bs = nullptr;
        pMixer.As<zr::IZrProps>()->PropsGet(ToText("stat::" + mapOptions["--stat"]).Get(), &bs);
        std::printf("%s %s\n", mapOptions["--stat"].c_str(), bs ? zr::ToUtf8(bs).c_str() : "unknown");
        zr::SysFreeString(bs);
    }
    pMixer->ObjectClose();
    std::printf("%s %.0f fps %.3f CPU ms/frame\n", name.c_str(), nFrames / dblWall, dblCpu * 1000 / nFrames);
    return 0;
}
