#pragma once
// The keys of an object that shape the sound of the frames it sends.

#include <string>
#include <vector>

#include "attributes/co_xml_node.h"
#include "audio/sound_block.h"
#include "audio/sound_edge.h"
#include "audio/sound_gain.h"
#include "zr/frame.h"

namespace zr {

// One thread at a time. Memory only grows.
class FrameAudioKeys {
public:
    // "audio_channels" of _keys chooses and orders the channels of a frame, "audio_gain" multiplies them: gains in dB,
    // one for all channels, or one for each: "-6", "0, -12". From the gains before to new ones it goes in the course of
    // a frame, from 0 dB at first; one choice of channels goes over into another within 5 ms. A text without a number
    // is no gain.
    void Apply(IZrFFrame& _frame, const XMLNodeBase& _keys);
    // Whether the next frame is to change: by what the keys say, or on its way back from what they said before.
    bool IsDue(const XMLNodeBase& _keys);
    // A frame for which nothing was due has gone out: what keys say later goes on from there.
    void Pass(IZrFFrame& _frame);

private:
    const std::u16string& Text(const XMLNodeBase& _keys, std::u16string_view _key);
    bool Choose(IZrFFrame& _frame, const XMLNodeBase& _keys);
    void Gain(const SOUND_BLOCK& _block);

    SoundGain gain;
    SoundEdge edge;                   // what went out, before the gains
    std::u16string text;              // as a key has it now
    std::u16string channelsText;      // the choice that was made for the last frame
    std::u16string gainText;          // the gains that arrGains is of
    std::vector<double> arrGains{1};  // linear; one for all channels, or one each
    std::vector<double> arrGainsBefore{1};
};

}  // namespace zr
