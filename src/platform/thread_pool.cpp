#include "platform/thread_pool.h"

#include <cstdio>
#include <string>

#include "platform/lock.h"
#include "platform/thread.h"

namespace zr {

struct ThreadPool::Impl {
    struct Worker {
        Thread thread;
        AutoEvent evWork;           // set once for each task that is given
        PoolTask* pTask = nullptr;  // given under mtx; null while idle
        Worker* pNextIdle = nullptr;
        Worker* pPrev = nullptr;  // in listWorkers or listEnded
        Worker* pNext = nullptr;
    };
    struct WorkerList {
        Worker* pFirst = nullptr;
        void Push(Worker& _worker) {
            _worker.pPrev = nullptr;
            _worker.pNext = pFirst;
            if (pFirst) pFirst->pPrev = &_worker;
            pFirst = &_worker;
        }
        void Remove(Worker& _worker) {
            (_worker.pPrev ? _worker.pPrev->pNext : pFirst) = _worker.pNext;
            if (_worker.pNext) _worker.pNext->pPrev = _worker.pPrev;
        }
    };

    Impl(const char* _szName, ThreadPoolLimits _limits) : name(_szName), limits(_limits) {}
    HRESULT Place(PoolTask* _pTask);
    HRESULT Grow(PoolTask* _pTask) ZR_REQUIRES(mtx);
    void Work(Worker& _worker, ManualEvent& _evStop);
    void Run(PoolTask* _pTask);
    PoolTask* NextTask(Worker& _worker);
    bool LeaveIfIdle(Worker& _worker);
    void JoinEnded();

    const std::string name;
    const ThreadPoolLimits limits;

