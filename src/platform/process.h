#pragma once
// Other processes: to start one, to end one, to learn that one has ended, to ask which program one runs.
//
// Other processes live in real time. A wait for one with a limit is of little use on the virtual clock.

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "platform/descriptor.h"
#include "platform/event.h"
#include "platform/status.h"

namespace zr {

class ProcessWatcher;

// Sets an event when a process of the machine ends, whoever started it. All watches share one thread, which runs while
// there is at least one. One thread at a time uses a watch.
class ProcessWatch {
public:
    ProcessWatch() = default;
    ~ProcessWatch() { End(); }
    ProcessWatch(const ProcessWatch&) = delete;
    ProcessWatch& operator=(const ProcessWatch&) = delete;

    // Begins to watch, in place of the process watched before. _evEnded must live until End; it is set once, also when
    // the process has ended already but is still known to the system. ZR_E_NOT_FOUND: there is no such process.
    HRESULT Begin(uint32_t _idProcess, ManualEvent& _evEnded);
    // Stops watching. The event is not touched any more.
    void End();

private:
    friend class ChildProcess;
    HRESULT Begin(Descriptor _process, ManualEvent& _evEnded);

    std::shared_ptr<ProcessWatcher> pWatcher;
    uint64_t nEntry = 0;
};

// A process that this one started. It does not outlive the object. One thread at a time, but anyone may wait for
// Ended().
class ChildProcess {
public:
    ChildProcess() = default;
    ~ChildProcess() { Close(); }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Starts _arguments[0], the path of a program, with the others as its arguments; no shell sees them. The child has
    // our environment, our output and no input, and none of our other files. A child from before is closed first.
    // E_INVALIDARG: no program, or a zero inside an argument. ZR_E_NOT_FOUND_FILE: there is no such program. Otherwise
    // the status of the system's error.
    HRESULT Start(std::span<const std::u16string> _arguments);
    // Ends it at once, whatever it does; the end shows in Ended() soon after.
    void Kill();
    // Ends it if it runs, waits until it is gone, and forgets it.
    void Close();

    // 0 when there is none.
    uint32_t Id() const { return id; }
    // Set when the child has ended.
    Waitable& Ended() { return evEnded; }
    // S_OK: the child has ended, or there is none. ZR_E_TIMEOUT: it still runs after _rtTimeout (as in WaitAny).
    HRESULT Wait(int64_t _rtTimeout);
    // How the ended child ended: its exit code, minus the number of the signal that killed it, or kUnknownExit while it
    // runs and when another part of the process has taken the answer from the system.
    int32_t ExitCode();
    static constexpr int32_t kUnknownExit = INT32_MIN;

private:
    uint32_t id = 0;
    Descriptor process;
    ManualEvent evEnded;
    ProcessWatch watch;
    int32_t nExitCode = kUnknownExit;
};

// Whether there is such a process and it has not ended.
bool ProcessRuns(uint32_t _idProcess);
// The file that a process runs, with its folder; empty when there is no such process or it is not ours to know.
std::u16string ExecutablePath(uint32_t _idProcess);
// The same without the folder.
std::u16string ExecutableName(uint32_t _idProcess);

}  // namespace zr
