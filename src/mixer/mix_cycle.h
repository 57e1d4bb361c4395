#pragma once
// The heart of the mixer: one pass makes one output frame from all that is on the mixer, and a thread repeats it.

#include <atomic>
#include <cstdint>

#include "audio/audio_calc.h"
#include "audio/audio_tracks.h"
#include "audio/frame_audio_keys.h"
#include "framework/base_thread.h"
#include "framework/event_sink.h"
#include "framework/object_format.h"
#include "framework/statistics_sink.h"
#include "mixer/async_mixer.h"
#include "mixer/async_producers.h"
#include "mixer/audio_mixer.h"
#include "mixer/draw_step.h"
#include "mixer/elapsed.h"
#include "mixer/frame_levels.h"
#include "mixer/frame_output.h"
#include "mixer/frames_in_flight.h"
#include "mixer/mix_clock.h"
#include "mixer/mixer_links.h"
#include "mixer/mixer_state.h"
#include "mixer/rate_meter.h"
#include "mixer/stream_table.h"
#include "mixer/sync_mixer.h"
#include "mixer/video_block.h"
#include "platform/event.h"
#include "scenes/scenes_set.h"

namespace zr {

// What the cycle works with; all outlive it.
struct MIX_PARTS {
    const ZrPropsHW& props;
    MixerState& state;
    ObjectFormat& format;
    StreamTable& streams;
    MixerLinks& links;
    BlockSet& blocks;
    ScenesSet& scenes;
    AudioTracks& tracks;
    IStatisticsSink& statistics;
    IEventSink& events;
    IFrameOutput& output;
    IUnknown& self;  // the mixer
};

class MixCycle final : private IProducerHost, private IFlightMaker {
public:
    explicit MixCycle(const MIX_PARTS& _parts);

    // Starts the mix thread and the producers unless they run, and has them begin with a first frame. Until the stop
    // the mixer works in the way that the keys say now.
    HRESULT Start();
    // Stops the threads, waiting without limit, and forgets clocks and sources. _events: for what that raises.
    void Stop(IEventSink& _events);
    // The next pass of a running thread begins at once. Any thread.
    void Wake() { thread.Wake(); }
    // A key of the mixer has been set. Any thread.
    void OnKeys() { audioMixer.OnKeys(); }
    // Set from Stop until the next Start: ends the waits of whoever works for the cycle.
    ManualEvent& StopEvent() { return evStop; }
    // Whether sources are asked for frames: of a mixer that runs as it was when it started, else by the keys. _nKind: 1
    // in parallel, 2 prepared in parallel, 3 with frames in flight; 0 the plain question.
    bool IsSynchronous(int32_t _nKind) const;
    // Whether an object can stand at one place of the mixer only, as its frames are pushed.
    bool HasOnePlace() const;

    // Held through a pass; whoever changes what is on the mixer takes it.
    Mutex mtxCycle{lock_order::kCycle};
    // Of asynchronous operation; whoever has changed the table updates them.
    AsyncProducers producers;

private:
    // What a pass works on. The thread that runs it only.
    struct PASS {
        FramePtr pFrame;
        AV_FORMAT props;
        ZR_TIME time;
        int64_t nCycle = 0;
        bool bFirst = false;
        MIX_STAMP stamp;
        bool bOwn = false;       // the cycle made the frame
        bool bBlack = false;     // it has no picture yet: what is drawn stands on black
        bool bMustCopy = false;  // the frame's picture is somebody else's as well
        bool bSkipped = false;
        bool bBaseBreak = false;  // the frame does not go on from the one before
        bool bLocked = false;
        bool bHasInputs = false;
        SyncRequest* pRequest = nullptr;
    };

    static void Run(void* _pCycle, ThreadRun& _run);
    void RunThread(ThreadRun& _run);
    HRESULT RunPass(const FramePtr& _pFrameIn, bool _bFirst, int64_t _nCycle, ManualEvent& _evStop);
    HRESULT DoMixing_I(const FramePtr& _pFrameIn, bool _bFirst, int64_t _nCycle);
    HRESULT MakeFrame(PASS& _pass, const FramePtr& _pBase);
    void EndPass(const PASS& _pass);
    void CountFailure(HRESULT _hr);

