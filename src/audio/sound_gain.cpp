#include "audio/sound_gain.h"

#include <algorithm>
#include <array>

#include "audio/kernels/gain_row.h"
#include "audio/sample_convert.h"
#include "audio/sound_block.h"
#include "media/aud_props.h"

namespace zr {
namespace {

template <class T>
void GrowTo(std::vector<T>& _arr, size_t _n) {
    if (_arr.size() < _n) _arr.resize(_n);
}

// One ramp for all of so many channels side by side.
template <size_t kChannels>
void FillRamp(const CHANNEL_RAMP& _ramp, float* _pGains, size_t _nSamples) {
    for (size_t i = 0; i < _nSamples; ++i) {
        const auto f =
            static_cast<float>(_ramp.dblStart + static_cast<double>(static_cast<int32_t>(i)) * _ramp.dblStep);
        for (size_t c = 0; c < kChannels; ++c) _pGains[i * kChannels + c] = f;
    }
}

}  // namespace

void SoundGain::FillGains(std::span<const CHANNEL_RAMP> _arrRamps, size_t _nSamples) {
    const size_t nChannels = _arrRamps.size();
    const size_t n = _nSamples * nChannels;
    const bool bSteady =
        std::all_of(_arrRamps.begin(), _arrRamps.end(), [](const CHANNEL_RAMP& _ramp) { return _ramp.dblStep == 0; });
    if (bSteady && nFilled >= n && std::equal(_arrRamps.begin(), _arrRamps.end(), arrFilled.begin(), arrFilled.end()))
        return;
    const bool bOne = bSteady && std::all_of(_arrRamps.begin(), _arrRamps.end(), [&](const CHANNEL_RAMP& _ramp) {
                          return _ramp.dblStart == _arrRamps[0].dblStart;
                      });
    GrowTo(arrGains, n);
    if (bOne) {
        std::fill_n(arrGains.begin(), n, static_cast<float>(_arrRamps[0].dblStart));
    } else if (nChannels == 1) {
        FillRamp<1>(_arrRamps[0], arrGains.data(), _nSamples);
    } else if (nChannels == 2 && _arrRamps[0] == _arrRamps[1]) {
        FillRamp<2>(_arrRamps[0], arrGains.data(), _nSamples);
    } else {
        for (size_t c = 0; c < nChannels; ++c) {
            const CHANNEL_RAMP ramp = _arrRamps[c];
            for (size_t i = 0; i < _nSamples; ++i) {
                arrGains[i * nChannels + c] = static_cast<float>(ramp.dblStart + static_cast<double>(i) * ramp.dblStep);
            }
        }
    }
    arrFilled.assign(_arrRamps.begin(), _arrRamps.end());
    nFilled = bSteady ? n : 0;
}

void SoundGain::ApplyToRow(int32_t _nBits, uint8_t* _p, size_t _n) {
    if (_nBits == 16) {
        auto* const p = reinterpret_cast<int16_t*>(_p);
        GainPcm16Row(p, arrGains.data(), p, _n);
    } else if (_nBits == -32) {
        auto* const p = reinterpret_cast<float*>(_p);
        GainFloatRow(p, arrGains.data(), p, _n);
    } else {
        GrowTo(arrFloats, _n);
        auto* const pBytes = reinterpret_cast<uint8_t*>(arrFloats.data());
        if (Failed(ConvertSamples(_nBits, _p, -32, pBytes, _n))) return;
        GainFloatRow(arrFloats.data(), arrGains.data(), arrFloats.data(), _n);
        ConvertSamples(-32, pBytes, _nBits, _p, _n);
    }
}

void SoundGain::ApplyToChannel(int32_t _nBits, uint8_t* _pFirst, size_t _cbStep, size_t _nSamples) {
    const auto cb = static_cast<size_t>(AudBytesPerSample(_nBits));
    GrowTo(arrRow, _nSamples * cb);
    CopyChannel(cb, _pFirst, _cbStep, arrRow.data(), cb, _nSamples);
    ApplyToRow(_nBits, arrRow.data(), _nSamples);
    CopyChannel(cb, arrRow.data(), cb, _pFirst, _cbStep, _nSamples);
}

void SoundGain::Apply(int32_t _nBits, uint8_t* _p, size_t _cbStep, std::span<const CHANNEL_RAMP> _arrRamps,
                      size_t _nSamples) {
    const auto cb = static_cast<size_t>(AudBytesPerSample(_nBits));
    const auto IsUnity = [](const CHANNEL_RAMP& _ramp) { return _ramp.IsUnity(); };
    if (cb == 0 || _nSamples == 0 || std::all_of(_arrRamps.begin(), _arrRamps.end(), IsUnity)) return;
    // A gain of 1 is exact on 16 bits, so that these go in one row whatever the gains are.
    const bool bRow =
        _cbStep == cb * _arrRamps.size() && (_nBits == 16 || std::none_of(_arrRamps.begin(), _arrRamps.end(), IsUnity));
    if (bRow) {
        FillGains(_arrRamps, _nSamples);
        ApplyToRow(_nBits, _p, _nSamples * _arrRamps.size());
        return;
    }
    for (size_t c = 0; c < _arrRamps.size(); ++c) {
        if (_arrRamps[c].IsUnity()) continue;
        FillGains(_arrRamps.subspan(c, 1), _nSamples);
        ApplyToChannel(_nBits, _p + c * cb, _cbStep, _nSamples);
    }
}

void SoundGain::Apply(const ZR_AUD_PROPS& _props, uint8_t* _p, int64_t _nSamples, const GAIN_RAMP& _ramp,
                      int32_t _nChannel) {
    if (_ramp.IsUnity() || _nSamples <= 0 || _props.nChannels > kMaxAudioChannels) return;
    std::array<CHANNEL_RAMP, kMaxAudioChannels> arrRamps;
    const CHANNEL_RAMP ramp{_ramp.dblStart, (_ramp.dblEnd - _ramp.dblStart) / static_cast<double>(_nSamples)};
    const auto nChannels = static_cast<size_t>(_props.nChannels);
    if (_nChannel < 0) {
        std::fill_n(arrRamps.begin(), nChannels, ramp);
    } else if (static_cast<size_t>(_nChannel) < nChannels) {
        arrRamps[static_cast<size_t>(_nChannel)] = ramp;
    }
    Apply(_props.nBitsPerSample, _p, static_cast<size_t>(AudBlockBytes(_props)),
          std::span<const CHANNEL_RAMP>(arrRamps).first(nChannels), static_cast<size_t>(_nSamples));
}

}  // namespace zr
