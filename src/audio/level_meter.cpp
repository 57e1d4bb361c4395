#include "audio/level_meter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace zr {
namespace {

// Overshoot of 1.25 % and, in radians of the natural frequency, the time to 99 %.
constexpr double kDamping = 0.8127169864;
constexpr double kRiseRadians = 4.0535763;
constexpr double kRiseSeconds = 0.3;

float Decibels(double _dblAmplitude) { return static_cast<float>(20 * std::log10(_dblAmplitude)); }

}  // namespace

void VuNeedle::SetRate(int32_t _nRate) {
    if (_nRate == nRate) return;
    nRate = _nRate;
    dblOmega = kRiseRadians / kRiseSeconds / std::max(_nRate, 1);
    dblDamping = kDamping * dblOmega;
    dblSwing = dblOmega * std::sqrt(1 - kDamping * kDamping);
    Reset();
    arrLevel.resize(kMost);
    arrSpeed.resize(kMost);
    // What a sample of 1 has become after n more: the step response of n + 1 samples less that of n.
    const auto Step = [this](size_t _n, double* _pLevel, double* _pSpeed) {
        const double t = static_cast<double>(_n), dblFall = std::exp(-dblDamping * t);
        const double c = std::cos(dblSwing * t), s = std::sin(dblSwing * t);
        *_pLevel = 1 - dblFall * (c + dblDamping / dblSwing * s);
        *_pSpeed = dblFall * dblOmega / dblSwing * s;
    };
    double dblLevelNow = 0, dblSpeedNow = 0;
    for (size_t n = 0; n < kMost; ++n) {
        double dblLevelNext = 0, dblSpeedNext = 0;
        Step(n + 1, &dblLevelNext, &dblSpeedNext);
        arrLevel[kMost - 1 - n] = static_cast<float>(dblLevelNext - dblLevelNow);
        arrSpeed[kMost - 1 - n] = static_cast<float>(dblSpeedNext - dblSpeedNow);
        dblLevelNow = dblLevelNext;
        dblSpeedNow = dblSpeedNext;
    }
}

void VuNeedle::Advance(size_t _nSamples, double _dblLevelSum, double _dblSpeedSum) {
    constexpr double kStill = 1e-12;  // 240 dB down
    const double t = static_cast<double>(_nSamples), dblFall = std::exp(-dblDamping * t);
    const double c = std::cos(dblSwing * t), s = std::sin(dblSwing * t);
    const double a = dblDamping / dblSwing, b = dblOmega / dblSwing;
    const double dblNew = dblFall * ((c + a * s) * dblLevel + b * s * dblSpeed) + _dblLevelSum;
    dblSpeed = dblFall * (-b * s * dblLevel + (c - a * s) * dblSpeed) + _dblSpeedSum;
    dblLevel = dblNew;
    if (std::abs(dblLevel) < kStill && std::abs(dblSpeed) < kStill) Reset();
}

void IPPMeterBase::Init(int32_t _nRate) {
    needle.SetRate(_nRate);
    needle.Reset();
    dblSquares = dblPeak = 0;
    nCount = 0;
}

float IPPMeterBase::RMS() const {
    return static_cast<float>(10 * std::log10(nCount > 0 ? dblSquares * 2 / static_cast<double>(nCount) : 0.0));
}

float IPPMeterBase::Peak() const { return Decibels(dblPeak); }

float IPPMeterBase::VU() const { return Decibels(needle.Level()); }

void IPPMeterBase::Start(int32_t _nRate, size_t _nSamples) {
    needle.SetRate(_nRate);
    if (_nSamples == 0) return;
    dblSquares = dblPeak = 0;
    nCount = _nSamples;
}

void IPPMeterBase::Add(size_t _nSamples, double _dblSquares, double _dblPeak, double _dblLevelSum,
                       double _dblSpeedSum) {
    dblSquares += _dblSquares;
    dblPeak = std::max(dblPeak, _dblPeak);
    needle.Advance(_nSamples, _dblLevelSum, _dblSpeedSum);
}

