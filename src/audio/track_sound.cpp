#include "audio/track_sound.h"

#include <algorithm>
#include <span>

#include "attributes/co_xml_node.h"
#include "audio/layout_map.h"
#include "media/aud_props.h"

namespace zr {
namespace {

constexpr const char16_t *kCompressor = u"compressor", *kAmplify = u"dyn_amplify";

// Null: it is not there, or not switched on.
XMLNodeRef EnabledEffect(XMLNodeBase* _pNode, const char16_t* _szName) {
    XMLNodeRef pNode = _pNode ? _pNode->FindChildNode(NameKey(_szName)) : XMLNodeRef();
    bool bEnabled = false;
    if (pNode && pNode->GetOwnAttribute(NameKey(u"enabled"), bEnabled) && bEnabled) return pNode;
    return {};
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
    pCompressor.Reset();  // switched on again they begin anew
    pAmplify.Reset();
    if (bMeasure) metersIn.Measure(_input.props, channels, cbStep, nSamples);
    gain.Apply(_input.props.nBitsPerSample, pFirst, cbStep, std::span<const CHANNEL_RAMP>(now.arrRamps).first(nInputs),
               nSamples);
    if (bMeasure) metersOut.Measure(_input.props, channels, cbStep, nSamples);
}

void TrackSound::Take(const SOUND_BLOCK& _input, const PerChannel<int32_t>& _arrFrom, int32_t _nInputs) {
    sound = _input;
    sound.props.nChannels = _nInputs;
    sound.props.nTrackSplitBits = 0;
    if (_nInputs == 0) return;
    MakeRoom(arrTaken, &sound);
    PerChannel<CHANNEL_RAMP> arrRamps;
    for (int32_t c = 0; c < _nInputs; ++c) {
        const auto i = static_cast<size_t>(c);
        const int32_t nOwn = now.arrInput[i];
        const bool bThere = nOwn < _nInputs;
        CopyChannel(_input, bThere ? _arrFrom[static_cast<size_t>(nOwn)] : -1, sound, c);
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
    if (now.nOutputs == 0 || Succeeded(FitChannels(converter, sound, arrFitted, &fitted))) sound = fitted;
}

void TrackSound::Add(const TrackSound& _other) {
    const SOUND_BLOCK& from = _other.sound;
    const int32_t nBoth = std::min(sound.props.nChannels, from.props.nChannels);
    if (nBoth == 0 || _other.now.addGain.IsSilent()) return;
    SOUND_BLOCK added = sound;
    MakeRoom(arrAdded, &added);
    for (int32_t c = 0; c < sound.props.nChannels; ++c) CopyChannel(from, c < nBoth ? c : -1, added, c);
    sum.Begin(sound.props, sound.p, sound.nSamples);
    sum.Add(added.p, added.nSamples, _other.now.addGain);
    sum.End();
}

int32_t TrackSound::Effects(XMLNodeBase& _node) {
    return (EnabledEffect(&_node, kCompressor) ? 1 : 0) | (EnabledEffect(&_node, kAmplify) ? 2 : 0);
}

template <class EFFECT>
void TrackSound::RunEffect(XMLNodeBase* _pNode, const char16_t* _szName, CAutoObj<EFFECT>* _ppEffect) {
    const XMLNodeRef pNode = EnabledEffect(_pNode, _szName);
    if (!pNode) {
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
    RunEffect(_pNode, kCompressor, &pCompressor);
    RunEffect(_pNode, kAmplify, &pAmplify);
}

void TrackSound::Finish() {
    if (sound.props.nChannels == 0) return;
    const auto nOut = static_cast<size_t>(sound.props.nChannels);
    bool bNatural = true;
    for (size_t c = 0; c < nOut; ++c) bNatural &= now.arrOutput[c] == static_cast<int32_t>(c);
    if (!bNatural) {
        SOUND_BLOCK ordered = sound;
        MakeRoom(arrOrdered, &ordered);
        for (size_t c = 0; c < nOut; ++c) CopyChannel(sound, now.arrOutput[c], ordered, static_cast<int32_t>(c));
        sound = ordered;
    }
    if (bMeasure) metersOut.Measure(sound.props, sound.p, static_cast<size_t>(sound.nSamples));
}

}  // namespace zr
