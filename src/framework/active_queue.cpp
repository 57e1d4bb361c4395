#include "framework/active_queue.h"

#include <algorithm>

#include "platform/clock.h"

namespace zr {
namespace {

// The calls to owners that this thread is in, innermost first.
struct OWNER_CALL {
    const ActiveQueue* pQueue;
    const OWNER_CALL* pOuter;
};
thread_local const OWNER_CALL* pOwnerCalls = nullptr;

bool IsInOwnerCall(const ActiveQueue& _queue) {
    for (const OWNER_CALL* p = pOwnerCalls; p; p = p->pOuter)
        if (p->pQueue == &_queue) return true;
    return false;
}

}  // namespace

// A call of Put, from before it touches the queue until after.
class ActiveQueue::Putter {
public:
    explicit Putter(ActiveQueue& _queue) : evPutters(_queue.evPutters) { evPutters.Add(); }
    ~Putter() { evPutters.Done(); }

private:
    CountdownEvent& evPutters;
};

void ActiveQueue::StoreBounds_I(int32_t _nBound1, int32_t _nBound2) {
    nMin = std::min(_nBound1, _nBound2);
    nMax = std::max(_nBound1, _nBound2);
    if (pStatistics) {
        pStatistics->SetCount(nStatMax, nMax);
        pStatistics->SetCount(nStatMin, nMin);
    }
    CountChanged_I();
}

// After every change of the count or of the bounds.
void ActiveQueue::CountChanged_I() {
    if (const bool bRoom = !IsFull_I(); bRoom != evRoom.IsSet()) bRoom ? evRoom.Set() : evRoom.Reset();
    if (pStatistics) pStatistics->SetCount(nStatCurrent, nCount);
}

HRESULT ActiveQueue::Init(int32_t _nBound1, int32_t _nBound2, bool _bDropOldest) {
    // A run that is about to end would not see what is put from now on.
    if (const HRESULT hr = Stop(-1, nullptr); Failed(hr)) return hr;
    MutexLock lock(mtx);
    bDropOldest = _bDropOldest;
    bClosed = false;
    evClosed.Reset();
    StoreBounds_I(_nBound1, _nBound2);
    return S_OK;
}

void ActiveQueue::SetBounds(int32_t _nBound1, int32_t _nBound2) {
    bool bWake = false;
    {
        MutexLock lock(mtx);
        StoreBounds_I(_nBound1, _nBound2);
        bWake = nCount > 0 && nCount >= nMin;
    }
    if (bWake) thread.Wake();
}

void ActiveQueue::SetStatistics(IStatisticsSink* _pSink) {
    const auto resolve = [_pSink](const char16_t* _szName) {
        return _pSink ? _pSink->Resolve(_szName) : IStatisticsSink::kNone;
    };
    const IStatisticsSink::Handle nHandleMax = resolve(u"buffer.max");
    const IStatisticsSink::Handle nHandleMin = resolve(u"buffer.min");
    const IStatisticsSink::Handle nHandleCurrent = resolve(u"buffer.current");
    const IStatisticsSink::Handle nHandleOverflow = resolve(u"buffer.overflow");
    MutexLock lock(mtx);
    pStatistics = _pSink;
    nStatMax = nHandleMax;
    nStatMin = nHandleMin;
    nStatCurrent = nHandleCurrent;
    nStatOverflow = nHandleOverflow;
    StoreBounds_I(nMin, nMax);
}

int32_t ActiveQueue::MaxSize() {
    MutexLock lock(mtx);
    return nMax;
}

int32_t ActiveQueue::MinSize() {
    MutexLock lock(mtx);
    return nMin;
}

int32_t ActiveQueue::Count() {
    MutexLock lock(mtx);
    return nCount;
}

// Putting

int32_t ActiveQueue::Put(void* _pItem, void* _pDropped, int64_t _rtTimeout, Waitable* _pEnd) {
    const Putter putter(*this);
    const int64_t rtDeadline = _rtTimeout > 0 ? DeadlineAfter(ClockNow(), _rtTimeout) : kNever;
    bool bMayWait = _rtTimeout != 0;
    for (;;) {
        int32_t nNow = -1;
        switch (TryPut(_pItem, _pDropped, bMayWait, nNow)) {
            case Attempt::Put: return nNow;
            case Attempt::NoThread:
                if (!StartThread()) return -1;
                break;
            case Attempt::Full: {
                // Room is for whoever comes first, so the next attempt may find the queue full again.
                const int32_t nSet = WaitAnyUntil({_pEnd, &evClosed, &evRoom}, rtDeadline);
                if (nSet == 0) return -1;
                bMayWait = nSet != kWaitTimeout;
                break;
            }
            case Attempt::Refused: TellOverflow(_pItem); return -1;
            case Attempt::Failed: return -1;
        }
    }
}

ActiveQueue::Attempt ActiveQueue::TryPut(void* _pItem, void* _pDropped, bool _bMayWait, int32_t& _nCount) {
    bool bWake = false;
    {
        MutexLock lock(mtx);
        if (bClosed) return Attempt::Failed;
        // An item without a thread would lie until the next put.
        if (!bThreadStarted) return Attempt::NoThread;
        if (IsFull_I()) {
            if (_bMayWait) return Attempt::Full;
            if (pStatistics) pStatistics->AddCount(nStatOverflow, 1);
            if (!bDropOldest) return Attempt::Refused;
            // One for one. What lowered bounds or an item that came back left over goes as the thread takes it.
            items.DropOldest(_pDropped);
            --nCount;
        }
        const bool bAppended = items.Append(_pItem);
        if (bAppended) _nCount = ++nCount;
        bWake = nCount >= nMin;
        CountChanged_I();
        if (!bAppended) return Attempt::Failed;
    }
    if (bWake) thread.Wake();
    return Attempt::Put;
}

void ActiveQueue::TellOverflow(void* _pItem) {
    const OWNER_CALL call{this, pOwnerCalls};
    pOwnerCalls = &call;
    items.Overflow(_pItem);
    pOwnerCalls = call.pOuter;
}

bool ActiveQueue::StartThread() {
    MutexLock control(mtxControl);
    {
        MutexLock lock(mtx);
        if (bThreadStarted) return true;
        if (bClosed) return false;
    }
    if (Failed(thread.Start(this, &ActiveQueue::Run, {.nPriority = nPriorityWanted}))) return false;
    MutexLock lock(mtx);
    bThreadStarted = true;
    return true;
}

HRESULT ActiveQueue::Stop(int64_t _nTimeoutMs, MessagePump* _pPump) {
    {
        MutexLock control(mtxControl);
        MutexLock lock(mtx);
        bClosed = true;
        evClosed.Set();
    }
    const int64_t rtTimeout = _nTimeoutMs < 0 || _nTimeoutMs > kNever / kTicksPerMs ? -1 : _nTimeoutMs * kTicksPerMs;
    const int64_t rtDeadline = DeadlineAfter(ClockNow(), rtTimeout);
    const HRESULT hr = thread.Stop(_nTimeoutMs, _pPump);
    if (Failed(hr)) return hr;
    {
        MutexLock control(mtxControl);
        // Else the queue was opened and started again meanwhile.
        if (thread.IsRunning() == CBaseThread::kStopped) EndRun();
    }
    // Whoever still puts is on the way out, and touches the queue and its owner until there.
    if (IsInOwnerCall(*this)) return ZR_E_TIMEOUT;
    Waitable* const pPutters = &evPutters;
    const WaitSet set(&pPutters, 1);
    const int64_t rtLeft = rtTimeout < 0 ? -1 : std::max<int64_t>(rtDeadline - ClockNow(), 0);
    const int32_t nSet = _pPump ? WaitAnyPumped(set, rtLeft, *_pPump) : WaitAny(set, rtLeft);
    return nSet == kWaitTimeout ? ZR_E_TIMEOUT : hr;
}

// Without a thread. The items go one by one, so that they are let go outside the lock of the queue.
void ActiveQueue::EndRun() {
    for (;;) {
        {
            MutexLock lock(mtx);
            bThreadStarted = nCount > 0;
            if (!bThreadStarted) return;
            items.TakeOut();
            --nCount;
            CountChanged_I();
        }
        items.Release();
    }
}

// The thread

void ActiveQueue::Run(void* _pQueue, ThreadRun& _run) {
    ActiveQueue& queue = *static_cast<ActiveQueue*>(_pQueue);
    int32_t nPriority = queue.nPriorityWanted;
    SetCurrentThreadPriority(nPriority);
    while (_run.WaitWake()) {
        if (const int32_t nWanted = queue.nPriorityWanted; nWanted != nPriority) {
            nPriority = nWanted;
            SetCurrentThreadPriority(nPriority);
        }
        queue.ServeOne(_run);
    }
}

void ActiveQueue::ServeOne(ThreadRun& _run) {
    int32_t nLeft = 0;
    {
        MutexLock lock(mtx);
        if (nCount == 0) return;
        items.TakeOut();
        nLeft = --nCount;
        CountChanged_I();
    }
    if (nLeft > 0) _run.Wake();
    if (items.Serve(nLeft) != ZR_E_RETRY) {
        items.Release();
        return;
    }
    {
        MutexLock lock(mtx);
        items.PutBack();
        ++nCount;
        CountChanged_I();
    }
    _run.Wake();
}

}  // namespace zr
