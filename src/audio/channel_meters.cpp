#include "audio/channel_meters.h"

#include <algorithm>
#include <new>

#include "audio/sample_convert.h"
#include "audio/sound_block.h"
#include "media/aud_props.h"

namespace zr {
namespace {

constexpr size_t kBytesOf16 = 2;

void Hold(float _fValue, bool* _pbHeld, float* _pfPeak) {
    *_pfPeak = *_pbHeld ? std::max(*_pfPeak, _fValue) : _fValue;
    *_pbHeld = true;
}

}  // namespace

HRESULT ChannelMeters::Prepare(int32_t _nBits, size_t _nChannels, size_t _nSamples) {
    const bool b16BitNow = _nBits == 16;
    if (b16BitNow != b16Bit) {
        for (auto& pMeter : arrMeters) pMeter.reset();
        b16Bit = b16BitNow;
        MutexLock lock(mtxRecord);
        arrPeakHeld.fill(false);
    }
    for (size_t i = 0; i < _nChannels; ++i) {
        if (arrMeters[i]) continue;
        if (b16Bit)
            arrMeters[i] = std::make_unique<IPPMeter16s>();
        else
            arrMeters[i] = std::make_unique<IPPMeter32f>();
    }
    if (arrPacked.size() < _nSamples * 4) arrPacked.resize(_nSamples * 4);
    if (arrFloats.size() < _nSamples) arrFloats.resize(_nSamples);
    if (pLoudness && arrInterleaved.size() < _nSamples * _nChannels) arrInterleaved.resize(_nSamples * _nChannels);
    return S_OK;
}

const void* ChannelMeters::Gather(int32_t _nBits, const uint8_t* _pFirst, size_t _cbStep, size_t _nSamples) {
    const auto cb = static_cast<size_t>(AudBytesPerSample(_nBits));
    const bool bAligned = reinterpret_cast<uintptr_t>(_pFirst) % 4 == 0;
    if (_cbStep != cb || !bAligned) {
        CopyChannel(cb, _pFirst, _cbStep, arrPacked.data(), cb, _nSamples);
        _pFirst = arrPacked.data();
    }
    if (_nBits != -32 && (_nBits != 16 || pLoudness))
        ConvertSamples(_nBits, _pFirst, -32, reinterpret_cast<uint8_t*>(arrFloats.data()), _nSamples);
    return _nBits == 16 || _nBits == -32 ? static_cast<const void*>(_pFirst) : arrFloats.data();
}

// Two channels that lie side by side, and are wanted for their levels alone.
bool ChannelMeters::IsPair(int32_t _nBits, std::span<const uint8_t* const> _arrChannels) const {
    return _nBits == 16 && !pLoudness && _arrChannels.size() > 1 && _arrChannels[0] &&
           _arrChannels[1] == _arrChannels[0] + kBytesOf16;
}

void ChannelMeters::MeasurePair(int32_t _nRate, size_t _nFirst, const uint8_t* _pFirst, size_t _cbStep,
                                size_t _nSamples) {
    constexpr size_t cbPair = 2 * kBytesOf16;
    if (_cbStep != cbPair || reinterpret_cast<uintptr_t>(_pFirst) % kBytesOf16 != 0) {
        CopyChannel(cbPair, _pFirst, _cbStep, arrPacked.data(), cbPair, _nSamples);
        _pFirst = arrPacked.data();
    }
    auto* const pFirst = static_cast<IPPMeter16s*>(arrMeters[_nFirst].get());
    auto* const pSecond = static_cast<IPPMeter16s*>(arrMeters[_nFirst + 1].get());
    IPPMeter16s::ProcessPair(_pFirst, _nSamples, _nRate, pFirst, pSecond);
    arrLevels[_nFirst] = {pFirst->RMS(), pFirst->VU()};
    arrLevels[_nFirst + 1] = {pSecond->RMS(), pSecond->VU()};
}

HRESULT ChannelMeters::Measure_I(const ZR_AUD_PROPS& _props, std::span<const uint8_t* const> _arrChannels,
                                 size_t _cbStep, size_t _nSamples) {
    const size_t nChannels = _arrChannels.size();
    const HRESULT hr = Prepare(_props.nBitsPerSample, nChannels, _nSamples);
    if (Failed(hr)) return hr;
    for (size_t c = 0; c < nChannels; ++c) {
        if (IsPair(_props.nBitsPerSample, _arrChannels.subspan(c))) {
            MeasurePair(_props.nSamplesPerSec, c, _arrChannels[c], _cbStep, _nSamples);
            ++c;
        } else if (_arrChannels[c]) {
            const void* p = Gather(_props.nBitsPerSample, _arrChannels[c], _cbStep, _nSamples);
            arrMeters[c]->Process(p, _nSamples, _props.nSamplesPerSec, &arrLevels[c].fRMS, nullptr, &arrLevels[c].fVU);
            if (!pLoudness) continue;
            const float* pFloats = _props.nBitsPerSample == -32 ? static_cast<const float*>(p) : arrFloats.data();
            for (size_t i = 0; i < _nSamples; ++i) arrInterleaved[i * nChannels + c] = pFloats[i];
        } else if (pLoudness) {
            for (size_t i = 0; i < _nSamples; ++i) arrInterleaved[i * nChannels + c] = 0;
        }
    }
    if (pLoudness)
        pLoudness->Process(arrInterleaved.data(), _nSamples, static_cast<int32_t>(nChannels), _props.nSamplesPerSec);
    Publish(_arrChannels);
    return S_OK;
}

HRESULT ChannelMeters::Measure(const ZR_AUD_PROPS& _props, std::span<const uint8_t* const> _arrChannels, size_t _cbStep,
                               size_t _nSamples) {
    const int32_t nBits = _props.nBitsPerSample;
    if (AudBytesPerSample(nBits) < 2) return ZR_E_NOT_SUPPORTED;
    if (_nSamples == 0 || _arrChannels.empty() || _props.nSamplesPerSec <= 0) return S_OK;
    try {
        return Measure_I(_props, _arrChannels.first(std::min(_arrChannels.size(), kMaxChannels)), _cbStep, _nSamples);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT ChannelMeters::Measure(const ZR_AUD_PROPS& _props, const uint8_t* _pSamples, size_t _nSamples) {
    if (AudBytesPerSample(_props.nBitsPerSample) < 2) return ZR_E_NOT_SUPPORTED;
    const auto cb = static_cast<size_t>(AudBytesPerSample(_props.nBitsPerSample));
    const auto nAll = static_cast<size_t>(std::max(_props.nChannels, 0));
    std::array<const uint8_t*, kMaxChannels> arrFirst{};
    const size_t nChannels = std::min(nAll, kMaxChannels);
    for (size_t c = 0; c < nChannels; ++c) arrFirst[c] = _pSamples + c * cb;
    return Measure(_props, std::span(arrFirst).first(nChannels), cb * nAll, _nSamples);
}

void ChannelMeters::LoudnessSet(bool _bOn) {
    if (!_bOn)
        pLoudness.reset();
    else if (!pLoudness)
        pLoudness.reset(new (std::nothrow) LoudnessMeter);
}

void ChannelMeters::Publish(std::span<const uint8_t* const> _arrChannels) {
    MutexLock lock(mtxRecord);
    for (size_t c = 0; c < _arrChannels.size(); ++c) {
        if (!_arrChannels[c]) continue;
        record.arrRMS[c] = arrLevels[c].fRMS;
        record.arrVUMeter[c] = arrLevels[c].fVU;
        Hold(arrLevels[c].fVU, &arrPeakHeld[c], &record.arrVUPeaks[c]);
    }
    record.nValidChannels = static_cast<int32_t>(_arrChannels.size());
    if (!pLoudness) return;
    const LOUDNESS& loudness = pLoudness->Levels();
    record.arrEBUMode_M = loudness.fMomentary;
    record.arrEBUMode_S = loudness.fShortTerm;
    record.arrEBUMode_I = loudness.fIntegrated;
    record.arrPeaks_QPPM = loudness.fQuasiPeak;
    Hold(loudness.fTruePeak, &bTruePeakHeld, &record.arrPeaks_TPL);
}

void ChannelMeters::Read(ZR_AUDIO_TRACK_LOUDNESS* _pLevels, bool _bTakePeaks) {
    MutexLock lock(mtxRecord);
    *_pLevels = record;
    if (!_bTakePeaks) return;
    arrPeakHeld.fill(false);
    bTruePeakHeld = false;
}

void ChannelMeters::Reset() {
    for (auto& pMeter : arrMeters) pMeter.reset();
    if (pLoudness) pLoudness->Reset();
    MutexLock lock(mtxRecord);
    record = {};
    arrPeakHeld.fill(false);
    bTruePeakHeld = false;
}

void AppendLevels(const ZR_AUDIO_TRACK_LOUDNESS& _track, ZR_AUDIO_LOUDNESS* _pAll) {
    constexpr auto nRoom = static_cast<int32_t>(ChannelMeters::kMaxChannels);
    const int32_t nCount = std::min(_track.nValidChannels, nRoom - _pAll->nValidChannels);
    if (nCount <= 0) return;
    for (int32_t i = 0; i < nCount; ++i) {
        const int32_t nTo = _pAll->nValidChannels + i;
        _pAll->arrVUMeter[nTo] = _track.arrVUMeter[i];
        _pAll->arrVUPeaks[nTo] = _track.arrVUPeaks[i];
        _pAll->arrRMS[nTo] = _track.arrRMS[i];
        _pAll->arrEBUMode_M[nTo] = _track.arrEBUMode_M;
        _pAll->arrEBUMode_S[nTo] = _track.arrEBUMode_S;
        _pAll->arrEBUMode_I[nTo] = _track.arrEBUMode_I;
        _pAll->arrPeaks_QPPM[nTo] = _track.arrPeaks_QPPM;
        _pAll->arrPeaks_TPL[nTo] = _track.arrPeaks_TPL;
    }
    _pAll->nValidChannels += nCount;
    ++_pAll->nValidTracks;
    _pAll->nTracksSplitBit |= static_cast<int32_t>(uint32_t{1} << (_pAll->nValidChannels - 1));
}

}  // namespace zr
