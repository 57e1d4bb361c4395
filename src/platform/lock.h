#pragma once
// The mutex of the library, the annotations by which Clang checks who may touch which field, and the lock-order check.
//
// A lock that may be held together with others is given a LockRank; the ranks stand in framework/lock_order.h, the
// outermost lock with the lowest number. In builds with ZR_LOCK_ORDER a thread that takes a ranked lock while it holds
// one of the same or a higher rank stops the program and names both. A lock taken with TryLock is not checked (it
// cannot wait), but what is taken under it is. Unranked locks are not looked at. Other builds carry none of this.

#include <atomic>
#include <cstdint>

#if defined(__clang__)
#define ZR_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define ZR_THREAD_ANNOTATION(x)
#endif
#define ZR_CAPABILITY(name) ZR_THREAD_ANNOTATION(capability(name))
#define ZR_SCOPED_CAPABILITY ZR_THREAD_ANNOTATION(scoped_lockable)
#define ZR_GUARDED_BY(mutex) ZR_THREAD_ANNOTATION(guarded_by(mutex))        // the field
#define ZR_PT_GUARDED_BY(mutex) ZR_THREAD_ANNOTATION(pt_guarded_by(mutex))  // what the field points to
#define ZR_REQUIRES(...) ZR_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define ZR_REQUIRES_SHARED(...) ZR_THREAD_ANNOTATION(requires_shared_capability(__VA_ARGS__))
#define ZR_EXCLUDES(...) ZR_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define ZR_ACQUIRE(...) ZR_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define ZR_ACQUIRE_SHARED(...) ZR_THREAD_ANNOTATION(acquire_shared_capability(__VA_ARGS__))
#define ZR_RELEASE(...) ZR_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define ZR_RELEASE_SHARED(...) ZR_THREAD_ANNOTATION(release_shared_capability(__VA_ARGS__))
#define ZR_RELEASE_GENERIC(...) ZR_THREAD_ANNOTATION(release_generic_capability(__VA_ARGS__))
#define ZR_TRY_ACQUIRE(...) ZR_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
#define ZR_TRY_ACQUIRE_SHARED(...) ZR_THREAD_ANNOTATION(try_acquire_shared_capability(__VA_ARGS__))
#define ZR_ASSERT_CAPABILITY(x) ZR_THREAD_ANNOTATION(assert_capability(x))
#define ZR_RETURN_CAPABILITY(x) ZR_THREAD_ANNOTATION(lock_returned(x))
#define ZR_NO_THREAD_SAFETY_ANALYSIS ZR_THREAD_ANNOTATION(no_thread_safety_analysis)

namespace zr {

// Place of a lock in the lock order. Rank 0 is unranked. The name is a literal.
struct LockRank {
    int32_t nRank = 0;
    const char* szName = "";
};

#ifdef ZR_LOCK_ORDER
inline constexpr bool kLockOrderChecked = true;
#else
inline constexpr bool kLockOrderChecked = false;
#endif

// The check itself, always compiled. Use the LockOrder... wrappers below, which cost nothing when it is off.
void CheckLockOrder(const LockRank& _rank);
void NoteLockTaken(const LockRank& _rank);
void NoteLockReleased(const LockRank& _rank);

// For every kind of lock, reader/writer locks included. Both sides of a reader/writer lock have its one rank; a
// re-entered side reports only its first entry and its last leave.
// Before a wait for the lock: checks, and notes the lock as held by this thread.
inline void LockOrderAcquire(const LockRank& _rank) {
    if constexpr (kLockOrderChecked) {
        CheckLockOrder(_rank);
        NoteLockTaken(_rank);
    }
}
// After a try that succeeded: notes it only.
inline void LockOrderTryAcquired(const LockRank& _rank) {
    if constexpr (kLockOrderChecked) NoteLockTaken(_rank);
}
// When the lock is released; any order of release is right.
inline void LockOrderRelease(const LockRank& _rank) {
    if constexpr (kLockOrderChecked) NoteLockReleased(_rank);
}

// Called instead of stopping the program; the lock is then taken all the same. nullptr puts the stop back. Returns the
// handler there was. For tests.
using LockOrderHandler = void (*)(const LockRank& _held, const LockRank& _wanted);
LockOrderHandler SetLockOrderHandler(LockOrderHandler _pHandler);

// A plain, not re-entrant mutex: one word, one atomic operation when free, a short spin and then sleep when not.
// On the virtual clock a thread that waits for it lets the others run.
class ZR_CAPABILITY("mutex") Mutex {
public:
    constexpr Mutex() = default;
#ifdef ZR_LOCK_ORDER
    explicit constexpr Mutex(const LockRank& _rank) : rank(_rank) {}
#else
    explicit constexpr Mutex(const LockRank&) {}
#endif
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void Lock() ZR_ACQUIRE() {
        LockOrderAcquire(Rank());
        if (!Take()) LockSlow();
    }
    bool TryLock() ZR_TRY_ACQUIRE(true) {
        if (!Take()) return false;
        LockOrderTryAcquired(Rank());
        return true;
    }
    void Unlock() ZR_RELEASE() {
        LockOrderRelease(Rank());
        // Sequentially consistent together with the clock's flag: see ParkOnMutex.
        if (nWord.exchange(kFree) == kContended) UnlockSlow();
    }

private:
    friend class WaitEngine;
    static constexpr uint32_t kFree = 0, kHeld = 1, kContended = 2;

#ifdef ZR_LOCK_ORDER
    const LockRank& Rank() const { return rank; }
    const LockRank rank{};
#else
    static constexpr LockRank Rank() { return {}; }
#endif
    bool Take() {
        uint32_t nExpected = kFree;
        return nWord.compare_exchange_strong(nExpected, kHeld, std::memory_order_acquire, std::memory_order_relaxed);
    }
    void LockSlow();
    void UnlockSlow();

    std::atomic<uint32_t> nWord{kFree};
};

// Holds a mutex for a scope; may be released and taken again inside it.
class ZR_SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Mutex& _mtx) ZR_ACQUIRE(_mtx) : mtx(_mtx) { mtx.Lock(); }
    ~MutexLock() ZR_RELEASE() {
        if (bHeld) mtx.Unlock();
    }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    void Unlock() ZR_RELEASE() {
        mtx.Unlock();
        bHeld = false;
    }
    void Lock() ZR_ACQUIRE() {
        mtx.Lock();
        bHeld = true;
    }

private:
    Mutex& mtx;
    bool bHeld = true;
};

}  // namespace zr
