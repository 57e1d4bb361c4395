#include <algorithm>
#include <memory>
#include <optional>
#include <string>

#include "apps/zrmix/commands.h"
#include "apps/zrmix/interrupt.h"
#include "apps/zrmix/run_error.h"
#include "apps/zrmix/run_output.h"
#include "apps/zrmix/script_player.h"
#include "apps/zrmix/seconds_option.h"
#include "apps/zrmix/show.h"

namespace zrmix {
namespace {

struct SHOW_RUN_OPTIONS {
    SHOW_OPTIONS show;
    std::string script;
    double dblDuration = 0;  // seconds; 0: as long as its files
    RUN_OPTIONS run;
};

void RunShow(const SHOW_RUN_OPTIONS& _options) {
    const bool bFast = IsFast(_options.run);
    const Show show(_options.show, bFast);
    CheckOutput(_options.run.writer.output, show.Files());
    CheckOutput(_options.run.writer.output, {_options.script});
    std::optional<ScriptPlayer> script;
    if (!_options.script.empty()) script.emplace(show, _options.script);
    const double dblQuit = script ? script->QuitTime() : -1;
    double dblSeconds = _options.dblDuration > 0 ? _options.dblDuration : dblQuit > 0 ? dblQuit : show.Length();
    if (dblQuit > 0) dblSeconds = std::min(dblSeconds, dblQuit);
    if (bFast && dblSeconds <= 0)
        throw UsageError(_options.show.file +
                         ": nothing in it has a length of its own: --duration SECONDS, or \"quit\" in a script, says "
                         "how long the run is");
    MIXER_RUN run{show.Mixer(), show.Rate(), dblSeconds, _options.show.file, {}, {}};
    if (script) {
        script->Start();
        run.atEnd = [&] { script->Stop(); };
    }
    RunOutput(run, _options.run);
    if (script && script->Failures() > 0)
        throw RunError(_options.script + ": " + std::to_string(script->Failures()) + " of its commands failed");
}

}  // namespace

void AddRun(CLI::App& _app) {
    CLI::App* const pCommand = _app.add_subcommand("run", "Run a show: a saved configuration of a mixer.");
    const auto pOptions = std::make_shared<SHOW_RUN_OPTIONS>();
    SHOW_RUN_OPTIONS& o = *pOptions;
    o.run.writer.output = kNoOutput;
    pCommand->add_option("SHOW", o.show.file, "The show, an XML file.")->required();
    pCommand->add_option("-o,--output", o.run.writer.output,
                         "Where to: a file (mp4, mkv, mov, ts, nut) or a URL; without it nothing is written and it "
                         "shows when frames come.");
    pCommand->add_option("--format", o.show.format, "Output format by name; without it that of the show.");
    pCommand->add_option("--duration", o.dblDuration, "Seconds to run; without it as long as its longest file.")
        ->check(IsLength());
    pCommand->add_option("--set", o.show.arrSet,
                         "Before it starts: a key of the mixer (key=value) or an attribute of an element "
                         "(element::attribute=value); may be repeated.");
    pCommand->add_option("--script", o.script, "Commands with times, a line each; see docs/zrmix.md.");
    AddRunOptions(*pCommand, o.run);
    pCommand->callback([pOptions] {
        CatchInterrupts();
        RunShow(*pOptions);
    });
}

}  // namespace zrmix
