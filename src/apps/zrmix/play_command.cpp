#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "apps/zrmix/commands.h"
#include "apps/zrmix/frame_watch.h"
#include "apps/zrmix/progress.h"
#include "apps/zrmix/run_error.h"

namespace zrmix {
namespace {

struct PLAY_OPTIONS {
    std::string file;
    std::string output;
    std::string format;
    std::string videoCodec, audioCodec, videoBitrate, audioBitrate, container;
    std::vector<std::string> arrSet;  // "key=value" for the mixer
    double dblDuration = 0;           // seconds; 0 to the end of the file
    bool bFast = false;
    bool bRealtime = false;
    OUTPUT_STYLE style;
};

volatile std::sig_atomic_t bInterrupted = 0;

void OnSignal(int) { bInterrupted = 1; }

bool IsUrl(const std::string& _text) { return _text.find("://") != std::string::npos; }

std::string Quote(const std::string& _value) {
    const char cQuote = _value.find('\'') == std::string::npos ? '\'' : '"';
    return cQuote + _value + cQuote;
}

// One run: a mixer with a file as its background, and a writer that takes what it sends.
class PlayRun {
public:
    explicit PlayRun(const PLAY_OPTIONS& _options) : options(_options), progress(_options.style) {}

    void Run() {
        MakeMixer();
        SetBackground();
        SetFormat();
        if (options.output == "null") {
            Watch();
            return;
        }
        OpenWriter();
        Check(pMixer->ObjectStart(nullptr), "mixer");
        WaitForEnd();
        Finish();
    }

private:
    bool Fast() const {
        return options.bFast || (!options.bRealtime && options.output != "null" && !IsUrl(options.output));
    }

    void MakeMixer() {
        Check(zr::ZrCreateInstance(zr::kClsidZrMixer, pMixer), "mixer");
        pProps = pMixer.As<zr::IZrProps>();
        pProps->PropsSet(u"object::rate_control", Fast() ? u"0" : u"1");
        if (Fast()) pProps->PropsSet(u"object::sync_mode.get_max_wait", u"-1");
        for (const std::string& pair : options.arrSet) {
            const size_t nEqual = pair.find('=');
            if (nEqual == std::string::npos || nEqual == 0)
                throw UsageError("--set " + pair + ": not of the form key=value");
            std::string key = pair.substr(0, nEqual);
            if (key.find("::") == std::string::npos) key = "object::" + key;
            Check(pProps->PropsSet(zr::Text(std::string_view(key)).Get(),
                                   zr::Text(std::string_view(pair).substr(nEqual + 1)).Get()),
                  "--set " + pair);
        }
    }

    void SetBackground() {
        // A probe of its own says why a file cannot be opened.
        zr::ZrPtr<zr::IZrFile> pFile;
        Check(zr::ZrCreateInstance(zr::kClsidZrFile, pFile), "file source");
        OpenFile(pFile.Get(), options.file);
        double dblIn = 0, dblOut = 0;
        pFile->FileInOutGet(&dblIn, &dblOut, &dblTotal);
        if (const auto pFormat = pFile.As<zr::IZrFormat>()) {
            pFormat->FormatVideoGet(zr::eZrFT_Input, &propsFile, nullptr, nullptr);
        }
        pFile.As<zr::IZrObject>()->ObjectClose();
        if (options.dblDuration > 0 && (dblTotal <= 0 || options.dblDuration < dblTotal || IsStill())) {
            dblTotal = options.dblDuration;
        }
    }
    // A picture or a colour has no length of its own that anybody means.
    bool IsStill() const { return propsFile.dblRate <= 0; }

