#pragma once
// A named thread with an owner that stops and joins it.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/event.h"
#include "zr/status.h"

namespace zr {

struct ThreadOptions {
    int32_t nPriority = 0;  // -15 (idle) to 15 (time critical)
    bool bOnClock = true;   // false: the virtual clock does not wait for it (a watcher that blocks in system calls)
};

// Start, Join and Abandon belong to the owner, one at a time; meanwhile nobody else uses the object. The rest is safe
// from any thread.
class Thread {
public:
    // Runs on the new thread; _evStop belongs first into every wait of it. Lets no exception out.
    using Body = std::function<void(ManualEvent& _evStop)>;

    Thread() = default;
    // A thread that still runs here is a fault of its owner: it is reported (SetThreadFaultHandler), told to stop, and
    // waited for without limit. Destroyed by the thread itself, it is abandoned.
    ~Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    // Starts the thread; one that has ended is joined first. _szName is copied, up to 47 bytes.
    // ZR_E_WRONG_STATE: still running. E_OUTOFMEMORY, or the system's error as a status: no thread was made.
    HRESULT Start(const char* _szName, Body _body, ThreadOptions _options = {});
    // Sets the stop event; does nothing if there is no thread.
    void RequestStop();
    // Waits until the thread has ended, and lets go of it: true, also if there is none. False: _rtTimeout (as in
    // WaitAny) has passed, or the thread itself called, which would wait for ever.
    bool Join(int64_t _rtTimeout = -1);
    // Lets go of a thread that will not end. It keeps what it needs of itself; what its body refers to must live on.
    void Abandon();

    // Started and not ended yet.
    bool IsRunning() const;
    // Started and neither joined nor abandoned. The next five need that.
    bool IsJoinable() const { return pBlock != nullptr; }
    ManualEvent& StopEvent();
    // Set when the body has returned.
    Waitable& Finished();
    uint32_t Id() const;
    const char* Name() const;
    // Best effort: without the right to raise it the priority stays as it is.
    void SetPriority(int32_t _nPriority);

private:
    struct Block;
    std::shared_ptr<Block> pBlock;  // shared with the thread itself
};

// Reports a Thread that was destroyed while it ran. The default writes to the standard error. nullptr puts it back.
using ThreadFaultHandler = void (*)(const char* _szName, uint32_t _nId);
void SetThreadFaultHandler(ThreadFaultHandler _pHandler);

// The system's number for the calling thread.
uint32_t CurrentThreadId();
void SetCurrentThreadPriority(int32_t _nPriority);
// Name of a thread that Thread started or a ClockThread names; empty if unknown or ended.
std::string ThreadName(uint32_t _nId);

}  // namespace zr
