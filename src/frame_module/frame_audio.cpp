#include "frame_module/frame_audio.h"

#include <cstring>
#include <new>
#include <utility>

#include "audio/sample_convert.h"
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

HRESULT FrameAudio::Describe(const ZR_AUD_PROPS& _new, std::span<const int32_t> _arrRemap, ZR_AUD_PROPS* _pProps) {
    ZR_AUD_PROPS props = _new;
    if (cbAudio == 0) {
        // Frames of a stream say the same whether they have sound or not.
        if (!_arrRemap.empty() && props.nChannels > 0) props.nChannels = static_cast<int32_t>(_arrRemap.size());
        *_pProps = props;
        return S_OK;
    }
    if (!AudUsable(_new)) {
        props = *_pProps;
        if (_new.nSamplesPerSec > 0) props.nSamplesPerSec = _new.nSamplesPerSec;
        props.nTrackSplitBits = _new.nTrackSplitBits;
    }
    int32_t nCount = nSamples;
    if (AudUsable(props)) {
        const size_t cbBlock = BlockBytes(props);
        if (cbBlock == 0 || cbAudio % cbBlock != 0) return E_INVALIDARG;
        nCount = static_cast<int32_t>(cbAudio / cbBlock);
        if (nSamples > 0 && (nCount != nSamples || props.nChannels != _pProps->nChannels)) return E_INVALIDARG;
    }
    if (!_arrRemap.empty()) {
        if (nCount == 0) return ZR_E_EMPTY;
        FrameAudio mapped;
        const HRESULT hr = Remap(_arrRemap, props, &mapped);
        if (Failed(hr)) return hr;
        Take(&mapped, nCount);
        props.nChannels = static_cast<int32_t>(_arrRemap.size());
    } else if (props.nBitsPerSample != _pProps->nBitsPerSample) {
        arrRows.clear();
    }
    nSamples = nCount;
    *_pProps = props;
    return S_OK;
}

HRESULT FrameAudio::Remap(std::span<const int32_t> _arrChannels, const ZR_AUD_PROPS& _props,
                          FrameAudio* _pMapped) const {
    for (const int32_t nChannel : _arrChannels)
        if (nChannel < 0 || nChannel >= _props.nChannels) return ZR_E_BAD_INDEX;
    const auto cbSample = static_cast<size_t>(AudBytesPerSample(_props.nBitsPerSample));
    const size_t cbBlock = BlockBytes(_props);
    const HRESULT hr = _pMapped->AllocBytes(uint64_t{cbAudio / cbBlock} * _arrChannels.size() * cbSample);
    if (Failed(hr)) return hr;
    uint8_t* pTo = _pMapped->Data();
    for (const uint8_t *pFrom = Data(), *pEnd = pFrom + cbAudio; pFrom != pEnd; pFrom += cbBlock) {
        for (const int32_t nChannel : _arrChannels) {
            std::memcpy(pTo, pFrom + static_cast<size_t>(nChannel) * cbSample, cbSample);
            pTo += cbSample;
        }
    }
    return S_OK;
}

HRESULT FrameAudio::ChannelRow(const ZR_AUD_PROPS& _props, int32_t _nChannel, bool _bCreate, uint32_t* _pcb,
                               uint8_t** _pp) {
    if (nSamples == 0) return ZR_E_EMPTY;
    const bool bNew = _nChannel >= _props.nChannels;
    if (_nChannel < 0 || _nChannel >= kMaxAudioChannels || (bNew && !_bCreate)) return ZR_E_BAD_INDEX;
    const auto nIndex = static_cast<size_t>(_nChannel);
    const size_t cbRow = static_cast<size_t>(nSamples) * static_cast<size_t>(ChannelSampleBytes(_props.nBitsPerSample));
    try {
        if (arrRows.size() <= nIndex) arrRows.resize(nIndex + 1);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    Row& row = arrRows[nIndex];
    if (!row.pBuffer) row.pBuffer = BufferPool::Shared().Get(cbRow);
    if (!row.pBuffer) return cbRow > BufferPool::kMaxBytes ? E_INVALIDARG : E_OUTOFMEMORY;
    if (!row.bOut) {
        const auto cbSample = static_cast<size_t>(AudBytesPerSample(_props.nBitsPerSample));
        if (bNew)
            std::memset(row.pBuffer->Data(), 0, cbRow);
        else
            TakeChannel(_props.nBitsPerSample, Data() + nIndex * cbSample, BlockBytes(_props),
                        static_cast<size_t>(nSamples), row.pBuffer->Data());
        row.bOut = true;
    }
    *_pcb = static_cast<uint32_t>(cbRow);
    *_pp = row.pBuffer->Data();
    return S_OK;
}

HRESULT FrameAudio::UpdateChannels(ZR_AUD_PROPS* _pProps) {
    size_t nRows = 0;  // up to the last one that is out
    for (size_t i = 0; i < arrRows.size(); ++i)
        if (arrRows[i].bOut) nRows = i + 1;
    if (nRows == 0) return S_FALSE;
    if (nRows > static_cast<size_t>(_pProps->nChannels)) {
        const HRESULT hr = Widen(static_cast<int32_t>(nRows), _pProps);
        if (Failed(hr)) return hr;
    }
    const auto cbSample = static_cast<size_t>(AudBytesPerSample(_pProps->nBitsPerSample));
    for (size_t i = 0; i < nRows; ++i) {
        if (!std::exchange(arrRows[i].bOut, false)) continue;
        PutChannel(_pProps->nBitsPerSample, arrRows[i].pBuffer->Data(), BlockBytes(*_pProps),
                   static_cast<size_t>(nSamples), Data() + i * cbSample);
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
