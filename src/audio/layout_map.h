#pragma once
// Sound of one track layout in another.

#include <cstdint>
#include <memory>
#include <vector>

#include "audio/audio_converter.h"
#include "audio/sound_block.h"
#include "media/aud_props.h"

namespace zr {

// The sound of _from with as many channels as _pTo says, mixed together or repeated as the converter does it; in
// _arrMemory. Throws std::bad_alloc. VFW_E_UNSUPPORTED_AUDIO: more channels than it takes.
HRESULT FitChannels(ZrAudioConverter& _converter, const SOUND_BLOCK& _from, std::vector<uint8_t>& _arrMemory,
                    SOUND_BLOCK* _pTo);

// Tracks of those sizes as far as there are so many channels, and of what is left; a track of more than
// kMaxConvertedChannels is several.
ChannelList CutTracks(const ChannelList& _wanted, int32_t _nChannels);

// Track goes to track as far as both layouts have them; what else the target has is silent, what else the source has
// is not heard. Of two tracks with different numbers of channels, the one is mixed or repeated as ZrAudioConverter does
// it. One thread at a time; throws std::bad_alloc. Nothing is allocated but for a longer block or another layout.
class LayoutMap {
public:
    // The block, whose rate and bits are those of _to, gets its channels and tracks. Where it has them already it stays
    // where it is, else it is in memory that lasts until the next call. False: a track cannot be brought into others,
    // and is silent.
    bool Map(const ZR_AUD_PROPS& _to, SOUND_BLOCK* _pBlock);

private:
    void Prepare(const ZR_AUD_PROPS& _from, const ZR_AUD_PROPS& _to);
    bool MapTrack(size_t _nTrack, int32_t _nFrom, const SOUND_BLOCK& _from, int32_t _nTo, const SOUND_BLOCK& _to);

    ZR_AUD_PROPS from, to;
    ChannelList tracksFrom, tracksTo;  // channels of each track
    bool bSame = false;
    std::vector<ZrAudioConverter> arrConverters;  // of each pair of tracks
    std::vector<uint8_t> arrResult, arrTrack, arrConverted;
};

}  // namespace zr