    void SetFormat() {
        const auto pFormat = pMixer.As<zr::IZrFormat>();
        zr::ZR_VID_PROPS props;
        if (!options.format.empty()) {
            props = FindFormat(pFormat.Get());
        } else if (propsFile.nWidth > 0) {
            props.fccType = propsFile.fccType;
            props.nWidth = propsFile.nWidth;
            props.nHeight = std::abs(propsFile.nHeight);
            props.eInterlace = propsFile.eInterlace;
            props.nAspectX = propsFile.nAspectX;
            props.nAspectY = propsFile.nAspectY;
            props.dblRate = propsFile.dblRate > 0 ? propsFile.dblRate : 25.0;
        } else {
            props.eVideoFormat = zr::eZrVF_HD1080_25p;
        }
        Check(pFormat->FormatVideoSet(zr::eZrFT_Convert, &props), "format");
        Check(pFormat->FormatVideoGet(zr::eZrFT_Convert, &propsOutput, nullptr, nullptr), "format");
        const auto pStreams = pMixer.As<zr::IZrStreams>();
        zr::ZrPtr<zr::IZrItem> pItem;
        const zr::HRESULT hr = pStreams->StreamsBackgroundSet(nullptr, zr::Text(std::string_view(options.file)).Get(),
                                                              u"loop='false' eof_stop='true'", pItem.Out(), 0);
        if (zr::Failed(hr)) throw RunError(options.file, hr);
    }

    zr::ZR_VID_PROPS FindFormat(zr::IZrFormat* _pFormat) const {
        int32_t nCount = 0;
        _pFormat->FormatVideoGetCount(zr::eZrFT_Convert, &nCount);
        for (int32_t i = 1; i < nCount; ++i) {
            zr::ZR_VID_PROPS props;
            zr::Text name;
            if (zr::Failed(_pFormat->FormatVideoGetByIndex(zr::eZrFT_Convert, i, &props, name.Out()))) continue;
            if (props.nWidth > 0 && name.Utf8() == options.format) return props;
        }
        throw UsageError("--format " + options.format + ": no such format; \"zrmix formats\" lists them");
    }

    // Frames go nowhere; what is shown is when they came.
    void Watch() {
        const int64_t nMost = dblTotal > 0 ? std::llround(dblTotal * propsOutput.dblRate) : 0;
        FrameWatch watch(pMixer.As<zr::IZrSource>().Get(), propsOutput.dblRate);
        Check(pMixer->ObjectStart(nullptr), "mixer");
        RUN_FIGURES figures{0, 0, 0, propsOutput.dblRate};
        while (!bInterrupted && (nMost == 0 || figures.nFrames < nMost)) {
            if (!watch.Next()) throw RunError(options.file + ": no frame came for a second");
            figures.nFrames = watch.Figures().nFrames;
            figures.nDropped = watch.Figures().nBreaks;
            figures.dblMediaSeconds = static_cast<double>(figures.nFrames) / propsOutput.dblRate;
            progress.Show(figures, dblTotal);
        }
        pMixer->ObjectClose();
        progress.Summary(figures, options.output);
        if (!options.style.bQuiet) {
            std::fprintf(stderr, "mean rate %.6f frames/s, latest %.3f ms; %s\n", watch.Figures().dblMeanRate,
                         watch.Figures().dblWorstMs, watch.Figures().Text().c_str());
        }
    }

    void OpenWriter() {
        Check(zr::ZrCreateInstance(zr::kClsidZrWriter, pWriter), "writer");
        std::string param;
        const auto Add = [&](const char* _szKey, const std::string& _value) {
            if (!_value.empty()) param += std::string(_szKey) + "=" + Quote(_value) + " ";
        };
        Add("format", options.container);
        Add("video.codec", options.videoCodec);
        Add("video.bitrate", options.videoBitrate);
        Add("audio.codec", options.audioCodec);
        Add("audio.bitrate", options.audioBitrate);
        if (dblTotal > 0) {
            nWanted = std::llround(dblTotal * propsOutput.dblRate);
            Add("frames", std::to_string(nWanted));
        }
        CheckWriter(pWriter->WriterOpen(zr::Text(std::string_view(options.output)).Get(),
                                        zr::Text(std::string_view(param)).Get()));
        CheckWriter(pWriter->WriterStart(pMixer.Get(), u"rate_control=0"));
    }

    void CheckWriter(zr::HRESULT _hr) {
        if (zr::Succeeded(_hr)) return;
        std::string reason;
        zr::GetText([&](zr::BSTR* _pbs) { return pWriter->WriterErrorGet(_pbs); }, reason);
        throw RunError(reason.empty() ? options.output + ": " + zr::StatusText(_hr) : reason);
    }

