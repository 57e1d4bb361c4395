#include "platform/rw_lock.h"

#include <benchmark/benchmark.h>

#include <shared_mutex>

namespace zr {
namespace {

void BM_Platform_RWReadEnterLeave(benchmark::State& _state) ZR_NO_THREAD_SAFETY_ANALYSIS {
    CRWSynchroLiteRW lock;
    for (auto _ : _state) {
        lock.EnterRead();
        lock.LeaveRead();
    }
}
BENCHMARK(BM_Platform_RWReadEnterLeave);

void BM_Platform_RWReadEnterLeaveVirtual(benchmark::State& _state) ZR_NO_THREAD_SAFETY_ANALYSIS {
    CRWSynchroLiteRW lock;
    CRWSynchroLiteBase* pLock = &lock;
    benchmark::DoNotOptimize(pLock);
    for (auto _ : _state) {
        pLock->EnterRead();
        pLock->LeaveRead();
    }
}
BENCHMARK(BM_Platform_RWReadEnterLeaveVirtual);

// While the thread already reads so many other locks.
void BM_Platform_RWReadEnterLeaveBelow(benchmark::State& _state) ZR_NO_THREAD_SAFETY_ANALYSIS {
    CRWSynchroLiteRW arrOuter[16], lock;
    const auto nOuter = static_cast<size_t>(_state.range(0));
    for (size_t i = 0; i < nOuter; ++i) arrOuter[i].EnterRead();
    for (auto _ : _state) {
        lock.EnterRead();
        lock.LeaveRead();
    }
    for (size_t i = nOuter; i-- > 0;) arrOuter[i].LeaveRead();
}
BENCHMARK(BM_Platform_RWReadEnterLeaveBelow)->Arg(2)->Arg(8)->Arg(16);

void BM_Platform_RWReadAgain(benchmark::State& _state) ZR_NO_THREAD_SAFETY_ANALYSIS {
    CRWSynchroLiteRW lock;
    lock.EnterRead();
    for (auto _ : _state) {
        lock.EnterRead();
        lock.LeaveRead();
    }
    lock.LeaveRead();
}
BENCHMARK(BM_Platform_RWReadAgain);

void BM_Platform_RWWriteEnterLeave(benchmark::State& _state) ZR_NO_THREAD_SAFETY_ANALYSIS {
    CRWSynchroLiteRW lock;
    for (auto _ : _state) {
        lock.EnterWrite("bench");
        lock.LeaveWrite();
    }
}
BENCHMARK(BM_Platform_RWWriteEnterLeave);

void BM_Platform_MTSingleEnterLeave(benchmark::State& _state) ZR_NO_THREAD_SAFETY_ANALYSIS {
    CMTSingleEx lock;
    for (auto _ : _state) {
        lock.Enter();
        lock.Leave();
    }
}
BENCHMARK(BM_Platform_MTSingleEnterLeave);

CRWSynchroLiteRW lockShared;
void BM_Platform_RWReadContended(benchmark::State& _state) ZR_NO_THREAD_SAFETY_ANALYSIS {
    for (auto _ : _state) {
        lockShared.EnterRead();
        lockShared.LeaveRead();
    }
}
BENCHMARK(BM_Platform_RWReadContended)->Threads(2);

// The standard library's lock, which no reader may enter again, for comparison.
void BM_Platform_StdSharedMutexRead(benchmark::State& _state) ZR_NO_THREAD_SAFETY_ANALYSIS {
    std::shared_mutex lock;
    for (auto _ : _state) {
        lock.lock_shared();
        lock.unlock_shared();
    }
}
BENCHMARK(BM_Platform_StdSharedMutexRead);

}  // namespace
}  // namespace zr
