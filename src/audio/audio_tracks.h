#pragma once
// The audio tracks of an object: the list of them, and the step in which the sound of a frame goes through it.

#include <atomic>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "audio/co_zr_track.h"
#include "audio/sound_edge.h"
#include "framework/lock_order.h"
#include "media/aud_props.h"
#include "platform/rw_lock.h"
#include "zr/frame.h"

namespace zr {

// The operations ..._I are those of IZrAudio with their results. Any thread; the sound goes through on one.
class AudioTracks {
public:
    enum class Levels {
        kAlways,   // every track is measured
        kOnDemand  // only those that somebody has asked for
    };
    explicit AudioTracks(Levels _eLevels) : eLevels(_eLevels) {}
    AudioTracks(const AudioTracks&) = delete;
    AudioTracks& operator=(const AudioTracks&) = delete;

    // The node that the tracks' own nodes are to stand in. Once, before any other call.
    void SetUp(XMLNodeBase& _audio, int32_t _nTracks, int32_t _nChannelsPerTrack);
    // Takes "default_tracks" and "channels_per_track" over when _name is one of them; _keys: of the object. Any thread.
    void OnKey(std::u16string_view _name, const XMLNodeBase& _keys);
    // Whether loudness is measured of all that goes out, from now on. Audio thread.
    void LoudnessSet(bool _bOn) { bLoudness = _bOn; }

    // --- Audio thread

    // The sound of a frame through the tracks; it may come out with other channels, and with none when no track goes
    // out. S_FALSE: there was nothing to do.
    HRESULT Audio_Process(IZrFFrame& _frame);
    // A frame that goes past the tracks: they are switched off (_bOff), or idle. It joins on what went out before.
    void Pass(IZrFFrame& _frame, bool _bOff);
    // Whether that changes its sound.
    bool IsPassDue(bool _bOff) const { return bPasses != _bOff || edge.IsBlending(); }
    // There was no sound for so many ticks: ramps and levels go on.
    void ProcessSilence(int64_t _rtDuration);
    // Nothing is measured any more.
    void Silence();
    // The same for a block, which is changed where it is or becomes one in memory that lasts until the next call. Its
    // p is null when no track goes out. *_pbRerouted: its channels come another way than in the block before, by modes,
    // orders or effects, so that what is heard may step. False: nothing was done. May throw std::bad_alloc.
    bool Process(SOUND_BLOCK* _pBlock, bool* _pbRerouted = nullptr);
    // What came in with the last block, before the gains, channel by channel.
    void AppendLevelsIn(ZR_AUDIO_LOUDNESS* _pAll);
    // Sound would go through as it is and nobody wants to know its levels: it need not go through.
    bool IsIdle() const { return IsUntouched() && !bLoudness; }
    // The format is forgotten; settings stay.
    void Reset();

    // --- Any thread

    // No host has touched the tracks.
    bool IsUntouched() const { return !bTouched.load(std::memory_order_relaxed); }
    // Gains in dB, each for all channels of a track, the first one first; at once. What is no number leaves its track.
    void GainsSet(std::span<const double> _arrDb);
    // The settings as "track_split", "channels_per_track" and a node "track" for each track that has any.
    void Save(XMLNodeBase& _audio) const;
    // Added tracks are replaced; of the others what is not spoken of is as in a new one.
    void Load(const XMLNodeBase& _audio);

    HRESULT AudioSplitStringGet_I(BSTR* _pbsSplitString, int32_t* _pnChannels);
    HRESULT AudioSplitStringSet_I(const char16_t* _bsSplitString);
    HRESULT AudioTracksSetCount_I(int32_t _nTracks);
    HRESULT AudioTracksGetCount_I(int32_t* _pnTracks);
    HRESULT AudioTrackGetByIndex_I(int32_t _nIndex, BSTR* _pbsDesc, IZrAudioTrack** _ppTrack);
    HRESULT AudioChannelsPerTrackSet_I(int32_t _nChannelsPerTrack);
    HRESULT AudioChannelsPerTrackGet_I(int32_t* _pnChannelsPerTrack);
    HRESULT AudioTrackAdd_I(int32_t _nSourceTrack, const char16_t* _bsUseChannels, const char16_t* _bsDesc,
                            IZrAudioTrack** _ppTrack);
    HRESULT AudioTrackRemove_I(IZrAudioTrack* _pTrack);
    HRESULT AllTracksGainSet_I(int32_t _nChannel, double _dblGain, double _dblTimeForChange);
    HRESULT AllTracksMuteSet_I(int32_t _nChannel, int32_t _bMute, double _dblTimeForChange);

private:
    using TrackPtr = ZrPtr<CCoZrTrack>;
    static constexpr int32_t kMostTracks = kMaxAudioChannels;
    // A track in the block under way.
    struct STEP {
        CCoZrTrack* pTrack = nullptr;
        CCoZrTrack::LOOK look;
        int32_t nFirst = 0;  // of its channels in the input, of the track that it is made from
        int32_t nAddTo = -1;
        bool bOut = false;
        int32_t nEffects = 0;  // that are switched on, a bit each
    };

