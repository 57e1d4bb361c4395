#include "audio/frame_audio_keys.h"

#include <array>
#include <span>

#include "audio/gain_text.h"
#include "media/aud_props.h"

namespace zr {
namespace {

constexpr std::u16string_view kChannels = u"audio_channels", kGain = u"audio_gain";

double GainAt(const std::vector<double>& _arr, size_t _nChannel) {
    if (_arr.size() == 1) return _arr[0];
    return _nChannel < _arr.size() ? _arr[_nChannel] : 1;
}

}  // namespace

const std::u16string& FrameAudioKeys::Text(const XMLNodeBase& _keys, std::u16string_view _key) {
    text.clear();
    _keys.GetAttribute(_key, text);
    return text;
}

bool FrameAudioKeys::IsDue(const XMLNodeBase& _keys) {
    return arrGainsBefore.size() != 1 || arrGainsBefore[0] != 1 || !channelsText.empty() || edge.IsBlending() ||
           !Text(_keys, kGain).empty() || !Text(_keys, kChannels).empty();
}

// True: another choice than that for the frame before.
bool FrameAudioKeys::Choose(IZrFFrame& _frame, const XMLNodeBase& _keys) {
    if (!Text(_keys, kChannels).empty() && Succeeded(_frame.ZrFAVPropsSet(nullptr, text.c_str()))) {
        ZR_AV_PROPS props;
        _frame.ZrFAVPropsGet(&props, nullptr);
        props.audProps.nTrackSplitBits = 0;  // channels of a choice are no tracks any more
        _frame.ZrFAVPropsSet(&props, nullptr);
    }
    if (text == channelsText) return false;
    channelsText = text;
    return true;
}

void FrameAudioKeys::Apply(IZrFFrame& _frame, const XMLNodeBase& _keys) {
    const bool bRerouted = Choose(_frame, _keys);
    if (Text(_keys, kGain) != gainText) {
        gainText = text;
        ReadGains(text, &arrGains);
        for (double& dbl : arrGains) dbl = LinearOfDb(dbl);
        if (arrGains.empty()) arrGains.push_back(1);
    }
    const SOUND_BLOCK block = SoundOf(_frame);
    if (!block.p || block.props.nChannels > kMaxAudioChannels) {
        edge.Reset();
        return;
    }
    edge.Join(block.props, block.p, block.nSamples, bRerouted);
    Gain(block);
}

void FrameAudioKeys::Pass(IZrFFrame& _frame) {
    const SOUND_BLOCK block = SoundOf(_frame);
    block.p ? edge.Remember(block.props, block.p, block.nSamples) : edge.Reset();
}

void FrameAudioKeys::Gain(const SOUND_BLOCK& _block) {
    std::array<CHANNEL_RAMP, kMaxAudioChannels> arrRamps;
    const auto nChannels = static_cast<size_t>(_block.props.nChannels);
    for (size_t c = 0; c < nChannels; ++c) {
        const double dblFrom = GainAt(arrGainsBefore, c);
        arrRamps[c] = {dblFrom, (GainAt(arrGains, c) - dblFrom) / static_cast<double>(_block.nSamples)};
    }
    gain.Apply(_block.props.nBitsPerSample, _block.p, static_cast<size_t>(AudBlockBytes(_block.props)),
               std::span<const CHANNEL_RAMP>(arrRamps).first(nChannels), static_cast<size_t>(_block.nSamples));
    if (arrGainsBefore != arrGains) arrGainsBefore = arrGains;
}

}  // namespace zr
