#include "audio/loudness_meter.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "audio/kernels/dynamics_row.h"

namespace zr {
namespace {

// The needle of a programme meter of type II of IEC 60268-10: a burst of 10, 5, 1.5 ms reads 2, 4, 9 dB low, and 24 dB
// of return take 2.8 s. One step up a part of the way, one step down a factor, and the reading of a steady sine, which
// the fall between its crests keeps low, put right.
constexpr double kRiseSeconds = 0.00225;
constexpr double kFallDbPerSecond = 24 / 2.8;
constexpr double kSteadySine = 1.0241;
constexpr float kStill = 1e-12f;  // 240 dB down

constexpr size_t kStretch = 512;  // samples that are worked on at once

}  // namespace

// Taps of an ideal interpolation in a window of a raised cosine: what libraries of the field do in one step of four
// times the rate, but for the places of the samples themselves, which are taken as they are.
void LoudnessMeter::Begin(int32_t _nChannels, int32_t _nRate) {
    Reset();
    nChannels = _nChannels;
    nRate = _nRate;
    fRise = static_cast<float>(1 - std::exp(-1 / (kRiseSeconds * _nRate)));
    fFall = static_cast<float>(std::pow(10, -kFallDbPerSecond / 20 / _nRate));
    constexpr double kHalf = kTruePeakTaps / 2;
    for (size_t nPlace = 0; nPlace < 3; ++nPlace) {
        for (size_t k = 0; k < kTruePeakTaps; ++k) {
            const double x =
                std::numbers::pi * (static_cast<double>(k) - (kHalf - 1) - static_cast<double>(nPlace + 1) / 4);
            arrTaps[nPlace][k] = static_cast<float>(std::sin(x) / x * (0.5 + 0.5 * std::cos(x / kHalf)));
        }
    }
    pEngine = MakeLoudnessEngine(_nChannels, _nRate);
}

HRESULT LoudnessMeter::Process(const float* _pSamples, size_t _nSamples, int32_t _nChannels, int32_t _nRate) {
    if (_nChannels < 1 || _nChannels > kMaxChannels || _nRate < 1) return E_INVALIDARG;
    if (_nSamples == 0) return S_OK;
    if (_nChannels != nChannels || _nRate != nRate) Begin(_nChannels, _nRate);
    MeasurePeaks(_pSamples, _nSamples);
    if (!pEngine) return S_OK;
    if (!pEngine->Add(_pSamples, _nSamples)) {
        Reset();
        return E_OUTOFMEMORY;
    }
    pEngine->Read(&loudness);
    return S_OK;
}

void LoudnessMeter::MeasurePeaks(const float* _pSamples, size_t _nSamples) {
    constexpr size_t kLast = kTruePeakTaps - 1;
    std::array<float, kLast + kStretch> arrLine;
    const auto nStep = static_cast<size_t>(nChannels);
    float fHighest = 0, fTruePeak = 0;
    for (size_t c = 0; c < nStep; ++c) {
        CHANNEL& channel = arrChannels[c];
        std::copy(channel.arrLast.begin(), channel.arrLast.end(), arrLine.begin());
        for (size_t x = 0; x < _nSamples;) {
            const size_t n = std::min(_nSamples - x, kStretch);
            float* pNew = arrLine.data() + kLast;
            for (size_t i = 0; i < n; ++i) pNew[i] = _pSamples[(x + i) * nStep + c];
            channel.fNeedle = StepNeedle(channel.fNeedle, pNew, n);
            fTruePeak = std::max({fTruePeak, PeakRow(pNew, n), TruePeakRow(arrLine.data(), n, arrTaps)});
            std::copy_n(arrLine.begin() + static_cast<ptrdiff_t>(n), kLast, arrLine.begin());
            x += n;
        }
        std::copy_n(arrLine.begin(), kLast, channel.arrLast.begin());
        fHighest = std::max(fHighest, channel.fNeedle);
    }
    loudness.fQuasiPeak = static_cast<float>(20 * std::log10(fHighest * kSteadySine));
    loudness.fTruePeak = 20 * std::log10(fTruePeak);
}

float LoudnessMeter::StepNeedle(float _fNeedle, const float* _pSamples, size_t _nSamples) const {
    float y = _fNeedle;
    for (size_t i = 0; i < _nSamples; ++i) {
        y *= fFall;
        const float fAbove = std::abs(_pSamples[i]) - y;
        y += fRise * (fAbove > 0 ? fAbove : 0);  // what is no number is not above
    }
    return y > kStill && std::isfinite(y) ? y : 0;
}

void LoudnessMeter::Reset() {
    pEngine.reset();
    loudness = {};
    arrChannels.fill({});
    nChannels = nRate = 0;
}

}  // namespace zr