    // With frames in flight (mix_flights.cpp)
    HRESULT RunFlights(int64_t _nCycle);
    HRESULT AskForFlight(int64_t _nCycle);
    bool SendFlight();
    void PublishFlights(size_t _nMost);
    void Compose(FLIGHT& _flight) override;
    HRESULT Sync_DoMixing_I(FLIGHT& _flight);

    HRESULT TakePushed(PASS& _pass, const FramePtr& _pFrameIn);
    STREAM_PUT PutNow() const override { return async.Put(); }
    HRESULT DriveCycle(const FramePtr& _pFrame, ManualEvent& _evStop) override;
    bool GoesStraight() const;
    HRESULT MakeStraight(PASS& _pass, const FramePtr& _pFrame, bool _bStraight);
    HRESULT SendPass(PASS& _pass);
    bool StartsIt(const CCoZrItem& _item) const override;
    bool StartMissing();

    // That a thread which mixes has.
    struct THREAD_PRIORITY {
        int32_t nPriority = 0;
        uint32_t nThread = 0;  // the one that has it
    };
    void ApplyPriority(THREAD_PRIORITY& _priority);
    void AnnounceFrame();
    HRESULT TakeBaseFrame(PASS& _pass, const FramePtr& _pFrameIn);
    HRESULT MakeOwnFrame(PASS& _pass);
    void PrepareFrame(PASS& _pass);
    HRESULT Compose(PASS& _pass);
    void Stamp(PASS& _pass);
    void CollectStreams(PASS& _pass);
    void MarkConsumed(PASS& _pass);
    void DrawScene(PASS& _pass);
    HRESULT TakePicture(PASS& _pass, IZrFFrame* _pFrom);
    HRESULT TakeBlack(PASS& _pass);
    void MixAudio(PASS& _pass);
    void ProcessAudio(IZrFFrame& _frame);
    void FinishAudio(IZrFFrame& _frame);
    HRESULT FinishFrame(PASS& _pass);
    void EndTimedPause(const ZR_TIME& _time);
    void MarkFirst(PASS& _pass);

    MIX_PARTS parts;
    enum : int32_t { kByKeys = -1, kAsync = 0, kSync = 1 };

    SyncMixer sync;
    AsyncMixer async;
    std::atomic<int32_t> nWay{kByKeys};  // of a mixer that runs
    AutoEvent evDriver{true};            // taken by the thread that runs a pass: mix thread or background's producer
    SyncRequest request;                 // of the pass under way; its memory stays
    FramesInFlight flights;
    std::u16string flightsText, flightsShown;  // mix thread only: to publish, and as published
    MixClock clock;
    bool bOffLine ZR_GUARDED_BY(mtxCycle) = false;  // the last frame was stamped by its number, not by the clock
    bool bStraight = false;  // the last frame was the background's own; of the thread that runs a pass
    DrawStep draw;
    std::vector<DRAW_STREAM> arrDraw;  // of the pass
    FramePtr pBlack;                   // a picture of the output's record, for cycles that draw nothing
    AV_FORMAT formatOnAir;             // of the last pass with inputs
    ZrAudioCalc audioCalc;
    AudioMixer audioMixer;
    FrameAudioKeys audioKeys;
    FrameLevels frameLevels;
    bool bTracks = false;             // of the pass: its sound went through the tracks
    std::vector<MIX_SOUND> arrSound;  // of the pass
    RateMeter rateMeter;
    Elapsed cycleTimer;
    int64_t nFramesOut = 0;             // since the start; of the thread that runs a pass
    THREAD_PRIORITY priorityOfPass;     // of the thread that made the last pass
    THREAD_PRIORITY priorityOfFlights;  // of the mix thread beside it
    std::atomic<bool> bFirstFrame{false};
    ManualEvent evStop{true};

    const IStatisticsSink::Handle nMixCycle;
    const IStatisticsSink::Handle nSyncCycle;
    const IStatisticsSink::Handle nSyncFrames;
    const IStatisticsSink::Handle nMixAudio;
    const IStatisticsSink::Handle nMixOutput;
    const IStatisticsSink::Handle nMixFailed;
    const IStatisticsSink::Handle nInFlight;
    const IStatisticsSink::Handle nFpsMix;

    CBaseThread thread{"zr-mix"};  // last: it goes first
};

}  // namespace zr
