#include "audio/audio_buffer2.h"

#include <algorithm>
#include <limits>
#include <new>

#include "media/aud_props.h"
#include "platform/clock.h"

namespace zr {
namespace {

constexpr int64_t kMostBytes = int64_t{1} << 28;  // of one block

bool SameFormat(const ZR_AUD_PROPS& _a, const ZR_AUD_PROPS& _b) {
    return _a.nChannels == _b.nChannels && _a.nSamplesPerSec == _b.nSamplesPerSec &&
           _a.nBitsPerSample == _b.nBitsPerSample;
}

}  // namespace

HRESULT ZrAudioBuffer2::FormatSet(const ZR_AUD_PROPS& _props) {
    if (!AudUsable(_props)) return E_INVALIDARG;
    MutexLock lock(mtx);
    if (!SameFormat(props, _props)) Reformat_I(_props);
    props.nTrackSplitBits = _props.nTrackSplitBits;
    return S_OK;
}

ZR_AUD_PROPS ZrAudioBuffer2::Format() const {
    MutexLock lock(mtx);
    return props;
}

void ZrAudioBuffer2::Reformat_I(const ZR_AUD_PROPS& _props) {
    props = _props;
    ring.Restart(static_cast<size_t>(AudBlockBytes(_props)));
    converter.Reset();
}

HRESULT ZrAudioBuffer2::PutAudio(const ZR_AUD_PROPS& _props, const uint8_t* _p, int64_t _cb, bool _bAddSilence,
                                 bool _bCorrect) try {
    if (!AudUsable(_props) || _cb < 0 || _cb > kMostBytes || (!_p && !_bAddSilence)) return E_INVALIDARG;
    MutexLock lock(mtx);
    if (!AudUsable(props) || (!SameFormat(props, _props) && !_bCorrect)) Reformat_I(_props);
    return Append_I(_props, _p, _cb / AudBlockBytes(_props));
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT ZrAudioBuffer2::Append_I(const ZR_AUD_PROPS& _props, const uint8_t* _p, int64_t _nSamples) {
    if (SameFormat(props, _props)) {
        ring.Append(_p, _nSamples);
        return S_OK;
    }
    if (!_p) {
        ring.Append(nullptr, _nSamples * props.nSamplesPerSec / _props.nSamplesPerSec);
        return S_OK;
    }
    HRESULT hr = converter.Init(_props, props, static_cast<int32_t>(_nSamples), 1.0);
    int32_t cbRoom = 0;
    const auto cbSrc = static_cast<int32_t>(_nSamples * AudBlockBytes(_props));
    if (Succeeded(hr)) hr = converter.Convert(_p, cbSrc, nullptr, &cbRoom, 1.0);
    if (Failed(hr)) return hr;
    if (arrConverted.size() < static_cast<size_t>(cbRoom)) arrConverted.resize(static_cast<size_t>(cbRoom));
    hr = converter.Convert(_p, cbSrc, arrConverted.data(), &cbRoom, 1.0);
    if (Succeeded(hr)) ring.Append(arrConverted.data(), cbRoom / AudBlockBytes(props));
    return hr;
}

int64_t ZrAudioBuffer2::GetAudio(uint8_t* _p, int64_t _nSamples) {
    MutexLock lock(mtx);
    return AudUsable(props) ? ring.Take(_p, std::max<int64_t>(_nSamples, 0)) : 0;
}

int64_t ZrAudioBuffer2::Fill() const {
    MutexLock lock(mtx);
    return AudUsable(props) ? ring.Count() : 0;
}

int64_t ZrAudioBuffer2::Duration() const {
    MutexLock lock(mtx);
    return AudUsable(props) ? ring.Count() * kTicksPerSecond / props.nSamplesPerSec : 0;
}

int64_t ZrAudioBuffer2::Clear(bool _bResetFormat) {
    MutexLock lock(mtx);
    if (!AudUsable(props)) return 0;
    const int64_t nHeld = ring.Count();
    ring.Restart(static_cast<size_t>(AudBlockBytes(props)));
    converter.Reset();
    if (_bResetFormat) props = {};
    return nHeld;
}

}  // namespace zr
