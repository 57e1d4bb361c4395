// The operations of frames that compute with sound.

#include "frame_module/frame_sound.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <vector>

#include "attributes/interface_call.h"
#include "audio/audio_converter.h"
#include "audio/sample_convert.h"
#include "audio/sound_edge.h"
#include "audio/sound_sum.h"
#include "frame_module/frame.h"
#include "frame_module/sound_pool.h"
#include "media/aud_props.h"

namespace zr {
namespace {

struct SOUND {
    ZR_AUD_PROPS props;
    const uint8_t* p = nullptr;
    int32_t cb = 0;
    int64_t nSamples = 0;  // of each channel; 0: no sound
};

// Working memory of a thread, which calls in a row use again.
struct SCRATCH {
    SoundGain gain;
    SoundSum sum;
    SoundEdge edge;
    std::vector<uint8_t> arrBlock, arrConverted;
};
SCRATCH& Scratch() {
    thread_local SCRATCH scratch;
    return scratch;
}

double LinearOf(double _dblDb) { return std::pow(10.0, _dblDb / 20.0); }
GAIN_RAMP RampOf(double _dblStartDb, double _dblEndDb) { return {LinearOf(_dblStartDb), LinearOf(_dblEndDb)}; }

HRESULT SoundOf(IZrFFrame& _frame, SOUND* _pSound) {
    ZR_AV_PROPS avProps;
    HRESULT hr = _frame.ZrFAVPropsGet(&avProps, nullptr);
    int64_t lp = 0;
    if (Succeeded(hr)) hr = _frame.ZrFAudioGetBytes(&_pSound->cb, &lp);
    if (Failed(hr)) return hr;
    _pSound->props = avProps.audProps;
    _pSound->p = reinterpret_cast<const uint8_t*>(lp);
    const int64_t cbBlock = AudBlockBytes(_pSound->props);
    _pSound->nSamples = lp != 0 && cbBlock > 0 ? _pSound->cb / cbBlock : 0;
    return S_OK;
}

bool SameLayout(const ZR_AUD_PROPS& _a, const ZR_AUD_PROPS& _b) {
    return _a.nChannels == _b.nChannels && _a.nBitsPerSample == _b.nBitsPerSample;
}

// _nCount samples of a sound from _nFirst on, as a copy in the format of _to.
HRESULT CopyBlock(const SOUND& _from, int64_t _nFirst, int64_t _nCount, const ZR_AUD_PROPS& _to,
                  std::vector<uint8_t>& _arrBlock, int64_t* _pnCount) {
    const int64_t cbFrom = AudBlockBytes(_from.props);
    const uint8_t* p = _from.p + _nFirst * cbFrom;
    const auto cb = static_cast<int32_t>(_nCount * cbFrom);
    if (SameLayout(_from.props, _to) && _from.props.nSamplesPerSec == _to.nSamplesPerSec) {
        if (_arrBlock.size() < static_cast<size_t>(cb)) _arrBlock.resize(static_cast<size_t>(cb));
        if (cb > 0) std::memcpy(_arrBlock.data(), p, static_cast<size_t>(cb));
        *_pnCount = _nCount;
        return S_OK;
    }
    return ConvertAlone(_from.props, p, _nCount, _to, _arrBlock, _pnCount);
}

// Adds a block, which is changed, to a sound; symmetric: what is there gets the complement of the gain.
void AddBlock(const ZR_AUD_PROPS& _props, uint8_t* _pOwn, uint8_t* _pBlock, int64_t _nSamples, const GAIN_RAMP& _ramp,
              bool _bSymmetric) {
    if (_nSamples <= 0) return;
    SCRATCH& scratch = Scratch();
    if (_bSymmetric) scratch.gain.Apply(_props, _pOwn, _nSamples, {1 - _ramp.dblStart, 1 - _ramp.dblEnd});
    scratch.sum.Begin(_props, _pOwn, _nSamples);
    scratch.sum.Add(_pBlock, _nSamples, _ramp);
    scratch.sum.End();
}

// The rest of a sound whose other half of a cross-fade has ended early: it stays at the gain that was reached, and the
// other one, of which _block holds the _nSamples that were added, fades away.
void EndCrossFade(const ZR_AUD_PROPS& _props, uint8_t* _pOwn, int64_t _nOwn, std::vector<uint8_t>& _block,
                  int64_t _nSamples, const GAIN_RAMP& _ramp) {
    const int64_t nRest = _nOwn - _nSamples;
    if (nRest <= 0) return;
    SCRATCH& scratch = Scratch();
    uint8_t* const pRest = _pOwn + _nSamples * AudBlockBytes(_props);
    const double dblFrom = _nSamples > 0 ? _ramp.dblEnd : _ramp.dblStart;
    scratch.gain.Apply(_props, pRest, nRest, {1 - dblFrom, 1 - _ramp.dblEnd});
    if (_nSamples == 0) return;
    scratch.edge.Reset();
    scratch.edge.Remember(_props, _block.data(), _nSamples);
    const auto cbRest = static_cast<size_t>(nRest * AudBlockBytes(_props));
    if (_block.size() < cbRest) _block.resize(cbRest);
    const int64_t nTail = scratch.edge.Smooth(_props, _block.data(), 0, nRest, false);
    AddBlock(_props, pRest, _block.data(), nTail, {}, false);
}

// The channels of a list in their order; all of them for an empty one. ZR_E_BAD_INDEX: the sound lacks one.
HRESULT ChannelsOf(const char16_t* _szList, const ZR_AUD_PROPS& _props, ChannelList* _pList) {
    if (_szList) *_pList = ParseChannelList(_szList);
    for (const int32_t n : *_pList)
        if (n >= _props.nChannels) return ZR_E_BAD_INDEX;
    if (_pList->empty())
        for (int32_t n = 0; n < _props.nChannels; ++n) _pList->Add(n);
    return S_OK;
}

}  // namespace

HRESULT CZrFrame::ZrFAudioGain(const char16_t* _bsChannelsList, double _dblGainStartDb, double _dblGainEndDb) {
    return InterfaceCall([&]() -> HRESULT {
        const ZR_AUD_PROPS& props = content.avProps.audProps;
        if (content.audio.Samples() == 0) return ZR_E_EMPTY;
        if (!AudUsable(props)) return ZR_E_NOT_SUPPORTED;
        ChannelList channels;
        if (const HRESULT hr = ChannelsOf(_bsChannelsList, props, &channels); Failed(hr)) return hr;
        const GAIN_RAMP ramp = RampOf(_dblGainStartDb, _dblGainEndDb);
        const bool bAll = !_bsChannelsList || *_bsChannelsList == 0;
        for (const int32_t n : channels) {
            Scratch().gain.Apply(props, content.audio.Data(), content.audio.Samples(), ramp, bAll ? -1 : n);
            if (bAll) break;
        }
        return S_OK;
    });
}

HRESULT CZrFrame::ZrFAudioMixDirect(int32_t* _plAudioOffsetSrc, IZrFFrame* _pFrameMixFrom, int32_t* _plAudioOffsetMix,
                                    int32_t _lSamplesMixMax, double _dblGainStartDb, double _dblGainEndDb,
                                    int32_t _bSymmetricGain) {
    if (!_plAudioOffsetSrc || !_pFrameMixFrom || !_plAudioOffsetMix) return E_POINTER;
    return InterfaceCall([&]() -> HRESULT {
        const ZR_AUD_PROPS& props = content.avProps.audProps;
        SOUND from;
        if (const HRESULT hr = SoundOf(*_pFrameMixFrom, &from); Failed(hr)) return hr;
        const int64_t nOwn = content.audio.Samples();
        if (nOwn == 0 || from.nSamples == 0) return ZR_E_EMPTY;
        if (!AudUsable(props) || !AudUsable(from.props)) return ZR_E_NOT_SUPPORTED;
        if (props.nSamplesPerSec != from.props.nSamplesPerSec || *_plAudioOffsetSrc < 0 || *_plAudioOffsetSrc > nOwn ||
            *_plAudioOffsetMix < 0 || *_plAudioOffsetMix > from.nSamples || _lSamplesMixMax < 0)
            return E_INVALIDARG;
        int64_t nMix =
            std::min<int64_t>({nOwn - *_plAudioOffsetSrc, from.nSamples - *_plAudioOffsetMix, _lSamplesMixMax});
        SCRATCH& scratch = Scratch();
        const HRESULT hr = CopyBlock(from, *_plAudioOffsetMix, nMix, props, scratch.arrBlock, &nMix);
        if (Failed(hr)) return hr;
        AddBlock(props, content.audio.Data() + *_plAudioOffsetSrc * AudBlockBytes(props), scratch.arrBlock.data(), nMix,
                 RampOf(_dblGainStartDb, _dblGainEndDb), _bSymmetricGain != 0);
        *_plAudioOffsetSrc += static_cast<int32_t>(nMix);
        *_plAudioOffsetMix += static_cast<int32_t>(nMix);
        return S_OK;
    });
}

HRESULT CZrFrame::ZrFAudioMix(IZrFFrame* _pFrameMixFrom, double _dblGainStartDb, double _dblGainEndDb,
                              int32_t _bSymmetricGain, const char16_t* _bsAudioBufferID) {
    if (!_pFrameMixFrom) return E_POINTER;
    return InterfaceCall([&]() -> HRESULT {
        const ZR_AUD_PROPS& props = content.avProps.audProps;
        SOUND from;
        HRESULT hr = SoundOf(*_pFrameMixFrom, &from);
        if (Failed(hr)) return hr;
        if (!AudUsable(props)) return ZR_E_EMPTY;
        if (from.nSamples > 0 && !AudUsable(from.props)) return ZR_E_NOT_SUPPORTED;
        SCRATCH& scratch = Scratch();
        int64_t nMix = 0;
        if (_bsAudioBufferID && *_bsAudioBufferID) {
            const CAutoObj<NamedSound> pSound = SoundOfName(_bsAudioBufferID);
            if (!pSound) return E_OUTOFMEMORY;
            MutexLock lock(pSound->mtx);
            ZrAudioBuffer2& waiting = pSound->waiting;
            hr = waiting.FormatSet(props);
            if (Succeeded(hr) && from.nSamples > 0) hr = waiting.PutAudio(from.props, from.p, from.cb, false, true);
            if (Failed(hr)) return hr;
            const size_t cbOwn = content.audio.Size();
            if (scratch.arrBlock.size() < cbOwn) scratch.arrBlock.resize(cbOwn);
            nMix = waiting.GetAudio(scratch.arrBlock.data(), content.audio.Samples());
            // Frames that bring more than they take for seconds are no stream: the oldest is let go.
            const int64_t nMost = int64_t{2} * props.nSamplesPerSec;
            if (waiting.Fill() > nMost) waiting.GetAudio(nullptr, waiting.Fill() - nMost);
        } else if (from.nSamples > 0) {
            hr = CopyBlock(from, 0, from.nSamples, props, scratch.arrBlock, &nMix);
            if (Failed(hr)) return hr;
            nMix = std::min<int64_t>(nMix, content.audio.Samples());
        }
        AddBlock(props, content.audio.Data(), scratch.arrBlock.data(), nMix, RampOf(_dblGainStartDb, _dblGainEndDb),
                 _bSymmetricGain != 0);
        if (_bSymmetricGain)
            EndCrossFade(props, content.audio.Data(), content.audio.Samples(), scratch.arrBlock, nMix,
                         RampOf(_dblGainStartDb, _dblGainEndDb));
        return nMix > 0 ? S_OK : S_FALSE;
    });
}

HRESULT CZrFrame::ZrFAudioCopyTo(const char16_t* _bsChannelsList, IZrFFrame* _pFrameTo) {
    if (!_pFrameTo) return E_POINTER;
    return InterfaceCall([&]() -> HRESULT {
        ZR_AUD_PROPS props = content.avProps.audProps;
        if (content.audio.Samples() == 0 || !AudUsable(props)) return ZR_E_EMPTY;
        ChannelList channels;
        HRESULT hr = ChannelsOf(_bsChannelsList, props, &channels);
        SOUND to;
        if (Succeeded(hr)) hr = SoundOf(*_pFrameTo, &to);
        if (Failed(hr)) return hr;
        const auto nSamples = static_cast<size_t>(content.audio.Samples());
        const auto cbSample = static_cast<size_t>(AudBytesPerSample(props.nBitsPerSample));
        const size_t cbBlock = cbSample * static_cast<size_t>(props.nChannels);
        const size_t nAll = nSamples * channels.size();
        if (nAll > std::numeric_limits<int32_t>::max() / 4) return E_INVALIDARG;
        SCRATCH& scratch = Scratch();
        if (scratch.arrBlock.size() < nAll * cbSample) scratch.arrBlock.resize(nAll * cbSample);
        uint8_t* pTo = scratch.arrBlock.data();
        for (size_t i = 0; i < nSamples; ++i) {
            const uint8_t* const pFrom = content.audio.Data() + i * cbBlock;
            for (const int32_t n : channels) {
                std::memcpy(pTo, pFrom + static_cast<size_t>(n) * cbSample, cbSample);
                pTo += cbSample;
            }
        }
        if (_bsChannelsList && *_bsChannelsList) props.nTrackSplitBits = 0;  // they are no tracks any more
        props.nChannels = static_cast<int32_t>(channels.size());
        const uint8_t* pResult = scratch.arrBlock.data();
        const int32_t nBits = AudUsable(to.props) ? to.props.nBitsPerSample : props.nBitsPerSample;
        if (nBits != props.nBitsPerSample) {
            scratch.arrConverted.resize(nAll * static_cast<size_t>(AudBytesPerSample(nBits)));
            hr = ConvertSamples(props.nBitsPerSample, pResult, nBits, scratch.arrConverted.data(), nAll);
            if (Failed(hr)) return hr;
            props.nBitsPerSample = nBits;
            pResult = scratch.arrConverted.data();
        }
        return _pFrameTo->ZrFAudioSet(&props,
                                      static_cast<int32_t>(nAll * static_cast<size_t>(AudBytesPerSample(nBits))),
                                      reinterpret_cast<int64_t>(pResult));
    });
}

bool AsksForOtherAudio(const ZR_AUD_PROPS& _wanted, const ZR_AUD_PROPS& _own) {
    const auto Differs = [](int32_t _nWanted, int32_t _nOwn) { return _nWanted != 0 && _nWanted != _nOwn; };
    return Differs(_wanted.nChannels, _own.nChannels) || Differs(_wanted.nSamplesPerSec, _own.nSamplesPerSec) ||
           Differs(_wanted.nBitsPerSample, _own.nBitsPerSample);
}

HRESULT ConvertSound(IZrFFrame& _frame, const ZR_AUD_PROPS& _wanted, const char16_t* _szConverterID) try {
    SOUND from;
    HRESULT hr = SoundOf(_frame, &from);
    if (Failed(hr) || from.nSamples == 0) return hr;
    ZR_AUD_PROPS props = from.props;
    if (_wanted.nChannels != 0) props.nChannels = _wanted.nChannels;
    if (_wanted.nSamplesPerSec != 0) props.nSamplesPerSec = _wanted.nSamplesPerSec;
    if (_wanted.nBitsPerSample != 0) props.nBitsPerSample = _wanted.nBitsPerSample;
    if (props.nChannels != from.props.nChannels) props.nTrackSplitBits = _wanted.nTrackSplitBits;
    SCRATCH& scratch = Scratch();
    if (!_szConverterID || *_szConverterID == 0) {
        int64_t nSamples = 0;
        hr = CopyBlock(from, 0, from.nSamples, props, scratch.arrBlock, &nSamples);
        if (Failed(hr)) return hr;
        return _frame.ZrFAudioSet(&props, static_cast<int32_t>(nSamples * AudBlockBytes(props)),
                                  reinterpret_cast<int64_t>(scratch.arrBlock.data()));
    }
    const CAutoObj<NamedSound> pSound = SoundOfName(_szConverterID);
    if (!pSound) return E_OUTOFMEMORY;
    MutexLock lock(pSound->mtx);
    hr = pSound->converter.Init(from.props, props, static_cast<int32_t>(from.nSamples), 1.0);
    int32_t cb = 0;
    if (Succeeded(hr)) hr = pSound->converter.Convert(from.p, from.cb, nullptr, &cb, 1.0);
    if (Failed(hr)) return hr;
    if (pSound->arrConverted.size() < static_cast<size_t>(cb)) pSound->arrConverted.resize(static_cast<size_t>(cb));
    hr = pSound->converter.Convert(from.p, from.cb, pSound->arrConverted.data(), &cb, 1.0);
    if (Failed(hr)) return hr;
    return _frame.ZrFAudioSet(&props, cb, reinterpret_cast<int64_t>(pSound->arrConverted.data()));
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

}  // namespace zr
