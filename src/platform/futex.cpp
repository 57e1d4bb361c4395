#include "platform/futex.h"

#include <cerrno>
#include <ctime>

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/clock.h"

namespace zr {

int64_t RealNow() {
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return ts.tv_sec * kTicksPerSecond + ts.tv_nsec / 100;
}

bool FutexWait(std::atomic<uint32_t>& _nWord, uint32_t _nExpected, int64_t _rtDeadline) {
    timespec ts;
    timespec* pTs = nullptr;
    if (_rtDeadline != kNever) {
        if (_rtDeadline <= 0) return false;
        ts.tv_sec = _rtDeadline / kTicksPerSecond;
        ts.tv_nsec = _rtDeadline % kTicksPerSecond * 100;
        pTs = &ts;
    }
    // The BITSET form takes an absolute time of the monotonic clock.
    const long nResult = syscall(SYS_futex, &_nWord, FUTEX_WAIT_BITSET | FUTEX_PRIVATE_FLAG, _nExpected, pTs, nullptr,
                                 FUTEX_BITSET_MATCH_ANY);
    return nResult == 0 || errno != ETIMEDOUT;
}

void FutexWake(const std::atomic<uint32_t>* _pWord, int32_t _nThreads) {
    syscall(SYS_futex, _pWord, FUTEX_WAKE | FUTEX_PRIVATE_FLAG, _nThreads, nullptr, nullptr, 0);
}

void RawMutex::LockSlow() {
    if (SpinToTake(nWord, [this] {
            uint32_t nFree = 0;
            return nWord.compare_exchange_strong(nFree, 1, std::memory_order_acquire, std::memory_order_relaxed);
        })) {
        return;
    }
    while (nWord.exchange(2, std::memory_order_acquire) != 0) FutexWait(nWord, 2, kNever);
}

}  // namespace zr
