#pragma once
// Sound that begins, ends and jumps without a click.

#include <algorithm>
#include <cstdint>
#include <vector>

#include "zr/records.h"

namespace zr {

// Stands behind blocks of one sound on their way out. What ends goes on as its own mirror image that fades out; what
// begins fades in; where it jumps, the two meet in a cross-fade. All of them last 5 ms, and no samples are touched
// where there is no step that is larger than one of such a ramp: sound that begins and ends in silence stays as it is.
// Blocks may come in another format than before: what was heard goes along, channel to channel. One thread at a time;
// throws std::bad_alloc.
class SoundEdge {
public:
    // _p has room for _nRoom samples of each channel, of which _nSamples are the sound: fewer than the room when it
    // ends here. _bBroken: it does not go on from the block before. Returns how many are to be heard now, _nSamples or
    // more.
    int64_t Smooth(const ZR_AUD_PROPS& _props, uint8_t* _p, int64_t _nSamples, int64_t _nRoom, bool _bBroken);
    // A whole block of sound that goes on, or, when it was rerouted, steps: from what was heard before to it.
    void Join(const ZR_AUD_PROPS& _props, uint8_t* _p, int64_t _nSamples, bool _bRerouted);
    // Whether what comes next is to be smoothed even if it goes on: a ramp is under way.
    bool IsBlending() const { return std::min(nRisen, nReleased) < nRamp; }
    // Whether it would be a step if nothing more came.
    bool EndsLoud() { return nPast > 0 && eSounding == eHeard && IsLoud(Last()); }
    // Sound that is right as it is.
    void Remember(const ZR_AUD_PROPS& _props, const uint8_t* _p, int64_t _nSamples);
    // Nothing was heard before.
    void Reset();

    // The last samples that were heard, in the format of their block.
    const ZR_AUD_PROPS& Format() const { return props; }
    int64_t PastSamples() const { return nPast; }
    const uint8_t* Past() const { return arrPast.data(); }

private:
    bool Restart(const ZR_AUD_PROPS& _props);
    void ConvertPast(const ZR_AUD_PROPS& _from);
    const uint8_t* Last() const;
    void Keep(const uint8_t* _p, int64_t _nSamples);
    void End();
    void Begin(const uint8_t* _p, int64_t _nSamples);
    void Blend(uint8_t* _p, int64_t _nSamples);
    bool IsLoud(const uint8_t* _pFrame);
    bool Steps(const uint8_t* _pFrame);
    float MirrorAt(int64_t _nSample, size_t _nChannel) const;

    enum SOUNDING { eSilent, eWaiting, eHeard };  // eWaiting: for the first sample that is not silent

    ZR_AUD_PROPS props;
    int64_t nRamp = 1;
    SOUNDING eSounding = eSilent;
    int64_t nRisen = 1;     // samples of the fade-in that are through; negative: that come before it
    int64_t nReleased = 1;  // the same of the fade-out
    std::vector<uint8_t> arrPast;
    int64_t nPast = 0;
    std::vector<float> arrEnd;  // what fades out, played backwards
    int64_t nEnd = 0;
    std::vector<float> arrFloat;
    std::vector<uint8_t> arrConverted;
};

}  // namespace zr
