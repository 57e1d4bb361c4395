#include "framework/event_queue.h"

#include <utility>

namespace zr {
namespace {

void Drop(EVENT_ENTRY _entry) {
    if (_entry.pDone) _entry.pDone->Set();
}

}  // namespace

void EventQueue::Put(EVENT_ENTRY _entry) {
    EVENT_ENTRY oldest;  // ends without the lock
    {
        MutexLock lock(mtx);
        if (ring.Count() >= kMostEntries) oldest = Take_I();
        ring.Reserve(ring.Count() + 1);
        cbData += _entry.cbData;
        ring.PushBack(std::move(_entry));
    }
    evWake.Set();
    Drop(std::move(oldest));
}

bool EventQueue::Take(EVENT_ENTRY& _entry) {
    EVENT_ENTRY old = std::exchange(_entry, {});
    MutexLock lock(mtx);
    if (ring.Count() == 0) return false;
    _entry = Take_I();
    return true;
}

void EventQueue::Clear() {
    for (EVENT_ENTRY entry; Take(entry);) Drop(std::move(entry));
}

EVENT_ENTRY EventQueue::Take_I() {
    EVENT_ENTRY entry = ring.PopFront();
    cbData -= entry.cbData;
    return entry;
}

bool EventQueue::HasRoomForData() const {
    MutexLock lock(mtx);
    return cbData < kMostDataBytes;
}

size_t EventQueue::Count() const {
    MutexLock lock(mtx);
    return ring.Count();
}

}  // namespace zr
