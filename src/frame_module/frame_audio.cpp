#include "frame_module/frame_audio.h"

#include <cstring>
#include <new>
#include <utility>

#include "frame_module/channel_samples.h"
#include "media/aud_props.h"

namespace zr {

namespace {

// Bytes of one sample over all channels of a format that a frame can have, else 0.
size_t BlockBytes(const ZR_AUD_PROPS& _props) {
    return _props.nChannels <= kMaxAudioChannels ? static_cast<size_t>(AudBlockBytes(_props)) : 0;
}

}  // namespace

void FrameAudio::Reset() {
    pBuffer.Reset();
    cbAudio = 0;
    nSamples = 0;
    arrRows.clear();
}

HRESULT FrameAudio::AllocBytes(uint64_t _cb) {
    if (_cb > BufferPool::kMaxBytes) return E_INVALIDARG;
    BufferPtr pNew;
    if (_cb > 0) {
        pNew = BufferPool::Shared().Get(_cb);
        if (!pNew) return E_OUTOFMEMORY;
    }
    Reset();
    pBuffer = std::move(pNew);
    cbAudio = static_cast<uint32_t>(_cb);
    return S_OK;
}

HRESULT FrameAudio::Set(const ZR_AUD_PROPS& _props, int32_t _nSamples, const void* _p) {
    const size_t cbBlock = BlockBytes(_props);
    if (cbBlock == 0 || _nSamples < 0) return E_INVALIDARG;
    if (static_cast<size_t>(_nSamples) > BufferPool::kMaxBytes / cbBlock) return E_INVALIDARG;
    FrameAudio audio;
    const HRESULT hr = audio.AllocBytes(cbBlock * static_cast<size_t>(_nSamples));
    if (Failed(hr)) return hr;
    if (_p && audio.cbAudio > 0)
        std::memcpy(audio.Data(), _p, audio.cbAudio);  // it may be this frame's own memory
    else
        FillSilence(_props.nBitsPerSample, audio.Data(), audio.cbAudio);
    Take(&audio, _nSamples);
    return S_OK;
}

void FrameAudio::Take(FrameAudio* _pFrom, int32_t _nSamples) {
    arrRows.clear();
    std::swap(pBuffer, _pFrom->pBuffer);
    cbAudio = _pFrom->cbAudio;
    nSamples = _nSamples;
}

HRESULT FrameAudio::Copy(const FrameAudio& _from) {
    const HRESULT hr = AllocBytes(_from.cbAudio);
    if (Failed(hr)) return hr;
    if (cbAudio > 0) std::memcpy(Data(), _from.Data(), cbAudio);
    nSamples = _from.nSamples;
    return S_OK;
}

HRESULT FrameAudio::Describe(const ZR_AUD_PROPS& _new, ZR_AUD_PROPS* _pProps) {
    if (cbAudio == 0) {
        *_pProps = _new;
        return S_OK;
    }
    const size_t cbNewBlock = BlockBytes(_new);
    if (cbNewBlock == 0) {
        if (AudUsable(_new)) return E_INVALIDARG;  // too many channels
        if (_new.nSamplesPerSec > 0) _pProps->nSamplesPerSec = _new.nSamplesPerSec;
        _pProps->nTrackSplitBits = _new.nTrackSplitBits;
        return S_OK;
    }
    if (nSamples > 0) {
        if (_new.nChannels != _pProps->nChannels || cbNewBlock != BlockBytes(*_pProps)) return E_INVALIDARG;
        if (_new.nBitsPerSample != _pProps->nBitsPerSample) arrRows.clear();
    } else {
        nSamples = static_cast<int32_t>(cbAudio / cbNewBlock);
    }
    *_pProps = _new;
    return S_OK;
}

HRESULT FrameAudio::Remap(std::span<const int32_t> _arrChannels, ZR_AUD_PROPS* _pProps) {
    if (nSamples == 0) return ZR_E_EMPTY;
    for (const int32_t nChannel : _arrChannels)
        if (nChannel < 0 || nChannel >= _pProps->nChannels) return ZR_E_BAD_INDEX;
    ZR_AUD_PROPS props = *_pProps;
    props.nChannels = static_cast<int32_t>(_arrChannels.size());
    FrameAudio mapped;
    const HRESULT hr = mapped.AllocBytes(uint64_t{BlockBytes(props)} * static_cast<uint64_t>(nSamples));
    if (Failed(hr)) return hr;
    const auto cbSample = static_cast<size_t>(AudBytesPerSample(props.nBitsPerSample));
    const size_t cbBlock = BlockBytes(*_pProps);
    const uint8_t* pFrom = Data();
    uint8_t* pTo = mapped.Data();
    for (int32_t i = 0; i < nSamples; ++i, pFrom += cbBlock) {
        for (const int32_t nChannel : _arrChannels) {
            std::memcpy(pTo, pFrom + static_cast<size_t>(nChannel) * cbSample, cbSample);
            pTo += cbSample;
        }
    }
    Take(&mapped, nSamples);
    *_pProps = props;
    return S_OK;
}

HRESULT FrameAudio::ChannelRow(const ZR_AUD_PROPS& _props, int32_t _nChannel, bool _bCreate, uint32_t* _pcb,
                               uint8_t** _pp) {
    if (nSamples == 0) return ZR_E_EMPTY;
    const bool bNew = _nChannel >= _props.nChannels;
    if (_nChannel < 0 || _nChannel >= kMaxAudioChannels || (bNew && !_bCreate)) return ZR_E_BAD_INDEX;
    const auto nIndex = static_cast<size_t>(_nChannel);
    const size_t cbRow = static_cast<size_t>(nSamples) * static_cast<size_t>(ChannelSampleBytes(_props.nBitsPerSample));
    if (nIndex >= arrRows.size() || !arrRows[nIndex]) {
        BufferPtr pRow = BufferPool::Shared().Get(cbRow);
        if (!pRow) return cbRow > BufferPool::kMaxBytes ? E_INVALIDARG : E_OUTOFMEMORY;
        const auto cbSample = static_cast<size_t>(AudBytesPerSample(_props.nBitsPerSample));
        if (bNew)
            std::memset(pRow->Data(), 0, cbRow);
        else
            TakeChannel(_props.nBitsPerSample, Data() + nIndex * cbSample, BlockBytes(_props),
                        static_cast<size_t>(nSamples), pRow->Data());
        try {
            if (arrRows.size() <= nIndex) arrRows.resize(nIndex + 1);
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
        arrRows[nIndex] = std::move(pRow);
    }
    *_pcb = static_cast<uint32_t>(cbRow);
    *_pp = arrRows[nIndex]->Data();
    return S_OK;
}

HRESULT FrameAudio::UpdateChannels(ZR_AUD_PROPS* _pProps) {
    if (arrRows.empty()) return S_FALSE;
    if (arrRows.size() > static_cast<size_t>(_pProps->nChannels)) {
        const HRESULT hr = Widen(static_cast<int32_t>(arrRows.size()), _pProps);
        if (Failed(hr)) return hr;
    }
    const auto cbSample = static_cast<size_t>(AudBytesPerSample(_pProps->nBitsPerSample));
    for (size_t i = 0; i < arrRows.size(); ++i) {
        if (!arrRows[i]) continue;
        PutChannel(_pProps->nBitsPerSample, arrRows[i]->Data(), BlockBytes(*_pProps), static_cast<size_t>(nSamples),
                   Data() + i * cbSample);
    }
    return S_OK;
}

// Adds silent channels, the rows stay.
HRESULT FrameAudio::Widen(int32_t _nChannels, ZR_AUD_PROPS* _pProps) {
    ZR_AUD_PROPS props = *_pProps;
    props.nChannels = _nChannels;
    FrameAudio wide;
    const HRESULT hr = wide.Set(props, nSamples, nullptr);
    if (Failed(hr)) return hr;
    const size_t cbOld = BlockBytes(*_pProps), cbNew = BlockBytes(props);
    for (size_t i = 0; i < static_cast<size_t>(nSamples); ++i)
        std::memcpy(wide.Data() + i * cbNew, Data() + i * cbOld, cbOld);
    std::swap(pBuffer, wide.pBuffer);
    cbAudio = wide.cbAudio;
    *_pProps = props;
    return S_OK;
}

}  // namespace zr
