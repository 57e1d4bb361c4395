#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "apps/zrmix/commands.h"
#include "apps/zrmix/interrupt.h"
#include "apps/zrmix/mix_layout.h"
#include "apps/zrmix/progress.h"
#include "apps/zrmix/run_error.h"
#include "apps/zrmix/run_output.h"
#include "apps/zrmix/seconds_option.h"
#include "apps/zrmix/show.h"
#include "apps/zrmix/sound_options.h"
#include "apps/zrmix/writer_run.h"

namespace zrmix {
namespace {

struct MIX_OPTIONS {
    std::vector<std::string> arrInputs;
    std::string layout = "full";
    std::string logo;
    std::string format;
    double dblDuration = 0;  // seconds; 0: of the longest input
    WRITER_OPTIONS writer;
    OUTPUT_STYLE style;
    SOUND_OPTIONS sound;
};

// What a file says of itself.
struct INPUT {
    double dblSeconds = 0;  // 0: a picture, which has no length that anybody means
    double dblRate = 0;
    double dblAspect = 0;  // width by height; 0: not known, or as it is asked for
};

double AspectOf(const zr::ZR_VID_PROPS& _props) {
    if (_props.nAspectX > 0 && _props.nAspectY > 0) return double(_props.nAspectX) / _props.nAspectY;
    return _props.nHeight != 0 ? double(_props.nWidth) / std::abs(_props.nHeight) : 0;
}

INPUT ProbeInput(const std::string& _file) {
    zr::ZrPtr<zr::IZrFile> pFile;
    Check(zr::ZrCreateInstance(zr::kClsidZrFile, pFile), "file source");
    OpenFile(pFile.Get(), _file);  // says why a file cannot be opened
    INPUT input;
    std::string kind;
    const auto pProps = pFile.As<zr::IZrProps>();
    zr::GetText([&](zr::BSTR* _pbs) { return pProps->PropsGet(u"info::format", _pbs); }, kind);
    double dblIn = 0, dblOut = 0;
    zr::ZR_VID_PROPS props;
    const auto pFormat = pFile.As<zr::IZrFormat>();
    const bool bKnown = pFormat && zr::Succeeded(pFormat->FormatVideoGet(zr::eZrFT_Input, &props, nullptr, nullptr));
    if (bKnown && kind != "built-in picture") input.dblAspect = AspectOf(props);
    if (kind.find("picture") == std::string::npos) {
        pFile->FileInOutGet(&dblIn, &dblOut, &input.dblSeconds);
        if (bKnown) input.dblRate = props.dblRate;
    }
    pFile.As<zr::IZrObject>()->ObjectClose();
    return input;
}

// One run: a mixer with a stream and an element for each input, and a writer that takes what it sends.
class MixRun {
public:
    explicit MixRun(const MIX_OPTIONS& _options) : options(_options), progress(_options.style) {}

    void Run() {
        arrPlaces = PlacesOf(options.layout, options.arrInputs.size());
        if (options.arrInputs.size() > arrPlaces.size())
            throw UsageError("layout " + options.layout + " has room for " + std::to_string(arrPlaces.size()) +
                             " inputs, " + std::to_string(options.arrInputs.size()) + " are given");
        CheckOutput(options.writer.output, options.arrInputs);
        CheckOutput(options.writer.output, {options.logo});
        std::vector<double> arrAspects;
        for (const std::string& file : options.arrInputs) arrAspects.push_back(Probe(file));
        const double dblLogoAspect = options.logo.empty() ? 0 : Probe(options.logo);
        if (options.dblDuration > 0) dblSeconds = options.dblDuration;
        if (dblSeconds <= 0)
            throw UsageError("no input has a length of its own: --duration SECONDS says how long the mix is");
        MakeMixer();
        for (size_t i = 0; i < options.arrInputs.size(); ++i)
            AddInput("input" + std::to_string(i + 1), options.arrInputs[i],
                     arrPlaces[i].For(arrAspects[i], dblAspect).Attributes());
        if (!options.logo.empty())
            AddInput("logo", options.logo,
                     MIX_PLACE{0.82, 0.05, 0.15, 0.15}.For(dblLogoAspect, dblAspect).Attributes());
        ApplySound(pMixer.Get(), options.sound);
        SoundMeter meter(pMixer.Get(), options.style.bJson);
        progress.MeterSet(&meter);
        WriterRun writer(options.writer, dblRate, std::max<int64_t>(std::llround(dblSeconds * dblRate), 1));
        writer.Open(pMixer.Get());
        Check(pMixer->ObjectStart(nullptr), "mixer");
        writer.Wait(progress, InterruptFlag());
        const RUN_FIGURES figures = writer.Finish();
        pMixer->ObjectClose();
        progress.Summary(figures, options.writer.output);
        meter.CheckTracks(options.sound);
    }

private:
    double Probe(const std::string& _file) {
        const INPUT input = ProbeInput(_file);
        dblSeconds = std::max(dblSeconds, input.dblSeconds);
        if (dblRate <= 0 && input.dblRate > 0) dblRate = input.dblRate;
        return input.dblAspect;
    }

