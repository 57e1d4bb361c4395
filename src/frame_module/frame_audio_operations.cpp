#include <algorithm>
#include <utility>

#include "frame_module/frame.h"
#include "frame_module/wav_file.h"
#include "media/aud_props.h"

namespace zr {

HRESULT CZrFrame::ZrFAudioGetBytes(int32_t* _pcbSize, int64_t* _ppbAudio) {
    if (!_pcbSize || !_ppbAudio) return E_POINTER;
    *_pcbSize = static_cast<int32_t>(content.audio.Size());
    *_ppbAudio = reinterpret_cast<int64_t>(content.audio.Data());
    return S_OK;
}

HRESULT CZrFrame::ZrFAudioChannelGetBytes(int32_t _nChannel, int32_t _bCreateNewChannels, int32_t* _pcbSize,
                                          int64_t* _ppbAudio) {
    if (!_pcbSize || !_ppbAudio) return E_POINTER;
    uint32_t cb = 0;
    uint8_t* p = nullptr;
    const HRESULT hr = content.audio.ChannelRow(content.avProps.audProps, _nChannel, _bCreateNewChannels != 0, &cb, &p);
    *_pcbSize = static_cast<int32_t>(cb);
    *_ppbAudio = reinterpret_cast<int64_t>(p);
    return hr;
}

HRESULT CZrFrame::ZrFAudioChannelsUpdate() { return content.audio.UpdateChannels(&content.avProps.audProps); }

HRESULT CZrFrame::ZrFAudioAlloc(const ZR_AUD_PROPS* _pAudProps, int32_t _lSamples) {
    if (!_pAudProps) return E_POINTER;
    const ZR_AUD_PROPS props = *_pAudProps;  // it may be a record that the frame gave out
    const HRESULT hr = content.audio.Set(props, _lSamples, nullptr);
    if (Succeeded(hr)) content.avProps.audProps = props;
    return hr;
}

HRESULT CZrFrame::ZrFAudioSet(const ZR_AUD_PROPS* _pAudProps, int32_t _cbSize, int64_t _pbAudio) {
    if (!_pAudProps) return E_POINTER;
    const int64_t cbBlock = AudBlockBytes(*_pAudProps);
    if (cbBlock == 0 || _cbSize < 0 || _cbSize % cbBlock != 0) return E_INVALIDARG;
    const HRESULT hr = content.audio.Set(*_pAudProps, static_cast<int32_t>(_cbSize / cbBlock),
                                         reinterpret_cast<const void*>(_pbAudio));
    if (Succeeded(hr)) content.avProps.audProps = *_pAudProps;
    return hr;
}

HRESULT CZrFrame::ZrFAudioSaveToFile(const char16_t* _bsFileName, int32_t _bAppend) {
    if (!_bsFileName) return E_POINTER;
    if (content.audio.Samples() == 0) return ZR_E_EMPTY;
    return WavSave(_bsFileName, content.avProps.audProps, content.audio.Data(), content.audio.Size(), _bAppend != 0);
}

HRESULT CZrFrame::ZrFAudioLoadFromFile(const char16_t* _bsFileName, int64_t _llSamplesOffset, int32_t _lSamplesLoad) {
    if (!_bsFileName) return E_POINTER;
    if (_llSamplesOffset < 0) return E_INVALIDARG;
    WavFile file;
    HRESULT hr = file.Open(_bsFileName);
    if (Failed(hr)) return hr;
    const uint64_t nAll = file.Info().Samples();
    const uint64_t nFirst = std::min<uint64_t>(static_cast<uint64_t>(_llSamplesOffset), nAll);
    uint64_t nCount = nAll - nFirst;
    const bool bShort = _lSamplesLoad > 0 && nCount < static_cast<uint64_t>(_lSamplesLoad);
    if (_lSamplesLoad > 0) nCount = std::min<uint64_t>(nCount, static_cast<uint64_t>(_lSamplesLoad));

    ZR_AUD_PROPS props = file.Info().audProps;
    if (nCount > BufferPool::kMaxBytes / static_cast<uint64_t>(AudBlockBytes(props))) return E_INVALIDARG;
    FrameAudio audio;
    hr = audio.AllocBytes(nCount * static_cast<uint64_t>(AudBlockBytes(props)));
    if (Succeeded(hr)) hr = audio.Describe(file.Info().audProps, {}, &props);
    if (Succeeded(hr)) hr = file.Read(nFirst, static_cast<uint32_t>(nCount), audio.Data());
    if (Failed(hr)) return hr;
    content.audio = std::move(audio);
    content.avProps.audProps = props;
    return bShort ? S_FALSE : S_OK;
}

}  // namespace zr
