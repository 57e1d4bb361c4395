#include "apps/zrmix/run_output.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "apps/zrmix/frame_watch.h"
#include "apps/zrmix/interrupt.h"
#include "apps/zrmix/run_error.h"

namespace zrmix {
namespace {

// Frames go nowhere; what is shown is when they came.
RUN_FIGURES Watch(const MIXER_RUN& _run, int64_t _nMost, Progress& _progress, FrameWatch& _watch) {
    RUN_FIGURES figures{0, 0, 0, _run.dblRate};
    while (!*InterruptFlag() && (_nMost == 0 || figures.nFrames < _nMost)) {
        if (!_watch.Next()) throw RunError(_run.what + ": no frame came for a second");
        figures.nFrames = _watch.Figures().nFrames;
        figures.nDropped = _watch.Figures().nBreaks;
        figures.dblMediaSeconds = static_cast<double>(figures.nFrames) / _run.dblRate;
        _progress.Show(figures, _run.dblSeconds);
    }
    return figures;
}

void Close(const MIXER_RUN& _run) {
    if (_run.atEnd) _run.atEnd();
    _run.pMixer->ObjectClose();
}

}  // namespace

void AddRunOptions(CLI::App& _command, RUN_OPTIONS& _options) {
    CLI::Option* const pFast = _command.add_flag("--fast", _options.bFast, "As fast as the machine goes (into files).");
    _command.add_flag("--realtime", _options.bRealtime, "At the rate of the output (into URLs).")->excludes(pFast);
    AddSoundOptions(_command, _options.sound);
    AddWriterOptions(_command, _options.writer);
    _command.add_flag("--quiet", _options.style.bQuiet, "Show nothing but errors.");
    _command.add_flag("--json", _options.style.bJson, "Write the summary as JSON to the standard output.");
}

bool IsUrl(const std::string& _text) { return _text.find("://") != std::string::npos; }

void CheckOutput(const std::string& _output, const std::vector<std::string>& _arrInputs) {
    if (_output.empty()) throw UsageError("the output has no name");
    std::error_code code;
    for (const std::string& input : _arrInputs)
        if (std::filesystem::equivalent(_output, input, code))
            throw UsageError(_output + ": the output would be written over what it is made from");
}

bool IsFast(const RUN_OPTIONS& _options) {
    const std::string& output = _options.writer.output;
    return _options.bFast || (!_options.bRealtime && output != kNoOutput && !IsUrl(output));
}

void SetPace(zr::IZrProps* _pProps, bool _bFast) {
    _pProps->PropsSet(u"object::rate_control", _bFast ? u"0" : u"1");
    if (_bFast) _pProps->PropsSet(u"object::sync_mode.get_max_wait", u"-1");
}

void RunOutput(const MIXER_RUN& _run, const RUN_OPTIONS& _options) {
    Progress progress(_options.style);
    SoundMeter meter(_run.pMixer, _options.style.bJson);
    progress.MeterSet(&meter);
    ApplySound(_run.pMixer, _options.sound);
    int64_t nMost = std::llround(_run.dblSeconds * _run.dblRate);
    if (_run.dblSeconds > 0) nMost = std::max<int64_t>(nMost, 1);
    if (_options.writer.output != kNoOutput) {
        WriterRun writer(_options.writer, _run.dblRate, nMost);
        writer.Open(_run.pMixer);
        Check(_run.pMixer->ObjectStart(nullptr), "mixer");
        writer.Wait(progress, InterruptFlag(), _run.hasEnded);
        const RUN_FIGURES figures = writer.Finish();
        Close(_run);
        progress.Summary(figures, _options.writer.output);
        meter.CheckTracks(_options.sound);
        return;
    }
    FrameWatch watch(zr::QueryAs<zr::IZrSource>(_run.pMixer).Get(), _run.dblRate);
    Check(_run.pMixer->ObjectStart(nullptr), "mixer");
    const RUN_FIGURES figures = Watch(_run, nMost, progress, watch);
    progress.Measure();
    Close(_run);
    progress.Summary(figures, _options.writer.output);
    meter.CheckTracks(_options.sound);
    if (_options.style.bQuiet) return;
    std::fprintf(stderr, "mean rate %.6f frames/s, latest %.3f ms; %s\n", watch.Figures().dblMeanRate,
                 watch.Figures().dblWorstMs, watch.Figures().Text().c_str());
}

}  // namespace zrmix
