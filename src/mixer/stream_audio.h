#pragma once
// The sound of one stream: what its frames brought, until the audio mix takes it.

#include <cstdint>
#include <string>

#include "framework/lock_order.h"
#include "framework/statistics_sink.h"
#include "platform/event.h"
#include "platform/lock.h"
#include "sources/sample_queue.h"
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
    ZR_VID_PROPS vidOutput;
    ZR_AUD_PROPS audOutput;
};

// The producer puts, the mix thread takes; control calls clear.
class StreamAudio {
public:
    // _id: of the stream; its counters are "audio.<id>.<what>". _statistics outlives it.
    StreamAudio(const std::u16string& _id, IStatisticsSink& _statistics);

    // Takes the sound of a frame, or notes that it has none.
    void Put(const STREAM_SOUND& _sound);
    // The stream goes on after a pause: its next frame is led in by silence, where sound and picture may drift.
    void MarkResumed();
    // Drops what is held and sets both events: nobody is to wait for a stream that has ended.
    void Clear();

    // For the audio mix. Held for the take of one block.
    Mutex mtx{lock_order::kStreamAudio};
    SampleQueue ring ZR_GUARDED_BY(mtx);
    ZR_AUD_PROPS ringProps ZR_GUARDED_BY(mtx);  // of what the ring holds
    // After a take: the events follow what is left. _rtFrame: duration of an output frame in ticks.
    void OnTaken(int64_t _rtFrame) ZR_REQUIRES(mtx) { UpdateEvents(_rtFrame); }
    void CountNotEnough() { statistics.AddCount(counters.nNotEnough, 1); }
    void CountSilence() { statistics.AddCount(counters.nSilence, 1); }

    // How much sound is held, in ticks. Any thread.
    int64_t HeldTime() {
        MutexLock lock(mtx);
        return Held();
    }
    // Whether a put of such sound goes into the ring.
    static bool IsUsable(const STREAM_SOUND& _sound);

    ManualEvent& WantedEvent() { return evWanted; }  // about a frame of sound is held
    ManualEvent& RoomEvent() { return evRoom; }      // clear while too much is held

private:
    struct COUNTERS {
        IStatisticsSink::Handle nDropOnBreak, nWrongSize, nFake, nOverflow, nReset, nNotEnough, nSilence;
    };

    void PutSamples(const STREAM_SOUND& _sound, int64_t _rtFrame) ZR_REQUIRES(mtx);
    int64_t Padding(const STREAM_SOUND& _sound, int64_t _rtFrame) const ZR_REQUIRES(mtx);
    void Append(const STREAM_SOUND& _sound, const uint8_t* _p, int64_t _nSamples) ZR_REQUIRES(mtx);
    int64_t Held() const ZR_REQUIRES(mtx);
    void UpdateEvents(int64_t _rtFrame) ZR_REQUIRES(mtx);

    IStatisticsSink& statistics;
    const COUNTERS counters;
    ManualEvent evWanted;
    ManualEvent evRoom{true};
    bool bResumed ZR_GUARDED_BY(mtx) = false;
};

}  // namespace zr
