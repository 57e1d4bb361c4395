#pragma once
// The audio tracks of an object: how channels form tracks, which tracks go out, gains, mutes, levels.

#include <cstdint>

#include "zr/enums.h"
#include "zr/records.h"
#include "zr/text.h"
#include "zr/unknown.h"

namespace zr {

// One track, of at most 32 channels. Any thread; a setting counts from the next block of audio. Channels count from 0
// in the order of the input; -1 stands for all of them where it says so. A track object outlives a change of the format
// and keeps its settings. ZR_E_BAD_INDEX: a channel of 32 or more.
struct IZrAudioTrack : IUnknown {
    static constexpr GUID kIid = GuidOf("47D4D592-A540-4532-BC2A-4B135FE29DA8");

    // Levels in dB of the last block, before the gains in input order and after them in output order; one may be null,
    // E_POINTER when both are. Full-scale sine is 0 dB of RMS, silence minus infinity. The peaks are the highest since
    // the last call. Loudness, quasi-peak and true peak are in the second record alone, and with the object's key
    // "izraudio.loudness".
    virtual HRESULT TrackLoudnessGet(ZR_AUDIO_TRACK_LOUDNESS* _pAudioLoudnessOrg,
                                     ZR_AUDIO_TRACK_LOUDNESS* _pAudioLoudnessOut) = 0;
    // Whether the track goes out, alone, or into another. _nAddToTrack (0 first) and _dblAddGain (dB) count only for
    // eZrAT_Enabled_AddTo and eZrAT_Disabled_AddTo: channel goes to channel, those that the other lacks are dropped.
    virtual HRESULT TrackModeSet(eZrAudioTrackMode _eMode, int32_t _nAddToTrack, double _dblAddGain) = 0;
    virtual HRESULT TrackModeGet(eZrAudioTrackMode* _peMode, int32_t* _pnAddToTrack, double* _pdblAddGain) = 0;
    // Whether the track was added by AudioTrackAdd, and then its source track and its channels as in "1,3". The caller
    // frees the text.
    virtual HRESULT TrackIsVirtual(int32_t* _pbVirtual, int32_t* _pnSourceTrack, BSTR* _pbsChannelsSet) = 0;
    // Channels of the input, channels of the output, and where its first one stands in the whole output.
    virtual HRESULT TrackChannelsGet(int32_t* _pnInputChannels, int32_t* _pnOutputChannelIdx,
                                     int32_t* _pnOutputChannels) = 0;
    // Channels of the output; 0: as many as the input. With fewer than the input has, they are mixed down; mute those
    // that should not be heard.
    virtual HRESULT TrackChannelsSet(int32_t _nOutputChannels) = 0;
    // The track's place in the output, 0 first.
    virtual HRESULT TrackOrderSet(int32_t _nOrder) = 0;
    virtual HRESULT TrackOrderGet(int32_t* _pnOrder) = 0;
    // The order of the input's (_bInput not 0) or the output's channels: entry _nChannelIdx, 0 to 31, says which
    // channel, _nOrder, is taken at that place. To swap left and right: entry 0 is 1, entry 1 is 0. An entry that names
    // a channel that is not there is silent; one that two entries name comes twice. Gains and mutes go by the original
    // order.
    virtual HRESULT TrackChannelOrderSet(int32_t _bInput, int32_t _nChannelIdx, int32_t _nOrder) = 0;
    virtual HRESULT TrackChannelOrderGet(int32_t _bInput, int32_t _nChannelIdx, int32_t* _pnOrder) = 0;
    // Gain of a channel, -1 all, in dB: -60 to +60, 0 leaves it as it is. The gain runs there linearly in amplitude
    // within that many seconds; 0 or less: at once. On a muted channel it counts from the unmuting on. What is set for
    // all also counts for channels that come later. E_INVALIDARG: no numbers.
    virtual HRESULT TrackGainSet(int32_t _nChannel, double _dblGain, double _dblTimeForChange) = 0;
    // The gain as set, in dB, wherever the ramp is.
    virtual HRESULT TrackGainGet(int32_t _nChannel, double* _pdblGain) = 0;
    // Mutes a channel, -1 all, or opens it again at the gain that is set, by the same ramp.
    virtual HRESULT TrackMuteSet(int32_t _nChannel, int32_t _bMute, double _dblTimeForChange) = 0;
    virtual HRESULT TrackMuteGet(int32_t _nChannel, int32_t* _pbMute) = 0;

protected:
    ~IZrAudioTrack() = default;
};

// Any thread. The caller releases the tracks and frees the texts that it receives.
struct IZrAudio : IUnknown {
    static constexpr GUID kIid = GuidOf("34CA06B1-DF32-4DB2-9E5A-F17252CAB7C4");

    // How the channels form tracks, as in "2,6,4", and the number of channels.
    virtual HRESULT AudioSplitStringGet(BSTR* _pbsSplitString, int32_t* _pnChannels) = 0;
    // Sets that, for sources that say nothing or the wrong thing; null or empty: what the source says.
    virtual HRESULT AudioSplitStringSet(const char16_t* _bsSplitString) = 0;
    // The number of tracks to show while no audio has come that says more.
    virtual HRESULT AudioTracksSetCount(int32_t _nTracks) = 0;
    virtual HRESULT AudioTracksGetCount(int32_t* _pnTracks) = 0;
    // A track, 0 first, with its description. ZR_E_BAD_INDEX: no such track.
    virtual HRESULT AudioTrackGetByIndex(int32_t _nIndex, BSTR* _pbsDesc, IZrAudioTrack** _ppTrack) = 0;
    // Output channels of each track that has no number of its own; 0: as many as its input has.
    virtual HRESULT AudioChannelsPerTrackSet(int32_t _nChannelsPerTrack) = 0;
    virtual HRESULT AudioChannelsPerTrackGet(int32_t* _pnChannelsPerTrack) = 0;
    // Adds a track made of channels of another: all (null or empty), or those of a list of 0-based indices as in "1,3".
    // It is silent while its source track does not exist. _ppTrack may be null.
    virtual HRESULT AudioTrackAdd(int32_t _nSourceTrack, const char16_t* _bsUseChannels, const char16_t* _bsDesc,
                                  IZrAudioTrack** _ppTrack) = 0;
    // Removes an added track. E_INVALIDARG: not an added track of this object.
    virtual HRESULT AudioTrackRemove(IZrAudioTrack* _pTrack) = 0;

protected:
    ~IZrAudio() = default;
};

}  // namespace zr
