#pragma once
// The sound of one track in the block under way: from the channels of the input, over gains and effects, to what goes
// out. What it is to do is decided by the track and its list.

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

#include "audio/audio_converter.h"
#include "audio/channel_meters.h"
#include "audio/dynamics.h"
#include "audio/sound_block.h"
#include "audio/sound_sum.h"
#include "zr/records.h"

namespace zr {

inline constexpr int32_t kMaxTrackChannels = kMaxConvertedChannels;

// A number for each channel of a track.
template <class T>
using PerChannel = std::array<T, kMaxTrackChannels>;

// The settings of a track as they count for one block.
struct TRACK_BLOCK {
    PerChannel<CHANNEL_RAMP> arrRamps;  // by channel of the input
    PerChannel<int32_t> arrInput{};     // channel c of the track is this one of the input
    PerChannel<int32_t> arrOutput{};    // channel c of the output is this one of the track
    bool bNatural = true;               // both are in their own order
    int32_t nOutputs = 0;               // channels that go out
    int32_t nAddTo = -1;                // track that it is added to, by so much
    GAIN_RAMP addGain{0, 0};
};

// Audio thread only, but for the levels. Memory only grows. Throws std::bad_alloc.
class TrackSound {
public:
    // Before each block, of at least one sample: what to do, and whether levels are measured.
    void Begin(const TRACK_BLOCK& _block, bool _bMeasure) {
        now = _block;
        bMeasure = _bMeasure;
        bMeasured |= _bMeasure;
    }
    // Nothing goes through it: its levels are those of silence.
    void Silence() {
        if (!std::exchange(bMeasured, false)) return;
        metersIn.Reset();
        metersOut.Reset();
    }
    const TRACK_BLOCK& Now() const { return now; }
    // The gains on the channels of the input where they stand. _nFirst: the track's first channel, of _nInputs. Effects
    // are left out.
    void ProcessInPlace(const SOUND_BLOCK& _input, int32_t _nFirst, int32_t _nInputs);
    // Takes the channels out of the input and applies the gains. _arrFrom: where each of the _nInputs channels stands
    // in the input; negative for one that is silent.
    void Take(const SOUND_BLOCK& _input, const PerChannel<int32_t>& _arrFrom, int32_t _nInputs);
    // Adds the sound of another track, channel to channel as far as both have it, by its gain.
    void Add(const TrackSound& _other);
    static int32_t Effects(XMLNodeBase& _node);  // that are switched on, a bit each
    // The effects that _node asks for; null: none.
    void RunEffects(XMLNodeBase* _pNode);
    // Puts what goes out in its order, and measures it.
    void Finish();
    const SOUND_BLOCK& Out() const { return sound; }

    ChannelMeters& LevelsIn() { return metersIn; }
    ChannelMeters& LevelsOut() { return metersOut; }

private:
    template <class EFFECT>
    void RunEffect(XMLNodeBase* _pNode, const char16_t* _szName, CAutoObj<EFFECT>* _ppEffect);
    void FitOutputs();

    TRACK_BLOCK now;
    bool bMeasure = false, bMeasured = false;
    SOUND_BLOCK sound;  // what the block has become so far
    std::vector<uint8_t> arrTaken, arrFitted, arrOrdered, arrAdded;
    SoundGain gain;
    SoundSum sum;
    ZrAudioConverter converter;
    CAutoObj<ZrAudioProcessor::CCompressor> pCompressor;
    CAutoObj<ZrAudioProcessor::CDynamicAmplify> pAmplify;
    ChannelMeters metersIn, metersOut;
};

}  // namespace zr
