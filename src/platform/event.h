#pragma once
// Events and the waits on sets of them. Everything here is safe from any thread, allocates nothing, and runs on the
// clock of platform/clock.h.

#include <atomic>
#include <cstdint>
#include <initializer_list>
#include <span>

#include "platform/clock.h"

namespace zr {

struct WaitNode;

// What a thread can wait for. It must not be destroyed while a thread waits for it; it may be as soon as the wait, or
// the Set that ended the wait, has been seen by the destroying thread.
class Waitable {
public:
    Waitable(const Waitable&) = delete;
    Waitable& operator=(const Waitable&) = delete;

    // True if a wait would be served at once. Takes nothing.
    bool IsSet() const {
        return bSet.load(std::memory_order_acquire) ||
               (rtDue.load(std::memory_order_relaxed) != kNever && rtDue.load(std::memory_order_relaxed) <= ClockNow());
    }

protected:
    constexpr Waitable(bool _bAutoReset, bool _bSet) : bSet(_bSet), bAutoReset(_bAutoReset) {}
    ~Waitable();

private:
    friend class WaitEngine;

    // All below is written under the lock of the wait engine; the atomics are also read without it.
    WaitNode* pFirst = nullptr;  // the threads that wait for this, first come first served
    WaitNode* pLast = nullptr;
    std::atomic<int64_t> rtDue{kNever};  // of an armed timer
    int32_t nCount = 0;                  // of a CountdownEvent
    std::atomic<bool> bSet;
    const bool bAutoReset;  // served waits clear it
};

// Stays set until it is reset, and releases all.
class ManualEvent : public Waitable {
public:
    explicit constexpr ManualEvent(bool _bSet = false) : Waitable(false, _bSet) {}
    void Set();
    void Reset();
    // Releases the threads that wait now and leaves the event clear.
    void Pulse();
};

// Each Set releases one waiting thread, or the next one that comes; a Set of a set event is lost.
class AutoEvent : public Waitable {
public:
    explicit constexpr AutoEvent(bool _bSet = false) : Waitable(true, _bSet) {}
    void Set();
    void Reset();
    // Releases one thread if one waits, and leaves the event clear.
    void Pulse();
};

// Set while its count is zero, as it is at first. The thread that waits may destroy it at once.
class CountdownEvent : public Waitable {
public:
    constexpr CountdownEvent() : Waitable(false, true) {}
    void Add(int32_t _nCount = 1);
    void Done();
};

inline constexpr int32_t kWaitTimeout = -1;
inline constexpr size_t kMaxWaitObjects = 64;

// A set of waitables in the order in which they win; a null entry is never set. At most kMaxWaitObjects.
using WaitSet = std::span<Waitable* const>;

// Waits for one object of the set: returns the index of the first listed one that is set, and clears that one if it is
// an auto event, or kWaitTimeout. Waiting threads are served in the order in which they came; a thread is given its
// index at the moment of the Set, whatever is set or cleared before it runs.
// _rtTimeout: ticks, 0 tests only, negative waits without limit.
int32_t WaitAny(WaitSet _set, int64_t _rtTimeout);
int32_t WaitAnyUntil(WaitSet _set, int64_t _rtDeadline);
// The same for all objects of the set at once: true, and every auto event cleared, when all were set at one moment;
// nothing is cleared otherwise. Null entries do not count.
bool WaitAll(WaitSet _set, int64_t _rtTimeout);
bool WaitAllUntil(WaitSet _set, int64_t _rtDeadline);

inline int32_t WaitAny(std::initializer_list<Waitable*> _set, int64_t _rtTimeout) {
    return WaitAny(WaitSet(_set.begin(), _set.size()), _rtTimeout);
}
inline int32_t WaitAnyUntil(std::initializer_list<Waitable*> _set, int64_t _rtDeadline) {
    return WaitAnyUntil(WaitSet(_set.begin(), _set.size()), _rtDeadline);
}
inline bool WaitAll(std::initializer_list<Waitable*> _set, int64_t _rtTimeout) {
    return WaitAll(WaitSet(_set.begin(), _set.size()), _rtTimeout);
}
inline bool WaitAllUntil(std::initializer_list<Waitable*> _set, int64_t _rtDeadline) {
    return WaitAllUntil(WaitSet(_set.begin(), _set.size()), _rtDeadline);
}
// Waits for one object: false is timeout.
inline bool WaitOne(Waitable& _object, int64_t _rtTimeout) { return WaitAny({&_object}, _rtTimeout) == 0; }

// The message queue of a thread, as a wait that must keep serving it sees it.
class MessagePump {
public:
    virtual ~MessagePump() = default;
    // Set when messages have come.
    virtual Waitable& HasMessages() = 0;
    // Dispatches all that are queued, on the calling thread, and clears HasMessages().
    virtual void DispatchAll() = 0;
};

// WaitAny that dispatches the messages of _pump while it waits. After each dispatch the set is tested without a wait;
// the time spent in it counts, and when the time is up the result is kWaitTimeout. At most kMaxWaitObjects - 1 objects.
int32_t WaitAnyPumped(WaitSet _set, int64_t _rtTimeout, MessagePump& _pump);

}  // namespace zr
