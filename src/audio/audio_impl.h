#pragma once
// Gives an object T its face for audio tracks; the work is that of AudioTracks.

#include "audio/audio_tracks.h"
#include "framework/all_tracks.h"
#include "zr/audio.h"

namespace zr {

// T has
//     AudioTracks& Tracks_I();
template <class T>
class IZrAudioImpl : public IZrAudio, public IZrAllTracks {
public:
    HRESULT AudioSplitStringGet(BSTR* _pbsSplitString, int32_t* _pnChannels) override {
        return Tracks().AudioSplitStringGet_I(_pbsSplitString, _pnChannels);
    }
    HRESULT AudioSplitStringSet(const char16_t* _bsSplitString) override {
        return Tracks().AudioSplitStringSet_I(_bsSplitString);
    }
    HRESULT AudioTracksSetCount(int32_t _nTracks) override { return Tracks().AudioTracksSetCount_I(_nTracks); }
    HRESULT AudioTracksGetCount(int32_t* _pnTracks) override { return Tracks().AudioTracksGetCount_I(_pnTracks); }
    HRESULT AudioTrackGetByIndex(int32_t _nIndex, BSTR* _pbsDesc, IZrAudioTrack** _ppTrack) override {
        return Tracks().AudioTrackGetByIndex_I(_nIndex, _pbsDesc, _ppTrack);
    }
    HRESULT AudioChannelsPerTrackSet(int32_t _nChannelsPerTrack) override {
        return Tracks().AudioChannelsPerTrackSet_I(_nChannelsPerTrack);
    }
    HRESULT AudioChannelsPerTrackGet(int32_t* _pnChannelsPerTrack) override {
        return Tracks().AudioChannelsPerTrackGet_I(_pnChannelsPerTrack);
    }
    HRESULT AudioTrackAdd(int32_t _nSourceTrack, const char16_t* _bsUseChannels, const char16_t* _bsDesc,
                          IZrAudioTrack** _ppTrack) override {
        return Tracks().AudioTrackAdd_I(_nSourceTrack, _bsUseChannels, _bsDesc, _ppTrack);
    }
    HRESULT AudioTrackRemove(IZrAudioTrack* _pTrack) override { return Tracks().AudioTrackRemove_I(_pTrack); }

    HRESULT AllTracksGainSet(int32_t _nChannel, double _dblGain, double _dblTimeForChange) override {
        return Tracks().AllTracksGainSet_I(_nChannel, _dblGain, _dblTimeForChange);
    }
    HRESULT AllTracksMuteSet(int32_t _nChannel, int32_t _bMute, double _dblTimeForChange) override {
        return Tracks().AllTracksMuteSet_I(_nChannel, _bMute, _dblTimeForChange);
    }

protected:
    ~IZrAudioImpl() = default;

private:
    AudioTracks& Tracks() { return static_cast<T*>(this)->Tracks_I(); }
};

}  // namespace zr