    void MakeMixer() {
        Check(zr::ZrCreateInstance(zr::kClsidZrMixer, pMixer), "mixer");
        const auto pProps = pMixer.As<zr::IZrProps>();
        pProps->PropsSet(u"object::sync_mode", u"true");
        pProps->PropsSet(u"object::rate_control", u"0");
        pProps->PropsSet(u"object::sync_mode.get_max_wait", u"-1");
        pProps->PropsSet(u"object::output.skip_if_not_ready", u"true");  // the first frame has all of it
        const auto pFormat = pMixer.As<zr::IZrFormat>();
        zr::ZR_VID_PROPS props;
        if (!options.format.empty()) {
            props = FindFormat(pFormat.Get(), options.format);
        } else {
            props.nWidth = 1920;
            props.nHeight = 1080;
            props.nAspectX = 16;
            props.nAspectY = 9;
            props.eInterlace = zr::eZrI_Progressive;
            props.dblRate = dblRate > 0 ? dblRate : 25.0;
        }
        Check(pFormat->FormatVideoSet(zr::eZrFT_Convert, &props), "format");
        Check(pFormat->FormatVideoGet(zr::eZrFT_Convert, &props, nullptr, nullptr), "format");
        dblRate = props.dblRate;
        dblAspect = AspectOf(props);
        zr::ZrPtr<zr::IZrElements> pScene;
        zr::ZrPtr<zr::IZrElement> pElement;
        Check(pMixer.As<zr::IZrScenes>()->ScenesActiveGet(nullptr, nullptr, pScene.Out()), "scene");
        Check(pScene->ElementsGetByID(u"foreground", pElement.Out()), "scene");
        pForeground = pElement.As<zr::IZrElements>();
    }

    // The last picture of an input that ends before the others stays.
    void AddInput(const std::string& _id, const std::string& _file, const std::string& _attributes) {
        const auto pStreams = pMixer.As<zr::IZrStreams>();
        const zr::HRESULT hr =
            pStreams->StreamsAdd(ToText(_id).Get(), nullptr, ToText(_file).Get(), u"loop='false'", nullptr, 0);
        if (zr::Failed(hr)) throw RunError(_file, hr);
        Check(pForeground->ElementsAdd(ToText(_id).Get(), u"video",
                                       ToText("stream_id='" + _id + "' " + _attributes).Get(), nullptr, 0),
              "scene");
    }

    const MIX_OPTIONS& options;
    Progress progress;
    std::vector<MIX_PLACE> arrPlaces;
    zr::ZrPtr<zr::IZrObject> pMixer;
    zr::ZrPtr<zr::IZrElements> pForeground;
    double dblSeconds = 0;
    double dblRate = 0;
    double dblAspect = 0;  // of the output
};

}  // namespace

void AddMix(CLI::App& _app) {
    CLI::App* const pCommand = _app.add_subcommand("mix", "Show several inputs in one picture.");
    const auto pOptions = std::make_shared<MIX_OPTIONS>();
    MIX_OPTIONS& o = *pOptions;
    pCommand->add_option("FILE", o.arrInputs, "Files, URLs, pictures, test signals or colours.")->required();
    pCommand->add_option("-o,--output", o.writer.output, "Where to: a file (mp4, mkv, mov, ts, nut) or a URL.")
        ->required();
    pCommand->add_option("--layout", o.layout, "full, 2x2, 3x3, pip or side-by-side.")
        ->check(CLI::IsMember(LayoutNames()));
    pCommand->add_option("--logo", o.logo, "A picture over all, small in the upper right corner.");
    pCommand->add_option("--format", o.format, "Output format by name; without it 1920x1080 at the first file's rate.");
    pCommand->add_option("--duration", o.dblDuration, "Seconds to write; without it as long as the longest file.")
        ->check(IsLength());
    AddSoundOptions(*pCommand, o.sound);
    AddWriterOptions(*pCommand, o.writer);
    pCommand->add_flag("--quiet", o.style.bQuiet, "Show nothing but errors.");
    pCommand->add_flag("--json", o.style.bJson, "Write the summary as JSON to the standard output.");
    pCommand->callback([pOptions] {
        CatchInterrupts();
        MixRun(*pOptions).Run();
    });
}

}  // namespace zrmix
