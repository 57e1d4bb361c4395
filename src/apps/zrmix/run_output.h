#pragma once
// Where a run of a mixer goes: into a file or a stream through the writer, or nowhere, to see when frames come.

#include <functional>
#include <string>
#include <vector>

#include "apps/zrmix/progress.h"
#include "apps/zrmix/sound_options.h"
#include "apps/zrmix/writer_run.h"

namespace zrmix {

inline constexpr const char* kNoOutput = "null";

struct RUN_OPTIONS {
    WRITER_OPTIONS writer;  // kNoOutput: frames go nowhere
    bool bFast = false;
    bool bRealtime = false;
    OUTPUT_STYLE style;
    SOUND_OPTIONS sound;
};

// The options that say where and how fast; "-o" is the command's own.
void AddRunOptions(CLI::App& _command, RUN_OPTIONS& _options);
// As fast as the machine goes, and no frame left out: into files, unless it is said otherwise.
bool IsFast(const RUN_OPTIONS& _options);
bool IsUrl(const std::string& _text);
// Throws UsageError: the output has no name, or would be written over one of the files that it is made from.
void CheckOutput(const std::string& _output, const std::vector<std::string>& _arrInputs);
// Sets the pace of a mixer that has not started.
void SetPace(zr::IZrProps* _pProps, bool _bFast);

// A mixer that is ready to start.
struct MIXER_RUN {
    zr::IZrObject* pMixer = nullptr;
    double dblRate = 0;              // frames a second
    double dblSeconds = 0;           // 0: until it has ended, or is interrupted
    std::string what;                // that plays, for messages
    std::function<bool()> hasEnded;  // may be empty
    std::function<void()> atEnd;     // before the mixer is closed; may be empty
};

// Starts it, takes what it sends, closes it, and shows what has become of it. Throws RunError.
void RunOutput(const MIXER_RUN& _run, const RUN_OPTIONS& _options);

}  // namespace zrmix