    void WaitForEnd() {
        while (!bInterrupted) {
            const zr::ZR_WRITER_STATE state = State();
            if (zr::Failed(state.hrResult) || (nWanted > 0 && state.nFrames >= nWanted)) return;
            if (nWanted == 0 && SourceHasEnded()) return;
            progress.Show(Figures(state), dblTotal);
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }

    // Of a source whose length nobody knew.
    bool SourceHasEnded() {
        const auto pStreams = pMixer.As<zr::IZrStreams>();
        zr::ZrPtr<zr::IZrItem> pItem;
        zr::eZrState eState = zr::eZrS_Running;
        double dblRemain = 0;
        if (zr::Failed(pStreams->StreamsBackgroundGet(nullptr, pItem.Out())) || !pItem) return true;
        const auto pFile = pItem.As<zr::IZrFile>();
        if (!pFile || zr::Failed(pFile->FileStateGet(&eState, &dblRemain))) return true;
        if (eState >= zr::eZrS_Paused) bSourcePlayed = true;  // it starts with the first frame that is asked for
        return bSourcePlayed && eState < zr::eZrS_Paused;
    }

    zr::ZR_WRITER_STATE State() {
        zr::ZR_WRITER_STATE state;
        pWriter->WriterStateGet(&state);
        return state;
    }

    RUN_FIGURES Figures(const zr::ZR_WRITER_STATE& _state) const {
        return {_state.nFrames, _state.nDropped, static_cast<double>(_state.nFrames) / propsOutput.dblRate,
                propsOutput.dblRate};
    }

    void Finish() {
        const zr::HRESULT hr = pWriter->WriterStop();
        pMixer->ObjectClose();
        const RUN_FIGURES figures = Figures(State());
        CheckWriter(hr);
        progress.Summary(figures, options.output);
    }

    const PLAY_OPTIONS& options;
    Progress progress;
    zr::ZrPtr<zr::IZrObject> pMixer;
    zr::ZrPtr<zr::IZrProps> pProps;
    zr::ZrPtr<zr::IZrWriter> pWriter;
    zr::ZR_VID_PROPS propsFile;
    zr::ZR_VID_PROPS propsOutput;
    double dblTotal = 0;  // seconds; 0 not known
    int64_t nWanted = 0;  // frames; 0 as many as come
    bool bSourcePlayed = false;
};

}  // namespace

void AddPlay(CLI::App& _app) {
    CLI::App* const pCommand = _app.add_subcommand("play", "Play a file through a mixer into a file or a stream.");
    const auto pOptions = std::make_shared<PLAY_OPTIONS>();
    PLAY_OPTIONS& o = *pOptions;
    pCommand->add_option("FILE", o.file, "A file, a URL, a picture, or a colour such as \"black\".")->required();
    pCommand
        ->add_option("-o,--output", o.output,
                     "Where to: a file (mp4, mkv, mov, ts, nut), a URL, or \"null\" to measure only.")
        ->required();
    pCommand->add_option("--format", o.format, "Output format by name; without it that of the file.");
    pCommand->add_option("--duration", o.dblDuration, "Seconds to write; without it all of the file.")
        ->check(CLI::PositiveNumber);
    CLI::Option* const pFast = pCommand->add_flag("--fast", o.bFast, "As fast as the machine goes (into files).");
    pCommand->add_flag("--realtime", o.bRealtime, "At the rate of the output (into URLs).")->excludes(pFast);
    pCommand->add_option("--container", o.container, "Kind of file, where the ending does not say it.");
    pCommand->add_option("--video-codec", o.videoCodec, "Video encoder (h264).");
    pCommand->add_option("--video-bitrate", o.videoBitrate, "Bits a second, such as 8M.");
    pCommand->add_option("--audio-codec", o.audioCodec, "Audio encoder (aac).");
    pCommand->add_option("--audio-bitrate", o.audioBitrate, "Bits a second, such as 192k.");
    pCommand->add_option("--set", o.arrSet, "A key of the mixer: key=value; may be repeated.");
    pCommand->add_flag("--quiet", o.style.bQuiet, "Show nothing but errors.");
    pCommand->add_flag("--json", o.style.bJson, "Write the summary as JSON to the standard output.");
    pCommand->callback([pOptions] {
        std::signal(SIGINT, OnSignal);
        std::signal(SIGTERM, OnSignal);
        PlayRun(*pOptions).Run();
    });
}

}  // namespace zrmix
