#pragma once
// Synchronous mixing: each cycle asks every source for one frame and prepares it, before anything is composed.

#include <memory>
#include <vector>

#include "framework/event_sink.h"
#include "framework/object_format.h"
#include "framework/statistics_sink.h"
#include "mixer/request_step_runner.h"
#include "mixer/stream_table.h"
#include "mixer/sync_request.h"
#include "platform/event.h"
#include "platform/thread_pool.h"

namespace zr {

// Mix thread only, but where it says otherwise.
class SyncMixer {
public:
    // All outlive the mixer. _pObject: the node with its keys.
    SyncMixer(const XMLNodePtr& _pObject, ObjectFormat& _format, StreamTable& _streams, IStatisticsSink& _statistics,
              IEventSink& _events, IUnknown& _self);

    // Asks every source that is on the mixer, but those that all their users pause. S_FALSE: there are no sources.
    // _bHold: the mixer is paused, and sources are shown as they last were. Listeners of what came and went are told at
    // the end: they may have stopped the mixer.
    HRESULT Sync_Request(ManualEvent& _evStop, bool _bHold, SyncRequest& _request);
    // Prepares the frames of a request: those of streams are in the streams afterwards. *_ppBackground: the frame to
    // compose on, null without a background. *_pbMustCopy: it is not to be drawn on. Any one thread at a time.
    HRESULT Sync_Put(SyncRequest& _request, FramePtr* _ppBackground, bool* _pbMustCopy);
    // Lets go of all sources. While the mix thread does not run.
    void RemoveSources(IEventSink& _events);

private:
    void ReadKeys();
    SyncSource* FindOrAddSource(const ZrPtr<CCoZrItem>& _pItem, const SyncRequest& _request, IEventSink& _events);
    void AddStep(const MIX_INPUT& _input, SyncSource& _source, IUnknown* _pBackground, SyncRequest& _request);
    void AskForRate(SyncSource& _source, const SyncRequest& _request);
    void StartSource(SyncSource& _source);
    void WaitStarted(ManualEvent* _pevStop, int64_t _rtLimit);
    void GetAll(ManualEvent& _evStop, bool _bHold);
    void HandOut(SyncSource& _source);
    void StartGet(SyncSource& _source, ManualEvent& _evStop, bool _bAsync);
    void Get(SyncSource& _source, ManualEvent& _evStop);
    bool GetReady(SyncSource& _source);
    static HRESULT Ask(SyncSource& _source, int64_t _rtLimit, bool _bRenew, FramePtr& _pFrame);
    HRESULT AskAndWait(SyncSource& _source, ManualEvent& _evStop, FramePtr& _pFrame);
    static void Accept(SyncSource& _source, HRESULT _hr, FramePtr _pFrame);
    void StartPut(RequestStep& _step);
    void RemoveUnused(IEventSink& _events);
    void RemoveSource(SyncSource& _source, IEventSink& _events);
    void CompleteFormat(SyncRequest& _request);
    bool PrepareStep(RequestStep& _step, const SyncRequest& _request);

    const XMLNodePtr pObject;
    ObjectFormat& format;
    StreamTable& streams;
    IStatisticsSink& statistics;
    IEventSink& events;
    IUnknown& self;  // the mixer
    RequestStepRunner runner;

    const IStatisticsSink::Handle nTakeFrames;
    const IStatisticsSink::Handle nPutFrames;

    std::vector<std::unique_ptr<SyncSource>> arrSources;
    std::vector<MIX_INPUT> arrInputs;
    STREAM_PUT putKeys;                  // what all puts of a cycle go by
    bool bPaced = true;                  // the output keeps to its rate
    bool bOnAir = false;                 // frames have been asked for since the sources came
    bool bNewStarts = false;             // sources were started in this request
    std::vector<SyncSource*> arrReady;   // asked without the pool; within a request only
    std::vector<RequestStep*> arrQuick;  // run without the pool; within a put only
    TaskGroup groupGet;
    TaskGroup groupPut;
};

}  // namespace zr
