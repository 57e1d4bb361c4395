#include "audio/track_sound.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "attributes/co_xml_node.h"
#include "audio/channel_copy.h"
#include "media/aud_props.h"

namespace zr {
namespace {

uint8_t* Room(std::vector<uint8_t>& _arr, const SOUND_BLOCK& _block) {
    const auto cb = static_cast<size_t>(AudBlockBytes(_block.props) * _block.nSamples);
    if (_arr.size() < cb) _arr.resize(cb);
    return _arr.data();
}

// Channel _nTo of one block becomes that of another, silence where it has none.
void CopyTo(const SOUND_BLOCK& _from, int32_t _nFrom, const SOUND_BLOCK& _to, int32_t _nTo) {
    static constexpr uint8_t arrSilence[4] = {};
    const auto cb = static_cast<size_t>(AudBytesPerSample(_to.props.nBitsPerSample));
    const bool bThere = _nFrom >= 0 && _nFrom < _from.props.nChannels;
    const uint8_t* const pFrom = bThere ? _from.p + static_cast<size_t>(_nFrom) * cb : arrSilence;
    const auto cbStep = bThere ? static_cast<size_t>(AudBlockBytes(_from.props)) : 0;
    CopyChannel(cb, pFrom, cbStep, _to.p + static_cast<size_t>(_nTo) * cb,
                static_cast<size_t>(AudBlockBytes(_to.props)), static_cast<size_t>(_to.nSamples));
}

}  // namespace

void TrackSound::ProcessInPlace(const SOUND_BLOCK& _input, int32_t _nFirst, int32_t _nInputs) {
    const auto cb = static_cast<size_t>(AudBytesPerSample(_input.props.nBitsPerSample));
    const auto cbStep = static_cast<size_t>(AudBlockBytes(_input.props));
    const auto nInputs = static_cast<size_t>(_nInputs), nSamples = static_cast<size_t>(_input.nSamples);
    uint8_t* const pFirst = _input.p + static_cast<size_t>(_nFirst) * cb;
    PerChannel<const uint8_t*> arrFirst{};
    for (size_t c = 0; c < nInputs; ++c) arrFirst[c] = pFirst + c * cb;
    const std::span channels = std::span<const uint8_t* const>(arrFirst).first(nInputs);
    if (bMeasure) metersIn.Measure(_input.props, channels, cbStep, nSamples);
    gain.Apply(_input.props.nBitsPerSample, pFirst, cbStep,
               std::span<const CHANNEL_RAMP>(now.arrRamps).first(nInputs), nSamples);
    if (bMeasure) metersOut.Measure(_input.props, channels, cbStep, nSamples);
}

void TrackSound::Take(const SOUND_BLOCK& _input, const PerChannel<int32_t>& _arrFrom, int32_t _nInputs) {
    sound = _input;
    sound.props.nChannels = _nInputs;
    sound.props.nTrackSplitBits = 0;
    if (_nInputs == 0) return;
    sound.p = Room(arrTaken, sound);
    PerChannel<CHANNEL_RAMP> arrRamps;
    for (int32_t c = 0; c < _nInputs; ++c) {
        const auto i = static_cast<size_t>(c);
        const int32_t nOwn = now.arrInput[i];
        const bool bThere = nOwn < _nInputs;
        CopyTo(_input, bThere ? _arrFrom[static_cast<size_t>(nOwn)] : -1, sound, c);
        arrRamps[i] = now.arrRamps[static_cast<size_t>(nOwn)];
    }
    const auto nSamples = static_cast<size_t>(sound.nSamples);
    if (bMeasure) metersIn.Measure(sound.props, sound.p, nSamples);
    gain.Apply(sound.props.nBitsPerSample, sound.p, static_cast<size_t>(AudBlockBytes(sound.props)),
               std::span<const CHANNEL_RAMP>(arrRamps).first(static_cast<size_t>(_nInputs)), nSamples);
    FitOutputs();
}

// More channels than go out are mixed together, fewer are repeated.
void TrackSound::FitOutputs() {
    if (now.nOutputs == sound.props.nChannels) return;
    SOUND_BLOCK fitted = sound;
    fitted.props.nChannels = now.nOutputs;
    if (now.nOutputs > 0) {
        const auto cb = static_cast<int32_t>(AudBlockBytes(sound.props) * sound.nSamples);
        int32_t cbRoom = 0;
        HRESULT hr = converter.Init(sound.props, fitted.props, static_cast<int32_t>(sound.nSamples), 1.0);
        if (Succeeded(hr)) hr = converter.Convert(sound.p, cb, nullptr, &cbRoom, 1.0);
        if (Failed(hr)) return;
        if (arrFitted.size() < static_cast<size_t>(cbRoom)) arrFitted.resize(static_cast<size_t>(cbRoom));
        if (Failed(converter.Convert(sound.p, cb, arrFitted.data(), &cbRoom, 1.0))) return;
        fitted.p = arrFitted.data();
    }
    sound = fitted;
}

void TrackSound::Add(const TrackSound& _other) {
    const SOUND_BLOCK& from = _other.sound;
    const int32_t nBoth = std::min(sound.props.nChannels, from.props.nChannels);
    if (nBoth == 0 || _other.now.addGain.IsSilent()) return;
    SOUND_BLOCK added = sound;
    added.p = Room(arrAdded, added);
    for (int32_t c = 0; c < sound.props.nChannels; ++c) CopyTo(from, c < nBoth ? c : -1, added, c);
    sum.Begin(sound.props, sound.p, sound.nSamples);
    sum.Add(added.p, added.nSamples, _other.now.addGain);
    sum.End();
}

template <class EFFECT>
void TrackSound::RunEffect(XMLNodeBase* _pNode, const char16_t* _szName, CAutoObj<EFFECT>* _ppEffect) {
    const XMLNodeRef pNode = _pNode ? _pNode->FindChildNode(NameKey(_szName)) : XMLNodeRef();
    bool bEnabled = false;
    if (!pNode || !pNode->GetOwnAttribute(NameKey(u"enabled"), bEnabled) || !bEnabled) {
        _ppEffect->Reset();
        return;
    }
    if (!*_ppEffect) *_ppEffect = EFFECT::Make();
    if (!*_ppEffect) return;
    (*_ppEffect)->ReadParameters(*pNode);
    (*_ppEffect)->Process(sound.props, sound.p, static_cast<size_t>(sound.nSamples));
}

void TrackSound::RunEffects(XMLNodeBase* _pNode) {
    if (sound.props.nChannels == 0) return;
    RunEffect(_pNode, u"compressor", &pCompressor);
    RunEffect(_pNode, u"dyn_amplify", &pAmplify);
}

void TrackSound::Finish() {
    if (sound.props.nChannels == 0) return;
    const auto nOut = static_cast<size_t>(sound.props.nChannels);
    bool bNatural = true;
    for (size_t c = 0; c < nOut; ++c) bNatural &= now.arrOutput[c] == static_cast<int32_t>(c);
    if (!bNatural) {
        SOUND_BLOCK ordered = sound;
        ordered.p = Room(arrOrdered, ordered);
        for (size_t c = 0; c < nOut; ++c) CopyTo(sound, now.arrOutput[c], ordered, static_cast<int32_t>(c));
        sound = ordered;
    }
    if (bMeasure) metersOut.Measure(sound.props, sound.p, static_cast<size_t>(sound.nSamples));
}

}  // namespace zr
