#pragma once
// The other processes that use an object, until they say that they are done or end.

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "platform/event.h"
#include "platform/lock.h"
#include "platform/process.h"
#include "platform/thread.h"

namespace zr {

// Any thread. A thread of its own watches for the ends; it is there from the first process on.
class ProcessTable {
public:
    ProcessTable() = default;
    ~ProcessTable();

    // S_FALSE: it was there, and is counted once more. ZR_E_NOT_FOUND: there is no such process.
    HRESULT Add(uint32_t _idProcess);
    // Counts down, and lets go of the process at 0. ZR_E_NOT_FOUND: it is not there.
    HRESULT Remove(uint32_t _idProcess);
    // Lets go of those that have ended. S_OK: some are left, and *_ppGone (may be null) is set when the last one goes;
    // it lives as long as the table. S_FALSE and null: none is.
    HRESULT Check(Waitable** _ppGone);

private:
    struct ENTRY {
        ManualEvent evEnded;  // before the watch, which sets it
        ProcessWatch watch;   // under mtx
        int32_t nUses = 1;    // under mtx
    };
    using EntryPtr = std::shared_ptr<ENTRY>;

    void Watch(ManualEvent& _evStop);
    std::vector<EntryPtr> Entries();

    ManualEvent evGone;
    AutoEvent evChanged;
    Mutex mtx;
    std::map<uint32_t, EntryPtr> mapProcesses ZR_GUARDED_BY(mtx);
    Thread thread;  // under mtx; last: it goes first
};

}  // namespace zr
