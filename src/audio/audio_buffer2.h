#pragma once
// The ring of sound between a source whose blocks have any length and format, and an output that takes so many samples
// of its own format at a time.

#include <cstdint>
#include <vector>

#include "audio/audio_converter.h"
#include "audio/channels_buffer.h"
#include "audio/sample_queue.h"
#include "audio/sound_edge.h"
#include "framework/lock_order.h"
#include "platform/lock.h"
#include "platform/ref_object.h"
#include "zr/records.h"

namespace zr {

// Can be a member of its owner or be shared by counted reference. Any thread. Nothing is allocated once it has reached
// its size.
class ZrAudioBuffer2 final : public AutoObjBase<ZrAudioBuffer2> {
public:
    // The format that it holds and gives out; what it holds of another one is converted. E_INVALIDARG: not usable.
    HRESULT FormatSet(const ZR_AUD_PROPS& _props);
    ZR_AUD_PROPS Format() const;

    // Appends _cb bytes of that format at _p, converted to what the ring holds; null and _bAddSilence: as much silence.
    // A ring without a format takes that of the block, and so does one of another format unless _bCorrect says that
    // what it holds is right. _dblScale, 0.1 to 10: the sound comes out that much longer, which makes good for a clock
    // that is fast or slow; samples that need no conversion at 1 are kept bit for bit. E_INVALIDARG: not usable, or
    // nothing to put. VFW_E_UNSUPPORTED_AUDIO: a format that cannot be converted; until the format of the ring is
    // another one, or Clear, the ring is closed for it: ZR_E_NOT_SUPPORTED. On failure nothing was put.
    HRESULT PutAudio(const ZR_AUD_PROPS& _props, const uint8_t* _p, int64_t _cb, bool _bAddSilence, bool _bCorrect,
                     double _dblScale = 1.0);
    // The channels that it holds and gives out; above kMaxAudioChannels the others are ignored. What is held keeps its
    // places, and a new channel is silent as far as the others are filled. S_OK: there are more than before. S_FALSE:
    // there are not, as _nCount asks for no more, or because _bCreate forbids to make them; fewer are dropped.
    // E_INVALIDARG: less than one, or no format. On failure nothing is changed.
    HRESULT ChannelsSet(int32_t _nCount, bool _bCreate);
    // Takes up to _nSamples of each channel, the oldest ones, to _p (null: drops them). Returns how many.
    int64_t GetAudio(uint8_t* _p, int64_t _nSamples);

    // What it holds, in samples of each channel and in ticks, and what there is room for.
    int64_t Fill() const;
    int64_t Size() const;
    int64_t Duration() const;
    // Empties it; with _bResetFormat it has no format either. Returns how many samples it held.
    int64_t Clear(bool _bResetFormat);

private:
    HRESULT Append_I(const ZR_AUD_PROPS& _props, const uint8_t* _p, int64_t _nSamples, double _dblScale)
        ZR_REQUIRES(mtx);
    HRESULT Resample_I(const ZR_AUD_PROPS& _props, const uint8_t* _p, int64_t _nSamples, double _dblScale)
        ZR_REQUIRES(mtx);
    void AppendSilence_I(const ZR_AUD_PROPS& _props, int64_t _nSamples) ZR_REQUIRES(mtx);
    HRESULT Convert_I(const uint8_t* _p, int64_t _cb, double _dblScale, int64_t* _pnConverted) ZR_REQUIRES(mtx);
    HRESULT EnterConverter_I() ZR_REQUIRES(mtx);
    HRESULT Reformat_I(const ZR_AUD_PROPS& _props) ZR_REQUIRES(mtx);
    HRESULT ChannelsSet_I(int32_t _nCount, bool _bCreate) ZR_REQUIRES(mtx);

    mutable Mutex mtx{lock_order::kAudioBuffer};
    ZR_AUD_PROPS props ZR_GUARDED_BY(mtx);
    ZR_AUD_PROPS propsLast ZR_GUARDED_BY(mtx);    // of the last block
    ZR_AUD_PROPS propsClosed ZR_GUARDED_BY(mtx);  // that cannot be converted
    SampleQueue ring ZR_GUARDED_BY(mtx);
    ZrChannelsBuffer channels ZR_GUARDED_BY(mtx);  // what is held, while its channels become more or fewer
    ZrAudioConverter converter ZR_GUARDED_BY(mtx);
    bool bConverts ZR_GUARDED_BY(mtx) = false;  // the converter has sound in it, behind which all else must come
    bool bPadded ZR_GUARDED_BY(mtx) = false;    // silence was put behind sound, which then comes out of it
    SoundEdge edge ZR_GUARDED_BY(mtx);          // the end of what the ring was given
    SoundEdge edgeIn ZR_GUARDED_BY(mtx);        // the end of what the converter was given
    std::vector<uint8_t> arrConverted ZR_GUARDED_BY(mtx),
        arrSilence ZR_GUARDED_BY(mtx), arrLed ZR_GUARDED_BY(mtx), arrApart ZR_GUARDED_BY(mtx);
};

}  // namespace zr
