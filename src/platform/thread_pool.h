#pragma once
// Threads for tasks that may block, and row bands of pixel work.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "platform/event.h"
#include "zr/status.h"

namespace zr {

// Counts the tasks of a batch. Reusable; must outlive its tasks, and may be destroyed as soon as a wait has seen them
// done.
class TaskGroup {
public:
    // Waits until every task of the group has run: 1 done, 0 _pevStop (may be null) was set first, or kWaitTimeout.
    int32_t Wait(ManualEvent* _pevStop, int64_t _rtTimeout) { return WaitAny({_pevStop, &evDone}, _rtTimeout); }
    // For a set of one's own.
    Waitable& Done() { return evDone; }

private:
    friend class ThreadPool;
    CountdownEvent evDone;
};

// A callable that is kept without allocation: up to kBytes of captures.
class PoolTask {
public:
    static constexpr size_t kBytes = 64;

    PoolTask() = default;
    PoolTask(const PoolTask&) = delete;
    PoolTask& operator=(const PoolTask&) = delete;

    template <class F>
    void Put(F&& _f) {
        using T = std::decay_t<F>;
        static_assert(sizeof(T) <= kBytes && alignof(T) <= alignof(std::max_align_t), "too many captures for a task");
        new (arrBytes) T(std::forward<F>(_f));
        pFinish = [](void* _p, bool _bRun) {
            T& f = *static_cast<T*>(_p);
            if (_bRun) f();
            f.~T();
        };
    }

private:
    friend class ThreadPool;
    void (*pFinish)(void*, bool _bRun) = nullptr;  // runs the callable if asked, and destroys it
    TaskGroup* pGroup = nullptr;
    PoolTask* pNext = nullptr;
    alignas(std::max_align_t) std::byte arrBytes[kBytes];
};

struct ThreadPoolLimits {
    int32_t nMaxThreads = 128;
    int64_t rtIdle = 10 * kTicksPerSecond;  // a thread without work for so long ends
};

// A pool for tasks that may block: a task that finds no idle thread gets a new one, up to the maximum, and waits in a
// queue (first in, first out) beyond it. The thread that became idle last is used first, so the others can end.
class ThreadPool {
public:
    explicit ThreadPool(const char* _szName, ThreadPoolLimits _limits = {});
    // Runs what is queued, then stops and joins the threads.
    ~ThreadPool();
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    // Runs _f on a thread of the pool. _pGroup, which may be null, counts it. Any thread; allocates only while the pool
    // grows. E_OUTOFMEMORY, or the system's error: not taken, _f does not run.
    template <class F>
    HRESULT Submit(F&& _f, TaskGroup* _pGroup = nullptr) {
        PoolTask* pTask = NewTask();
        if (!pTask) return E_OUTOFMEMORY;
        pTask->Put(std::forward<F>(_f));
        return SubmitTask(pTask, _pGroup);
    }

    // Threads there are now, and how many of them have no work.
    int32_t ThreadCount() const;
    int32_t IdleCount() const;

    // The pool that the library shares.
    static ThreadPool& Shared();

private:
    struct Impl;
    PoolTask* NewTask();
    HRESULT SubmitTask(PoolTask* _pTask, TaskGroup* _pGroup);
    std::unique_ptr<Impl> pImpl;
};

// Calls _fn(nFirst, nEnd) for bands that cover the rows 0 to _nRows - 1, each once, in any order and on several
// threads, the calling one among them; returns when all are done. A band has at least _nMinRowsPerBand rows unless
// there are fewer. Several callers at once share the threads; a call from inside a band runs as one band where it is.
// _fn(int32_t, int32_t) must give the same rows however they are divided, must not wait, and throws nothing.
template <class F>
void ParallelRows(int32_t _nRows, int32_t _nMinRowsPerBand, F&& _fn);

// Threads that ParallelRows uses, the caller's among them: one per processor, or what was set last (1 to 64; 0 puts
// the default back). For the test of one thread against many.
int32_t RowThreads();
void SetRowThreads(int32_t _nThreads);

using RowBandFunction = void (*)(void* _pContext, int32_t _nFirst, int32_t _nEnd);
void ParallelRowBands(int32_t _nRows, int32_t _nMinRowsPerBand, RowBandFunction _pFunction, void* _pContext);

template <class F>
void ParallelRows(int32_t _nRows, int32_t _nMinRowsPerBand, F&& _fn) {
    using T = std::remove_reference_t<F>;
    ParallelRowBands(
        _nRows, _nMinRowsPerBand,
        [](void* _p, int32_t _nFirst, int32_t _nEnd) { (*static_cast<T*>(_p))(_nFirst, _nEnd); },
        const_cast<void*>(static_cast<const volatile void*>(std::addressof(_fn))));
}

}  // namespace zr
