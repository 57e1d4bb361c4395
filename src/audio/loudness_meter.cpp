#include "audio/loudness_meter.h"

#include <algorithm>
#include <cmath>

namespace zr {
namespace {

// The needle of a programme meter of type II of IEC 60268-10: a burst of 10, 5, 1.5 ms reads 2, 4, 9 dB low, and 24 dB
// of return take 2.8 s. One step up a part of the way, one step down a factor, and the reading of a steady sine, which
// the fall between its crests keeps low, put right.
constexpr double kRiseSeconds = 0.00225;
constexpr double kFallDbPerSecond = 24 / 2.8;
constexpr double kSteadySine = 1.0241;
constexpr float kStill = 1e-12f;  // 240 dB down

}  // namespace

HRESULT LoudnessMeter::Process(const float* _pSamples, size_t _nSamples, int32_t _nChannels, int32_t _nRate) {
    if (_nChannels < 1 || _nChannels > kMaxChannels || _nRate < 1) return E_INVALIDARG;
    if (_nSamples == 0) return S_OK;
    if (_nChannels != nChannels || _nRate != nRate) {
        Reset();
        nChannels = _nChannels;
        nRate = _nRate;
        fRise = static_cast<float>(1 - std::exp(-1 / (kRiseSeconds * _nRate)));
        fFall = static_cast<float>(std::pow(10, -kFallDbPerSecond / 20 / _nRate));
        pEngine = MakeLoudnessEngine(_nChannels, _nRate);
    }
    StepNeedles(_pSamples, _nSamples);
    if (!pEngine) return S_OK;
    if (!pEngine->Add(_pSamples, _nSamples)) {
        Reset();
        return E_OUTOFMEMORY;
    }
    pEngine->Read(&loudness);
    return S_OK;
}

void LoudnessMeter::StepNeedles(const float* _pSamples, size_t _nSamples) {
    const auto nStep = static_cast<size_t>(nChannels);
    float fHighest = 0;
    for (size_t c = 0; c < nStep; ++c) {
        float y = arrNeedles[c];
        for (size_t i = 0; i < _nSamples; ++i) {
            y *= fFall;
            const float fAbove = std::abs(_pSamples[i * nStep + c]) - y;
            y += fRise * (fAbove > 0 ? fAbove : 0);  // what is no number is not above
        }
        arrNeedles[c] = y > kStill && std::isfinite(y) ? y : 0;
        fHighest = std::max(fHighest, arrNeedles[c]);
    }
    loudness.fQuasiPeak = static_cast<float>(20 * std::log10(fHighest * kSteadySine));
}

void LoudnessMeter::Reset() {
    pEngine.reset();
    loudness = {};
    arrNeedles.fill(0);
    nChannels = nRate = 0;
}

}  // namespace zr
