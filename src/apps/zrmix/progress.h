#pragma once
// What a run shows while it goes on and when it has ended.

#include <chrono>
#include <cstdint>
#include <string>

namespace zrmix {

class SoundMeter;

// How much is shown.
struct OUTPUT_STYLE {
    bool bQuiet = false;
    bool bJson = false;  // the summary as one JSON object on the standard output
};

// A text as JSON has it, in its quotes.
std::string JsonText(const std::string& _text);

struct RUN_FIGURES {
    int64_t nFrames = 0;
    int64_t nDropped = 0;
    double dblMediaSeconds = 0;  // of what was written
    double dblRate = 0;          // frames a second of the format
};

class Progress {
public:
    explicit Progress(const OUTPUT_STYLE& _style);

    // Levels are shown and summed up too. It outlives the run.
    void MeterSet(SoundMeter* _pMeter) { pMeter = _pMeter; }
    // Reads the meter as it stands, while its mixer is still there.
    void Measure();
    // Shows where the run is: over itself on a terminal, a line now and then elsewhere. _dblTotalSeconds: 0 unknown.
    void Show(const RUN_FIGURES& _figures, double _dblTotalSeconds);
    // Shows the end of the run.
    void Summary(const RUN_FIGURES& _figures, const std::string& _output);

private:
    double Elapsed() const;

    const OUTPUT_STYLE style;
    const bool bTerminal;
    const std::chrono::steady_clock::time_point tStart = std::chrono::steady_clock::now();
    double dblShown = -1;  // seconds into the run
    bool bLineOpen = false;
    SoundMeter* pMeter = nullptr;
};

}  // namespace zrmix
