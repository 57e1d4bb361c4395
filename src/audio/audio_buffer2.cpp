#include "audio/audio_buffer2.h"

#include <algorithm>
#include <array>
#include <limits>
#include <new>
#include <utility>

#include "audio/sample_convert.h"
#include "audio/sound_block.h"
#include "media/aud_props.h"
#include "platform/clock.h"

namespace zr {
namespace {

constexpr int64_t kMostBytes = int64_t{1} << 28;  // of one block

// On how many channels of a new format sound of an old one was heard: one channel on both sides.
int32_t ChannelsHeard(const ZR_AUD_PROPS& _from, const ZR_AUD_PROPS& _to) {
    const bool bSides = TracksOfSplitBits(_to.nChannels, _to.nTrackSplitBits)[0] > 1;
    return _from.nChannels == 1 && bSides ? 2 : _from.nChannels;
}

}  // namespace

HRESULT ZrAudioBuffer2::FormatSet(const ZR_AUD_PROPS& _props) {
    if (!AudUsable(_props)) return E_INVALIDARG;
    MutexLock lock(mtx);
    HRESULT hr = S_OK;
    if (!AudSameFormat(props, _props)) hr = Reformat_I(_props);
    props.nTrackSplitBits = _props.nTrackSplitBits;
    return hr;
}

ZR_AUD_PROPS ZrAudioBuffer2::Format() const {
    MutexLock lock(mtx);
    return props;
}

// What cannot be converted is dropped; the new format holds in any case. What was heard before goes along in the edge;
// of other channels it is but what is held, as nobody here knows which of them goes where. Fewer channels are mixed
// together. More do not repeat the old ones, which would add up on their way to the output.
HRESULT ZrAudioBuffer2::Reformat_I(const ZR_AUD_PROPS& _props) try {
    const bool bOtherChannels = props.nChannels != _props.nChannels;
    if (AudUsable(props) && ring.Count() > 0) {
        ZR_AUD_PROPS to = _props;
        to.nChannels = std::min(ChannelsHeard(props, _props), _props.nChannels);
        if (!AudSameFormat(props, to)) {
            int64_t nHeld = 0;
            if (Failed(ConvertAlone(props, ring.Data(), ring.Count(), to, arrConverted, &nHeld))) nHeld = 0;
            props = to;
            ring.Restart(props);
            ring.Append(arrConverted.data(), nHeld);
        }
        ChannelsSet_I(_props.nChannels, true);
    }
    const bool bHolds = AudSameFormat(props, _props);
    props = _props;
    propsClosed = {};
    bConverts = bPadded = false;
    if (!bHolds) ring.Restart(props);
    if (!bOtherChannels) return S_OK;
    edge.Reset();
    edge.Remember(props, ring.Data(), ring.Count());
    return S_OK;
} catch (const std::bad_alloc&) {
    props = _props;
    ring.Restart(props);
    edge.Reset();
    return E_OUTOFMEMORY;
}

HRESULT ZrAudioBuffer2::ChannelsSet(int32_t _nCount, bool _bCreate) try {
    MutexLock lock(mtx);
    if (_nCount < 1 || !AudUsable(props)) return E_INVALIDARG;
    const int32_t nBefore = props.nChannels;
    const HRESULT hr = ChannelsSet_I(_nCount, _bCreate);
    if (Failed(hr) || props.nChannels == nBefore) return hr;
    propsClosed = {};
    bConverts = bPadded = false;
    edge.Reset();
    edge.Remember(props, ring.Data(), ring.Count());
    return hr;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

// Channel by channel, in samples of 4 bytes that hold those of the ring exactly.
HRESULT ZrAudioBuffer2::ChannelsSet_I(int32_t _nCount, bool _bCreate) {
    if (props.nChannels > kMaxAudioChannels) return E_INVALIDARG;
    const int32_t nCount = std::min(_nCount, kMaxAudioChannels);
    if (nCount == props.nChannels || (nCount > props.nChannels && !_bCreate)) return S_FALSE;
    const auto nSamples = static_cast<size_t>(ring.Count()), nOld = static_cast<size_t>(props.nChannels);
    const auto nMost = std::max(nOld, static_cast<size_t>(nCount));
    const int32_t nNarrow = props.nBitsPerSample == 20 ? 24 : props.nBitsPerSample, nWide = nNarrow == -32 ? -32 : 32;
    const auto cb = static_cast<size_t>(AudBytesPerSample(nNarrow));
    const size_t cbRow = nSamples * ZrChannelsBuffer::kSampleBytes;
    arrApart.resize((nMost + 1) * cbRow + nMost * cb * nSamples);
    uint8_t* const pNarrow = arrApart.data() + nMost * cbRow;
    uint8_t* const pJoined = pNarrow + cbRow;
    std::array<uint8_t*, kMaxAudioChannels> arrTo{};
    for (size_t c = 0; c < nMost; ++c) arrTo[c] = arrApart.data() + c * cbRow;
    const std::vector<const uint8_t*> arrFrom(arrTo.begin(), arrTo.begin() + static_cast<ptrdiff_t>(nOld));
    for (size_t c = 0; c < nOld; ++c) {
        CopyChannel(cb, ring.Data() + c * cb, nOld * cb, pNarrow, cb, nSamples);
        ConvertSamples(nNarrow, pNarrow, nWide, arrTo[c], nSamples);
    }
    channels.Clear();
    channels.ChannelsSet(0, false);
    HRESULT hr = channels.ChannelsSet(props.nChannels, true);
    if (Succeeded(hr)) hr = channels.Put(arrFrom, static_cast<uint32_t>(nSamples));
    if (Succeeded(hr)) hr = channels.ChannelsSet(nCount, _bCreate);
    if (Failed(hr)) return hr;
    const auto nNew = static_cast<size_t>(channels.Channels());
    channels.Get(std::span<uint8_t* const>(arrTo).first(nNew), static_cast<uint32_t>(nSamples));
    for (size_t c = 0; c < nNew; ++c) {
        ConvertSamples(nWide, arrTo[c], nNarrow, pNarrow, nSamples);
        CopyChannel(cb, pNarrow, cb, pJoined + c * cb, nNew * cb, nSamples);
    }
    ZR_AUD_PROPS joined = props;
    joined.nChannels = static_cast<int32_t>(nNew);
    SampleQueue next;
    next.Restart(joined);
    next.Append(pJoined, static_cast<int64_t>(nSamples));
    ring = std::move(next);
    props = joined;
    return hr;
}

HRESULT ZrAudioBuffer2::PutAudio(const ZR_AUD_PROPS& _props, const uint8_t* _p, int64_t _cb, bool _bAddSilence,
                                 bool _bCorrect, double _dblScale) try {
    if (!AudUsable(_props) || _cb < 0 || _cb > kMostBytes || (!_p && !_bAddSilence)) return E_INVALIDARG;
    MutexLock lock(mtx);
    if (!AudUsable(props) || (!AudSameFormat(props, _props) && !_bCorrect)) Reformat_I(_props);
    if (AudSameFormat(propsClosed, _props)) return ZR_E_NOT_SUPPORTED;
    const int64_t nSamples = _cb / AudBlockBytes(_props);
    if (nSamples == 0) return S_OK;
    if (_p) {
        const HRESULT hr = Append_I(_props, _p, nSamples, _dblScale);
        if (hr == VFW_E_UNSUPPORTED_AUDIO) propsClosed = _props;
        return hr;
    }
    AppendSilence_I(_props, nSamples);
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

void ZrAudioBuffer2::AppendSilence_I(const ZR_AUD_PROPS& _props, int64_t _nSamples) {
    // It comes behind what is in the converter.
    const ZR_AUD_PROPS to = bConverts ? converter.Source() : props;
    const int64_t nSilence = _nSamples * to.nSamplesPerSec / _props.nSamplesPerSec;
    arrSilence.resize(static_cast<size_t>(nSilence * AudBlockBytes(to)));
    FillSilence(to.nBitsPerSample, arrSilence.data(), arrSilence.size());
    if (nSilence == 0) return;
    SoundEdge& last = bConverts ? edgeIn : edge;
    bPadded = last.PastSamples() > 0;
    if (bPadded) last.Smooth(to, arrSilence.data(), 0, nSilence, false);
    if (bConverts) {
        Resample_I(to, arrSilence.data(), nSilence, 1.0);
    } else {
        ring.Append(arrSilence.data(), nSilence);
    }
}

// Gives the converter what went past it, as if it had been there from the begin.
HRESULT ZrAudioBuffer2::EnterConverter_I() {
    converter.Reset();
    if (edge.PastSamples() == 0 || !AudSameFormat(edge.Format(), props)) return S_FALSE;
    HRESULT hr = converter.Init(props, props, 0, 1.0);
    int64_t nDropped = 0;
    if (Succeeded(hr)) hr = Convert_I(edge.Past(), edge.PastSamples() * AudBlockBytes(props), 1.0, &nDropped);
    if (Failed(hr)) return hr;
    bConverts = true;
    edgeIn.Reset();
    edgeIn.Remember(props, edge.Past(), edge.PastSamples());
    return hr;
}

HRESULT ZrAudioBuffer2::Convert_I(const uint8_t* _p, int64_t _cb, double _dblScale, int64_t* _pnConverted) {
    int32_t cbRoom = 0;
    HRESULT hr = converter.Convert(_p, static_cast<int32_t>(_cb), nullptr, &cbRoom, _dblScale);
    if (Failed(hr)) return hr;
    if (arrConverted.size() < static_cast<size_t>(cbRoom)) arrConverted.resize(static_cast<size_t>(cbRoom));
    hr = converter.Convert(_p, static_cast<int32_t>(_cb), arrConverted.data(), &cbRoom, _dblScale);
    *_pnConverted = cbRoom / AudBlockBytes(props);
    return hr;
}

HRESULT ZrAudioBuffer2::Append_I(const ZR_AUD_PROPS& _props, const uint8_t* _p, int64_t _nSamples, double _dblScale) {
    // Another format than the block before had, or than the ring had then, begins anew.
    const bool bAnew = AudUsable(propsLast) && !AudSameFormat(propsLast, _props);
    const bool bJoins = (bAnew || !AudSameFormat(edge.Format(), props)) && edge.PastSamples() > 0;
    if (bConverts && !converter.GoesOn(_props, props)) bConverts = bPadded = false;
    propsLast = _props;
    const bool bSame = AudSameFormat(props, _props);
    if (bSame && !bConverts && _dblScale != 1.0) EnterConverter_I();
    const bool bPlain = bSame && !bConverts && _dblScale == 1.0;
    const bool bLedIn = std::exchange(bPadded, false);
    if (!bLedIn && bPlain && !bJoins && !edge.IsBlending()) {
        ring.Append(_p, _nSamples);
        edge.Remember(props, _p, _nSamples);
        return S_OK;
    }
    arrLed.assign(_p, _p + _nSamples * AudBlockBytes(_props));
    if (bPlain) {
        edge.Smooth(props, arrLed.data(), _nSamples, _nSamples, bLedIn || bJoins);
        ring.Append(arrLed.data(), _nSamples);
        return S_OK;
    }
    if (!bConverts) edgeIn.Reset();
    if (bLedIn) edgeIn.Smooth(_props, arrLed.data(), _nSamples, _nSamples, true);
    const HRESULT hr = Resample_I(_props, arrLed.data(), _nSamples, _dblScale);
    if (!bLedIn && Succeeded(hr)) edgeIn.Remember(_props, arrLed.data(), _nSamples);
    return hr;
}

HRESULT ZrAudioBuffer2::Resample_I(const ZR_AUD_PROPS& _props, const uint8_t* _p, int64_t _nSamples, double _dblScale) {
    const bool bGoesOn = bConverts;
    HRESULT hr = converter.Init(_props, props, static_cast<int32_t>(_nSamples), _dblScale);
    int64_t nEarly = 0, nConverted = 0;
    if (Succeeded(hr) && !bGoesOn) hr = converter.Prime(_p, _nSamples, &nEarly);
    if (Succeeded(hr)) hr = Convert_I(_p, _nSamples * AudBlockBytes(_props), _dblScale, &nConverted);
    if (Failed(hr)) return hr;
    bConverts = true;
    if (edge.PastSamples() > 0 && (!bGoesOn || edge.IsBlending())) {
        edge.Smooth(props, arrConverted.data(), nConverted, nConverted, !bGoesOn);
    } else {
        // Where nothing was heard before it, its lag is silence.
        const int64_t nSilent = std::min(nEarly, nConverted);
        FillSilence(props.nBitsPerSample, arrConverted.data(), static_cast<size_t>(nSilent * AudBlockBytes(props)));
        edge.Remember(props, arrConverted.data(), nConverted);
    }
    ring.Append(arrConverted.data(), nConverted);
    return S_OK;
}

int64_t ZrAudioBuffer2::GetAudio(uint8_t* _p, int64_t _nSamples) {
    MutexLock lock(mtx);
    return AudUsable(props) ? ring.Take(_p, std::max<int64_t>(_nSamples, 0)) : 0;
}

int64_t ZrAudioBuffer2::Fill() const {
    MutexLock lock(mtx);
    return AudUsable(props) ? ring.Count() : 0;
}

int64_t ZrAudioBuffer2::Size() const {
    MutexLock lock(mtx);
    return AudUsable(props) ? ring.Room() : 0;
}

int64_t ZrAudioBuffer2::Duration() const {
    MutexLock lock(mtx);
    return AudUsable(props) ? ring.Count() * kTicksPerSecond / props.nSamplesPerSec : 0;
}

int64_t ZrAudioBuffer2::Clear(bool _bResetFormat) {
    MutexLock lock(mtx);
    if (!AudUsable(props)) return 0;
    const int64_t nHeld = ring.Count();
    ring.Restart(props);
    converter.Reset();
    bConverts = bPadded = false;
    propsLast = propsClosed = {};
    edge.Reset();
    edgeIn.Reset();
    if (_bResetFormat) props = {};
    return nHeld;
}

}  // namespace zr
