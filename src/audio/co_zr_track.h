#pragma once
// One audio track: its settings, and the gains that follow from them block by block.

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

#include "attributes/props_impl.h"
#include "audio/channel_gain.h"
#include "audio/track_sound.h"
#include "framework/lock_order.h"
#include "media/aud_props.h"
#include "platform/lock.h"
#include "platform/unknown.h"
#include "zr/audio.h"

namespace zr {

// Its keys are those of its effects: "compressor::enabled" and so on. Any thread sets and reads, the audio thread takes
// the settings of each block.
class CCoZrTrack final : public IZrAudioTrack, public IZrPropsImpl<CCoZrTrack>, private IPropsHost {
public:
    // How the list knows it: by what the input has, or added by a host.
    struct SOURCE {
        bool bVirtual = false;
        int32_t nTrack = 0;    // its own place, or that of the track it is made from
        ChannelList channels;  // of an added one: those that it takes; empty for all
    };
    // Empty: memory is out.
    static ZrPtr<CCoZrTrack> Make(const SOURCE& _source, std::u16string_view _desc);

    HRESULT QueryInterface(const GUID& _iid, void** _ppv) override {
        return QueryFaces<IZrAudioTrack, IZrProps>(this, _iid, _ppv);
    }
    uint32_t AddRef() override { return references.Add(); }
    uint32_t Release() override;

    // --- For the list

    const SOURCE& Source() const { return source; }
    const std::u16string& Desc() const { return desc; }
    XMLNodeBase& Node() const { return *props.Root(); }
    // Its place in the list, and what the input gives it. _bValid: it has the track. _nDefaultOutputs: channels that go
    // out unless the track says otherwise; 0: as many as come in.
    void InputSet(int32_t _nIndex, bool _bValid, int32_t _nInputs, int32_t _nDefaultOutputs, int32_t _nRate);
    void DefaultOutputsSet(int32_t _nDefaultOutputs);
    // Gains and mutes of another one, at once.
    void GainsOf(const CCoZrTrack& _other);
    // Somebody looks at it: its levels are measured.
    void MarkSeen() { bSeen.store(true, std::memory_order_relaxed); }
    bool IsSeen() const { return bSeen.load(std::memory_order_relaxed); }
    void Save(XMLNodeBase& _node) const;
    void Load(const XMLNodeBase& _node);

    // --- Audio thread

    struct LOOK {
        bool bValid = false;
        int32_t nInputs = 0;
        eZrAudioTrackMode eMode = eZrAT_Enabled;
        int32_t nAddTo = -1;
        double dblAddGain = 1;   // linear
        int32_t nIndex = 0;      // in the list
        int32_t nOrder = -1;     // in what goes out; below 0: that of the list
        uint32_t nOrderSet = 0;  // of two with one order, the one set later comes first
        int32_t Order() const { return nOrder < 0 ? nIndex : nOrder; }
        bool ComesBefore(const LOOK& _other) const {
            if (Order() != _other.Order()) return Order() < _other.Order();
            return nOrderSet != _other.nOrderSet ? nOrderSet > _other.nOrderSet : nIndex < _other.nIndex;
        }
    };
    LOOK Look() const;
    // The settings of the next block. _nAddTo, _dblAddGain: the track that it is to be added to, none below 0; it gets
    // there from what it was in the course of a block.
    TRACK_BLOCK NextBlock(int64_t _nSamples, int32_t _nAddTo, double _dblAddGain);
    // Where its first channel stands in what goes out, below 0 when it does not.
    void FirstOutputSet(int32_t _nFirst) { nFirstOutput.store(_nFirst, std::memory_order_relaxed); }
    TrackSound sound;

    // --- IZrAudioTrack

    HRESULT TrackLoudnessGet(ZR_AUDIO_TRACK_LOUDNESS* _pAudioLoudnessOrg,
                             ZR_AUDIO_TRACK_LOUDNESS* _pAudioLoudnessOut) override;
    HRESULT TrackModeSet(eZrAudioTrackMode _eMode, int32_t _nAddToTrack, double _dblAddGain) override;
    HRESULT TrackModeGet(eZrAudioTrackMode* _peMode, int32_t* _pnAddToTrack, double* _pdblAddGain) override;
    HRESULT TrackIsVirtual(int32_t* _pbVirtual, int32_t* _pnSourceTrack, BSTR* _pbsChannelsSet) override;
    HRESULT TrackChannelsGet(int32_t* _pnInputChannels, int32_t* _pnOutputChannelIdx,
                             int32_t* _pnOutputChannels) override;
    HRESULT TrackChannelsSet(int32_t _nOutputChannels) override;
    HRESULT TrackOrderSet(int32_t _nOrder) override;
    HRESULT TrackOrderGet(int32_t* _pnOrder) override;
    HRESULT TrackChannelOrderSet(int32_t _bInput, int32_t _nChannelIdx, int32_t _nOrder) override;
    HRESULT TrackChannelOrderGet(int32_t _bInput, int32_t _nChannelIdx, int32_t* _pnOrder) override;
    HRESULT TrackGainSet(int32_t _nChannel, double _dblGain, double _dblTimeForChange) override;
    HRESULT TrackGainGet(int32_t _nChannel, double* _pdblGain) override;
    HRESULT TrackMuteSet(int32_t _nChannel, int32_t _bMute, double _dblTimeForChange) override;
    HRESULT TrackMuteGet(int32_t _nChannel, int32_t* _pbMute) override;

private:
    CCoZrTrack(const SOURCE& _source, std::u16string_view _desc);
    ~CCoZrTrack() = default;

    bool IsNatural_I() const ZR_REQUIRES(mtx);
    int32_t Outputs_I() const ZR_REQUIRES(mtx);
    int32_t Rate_I() const ZR_REQUIRES(mtx);
    // Calls _do with each of the gains that _nChannel stands for.
    template <class DO>
    HRESULT ForChannels_I(int32_t _nChannel, const DO& _do) ZR_REQUIRES(mtx);
    void ResetChannel_I(size_t _nChannel) ZR_REQUIRES(mtx);

    ReferenceCount references;
    const SOURCE source;
    const std::u16string desc;
    std::atomic<bool> bSeen{false};
    std::atomic<int32_t> nFirstOutput{-1};

    mutable Mutex mtx{lock_order::kAudioTrack};
    // Of each channel, and behind them of those that are still to come: what was last set for all.
    static constexpr size_t kToCome = kMaxTrackChannels;
    std::array<ChannelGain, kMaxTrackChannels + 1> arrGains ZR_GUARDED_BY(mtx);
    PerChannel<int32_t> arrInput ZR_GUARDED_BY(mtx);
    PerChannel<int32_t> arrOutput ZR_GUARDED_BY(mtx);
    bool bNatural ZR_GUARDED_BY(mtx) = true;
    LOOK look ZR_GUARDED_BY(mtx);
    int32_t nOutputsSet ZR_GUARDED_BY(mtx) = 0;  // 0: by the default
    int32_t nDefaultOutputs ZR_GUARDED_BY(mtx) = 0;
    int32_t nRate ZR_GUARDED_BY(mtx) = 0;
    // What the track is added to at the end of the last block.
    bool bBegun ZR_GUARDED_BY(mtx) = false;
    int32_t nAddedTo ZR_GUARDED_BY(mtx) = -1;
    double dblAdded ZR_GUARDED_BY(mtx) = 0;
};

}  // namespace zr
