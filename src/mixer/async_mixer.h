#pragma once
// Asynchronous mixing: sources push their frames into the streams, each on a thread of its own, and a cycle takes what
// is ready there.

#include <cstdint>
#include <vector>

#include "framework/object_format.h"
#include "mixer/async_collect.h"
#include "mixer/async_pace.h"
#include "mixer/stream_table.h"
#include "mixer/sync_request.h"
#include "platform/event.h"
#include "platform/lock.h"

namespace zr {

// The thread that runs the cycle, but where it says otherwise.
class AsyncMixer {
public:
    // All outlive the mixer. _pObject: the node with its keys.
    AsyncMixer(const XMLNodePtr& _pObject, ObjectFormat& _format, StreamTable& _streams)
        : pObject(_pObject), format(_format), streams(_streams) {}

    // What a cycle begins with.
    struct CYCLE {
        FramePtr pFrameIn;             // the background's, null when the mixer makes its own
        bool bHolds = false;           // the mixer is paused: nobody is waited for by the pace
        bool bReceiverPaces = false;   // a receiver is the real clock
        ManualEvent* pStop = nullptr;  // ends the waits
    };
    // Finds the streams that are open and waits for those that the rules say. They are steps of the request then, which
    // has the format of the cycle too. ZR_E_RETRY: one that must be waited for is late. ZR_E_NOT_RUNNING: stopped.
    HRESULT Async_Request(const CYCLE& _cycle, SyncRequest& _request, bool* _pbLocked);
    // The pace begins anew. While nobody runs the cycle.
    void Reset();

    // What a put goes by at this moment, without what the item of the stream says. Any thread.
    STREAM_PUT Put() const;

private:
    void FindFormat(const CYCLE& _cycle, SyncRequest& _request);
    void PublishPut(const SyncRequest& _request);
    void Collect(SyncRequest& _request, bool _bOwnFrame);
    HRESULT Wait(const CYCLE& _cycle, const SyncRequest& _request, int64_t _rtFrame);
    HRESULT WaitAllOf(const std::vector<size_t>& _arr, const SyncRequest& _request, ManualEvent& _evStop,
                      int64_t _rtLimit) const;

    const XMLNodePtr pObject;
    ObjectFormat& format;
    StreamTable& streams;

    PaceHistory pace;
    std::vector<MIX_INPUT> arrInputs;
    std::vector<WAIT_INPUT> arrWaits;
    WAIT_LISTS lists;

    mutable Mutex mtxPut;  // a leaf
    STREAM_PUT put ZR_GUARDED_BY(mtxPut);
};

}  // namespace zr
