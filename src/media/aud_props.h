#pragma once
// What an audio description says about memory, and the texts that divide channels into tracks and choose channels.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "zr/records.h"

namespace zr {

inline constexpr int32_t kMaxAudioChannels = 128;   // in one frame; more are ignored
inline constexpr int32_t kMaxSampleRate = 768'000;  // Hz, of an output

// Bytes of one sample of one channel by nBitsPerSample: 8 and 16 as they are, 20 and 24 in three bytes (20 in the upper
// bits), 32 and -32 (float) in four. 0 for any other number.
int32_t AudBytesPerSample(int32_t _nBitsPerSample);
// Bytes of one sample over all channels; 0 when the record is not usable.
int64_t AudBlockBytes(const ZR_AUD_PROPS& _props);
// Channels, rate and bits are all given and are numbers that can be.
bool AudUsable(const ZR_AUD_PROPS& _props);
// Channels, rate and bits are the same, whatever the tracks.
bool AudSameFormat(const ZR_AUD_PROPS& _a, const ZR_AUD_PROPS& _b);
// All of the record is the same, the tracks too.
bool AudSame(const ZR_AUD_PROPS& _a, const ZR_AUD_PROPS& _b);

// Up to kMaxAudioChannels whole numbers without a heap: channel indexes, or channels per track. A range, and a span.
class ChannelList {
public:
    // False, and nothing done, when the list is full.
    bool Add(int32_t _n);
    const int32_t* begin() const { return arrItems.data(); }
    const int32_t* end() const { return arrItems.data() + nCount; }
    size_t size() const { return nCount; }
    bool empty() const { return nCount == 0; }
    int32_t operator[](size_t _i) const { return arrItems[_i]; }

private:
    std::array<int32_t, kMaxAudioChannels> arrItems{};
    size_t nCount = 0;
};

// Channels per track by nTrackSplitBits (bit i set: channel i is the last of its track). The last channel always ends a
// track; without bits there is one track of all channels. A track that begins at channel 32 or later is not cut, it has
// no bits.
ChannelList TracksOfSplitBits(int32_t _nChannels, int32_t _nTrackSplitBits);
// The bits of tracks of these sizes. Sizes below 1 are passed over; ends beyond channel 31 have no bit.
int32_t SplitBitsOfTracks(std::span<const int32_t> _arrTracks);

// "2,6,4": sizes separated by commas. Reading also takes blanks between them and passes over what is no number above 0.
std::u16string TrackSplitText(std::span<const int32_t> _arrTracks);
ChannelList ParseTrackSplit(std::u16string_view _text);

// "1,3": channel indexes from 0, in the order in which they are taken, separated by commas or blanks. A part that is no
// number, or a negative one, is passed over.
ChannelList ParseChannelList(std::u16string_view _text);

}  // namespace zr
