#pragma once
// Loudness and peaks of a programme, as EBU R 128 has them.

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>

#include "audio/kernels/level_row.h"
#include "platform/status.h"

namespace zr {

// Over all channels together; minus infinity where nothing was measured yet or all is below the gate.
struct LOUDNESS {
    static constexpr float kNothing = -std::numeric_limits<float>::infinity();
    float fMomentary = kNothing;   // LUFS over the last 400 ms
    float fShortTerm = kNothing;   // LUFS over the last 3 s
    float fIntegrated = kNothing;  // LUFS, gated, since the beginning
    float fQuasiPeak = kNothing;   // dB of full scale: the highest needle
    float fTruePeak = kNothing;    // dB of full scale: the highest of the last block, between the samples too
};

// Measures K-weighted loudness. Made by MakeLoudnessEngine, the only place that knows the library.
class ILoudnessEngine {
public:
    virtual ~ILoudnessEngine() = default;
    // Interleaved floats. False: memory is out.
    virtual bool Add(const float* _pSamples, size_t _nSamples) = 0;
    // Fills the three that are in LUFS, which move every 100 ms.
    virtual void Read(LOUDNESS* _pLoudness) = 0;
};

// Null when memory is out, when there is no such engine for the format, or in a build without the library.
std::unique_ptr<ILoudnessEngine> MakeLoudnessEngine(int32_t _nChannels, int32_t _nRate);

// One track or programme of at most 32 channels. One thread at a time; nothing is allocated but by the first block of a
// format. In a build without the library only the two peaks are measured and the others stay at minus infinity.
class LoudnessMeter {
public:
    static constexpr int32_t kMaxChannels = 32;

    // Takes the next block, interleaved floats of full scale 1. Another number of channels or rate begins a new
    // measurement. E_INVALIDARG: a format that cannot be; nothing is done. E_OUTOFMEMORY: the measurement is lost.
    HRESULT Process(const float* _pSamples, size_t _nSamples, int32_t _nChannels, int32_t _nRate);
    const LOUDNESS& Levels() const { return loudness; }
    // Begins a new measurement.
    void Reset();

private:
    struct CHANNEL {
        std::array<float, kTruePeakTaps - 1> arrLast{};  // samples before the next block
        float fNeedle = 0;
    };

    void Begin(int32_t _nChannels, int32_t _nRate);
    void MeasurePeaks(const float* _pSamples, size_t _nSamples);
    float StepNeedle(float _fNeedle, const float* _pSamples, size_t _nSamples) const;

    std::unique_ptr<ILoudnessEngine> pEngine;
    LOUDNESS loudness;
    std::array<CHANNEL, kMaxChannels> arrChannels{};
    float arrTaps[3][kTruePeakTaps] = {};  // a quarter, a half, three quarters of the way between two samples
    float fRise = 0;                       // part of the way up in one sample
    float fFall = 1;                       // factor of one sample
    int32_t nChannels = 0, nRate = 0;
};

}  // namespace zr
