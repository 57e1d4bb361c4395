#include "apps/zrmix/writer_run.h"

#include <chrono>
#include <thread>

#include "apps/zrmix/run_error.h"

namespace zrmix {

void AddWriterOptions(CLI::App& _command, WRITER_OPTIONS& _options) {
    _command.add_option("--container", _options.container, "Kind of file, where the ending does not say it.");
    _command.add_option("--video-codec", _options.videoCodec, "Video encoder (h264).");
    _command.add_option("--video-bitrate", _options.videoBitrate, "Bits a second, such as 8M.");
    _command.add_option("--audio-codec", _options.audioCodec, "Audio encoder (aac).");
    _command.add_option("--audio-bitrate", _options.audioBitrate, "Bits a second, such as 192k.");
}

zr::ZR_VID_PROPS FindFormat(zr::IZrFormat* _pFormat, const std::string& _name) {
    int32_t nCount = 0;
    _pFormat->FormatVideoGetCount(zr::eZrFT_Convert, &nCount);
    for (int32_t i = 1; i < nCount; ++i) {
        zr::ZR_VID_PROPS props;
        zr::Text name;
        if (zr::Failed(_pFormat->FormatVideoGetByIndex(zr::eZrFT_Convert, i, &props, name.Out()))) continue;
        if (props.nWidth > 0 && name.Utf8() == _name) return props;
    }
    throw UsageError("--format " + _name + ": no such format; \"zrmix formats\" lists them");
}

WriterRun::WriterRun(const WRITER_OPTIONS& _options, double _dblRate, int64_t _nFrames)
    : options(_options), dblRate(_dblRate), nFrames(_nFrames) {}

void WriterRun::Open(zr::IUnknown* _pMixer) {
    Check(zr::ZrCreateInstance(zr::kClsidZrWriter, pWriter), "writer");
    std::string param;
    const auto Add = [&](const char* _szKey, const std::string& _value) {
        const char cQuote = _value.find('\'') == std::string::npos ? '\'' : '"';
        if (!_value.empty()) param += " " + (_szKey + ("=" + (cQuote + _value))) + cQuote;
    };
    if (nFrames > 0) Add("frames", std::to_string(nFrames));
    Add("format", options.container);
    Add("video.codec", options.videoCodec);
    Add("video.bitrate", options.videoBitrate);
    Add("audio.codec", options.audioCodec);
    Add("audio.bitrate", options.audioBitrate);
    CheckWriter(
        pWriter->WriterOpen(zr::Text(std::string_view(options.output)).Get(), zr::Text(std::string_view(param)).Get()));
    CheckWriter(pWriter->WriterStart(_pMixer, u"rate_control=0"));
}

void WriterRun::CheckWriter(zr::HRESULT _hr) {
    if (zr::Succeeded(_hr)) return;
    std::string reason;
    zr::GetText([&](zr::BSTR* _pbs) { return pWriter->WriterErrorGet(_pbs); }, reason);
    throw RunError(reason.empty() ? options.output + ": " + zr::StatusText(_hr) : reason);
}

zr::ZR_WRITER_STATE WriterRun::State() {
    zr::ZR_WRITER_STATE state;
    pWriter->WriterStateGet(&state);
    return state;
}

RUN_FIGURES WriterRun::Figures() {
    const zr::ZR_WRITER_STATE state = State();
    return {state.nFrames, state.nDropped, static_cast<double>(state.nFrames) / dblRate, dblRate};
}

void WriterRun::Wait(Progress& _progress, const volatile int* _pbInterrupted, const std::function<bool()>& _hasEnded) {
    while (!*_pbInterrupted) {
        const zr::ZR_WRITER_STATE state = State();
        if (zr::Failed(state.hrResult) || (nFrames > 0 && state.nFrames >= nFrames)) break;
        if (_hasEnded && _hasEnded()) break;
        _progress.Show(Figures(), static_cast<double>(nFrames) / dblRate);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    _progress.Measure();  // to the last frame, and before what follows it counts for much
}

RUN_FIGURES WriterRun::Finish() {
    const zr::HRESULT hr = pWriter->WriterStop();
    const RUN_FIGURES figures = Figures();
    CheckWriter(hr);
    return figures;
}

}  // namespace zrmix