    mutable Mutex mtx;
    WorkerList listWorkers ZR_GUARDED_BY(mtx);
    WorkerList listEnded ZR_GUARDED_BY(mtx);            // to be joined
    Worker* pIdle ZR_GUARDED_BY(mtx) = nullptr;         // a stack
    PoolTask* pFirstTask ZR_GUARDED_BY(mtx) = nullptr;  // the queue; empty while a thread is idle
    PoolTask* pLastTask ZR_GUARDED_BY(mtx) = nullptr;
    PoolTask* pFreeTasks ZR_GUARDED_BY(mtx) = nullptr;
    int32_t nThreads ZR_GUARDED_BY(mtx) = 0;
    int32_t nIdle ZR_GUARDED_BY(mtx) = 0;
    int32_t nStarted ZR_GUARDED_BY(mtx) = 0;  // for the names
    bool bClosing ZR_GUARDED_BY(mtx) = false;
    CountdownEvent evNoWorkers;  // counts listWorkers
};

// Gives the task to an idle thread, else to a new one, else to the queue.
HRESULT ThreadPool::Impl::Place(PoolTask* _pTask) {
    MutexLock lock(mtx);
    if (Worker* const pWorker = pIdle) {
        pIdle = pWorker->pNextIdle;
        --nIdle;
        pWorker->pTask = _pTask;
        lock.Unlock();
        pWorker->evWork.Set();  // it does not leave before it has seen this
        return S_OK;
    }
    if (nThreads < limits.nMaxThreads) {
        const HRESULT hr = Grow(_pTask);
        if (Succeeded(hr) || nThreads == 0) return hr;
    }
    (pLastTask ? pLastTask->pNext : pFirstTask) = _pTask;
    pLastTask = _pTask;
    return S_OK;
}

HRESULT ThreadPool::Impl::Grow(PoolTask* _pTask) {
    auto pWorker = std::unique_ptr<Worker>(new (std::nothrow) Worker);
    if (!pWorker) return E_OUTOFMEMORY;
    Worker* const pNew = pWorker.get();
    pNew->pTask = _pTask;
    char szName[48];
    std::snprintf(szName, sizeof(szName), "%s %d", name.c_str(), ++nStarted);
    // Under the lock, so that the thread cannot end, and be joined, before Start has returned.
    const HRESULT hr = pNew->thread.Start(szName, [this, pNew](ManualEvent& _evStop) { Work(*pNew, _evStop); });
    if (Failed(hr)) return hr;
    if (bClosing) pNew->thread.RequestStop();
    listWorkers.Push(*pWorker.release());
    evNoWorkers.Add();
    ++nThreads;
    return S_OK;
}

void ThreadPool::Impl::Work(Worker& _worker, ManualEvent& _evStop) {
    for (;;) {
        for (PoolTask* pTask = _worker.pTask; pTask; pTask = NextTask(_worker)) Run(pTask);
        if (WaitAny({&_evStop, &_worker.evWork}, limits.rtIdle) == 1) continue;
        if (LeaveIfIdle(_worker)) return;
        WaitOne(_worker.evWork, -1);  // a task was given at the last moment; its Set is on the way
    }
}

void ThreadPool::Impl::Run(PoolTask* _pTask) {
    TaskGroup* const pGroup = _pTask->pGroup;
    _pTask->pFinish(_pTask->arrBytes, true);
    {
        MutexLock lock(mtx);
        _pTask->pNext = pFreeTasks;
        pFreeTasks = _pTask;
    }
    if (pGroup) pGroup->evDone.Done();
}

// The next task of the queue; if there is none, the thread is idle from here on.
PoolTask* ThreadPool::Impl::NextTask(Worker& _worker) {
    MutexLock lock(mtx);
    PoolTask* const pTask = pFirstTask;
    if (pTask) {
        pFirstTask = pTask->pNext;
        if (!pFirstTask) pLastTask = nullptr;
        return pTask;
    }
    _worker.pTask = nullptr;
    _worker.pNextIdle = pIdle;
    pIdle = &_worker;
    ++nIdle;
    return nullptr;
}

// Takes the thread out of the pool, unless it was given a task at the last moment.
bool ThreadPool::Impl::LeaveIfIdle(Worker& _worker) {
    JoinEnded();  // so that at most the last one to leave stays to be joined
    MutexLock lock(mtx);
    if (_worker.pTask) return false;
    Worker** ppIdle = &pIdle;
    while (*ppIdle != &_worker) ppIdle = &(*ppIdle)->pNextIdle;
    *ppIdle = _worker.pNextIdle;
    --nIdle;
    --nThreads;
    listWorkers.Remove(_worker);
    listEnded.Push(_worker);
    evNoWorkers.Done();
    return true;
}

void ThreadPool::Impl::JoinEnded() {
    for (;;) {
        std::unique_ptr<Worker> pEnded;
        {
            MutexLock lock(mtx);
            pEnded.reset(listEnded.pFirst);
            if (!pEnded) return;
            listEnded.Remove(*pEnded);
        }
        pEnded->thread.Join();
    }
}

ThreadPool::ThreadPool(const char* _szName, ThreadPoolLimits _limits)
    : pImpl(std::make_unique<Impl>(_szName, _limits)) {}

ThreadPool::~ThreadPool() {
    {
        MutexLock lock(pImpl->mtx);
        pImpl->bClosing = true;
        for (auto* p = pImpl->listWorkers.pFirst; p; p = p->pNext) p->thread.RequestStop();
    }
    WaitOne(pImpl->evNoWorkers, -1);
    pImpl->JoinEnded();
    while (PoolTask* const pTask = pImpl->pFreeTasks) {
        pImpl->pFreeTasks = pTask->pNext;
        delete pTask;
    }
}

PoolTask* ThreadPool::NewTask() {
    {
        MutexLock lock(pImpl->mtx);
        if (PoolTask* const pTask = pImpl->pFreeTasks) {
            pImpl->pFreeTasks = pTask->pNext;
            return pTask;
        }
    }
    return new (std::nothrow) PoolTask;
}

HRESULT ThreadPool::SubmitTask(PoolTask* _pTask, TaskGroup* _pGroup) {
    _pTask->pGroup = _pGroup;
    _pTask->pNext = nullptr;
    if (_pGroup) _pGroup->evDone.Add();
    const HRESULT hr = pImpl->Place(_pTask);
    if (Succeeded(hr)) return S_OK;
    _pTask->pFinish(_pTask->arrBytes, false);
    if (_pGroup) _pGroup->evDone.Done();
    delete _pTask;
    return hr;
}

int32_t ThreadPool::ThreadCount() const {
    MutexLock lock(pImpl->mtx);
    return pImpl->nThreads;
}

int32_t ThreadPool::IdleCount() const {
    MutexLock lock(pImpl->mtx);
    return pImpl->nIdle;
}

ThreadPool& ThreadPool::Shared() {
    static ThreadPool pool("pool");
    return pool;
}

}  // namespace zr
