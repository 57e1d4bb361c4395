// The tracks as they are saved: in "audio" the number of channels, the split, and a "track" for each.

#include <algorithm>
#include <cmath>

#include "attributes/number_text.h"
#include "audio/audio_tracks.h"
#include "audio/gain_text.h"
#include "media/track_mode.h"

namespace zr {
namespace {

constexpr std::u16string_view arrEffects[] = {u"compressor", u"dyn_amplify"};

void AppendNumber(std::u16string& _text, double _dbl) {
    char arr[kMaxFixed];
    std::string_view digits = PrintFixed(_dbl, 9, arr);
    while (digits.ends_with('0')) digits.remove_suffix(1);
    if (digits.ends_with('.')) digits.remove_suffix(1);
    _text.append(digits.begin(), digits.end());
}

// A number for each channel: one when all are the same, else as many as differ from what a new track has.
template <class VALUE, class IS_NEW>
void SaveList(XMLNodeBase& _node, std::u16string_view _key, size_t _nMost, const VALUE& _value, const IS_NEW& _isNew) {
    size_t nCount = 0;
    bool bAll = true;
    for (size_t c = 0; c < _nMost; ++c) {
        if (!_isNew(c)) nCount = c + 1;
        bAll &= _value(c) == _value(0);
    }
    if (nCount == 0) return;
    nCount = bAll ? 1 : std::max<size_t>(nCount, 2);
    std::u16string text;
    for (size_t c = 0; c < nCount; ++c) {
        if (c > 0) text += u',';
        AppendNumber(text, static_cast<double>(_value(c)));
    }
    _node.SetAttribute(_key, std::u16string_view(text));
}

// Calls _take(channel, number) for a list, of which a single number counts for all channels.
template <class TAKE>
void LoadList(const XMLNodeBase& _node, std::u16string_view _key, size_t _nMost, const TAKE& _take) {
    std::u16string text;
    std::vector<double> arrNumbers;
    if (!_node.GetAttribute(_key, text)) return;
    ReadGains(text, &arrNumbers);
    if (arrNumbers.size() == 1) arrNumbers.resize(_nMost, arrNumbers[0]);
    for (size_t c = 0; c < std::min(arrNumbers.size(), _nMost); ++c) _take(c, arrNumbers[c]);
}

// The places of channels.
void LoadOrder(const XMLNodeBase& _node, std::u16string_view _key, PerChannel<int32_t>* _parr) {
    LoadList(_node, _key, kMaxTrackChannels, [&](size_t _c, double _dbl) {
        if (_dbl >= 0 && _dbl < kMaxTrackChannels) (*_parr)[_c] = static_cast<int32_t>(_dbl);
    });
}

}  // namespace

void CCoZrTrack::Save(XMLNodeBase& _node) const {
    MutexLock lock(mtx);
    if (source.bVirtual) {
        _node.SetAttribute(u"virtual_track_source", source.nTrack);
        _node.SetAttribute(u"virtual_track_channels", std::u16string_view(TrackSplitText(source.channels)));
        _node.SetAttribute(u"desc", std::u16string_view(desc));
    } else {
        _node.SetAttribute(u"source_index", source.nTrack);
    }
    if (look.eMode != eZrAT_Enabled) _node.SetAttribute(u"mode", TrackModeName(look.eMode));
    if (look.nAddTo >= 0) {
        _node.SetAttribute(u"add_to", look.nAddTo);
        _node.SetAttribute(u"add_gain", DbOfLinear(look.dblAddGain));
    }
    if (nOutputsSet > 0) _node.SetAttribute(u"channels", nOutputsSet);
    const auto SaveOrder = [&](std::u16string_view _key, const PerChannel<int32_t>& _arr) {
        SaveList(
            _node, _key, kMaxTrackChannels, [&](size_t _c) { return _arr[_c]; },
            [&](size_t _c) { return _arr[_c] == static_cast<int32_t>(_c); });
    };
    SaveOrder(u"input_channels", arrInput);
    SaveOrder(u"output_channels", arrOutput);
    const auto* const pGains = &arrGains;  // under the lock all through
    SaveList(
        _node, u"gain", pGains->size(), [&](size_t _c) { return DbOfLinear((*pGains)[_c].Gain()); },
        [&](size_t _c) { return (*pGains)[_c].Gain() == 1; });
    SaveList(
        _node, u"mute", pGains->size(), [&](size_t _c) { return (*pGains)[_c].IsMuted(); },
        [&](size_t _c) { return !(*pGains)[_c].IsMuted(); });
    for (const std::u16string_view name : arrEffects) {
        if (const XMLNodeRef pEffect = props.Root()->FindChildNode(NameKey(name)))
            pEffect->CopyTo(*_node.FindNode(name, true), false, eZrUT_ClearDest);
    }
}

// What is not spoken of is as in a new track: that is what a save leaves out.
void CCoZrTrack::Load(const XMLNodeBase& _node) {
    for (const std::u16string_view name : arrEffects) {
        const XMLNodeRef pEffect = _node.FindChildNode(NameKey(name)), pOwn = Node().FindChildNode(NameKey(name));
        if (!pEffect && pOwn) pOwn->Detach();
        if (pEffect) pEffect->CopyTo(*Node().FindNode(name, true), false, eZrUT_ClearDest);
    }
    std::u16string mode;
    MutexLock lock(mtx);
    for (ChannelGain& gain : arrGains) {
        gain.Set(1, 0, 0);
        gain.MuteSet(false, 0, 0);
    }
    for (size_t c = 0; c < kMaxTrackChannels; ++c) arrInput[c] = arrOutput[c] = static_cast<int32_t>(c);
    look.eMode = eZrAT_Enabled;
    if (_node.GetAttribute(u"mode", mode)) TrackModeOfName(mode, &look.eMode);
    look.nAddTo = _node.AttributeOr(u"add_to", int32_t{-1});
    look.dblAddGain = LinearOfDb(_node.AttributeOr(u"add_gain", 0.0));
    look.nOrder = _node.AttributeOr(u"order", int32_t{-1});
    look.nOrderSet = 0;
    nOutputsSet = std::clamp(_node.AttributeOr(u"channels", int32_t{0}), 0, kMaxTrackChannels);
    LoadOrder(_node, u"input_channels", &arrInput);
    LoadOrder(_node, u"output_channels", &arrOutput);
    auto* const pGains = &arrGains;  // under the lock all through
    LoadList(_node, u"gain", pGains->size(),
             [&](size_t _c, double _dbl) { (*pGains)[_c].Set(LinearOfDb(_dbl), 0, 0); });
    LoadList(_node, u"mute", pGains->size(), [&](size_t _c, double _dbl) { (*pGains)[_c].MuteSet(_dbl != 0, 0, 0); });
    bNatural = IsNatural_I();
}

void AudioTracks::Save(XMLNodeBase& _audio) const {
    const CRWReadScope scope(lock);
    if (nChannelsPerTrack > 0) _audio.SetAttribute(u"channels_per_track", nChannelsPerTrack);
    if (!split.empty()) _audio.SetAttribute(u"track_split", std::u16string_view(split));
    if (props.nChannels > 0) {
        _audio.SetAttribute(u"channels", props.nChannels);
        _audio.SetAttribute(u"rate", props.nSamplesPerSec);
        _audio.SetAttribute(u"bits", props.nBitsPerSample);
    }
    std::vector<CCoZrTrack::LOOK> arrLooks;
    for (const auto* pList : {&arrReal, &arrVirtual})
        for (const TrackPtr& pTrack : *pList) arrLooks.push_back(pTrack->Look());
    const bool bOrdered =
        std::any_of(arrLooks.begin(), arrLooks.end(), [](const auto& _look) { return _look.nOrder >= 0; });
    size_t nAt = 0;
    for (const auto* pList : {&arrReal, &arrVirtual}) {
        for (const TrackPtr& pTrack : *pList) {
            const XMLNodePtr pNode = CoXMLNode::Create(u"track");
            pTrack->Save(*pNode);
            const CCoZrTrack::LOOK& look = arrLooks[nAt++];
            const auto nBefore = std::count_if(arrLooks.begin(), arrLooks.end(),
                                               [&](const auto& _other) { return _other.ComesBefore(look); });
            if (bOrdered) pNode->SetAttribute(u"order", static_cast<int32_t>(nBefore));
            const bool bPlain =
                !pTrack->Source().bVirtual && pNode->AttributeCount() == 1 && pNode->ElementCount() == 0;
            const XMLNodeRef pTo = bPlain ? XMLNodeRef() : _audio.AddNode(u"track");
            if (pTo) pNode->CopyTo(*pTo, false, eZrUT_ClearDest);
        }
    }
}

void AudioTracks::Load(const XMLNodeBase& _audio) {
    bTouched.store(true, std::memory_order_relaxed);
    const CRWWriteScope scope(lock, "AudioTracks(Load)");
    nChannelsPerTrack = std::clamp(_audio.AttributeOr(u"channels_per_track", int32_t{0}), 0, kMaxTrackChannels);
    split = TrackSplitText(ParseTrackSplit(_audio.AttributeOr(u"track_split", std::u16string_view())));
    for (const TrackPtr& pTrack : arrVirtual) pTrack->Node().Detach();
    arrVirtual.clear();
    pToCome.Reset();
    const XMLNodePtr pNew = CoXMLNode::Create(u"track");
    for (const TrackPtr& pTrack : arrReal) pTrack->Load(*pNew);
    for (const XMLNodeRef& pNode : _audio.ChildNodes()) {
        if (pNode->IsText() || !pNode->HasTag(NameKey(u"track"))) continue;
        CCoZrTrack::SOURCE source;
        if (pNode->GetAttribute(u"virtual_track_source", source.nTrack)) {
            source.bVirtual = true;
            const ChannelList wanted =
                ParseChannelList(pNode->AttributeOr(u"virtual_track_channels", std::u16string_view()));
            for (const int32_t n : wanted)
                if (n < kMaxTrackChannels && source.channels.size() < size_t{kMaxTrackChannels}) source.channels.Add(n);
            TrackPtr pTrack;
            if (source.nTrack >= 0 && Succeeded(Add_I(source, pNode->AttributeOr(u"desc", u""), &pTrack)))
                pTrack->Load(*pNode);
            continue;
        }
        const int32_t nIndex = pNode->AttributeOr(u"source_index", int32_t{-1});
        if (nIndex < 0 || nIndex >= kMostTracks) continue;
        MakeTracks_I(nIndex + 1);
        arrReal[static_cast<size_t>(nIndex)]->Load(*pNode);
    }
    UpdateTracks_I(ZR_AUD_PROPS(props));
}

}  // namespace zr
