#pragma once
// Several frames under way at once: while one is composed, the sources are asked for the next.

#include <atomic>
#include <memory>
#include <vector>

#include "framework/base_thread.h"
#include "mixer/sync_request.h"
#include "platform/event.h"
#include "platform/lock.h"

namespace zr {

// One frame, from the request of its sources to the finished frame.
struct FLIGHT {
    SyncRequest request;
    int64_t nCycle = 0;
    bool bFirst = false;
    FramePtr pFrame;  // null while it is not made, and when there is none to send
};

// Makes the frames; outlives their line.
class IFlightMaker {
public:
    // On the composing thread, one after another in the order of the requests.
    virtual void Compose(FLIGHT& _flight) = 0;

protected:
    ~IFlightMaker() = default;
};

// The line of frames and the thread that composes them. One thread, the mix thread, asks and takes out; the line keeps
// its memory.
class FramesInFlight {
public:
    explicit FramesInFlight(IFlightMaker& _maker) : maker(_maker) {}
    FramesInFlight(const FramesInFlight&) = delete;
    FramesInFlight& operator=(const FramesInFlight&) = delete;

    // Starts the thread unless it runs.
    HRESULT Start();
    // Ends it, which lets go of all frames. ZR_E_TIMEOUT: called on that thread, which is told to end; to be called
    // again. Not while the mix thread runs.
    HRESULT Stop();

    // Where the next request goes. It joins the line with Push.
    FLIGHT& Next();
    void Push();
    size_t Count() const;
    size_t CountDone() const;
    // Waits until the first of the line is made, and takes it out. False: _evStop was set first. Not of an empty line.
    bool TakeFirst(ManualEvent& _evStop, FramePtr* _ppFrame);

private:
    static void Run(void* _pThis, ThreadRun& _run);
    FLIGHT* FirstWaiting() const;
    void ComposeAll(ThreadRun& _run);
    void Clear();

    IFlightMaker& maker;
    mutable Mutex mtx;                                                // a leaf
    std::vector<std::unique_ptr<FLIGHT>> arrLine ZR_GUARDED_BY(mtx);  // those that are done, then the others
    size_t nDone ZR_GUARDED_BY(mtx) = 0;
    std::vector<std::unique_ptr<FLIGHT>> arrFree;  // mix thread only; the last is the next
    AutoEvent evDone;
    CBaseThread thread{"zr-compose"};  // last: it goes first
};

}  // namespace zr
