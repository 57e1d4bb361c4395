#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "apps/zrmix/commands.h"
#include "apps/zrmix/config_kinds.h"
#include "apps/zrmix/interrupt.h"
#include "apps/zrmix/run_error.h"
#include "apps/zrmix/run_output.h"
#include "apps/zrmix/seconds_option.h"
#include "apps/zrmix/show.h"

namespace zrmix {
namespace {

struct PLAY_OPTIONS {
    std::string file;
    std::string format;
    std::vector<std::string> arrSet;  // "key=value" for the mixer
    double dblDuration = 0;           // seconds; 0 to the end of the file
    RUN_OPTIONS run;
};

// One run: a mixer with a file as its background, and a writer that takes what it sends.
class PlayRun {
public:
    explicit PlayRun(const PLAY_OPTIONS& _options) : options(_options) {}

    void Run() {
        CheckOutput(options.run.writer.output, {options.file});
        MakeMixer();
        SetBackground();
        SetFormat();
        const auto HasEnded = [this] { return dblTotal <= 0 && SourceHasEnded(); };
        RunOutput({pMixer.Get(), propsOutput.dblRate, dblTotal, options.file, HasEnded, {}}, options.run);
    }

private:
    void MakeMixer() {
        Check(zr::ZrCreateInstance(zr::kClsidZrMixer, pMixer), "mixer");
        pProps = pMixer.As<zr::IZrProps>();
        SetPace(pProps.Get(), IsFast(options.run));
        const ConfigKinds kinds(pMixer.Get());
        for (const std::string& pair : options.arrSet) {
            const size_t nEqual = pair.find('=');
            if (nEqual == std::string::npos || nEqual == 0)
                throw UsageError("--set " + pair + ": not of the form key=value");
            const std::string key = pair.substr(0, nEqual), value = pair.substr(nEqual + 1);
            if (const std::string why = kinds.WhyNoKey(key, value); !why.empty())
                throw UsageError("--set " + pair + ": " + why);
            Check(pProps->PropsSet(ToText(KeyPath(key)).Get(), ToText(value).Get()), "--set " + pair);
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
            props = FindFormat(pFormat.Get(), options.format);
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

    const PLAY_OPTIONS& options;
    zr::ZrPtr<zr::IZrObject> pMixer;
    zr::ZrPtr<zr::IZrProps> pProps;
    zr::ZR_VID_PROPS propsFile;
    zr::ZR_VID_PROPS propsOutput;
    double dblTotal = 0;  // seconds; 0 not known
    bool bSourcePlayed = false;
};

}  // namespace

void AddPlay(CLI::App& _app) {
    CLI::App* const pCommand = _app.add_subcommand("play", "Play a file through a mixer into a file or a stream.");
    const auto pOptions = std::make_shared<PLAY_OPTIONS>();
    PLAY_OPTIONS& o = *pOptions;
    pCommand->add_option("FILE", o.file, "A file, a URL, a picture, or a colour such as \"black\".")->required();
    pCommand
        ->add_option("-o,--output", o.run.writer.output,
                     "Where to: a file (mp4, mkv, mov, ts, nut), a URL, or \"null\" to measure only.")
        ->required();
    pCommand->add_option("--format", o.format, "Output format by name; without it that of the file.");
    pCommand->add_option("--duration", o.dblDuration, "Seconds to write; without it all of the file.")
        ->check(IsLength());
    pCommand->add_option("--set", o.arrSet, "A key of the mixer: key=value; may be repeated.");
    AddRunOptions(*pCommand, o.run);
    pCommand->callback([pOptions] {
        CatchInterrupts();
        PlayRun(*pOptions).Run();
    });
}

}  // namespace zrmix
