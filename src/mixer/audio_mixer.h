#pragma once
// The sound of an output frame: that of the background, and that of all streams, each by its gain.

#include <atomic>
#include <cstdint>
#include <vector>

#include "audio/audio_buffer2.h"
#include "audio/sound_edge.h"
#include "audio/sound_sum.h"
#include "framework/statistics_sink.h"
#include "mixer/mixer_stream.h"
#include "sources/co_zr_item.h"
#include "zr/frame.h"

namespace zr {

// A stream, and what stands in its place.
struct MIX_SOUND {
    ZrMixerStream* pStream;
    CCoZrItem* pItem;
};

// Mix thread only.
class AudioMixer {
public:
    explicit AudioMixer(IStatisticsSink& _statistics);

    // Mixes into the frame, whose own sound is that of _pBackground (may be null), which its keys and tracks shape as
    // those of a stream do. _nClock: samples of each channel that the output is
    // due, which it gets when the background has no sound of its own. _bBreak: the background does not go on from the
    // frame before. _mixer: the keys of the mixer.
    HRESULT DoMixing_I(IZrFFrame& _frame, CCoZrItem* _pBackground, const ZR_AUD_PROPS& _output, int64_t _nClock,
                       bool _bBreak, const std::vector<MIX_SOUND>& _arrStreams, const XMLNodeBase& _mixer);
    // Of an output frame that is left out: its sound is, too.
    void Skip(const ZR_AUD_PROPS& _output, int64_t _nClock, const std::vector<MIX_SOUND>& _arrStreams);
    // Whether it would be a step if no other frame came: what was heard then ends in one more.
    bool EndsLoud();
    // A key of the mixer has been set: those of the streams are read again. Any thread.
    void OnKeys() { nKeysSet.fetch_add(1, std::memory_order_release); }
    // Nothing was heard before: what is held of the background is let go, and so are the streams of the pass before,
    // which would otherwise end in the next one. For a pass without sound, too.
    void Reset();

private:
    bool TakeBackground(IZrFFrame& _frame, CCoZrItem* _pItem, const XMLNodeBase& _mixer);
    void DropBackground();
    int64_t AddStream(ZrMixerStream& _stream, const ZR_AUD_PROPS& _output, int64_t _nSamples, double _dblGain);

    IStatisticsSink& statistics;
    const IStatisticsSink::Handle nBackgroundReset;
    StreamMix backgroundMix;
    ZrAudioBuffer2 background;
    SoundEdge backgroundEdge;
    bool bBackgroundBroken = false;  // what is held does not go on from what was heard
    SoundSum sum;
    std::vector<uint8_t> arrBlock;
    std::vector<CAutoObj<ZrMixerStream>> arrBefore;  // the streams of the frame before
    std::atomic<uint32_t> nKeysSet{0};
};

}  // namespace zr
