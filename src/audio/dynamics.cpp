#include "audio/dynamics.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>

#include "attributes/xml_node.h"
#include "audio/kernels/dynamics_row.h"
#include "audio/sample_convert.h"
#include "media/aud_props.h"

namespace zr::ZrAudioProcessor {
namespace {

constexpr size_t kStretch = 256;  // samples that are worked on at once: the rows stay in the first-level cache

// Changes _pValue only when the key has a number that _bMayBeZero and the sign allow.
enum class Range { kAny, kNotNegative, kPositive };
void ReadNumber(const XMLNodeBase& _node, std::u16string_view _name, Range _eRange, double* _pValue) {
    double dblValue = 0;
    if (!_node.GetAttribute(_name, dblValue) || !std::isfinite(dblValue)) return;
    if (_eRange == Range::kPositive && !(dblValue > 0)) return;
    if (_eRange == Range::kNotNegative && !(dblValue >= 0)) return;
    *_pValue = dblValue;
}

double FromDecibels(double _dblDb) { return std::pow(10.0, _dblDb / 20); }

}  // namespace

HRESULT AudioEffectBase::Process(const ZR_AUD_PROPS& _props, uint8_t* _pSamples, size_t _nSamples) {
    const int32_t nBits = _props.nBitsPerSample;
    if (_nSamples == 0 || _props.nChannels < 1 || _props.nChannels > kMaxAudioChannels || _props.nSamplesPerSec < 1)
        return S_OK;
    if (nBits != 8 && nBits != 16 && nBits != 32 && nBits != -32) return S_OK;
    const size_t nAll = _nSamples * static_cast<size_t>(_props.nChannels);
    try {
        if (_props.nChannels != nChannelsBegun || _props.nSamplesPerSec != nRateBegun) {
            nChannelsBegun = 0;  // in case memory is out half-way
            Begin(static_cast<size_t>(_props.nChannels), _props.nSamplesPerSec);
            nChannelsBegun = _props.nChannels;
            nRateBegun = _props.nSamplesPerSec;
        }
        if (arrFloats.size() < nAll) arrFloats.resize(nAll);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    auto* pBytes = reinterpret_cast<uint8_t*>(arrFloats.data());
    ConvertSamples(nBits, _pSamples, -32, pBytes, nAll);
    Run(arrFloats.data(), _nSamples);
    ConvertSamples(-32, pBytes, nBits, _pSamples, nAll);
    return S_OK;
}

void CCompressor::ReadParameters(const XMLNodeBase& _node) {
    PARAMETERS now = parameters;
    ReadNumber(_node, u"attack_time", Range::kNotNegative, &now.dblAttackTime);
    ReadNumber(_node, u"decay_time", Range::kPositive, &now.dblDecayTime);
    ReadNumber(_node, u"threshold_db", Range::kAny, &now.dblThresholdDb);
    ReadNumber(_node, u"ratio", Range::kPositive, &now.dblRatio);
    ReadNumber(_node, u"gain_db", Range::kAny, &now.dblGainDb);
    ReadNumber(_node, u"window_time", Range::kPositive, &now.dblWindowTime);
    if (now == parameters) return;
    parameters = now;
    if (nRate > 0) SetUp();
}

void CCompressor::Begin(size_t _nChannels, int32_t _nRate) {
    arrChannels.clear();
    arrChannels.resize(_nChannels);
    nRate = _nRate;
    SetUp();
}

void CCompressor::SetUp() {
    constexpr double kWindowMost = 1;  // second
    const auto Coefficient = [this](double _dblSeconds) {
        return 1 - 1 / std::exp(1.0 / nRate / (_dblSeconds / -std::log(1 - 0.9)));
    };
    dblAttack = Coefficient(parameters.dblAttackTime);
    dblDecay = Coefficient(parameters.dblDecayTime);
    const double dblThreshold = FromDecibels(parameters.dblThresholdDb);
    fLimit = static_cast<float>(std::clamp(dblThreshold * dblThreshold, 1e-30, 1e30));
    fExponent = static_cast<float>((1 / parameters.dblRatio - 1) / 2);
    fMakeUp = static_cast<float>(std::min(FromDecibels(parameters.dblGainDb), 1e30));
    const double dblWindow = std::min(parameters.dblWindowTime, kWindowMost) * nRate;
    const auto nWindow = static_cast<size_t>(std::max(std::llround(dblWindow), 1LL));
    for (CHANNEL& channel : arrChannels) {
        if (channel.arrSquares.size() == nWindow) continue;
        channel.arrSquares.assign(nWindow, 0.0f);
        channel.dblSum = channel.dblFresh = 0;
        channel.nAt = 0;
    }
}

void CCompressor::StepWindow(CHANNEL* _pChannel, const float* _pSamples, float* _pLevels, size_t _nSamples) {
    constexpr float kLoudest = 1e30f;
    CHANNEL& channel = *_pChannel;
    const size_t nWindow = channel.arrSquares.size();
    const double dblScale = 2.0 / static_cast<double>(nWindow);
    for (size_t i = 0; i < _nSamples; ++i) {
        float fSquare = _pSamples[i] * _pSamples[i];
        if (!(fSquare <= kLoudest)) fSquare = 0;  // no sound
        channel.dblSum += double{fSquare} - double{channel.arrSquares[channel.nAt]};
        channel.dblFresh += double{fSquare};
        channel.arrSquares[channel.nAt] = fSquare;
        if (++channel.nAt == nWindow) {
            channel.nAt = 0;
            channel.dblSum = channel.dblFresh;
            channel.dblFresh = 0;
        }
        _pLevels[i] = static_cast<float>(channel.dblSum * dblScale);
    }
}

void CCompressor::StepGain(CHANNEL* _pChannel, const float* _pLevels, float* _pGains, size_t _nSamples) const {
    double dblGain = _pChannel->dblGain;
    for (size_t i = 0; i < _nSamples; ++i) {
        const double dblCoefficient = _pLevels[i] > fLimit ? dblAttack : dblDecay;
        dblGain += dblCoefficient * (double{_pGains[i]} - dblGain);
        _pGains[i] = static_cast<float>(dblGain);
    }
    _pChannel->dblGain = dblGain;
    _pChannel->bOn = _pLevels[_nSamples - 1] > fLimit;
}

void CCompressor::Run(float* _pSamples, size_t _nSamples) {
    std::array<float, kStretch> arrSamples, arrLevels, arrGains;
    const size_t nChannels = arrChannels.size();
    for (size_t c = 0; c < nChannels; ++c) {
        for (size_t x = 0; x < _nSamples;) {
            const size_t n = std::min(_nSamples - x, kStretch);
            float* p = _pSamples + x * nChannels + c;
            for (size_t i = 0; i < n; ++i) arrSamples[i] = p[i * nChannels];
            StepWindow(&arrChannels[c], arrSamples.data(), arrLevels.data(), n);
            PowerAboveRow(arrLevels.data(), arrGains.data(), n, fLimit, fExponent);
            StepGain(&arrChannels[c], arrLevels.data(), arrGains.data(), n);
            GainLimitRow(arrSamples.data(), arrGains.data(), n, fMakeUp);
            for (size_t i = 0; i < n; ++i) p[i * nChannels] = arrSamples[i];
            x += n;
        }
    }
}

void CDynamicAmplify::ReadParameters(const XMLNodeBase& _node) {
    ReadNumber(_node, u"attack_time", Range::kPositive, &dblAttackTime);
    ReadNumber(_node, u"release_time", Range::kPositive, &dblReleaseTime);
    ReadNumber(_node, u"max_amplification", Range::kPositive, &dblMaxAmplification);
}

void CDynamicAmplify::Begin(size_t _nChannels, int32_t _nRate) {
    nChannels = _nChannels;
    nRate = _nRate;
    dblGain = 1;
}

void CDynamicAmplify::Run(float* _pSamples, size_t _nSamples) {
    const double dblPeak = PeakRow(_pSamples, _nSamples * nChannels);
    const double dblWanted = dblPeak * dblMaxAmplification > 1 ? 1 / dblPeak : dblMaxAmplification;
    const double dblTime = (dblWanted < dblGain ? dblAttackTime : dblReleaseTime) / 1000 * nRate;  // in samples
    const double dblStart = dblGain;
    const double dblStep = (dblWanted - dblStart) / std::max(dblTime, 1.0);
    const auto Limit = [&](double _dblGain) {
        return dblStep < 0 ? std::max(_dblGain, dblWanted) : std::min(_dblGain, dblWanted);
    };
    std::array<float, kStretch> arrGains;
    const size_t nAtOnce = kStretch / nChannels;
    for (size_t x = 0; x < _nSamples;) {
        const size_t n = std::min(_nSamples - x, nAtOnce);
        for (size_t i = 0; i < n; ++i) {
            const auto fGain = static_cast<float>(Limit(dblStart + dblStep * static_cast<double>(x + i + 1)));
            std::fill_n(arrGains.begin() + static_cast<ptrdiff_t>(i * nChannels), nChannels, fGain);
        }
        GainLimitRow(_pSamples + x * nChannels, arrGains.data(), n * nChannels, 1.0f);
        x += n;
    }
    dblGain = Limit(dblStart + dblStep * static_cast<double>(_nSamples));
}

}  // namespace zr::ZrAudioProcessor
