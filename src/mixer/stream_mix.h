#pragma once
// What the sound of one stream goes through on its way into the mix.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "audio/layout_map.h"
#include "audio/sound_edge.h"
#include "audio/sound_gain.h"
#include "media/aud_props.h"
#include "sources/co_zr_item.h"

namespace zr {

// Mix thread only.
class StreamMix {
public:
    // Reads the stream's keys "audio_channels" and "audio_gain" when something has been set on the item or the mixer
    // since the last call; also "izraudio.enabled" and "izraudio.loudness" of the item. "<stream>.audio_gain" of the
    // mixer comes before the item's own; "audio_gain.1" is that of the second track; a text that is no number names
    // another key of the item. _nMixerKeys: counts what has been set on the mixer; _mixer: its keys.
    void ReadKeys(std::u16string_view _streamId, CCoZrItem& _item, const XMLNodeBase& _mixer, uint32_t _nMixerKeys);
    // Whether a key of the mixer, by its name with its path, is one of those; an empty name may be.
    static bool IsKey(std::u16string_view _name);
    // Chooses the channels, runs the tracks of the item that was last here, brings it into the layout of the output,
    // and smooths it where it begins, ends, or does not go on from the block before (_bBroken). What is to be heard may
    // then be more than the stream had, up to _nSamples; it may be in memory that lasts until the next call. False: a
    // track is silent, as it cannot be brought into the output's.
    bool Process(const ZR_AUD_PROPS& _output, int64_t _nSamples, bool _bBroken, SOUND_BLOCK* _pBlock);
    // Of a sound that others bring into the layout of the output: chooses the channels and runs the tracks, and joins
    // on what was heard where that changes. What is changed is a copy, in memory that lasts until the next call.
    void Shape(SOUND_BLOCK* _pBlock);
    // There was no sound for so many samples of the output: the ramps and levels of the tracks go on.
    void NoSound(const ZR_AUD_PROPS& _output, int64_t _nSamples);
    // Whether it would be a step if nothing more came.
    bool EndsLoud() { return dblLastGain != 0 && edge.EndsLoud(); }
    // What was heard before is past: the next block begins anew, and its gain at 0.
    void Forget() {
        edge.Reset();
        dblLastGain = 0;
    }
    // From the gain at the end of the last block to a new one.
    GAIN_RAMP GainTo(double _dblGain) {
        const GAIN_RAMP ramp{dblLastGain, _dblGain};
        dblLastGain = _dblGain;
        return ramp;
    }

private:
    void ReadGains_I(std::u16string_view _streamId, CCoZrItem& _item, const XMLNodeBase& _mixer);
    bool HasTracks() const { return pTracks && bEnabled && !pTracks->IsIdle(); }
    void Choose(SOUND_BLOCK* _pBlock);
    void End(const ZR_AUD_PROPS& _output, int64_t _nSamples, SOUND_BLOCK* _pBlock);

    std::shared_ptr<AudioTracks> pTracks;  // of the item whose keys have been read; they outlive it here
    bool bEnabled = true;
    uint32_t nItemRead = 0, nMixerRead = 0;
    std::u16string gainText;  // that the tracks have been set to
    size_t nGainsSet = 0;     // tracks that it spoke of
    ChannelList channels;     // of the source, in their order; empty: all
    bool bRerouted = false;   // by another choice of channels
    std::vector<uint8_t> arrChosen, arrEnd;
    LayoutMap layout;
    SoundEdge edge;
    double dblLastGain = 0;
};

}  // namespace zr
