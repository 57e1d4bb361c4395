#pragma once
// Other processes: to learn that one has ended. They live in real time, whatever the clock.

#include <cstdint>
#include <memory>

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
    std::shared_ptr<ProcessWatcher> pWatcher;
    uint64_t nEntry = 0;
};

}  // namespace zr
