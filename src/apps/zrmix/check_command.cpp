#include <cstdio>
#include <memory>
#include <string>

#include "apps/zrmix/commands.h"
#include "apps/zrmix/progress.h"
#include "apps/zrmix/run_error.h"
#include "apps/zrmix/show_check.h"

namespace zrmix {
namespace {

struct CHECK_OPTIONS {
    std::string file;
    OUTPUT_STYLE style;
};

void PrintJson(const std::string& _file, const std::vector<SHOW_FAULT>& _arrFaults) {
    std::printf("{\"show\": %s, \"faults\": [", JsonText(_file).c_str());
    for (size_t i = 0; i < _arrFaults.size(); ++i) {
        const SHOW_FAULT& fault = _arrFaults[i];
        std::printf("%s\n  {\"file\": %s, \"line\": %d, \"column\": %d, \"text\": %s}", i ? "," : "",
                    JsonText(fault.file).c_str(), fault.place.nLine, fault.place.nColumn, JsonText(fault.text).c_str());
    }
    std::printf("%s]}\n", _arrFaults.empty() ? "" : "\n");
}

void CheckShow(const CHECK_OPTIONS& _options) {
    zr::ZrPtr<zr::IZrObject> pMixer;
    Check(zr::ZrCreateInstance(zr::kClsidZrMixer, pMixer), "mixer");
    const ConfigKinds kinds(pMixer.Get());
    ShowCheck check(kinds);
    const std::vector<SHOW_FAULT> arrFaults = check.Check(_options.file);
    if (_options.style.bJson) {
        PrintJson(_options.file, arrFaults);
    } else {
        for (const SHOW_FAULT& fault : arrFaults)
            std::printf("%s:%d:%d: %s\n", fault.file.c_str(), fault.place.nLine, fault.place.nColumn,
                        fault.text.c_str());
    }
    std::fflush(stdout);
    if (!arrFaults.empty())
        throw RunError(_options.file + ": " + std::to_string(check.Faults()) +
                       (check.Faults() == 1 ? " fault" : " faults") +
                       (check.Faults() > arrFaults.size() ? ", the first of which are shown" : ""));
    if (!_options.style.bJson && !_options.style.bQuiet) std::printf("%s: no faults\n", _options.file.c_str());
}

}  // namespace

void AddCheck(CLI::App& _app) {
    CLI::App* const pCommand = _app.add_subcommand("check", "Say what of a show cannot be used, with line and column.");
    const auto pOptions = std::make_shared<CHECK_OPTIONS>();
    pCommand->add_option("SHOW", pOptions->file, "The show, an XML file.")->required();
    pCommand->add_flag("--quiet", pOptions->style.bQuiet, "Show nothing but faults.");
    pCommand->add_flag("--json", pOptions->style.bJson, "Write the faults as JSON to the standard output.");
    pCommand->callback([pOptions] { CheckShow(*pOptions); });
}

}  // namespace zrmix
