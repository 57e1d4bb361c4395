#include "mixer/stream_mix.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include "audio/gain_text.h"
#include "platform/clock.h"
#include "platform/wide_text.h"

namespace zr {
namespace {

constexpr std::u16string_view kGain = u"audio_gain", kChannels = u"audio_channels";
constexpr int32_t kNumberedTracks = 32;

// A key of the stream, as the mixer has it for the stream or as the item has it itself.
std::u16string StreamKey(std::u16string_view _streamId, std::u16string_view _key, const XMLNodeBase& _item,
                         const XMLNodeBase& _mixer) {
    const std::u16string name = std::u16string(_streamId) + u"." + std::u16string(_key);
    const std::u16string text = _mixer.AttributeOr(name, u"");
    return text.empty() ? _item.AttributeOr(_key, u"") : text;
}

}  // namespace

void StreamMix::ReadKeys(std::u16string_view _streamId, CCoZrItem& _item, const XMLNodeBase& _mixer,
                         uint32_t _nMixerKeys) {
    const uint32_t nItemKeys = _item.KeysSet();
    const bool bSame = pTracks == _item.SharedTracks();
    if (bSame && nItemRead == nItemKeys && nMixerRead == _nMixerKeys) return;
    if (!bSame) {
        gainText.clear();
        nGainsSet = 0;
    }
    pTracks = _item.SharedTracks();
    bRerouted |= !bSame;
    nItemRead = nItemKeys;
    nMixerRead = _nMixerKeys;
    const ChannelList chosen = ParseChannelList(StreamKey(_streamId, kChannels, *_item.Node(), _mixer));
    bRerouted |= !std::equal(chosen.begin(), chosen.end(), channels.begin(), channels.end());
    channels = chosen;
    const bool bRuns = _item.Node()->AttributeOr(u"izraudio.enabled", true);
    bRerouted |= bRuns != std::exchange(bEnabled, bRuns);
    if (!bEnabled) pTracks->Silence();
    pTracks->LoudnessSet(bEnabled && _item.Node()->AttributeOr(u"izraudio.loudness", false));
    ReadGains_I(_streamId, _item, _mixer);
}

bool StreamMix::IsKey(std::u16string_view _name) {
    constexpr std::u16string_view kCommon = u"audio_";
    static_assert(kGain.starts_with(kCommon) && kChannels.starts_with(kCommon));
    for (size_t n = 0; n + kCommon.size() <= _name.size(); ++n)
        if (EqualNoCase(_name.substr(n, kCommon.size()), kCommon)) return true;
    return _name.empty();
}

// Only what is new: gains that a host has set on the tracks themselves stay.
void StreamMix::ReadGains_I(std::u16string_view _streamId, CCoZrItem& _item, const XMLNodeBase& _mixer) {
    std::u16string text = StreamKey(_streamId, kGain, *_item.Node(), _mixer);
    std::vector<double> arrGains, arrOne;
    ReadGains(text, &arrGains);
    if (arrGains.empty() && !text.empty()) {
        text = _item.Node()->AttributeOr(text, u"");
        ReadGains(text, &arrGains);
    }
    std::u16string all = text;
    for (int32_t i = 0; i < kNumberedTracks; ++i) {
        std::u16string key(kGain);
        key += u'.';
        AppendInt(key, i);
        const std::u16string own = StreamKey(_streamId, key, *_item.Node(), _mixer);
        ReadGains(own, &arrOne);
        if (arrOne.empty()) continue;
        const auto n = static_cast<size_t>(i);
        if (arrGains.size() <= n) arrGains.resize(n + 1, std::numeric_limits<double>::quiet_NaN());
        arrGains[n] = arrOne[0];
        all += u";" + key + u"=" + own;
    }
    if (all == gainText) return;
    const size_t nNow = arrGains.size();
    if (nNow < nGainsSet) arrGains.resize(nGainsSet, 0.0);  // what the text spoke of before
    nGainsSet = nNow;
    _item.Tracks_I().GainsSet(arrGains);
    gainText = std::move(all);
}

void StreamMix::Choose(SOUND_BLOCK* _pBlock) {
    SOUND_BLOCK chosen = *_pBlock;
    chosen.props.nChannels = static_cast<int32_t>(channels.size());
    if (chosen.props.nChannels != _pBlock->props.nChannels) chosen.props.nTrackSplitBits = 0;
    MakeRoom(arrChosen, &chosen);
    for (int32_t c = 0; c < chosen.props.nChannels; ++c)
        CopyChannel(*_pBlock, channels[static_cast<size_t>(c)], chosen, c);
    *_pBlock = chosen;
}

bool StreamMix::Process(const ZR_AUD_PROPS& _output, int64_t _nSamples, bool _bBroken, SOUND_BLOCK* _pBlock) {
    bool bWhole = true, bTracks = false;
    if (_pBlock->nSamples > 0) {
        if (!channels.empty()) Choose(_pBlock);
        if (HasTracks()) pTracks->Process(_pBlock, &bTracks);
        if (_pBlock->p) {
            bWhole = layout.Map(_output, _pBlock);
        } else {
            _pBlock->nSamples = 0;
        }
    } else {
        NoSound(_output, _nSamples);
    }
    if (_pBlock->nSamples < _nSamples) End(_output, _nSamples, _pBlock);
    _pBlock->nSamples = edge.Smooth(_output, _pBlock->p, _pBlock->nSamples, _nSamples,
                                    _bBroken || bTracks || std::exchange(bRerouted, false));
    return bWhole;
}

void StreamMix::NoSound(const ZR_AUD_PROPS& _output, int64_t _nSamples) {
    if (HasTracks()) pTracks->ProcessSilence(_nSamples * kTicksPerSecond / _output.nSamplesPerSec);
}

void StreamMix::Shape(SOUND_BLOCK* _pBlock) {
    bool bOther = std::exchange(bRerouted, false);
    if (channels.empty() && !HasTracks() && !bOther && !edge.IsBlending()) {
        edge.Remember(_pBlock->props, _pBlock->p, _pBlock->nSamples);
        return;
    }
    if (!channels.empty()) {
        Choose(_pBlock);
    } else {
        const uint8_t* const pFrom = _pBlock->p;
        MakeRoom(arrChosen, _pBlock);
        std::memcpy(_pBlock->p, pFrom, static_cast<size_t>(_pBlock->nSamples * AudBlockBytes(_pBlock->props)));
    }
    bool bTracks = false;
    if (HasTracks()) pTracks->Process(_pBlock, &bTracks);
    bOther |= bTracks;
    if (!_pBlock->p) {
        _pBlock->nSamples = 0;
        edge.Reset();
    } else {
        edge.Join(_pBlock->props, _pBlock->p, _pBlock->nSamples, bOther);
    }
}

// Room for what still is to be heard behind the sound.
void StreamMix::End(const ZR_AUD_PROPS& _output, int64_t _nSamples, SOUND_BLOCK* _pBlock) {
    SOUND_BLOCK longer{_output, nullptr, _nSamples};
    MakeRoom(arrEnd, &longer);
    if (_pBlock->nSamples > 0)
        std::memcpy(longer.p, _pBlock->p, static_cast<size_t>(_pBlock->nSamples * AudBlockBytes(_output)));
    longer.nSamples = _pBlock->nSamples;
    *_pBlock = longer;
}

}  // namespace zr