    // The tracks for a format of the input, which counts from now on.
    void UpdateTracks_I(const ZR_AUD_PROPS& _props) ZR_REQUIRES(lock);
    void MakeTracks_I(int32_t _nCount) ZR_REQUIRES(lock);
    TrackPtr MakeTrack_I(const CCoZrTrack::SOURCE& _source, std::u16string_view _desc) ZR_REQUIRES(lock);
    template <class DO>
    HRESULT ForAllTracks(const DO& _do);
    void Inputs_I() ZR_REQUIRES(lock);
    int32_t Shown_I() const ZR_REQUIRES_SHARED(lock);
    int32_t ListedCount_I() const ZR_REQUIRES_SHARED(lock);
    CCoZrTrack* Listed_I(int32_t _nIndex) const ZR_REQUIRES_SHARED(lock);
    HRESULT Add_I(const CCoZrTrack::SOURCE& _source, std::u16string_view _desc, TrackPtr* _ppTrack) ZR_REQUIRES(lock);
    ChannelList Sizes_I(const ZR_AUD_PROPS& _props) const ZR_REQUIRES_SHARED(lock);

    void Plan_I(int64_t _nSamples) ZR_REQUIRES_SHARED(lock);
    void ChooseOut();
    bool IsInPlace(const SOUND_BLOCK& _block) const;
    bool IsRerouted_I(bool _bInPlace) ZR_REQUIRES_SHARED(lock);
    PerChannel<int32_t> ChannelsOf_I(const STEP& _step) const ZR_REQUIRES_SHARED(lock);
    void ProcessApart_I(SOUND_BLOCK* _pBlock) ZR_REQUIRES_SHARED(lock);
    void Compose(SOUND_BLOCK* _pBlock);

    const Levels eLevels;
    std::atomic<bool> bTouched{false};

    // Read through a whole block; written for what the list itself is.
    mutable CRWSynchroLiteRW lock{lock_order::kAudioTracks};
    ZR_AUD_PROPS props ZR_GUARDED_BY(lock);  // of the input
    std::vector<TrackPtr> arrReal ZR_GUARDED_BY(lock);
    std::vector<TrackPtr> arrVirtual ZR_GUARDED_BY(lock);
    TrackPtr pToCome ZR_GUARDED_BY(lock);            // has the gains that were set for all; may be null
    ChannelList sizes ZR_GUARDED_BY(lock);           // channels of the tracks that the input has
    std::u16string split ZR_GUARDED_BY(lock);        // as set; empty: what the input says
    int32_t nDefaultTracks ZR_GUARDED_BY(lock) = 0;  // that are shown at least
    int32_t nChannelsPerTrack ZR_GUARDED_BY(lock) = 0;
    XMLNodeRef pAudio ZR_GUARDED_BY(lock);  // where the nodes of the tracks stand; may be null

    // Audio thread only.
    std::vector<STEP> arrSteps;       // in the order of the list
    std::vector<const STEP*> arrOut;  // those that go out, in their order
    std::vector<uint8_t> arrResult, arrSilence;
    // Where each channel of each track that goes out comes from, and through what; empty: all stay where they are.
    std::vector<int32_t> arrWay, arrWayBefore;
    SoundEdge edge;        // behind the tracks of frames
    bool bPasses = false;  // the last frame went past the tracks
    bool bLoudness = false;
};

}  // namespace zr
