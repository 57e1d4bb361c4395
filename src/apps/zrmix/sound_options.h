#pragma once
// Which audio tracks of a mixer are heard, how loud, and how loud they were.

#include <CLI/CLI.hpp>
#include <set>
#include <string>
#include <vector>

#include "zr/zr.h"

namespace zrmix {

struct SOUND_OPTIONS {
    std::string tracks;                 // "1,0": those that go out, in that order; empty: all
    std::vector<std::string> arrGains;  // "-6", "1=-6", "1.0=-6"
};

void AddSoundOptions(CLI::App& _command, SOUND_OPTIONS& _options);
// Sets them on a mixer that has not started. Throws UsageError.
void ApplySound(zr::IUnknown* _pMixer, const SOUND_OPTIONS& _options);

// The levels of a mixer's output, as they were since it started.
class SoundMeter {
public:
    // _bLoudness: loudness and true peak too.
    SoundMeter(zr::IUnknown* _pMixer, bool _bLoudness);
    // Takes what has been measured since the last call.
    void Read();
    // Throws UsageError: of the tracks that were to go out one never came, though there was sound.
    void CheckTracks(const SOUND_OPTIONS& _options) const;
    // For the line of a terminal, two blanks in front: "  audio |####    |###     | -14 -20 dB"; empty without sound.
    std::string Line() const;
    // "{"vu_peak_db": [-14.0, -20.0], "integrated_lufs": -23.0, "true_peak_db": -9.5}", null for silence.
    std::string Json() const;

private:
    const zr::ZrPtr<zr::IZrAudio> pAudio;
    std::vector<float> arrNow, arrPeaks;  // VU in dB of each channel
    std::set<int32_t> setThere;           // tracks that the sound has had
    float fIntegrated = 0, fTruePeak = 0;
    const bool bMeasured;    // loudness
    bool bAllShown = true;   // whatever tracks there are
    bool bLoudness = false;  // the two are known
};

}  // namespace zrmix