void IPPMeterBase::Finish(float* _pfRMS, float* _pfPeak, float* _pfVU) const {
    if (_pfRMS) *_pfRMS = RMS();
    if (_pfPeak) *_pfPeak = Peak();
    if (_pfVU) *_pfVU = VU();
}

void IPPMeter16s::AddRow(size_t _nSamples, const LEVEL_SUMS_16& _sums) {
    constexpr double kFull = 32767;
    Add(_nSamples, static_cast<double>(_sums.nSquares) / (kFull * kFull), _sums.nPeak / kFull, _sums.fFirst / kFull,
        _sums.fSecond / kFull);
}

void IPPMeter16s::Process(const void* _pSamples, size_t _nSamples, int32_t _nRate, float* _pfRMS, float* _pfPeak,
                          float* _pfVU) {
    const auto* pSamples = static_cast<const int16_t*>(_pSamples);
    Start(_nRate, _nSamples);
    for (size_t x = 0; x < _nSamples;) {
        const size_t n = std::min(_nSamples - x, VuNeedle::kMost);
        LEVEL_SUMS_16 sums;
        LevelRow16s(pSamples + x, needle.LevelWeights(n), needle.SpeedWeights(n), n, &sums);
        AddRow(n, sums);
        x += n;
    }
    Finish(_pfRMS, _pfPeak, _pfVU);
}

void IPPMeter16s::ProcessPair(const void* _pSamples, size_t _nSamples, int32_t _nRate, IPPMeter16s* _pFirst,
                              IPPMeter16s* _pSecond) {
    const auto* pSamples = static_cast<const int16_t*>(_pSamples);
    _pFirst->Start(_nRate, _nSamples);
    _pSecond->Start(_nRate, _nSamples);
    const VuNeedle& needle = _pFirst->needle;  // both have the weights of the rate
    for (size_t x = 0; x < _nSamples;) {
        const size_t n = std::min(_nSamples - x, VuNeedle::kMost);
        LEVEL_SUMS_16 arrSums[2];
        LevelRowStereo16s(pSamples + 2 * x, needle.LevelWeights(n), needle.SpeedWeights(n), n, arrSums);
        _pFirst->AddRow(n, arrSums[0]);
        _pSecond->AddRow(n, arrSums[1]);
        x += n;
    }
}

namespace {

// What is no number is nothing, and what is beyond any level is the loudest that can be squared and summed.
const float* Measurable(const float* _p, size_t _nSamples, std::array<float, VuNeedle::kMost>& _arr) {
    static constexpr float kMostLevel = 1e12f;
    std::transform(_p, _p + _nSamples, _arr.begin(),
                   [](float _f) { return std::isnan(_f) ? 0.0f : std::clamp(_f, -kMostLevel, kMostLevel); });
    return _arr.data();
}

}  // namespace

void IPPMeter32f::Process(const void* _pSamples, size_t _nSamples, int32_t _nRate, float* _pfRMS, float* _pfPeak,
                          float* _pfVU) {
    const auto* pSamples = static_cast<const float*>(_pSamples);
    Start(_nRate, _nSamples);
    for (size_t x = 0; x < _nSamples;) {
        const size_t n = std::min(_nSamples - x, VuNeedle::kMost);
        LEVEL_SUMS sums;
        LevelRow32f(pSamples + x, needle.LevelWeights(n), needle.SpeedWeights(n), n, &sums);
        if (!std::isfinite(sums.fSquares)) {
            std::array<float, VuNeedle::kMost> arr;
            LevelRow32f(Measurable(pSamples + x, n, arr), needle.LevelWeights(n), needle.SpeedWeights(n), n, &sums);
        }
        Add(n, sums.fSquares, sums.fPeak, sums.fFirst, sums.fSecond);
        x += n;
    }
    Finish(_pfRMS, _pfPeak, _pfVU);
}

}  // namespace zr
