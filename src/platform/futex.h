#pragma once
// The system's wait on a word, and the lock that the wait engine itself uses. For the sources of platform/ only: these
// waits are not seen by the virtual clock.

#include <atomic>
#include <cstdint>

#include "platform/lock.h"

namespace zr {

// Real monotonic time in ticks.
int64_t RealNow();

// Sleeps while _nWord is _nExpected, until it is woken or the real monotonic time reaches _rtDeadline (kNever: no
// limit). May return early. False only when the time is up.
bool FutexWait(std::atomic<uint32_t>& _nWord, uint32_t _nExpected, int64_t _rtDeadline);
// Wakes up to _nThreads that sleep on the word. Uses the address only: the word may be gone already.
void FutexWake(const std::atomic<uint32_t>* _pWord, int32_t _nThreads);

// For spins: tells the processor that this is one.
inline void CpuRelax() {
#if defined(__x86_64__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

// A mutex for sections of well below a microsecond: spins shortly, then sleeps.
class ZR_CAPABILITY("mutex") RawMutex {
public:
    constexpr RawMutex() = default;
    RawMutex(const RawMutex&) = delete;
    RawMutex& operator=(const RawMutex&) = delete;

    void Lock() ZR_ACQUIRE() {
        uint32_t nFree = 0;
        if (!nWord.compare_exchange_strong(nFree, 1, std::memory_order_acquire, std::memory_order_relaxed)) LockSlow();
    }
    void Unlock() ZR_RELEASE() {
        if (nWord.exchange(0, std::memory_order_release) == 2) FutexWake(&nWord, 1);
    }

private:
    void LockSlow();

    std::atomic<uint32_t> nWord{0};  // 0 free, 1 held, 2 held and others may sleep
};

class ZR_SCOPED_CAPABILITY RawLock {
public:
    explicit RawLock(RawMutex& _mtx) ZR_ACQUIRE(_mtx) : mtx(_mtx) { mtx.Lock(); }
    ~RawLock() ZR_RELEASE() { mtx.Unlock(); }
    RawLock(const RawLock&) = delete;
    RawLock& operator=(const RawLock&) = delete;

private:
    RawMutex& mtx;
};

// Tries _take in a short spin; true when it succeeded. A sleep and a wake cost several microseconds, the sections that
// are waited for cost well below one.
template <class Take>
bool SpinToTake(const std::atomic<uint32_t>& _nWord, Take _take) {
    for (int32_t i = 0; i < 64; ++i) {
        CpuRelax();
        if (_nWord.load(std::memory_order_relaxed) == 0 && _take()) return true;
    }
    return false;
}

}  // namespace zr
