#pragma once
// The sound of one stream: what its frames brought, until the audio mix takes it.

#include <cstdint>
#include <string>
#include <vector>

#include "audio/audio_buffer2.h"
#include "audio/drift_control.h"
#include "audio/sound_block.h"
#include "framework/lock_order.h"
#include "framework/statistics_sink.h"
#include "platform/lock.h"
#include "zr/records.h"

namespace zr {

// What the producer knows of a frame's sound.
struct STREAM_SOUND {
    ZR_AUD_PROPS props;
    const uint8_t* pbAudio = nullptr;
    int32_t cbAudio = 0;
    eZrFrameFlags eFlags = eZrFF_None;
    bool bHasVideo = false;
    bool bSync = true;
    double dblSourceRate = 0;  // frames per second
    bool bRateStep = false;    // the rate conversion has dropped or repeated a frame
    int64_t rtLater = 0;       // ticks that a picture waits for the next one before it is shown
    ZR_VID_PROPS vidOutput;
    ZR_AUD_PROPS audOutput;
};

// The producer puts, the mix thread takes; control calls clear.
class StreamAudio {
public:
    // _id: of the stream; its counters are "audio.<id>.<what>". _statistics outlives it.
    StreamAudio(const std::u16string& _id, IStatisticsSink& _statistics);
    // As that of the stream.
    void ReleaseNumbers();

    // Takes the sound of a frame, or notes that it has none.
    void Put(const STREAM_SOUND& _sound);
    // The stream goes on after a pause: its next frame is led in by silence, where sound and picture may drift.
    void MarkResumed();
    // Drops what is held.
    void Clear();

    // Mix thread. Up to _nSamples of each channel at the rate and bits of _output go to _arrMemory. Channels and tracks
    // are the stream's own. *_pbBroken: they do not go on from those that were taken before.
    SOUND_BLOCK Take(const ZR_AUD_PROPS& _output, int64_t _nSamples, std::vector<uint8_t>& _arrMemory, bool* _pbBroken);
    // Mix thread. Drops as much, of a frame that is left out.
    void Skip(const ZR_AUD_PROPS& _output, int64_t _nSamples);
    // Counts a block that had fewer samples than wanted, or none that is heard.
    void CountTaken(int64_t _nSamples, int64_t _nWanted) {
        if (_nSamples < _nWanted) statistics.AddCount(_nSamples == 0 ? counters.nSilence : counters.nNotEnough, 1);
    }
    // Samples of each channel that such a take would find.
    int64_t Held(const ZR_AUD_PROPS& _output);

    // How much sound is held above the silence that led it in, in ticks. Any thread.
    int64_t HeldTime();
    // Whether a put of such sound goes into the ring.
    static bool IsUsable(const STREAM_SOUND& _sound);

private:
    struct COUNTERS {
        IStatisticsSink::Handle nDropOnBreak, nWrongSize, nFake, nOverflow, nReset, nNotEnough, nSilence;
    };

    void PrepareConverter(const STREAM_SOUND& _sound) ZR_EXCLUDES(mtx);
    void PutSamples(const STREAM_SOUND& _sound, int64_t _rtFrame) ZR_REQUIRES(mtx);
    void Format(const ZR_AUD_PROPS& _props) ZR_REQUIRES(mtx);
    void Drop() ZR_REQUIRES(mtx);
    ZR_AUD_PROPS FormatFor(const ZR_AUD_PROPS& _output) const ZR_REQUIRES(mtx);
    void FollowClock(const STREAM_SOUND& _sound, int64_t _rtFrame, int64_t _nLimit) ZR_REQUIRES(mtx);
    int64_t Padding(const STREAM_SOUND& _sound, int64_t _rtFrame) const ZR_REQUIRES(mtx);

    Mutex mtx{lock_order::kStreamAudio};
    ZrAudioBuffer2 buffer ZR_GUARDED_BY(mtx);  // of the output's rate and bits, with the channels of the stream

    IStatisticsSink& statistics;
    const COUNTERS counters;
    bool bResumed ZR_GUARDED_BY(mtx) = false;
    int64_t nReserve ZR_GUARDED_BY(mtx) = 0;  // samples of silence that leads in; they do not count as held
    bool bBroken ZR_GUARDED_BY(mtx) = false;  // what is held does not go on from what was taken
    DriftControl drift ZR_GUARDED_BY(mtx);
    double dblScale ZR_GUARDED_BY(mtx) = 1;  // of the next block, against the drift of its clock
};

}  // namespace zr
