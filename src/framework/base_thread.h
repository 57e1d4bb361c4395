#pragma once
// A thread object: one thread with a wake event, started and stopped from anywhere.

#include <atomic>
#include <cstdint>
#include <memory>
#include <string_view>

#include "framework/lock_order.h"
#include "platform/event.h"
#include "platform/lock.h"
#include "platform/thread.h"
#include "zr/status.h"

namespace zr {

// What a running procedure sees of its thread. Lives as long as the run.
class ThreadRun {
public:
    // False once a stop is wanted.
    bool IsWanted() const { return bRunFlag.load(std::memory_order_acquire); }
    // Waits for the next wake; false once a stop is wanted. Wakes that come before the wait are one wake.
    bool WaitWake() {
        WaitAny({&evStop, &evWake}, -1);
        return IsWanted();
    }
    // Any thread. A wake that is still to be taken stands for this one too.
    void Wake() {
        if (!evWake.IsSet()) evWake.Set();
    }

    // For waits on sets: the stop event goes first.
    ManualEvent& StopEvent() { return evStop; }
    AutoEvent& WakeEvent() { return evWake; }

private:
    friend class CBaseThread;

    uint32_t nId = 0;  // written before anyone else sees the run
    std::atomic<bool> bRunFlag{true};
    ManualEvent evStop;
    ManualEvent evEnded;
    AutoEvent evWake;
    Thread thread;  // under mtx of the thread object
};

// The owner stops it before it destroys it. All operations are safe from any thread.
class CBaseThread {
public:
    using Procedure = void (*)(void* _pOwner, ThreadRun& _run);
    // Ends of a run to wait for: set when the procedure has returned. Empty when there is no run.
    using Handle = std::shared_ptr<Waitable>;
    enum State : int32_t { kStopped = 0, kRunning = 1, kStopping = 2 };

    // _szName: a literal; names the thread in traces and debuggers.
    explicit CBaseThread(const char* _szName) : szName(_szName) {}
    // A thread that still runs here is a fault of its owner: it is reported on the standard error, then stopped without
    // limit. One that destroys its own object cannot wait for itself: it is told to stop and let go of. Its procedure
    // may go on with its ThreadRun until it returns, but nobody waits for that any more.
    ~CBaseThread();
    CBaseThread(const CBaseThread&) = delete;
    CBaseThread& operator=(const CBaseThread&) = delete;

    // Stops an old run without limit and starts _pProcedure on a new thread; _pOwner must outlive the run.
    // ZR_E_TIMEOUT: called on the thread itself. E_OUTOFMEMORY, or the system's error: no thread was made.
    HRESULT Start(void* _pOwner, Procedure _pProcedure, ThreadOptions _flags = {});
    // Whether there is a run, and whether a stop of it is wanted. _pHandle may be null.
    State IsRunning(Handle* _pHandle = nullptr);
    // Ends the procedure's next or present wait for a wake. False when there is no run.
    bool Wake(Handle* _pHandle = nullptr);
    // Asks the procedure to end and waits for that, serving _pPump (may be null) meanwhile: a thread that waits for the
    // caller's messages is not deadlocked. _nTimeoutMs: negative waits without limit.
    // 0: ended. 1: there was none. ZR_E_TIMEOUT: it still runs, and may be stopped again; also when a thread stops
    // itself. A thread is never killed: here that would leave its locks taken for ever and its objects half changed.
    HRESULT Stop(int64_t _nTimeoutMs, MessagePump* _pPump = nullptr);
    // From -15 (idle) to 15 (time critical); best effort. No effect when there is no run.
    void SetPriority(int32_t _nPriority);

private:
    using RunPtr = std::shared_ptr<ThreadRun>;
    // The run, if it has not ended; an ended one is joined and forgotten.
    RunPtr Current_I() ZR_REQUIRES(mtx);
    RunPtr FindCurrent() ZR_EXCLUDES(mtx);

    const char* const szName;
    Mutex mtx{lock_order::kThread};
    RunPtr pRun ZR_GUARDED_BY(mtx);  // kept by waiters past its end, as they wait for its events
};

// A priority as keys give it ("15", "-2"): the number at the start of the text, held to -15 (idle) .. 15 (time
// critical); 0 (normal) for a text without one.
int32_t ThreadPriorityFromText(std::u16string_view _szText);

}  // namespace zr
