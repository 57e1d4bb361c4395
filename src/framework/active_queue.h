#pragma once
// The state machine of an active queue: bounds, waits for room, its thread, its statistics. It knows of its items only
// how many there are; CDeqActive in framework/deq_active.h holds them.

#include <atomic>
#include <cstdint>

#include "framework/base_thread.h"
#include "framework/lock_order.h"
#include "framework/statistics_sink.h"
#include "platform/event.h"
#include "platform/lock.h"
#include "zr/status.h"

namespace zr {

// The items of an active queue. One item at a time is out: taken by the queue's thread and not yet done with.
class IActiveItems {
public:
    // Under the queue's lock:
    // Moves *_pItem to the end. False when memory is out, and the item stays where it is. Room for one more than that
    // is kept, for the item that is out.
    virtual bool Append(void* _pItem) = 0;
    // Moves the oldest to *_pInto.
    virtual void DropOldest(void* _pInto) = 0;
    // Moves the oldest out.
    virtual void TakeOut() = 0;
    // Moves the item that is out back to the front.
    virtual void PutBack() = 0;

    // Under no lock:
    // Gives the item that is out to the owner. _nLeft: items that remain.
    virtual HRESULT Serve(int32_t _nLeft) = 0;
    // Lets go of the item that is out.
    virtual void Release() = 0;
    // Tells the owner that *_pItem was refused.
    virtual void Overflow(void* _pItem) = 0;

protected:
    ~IActiveItems() = default;
};

class ActiveQueue {
public:
    // _szName: a literal, the name of the thread.
    ActiveQueue(const char* _szName, IActiveItems& _items) : items(_items), thread(_szName) {}

    HRESULT Init(int32_t _nBound1, int32_t _nBound2, bool _bDropOldest);
    void SetBounds(int32_t _nBound1, int32_t _nBound2);
    void SetStatistics(IStatisticsSink* _pSink);
    void SetPriority(int32_t _nPriority) { nPriorityWanted.store(_nPriority, std::memory_order_relaxed); }
    // Moves *_pItem into the queue, and what is dropped for it to *_pDropped, an empty item. Result as of
    // CDeqActive::Put.
    int32_t Put(void* _pItem, void* _pDropped, int64_t _rtTimeout, Waitable* _pEnd);
    HRESULT Stop(int64_t _nTimeoutMs, MessagePump* _pPump);

    int32_t MaxSize();
    int32_t MinSize();
    int32_t Count();

private:
    // What an attempt to put comes to.
    enum class Attempt { Put, NoThread, Full, Refused, Failed };
    class Putter;

    Attempt TryPut(void* _pItem, void* _pDropped, bool _bMayWait, int32_t& _nCount);
    void TellOverflow(void* _pItem);
    bool StartThread() ZR_EXCLUDES(mtxControl, mtx);
    static void Run(void* _pQueue, ThreadRun& _run);
    void ServeOne(ThreadRun& _run);
    void StoreBounds_I(int32_t _nBound1, int32_t _nBound2) ZR_REQUIRES(mtx);
    bool IsFull_I() const ZR_REQUIRES(mtx) { return nMax > 0 && nCount >= nMax; }
    void CountChanged_I() ZR_REQUIRES(mtx);
    void EndRun() ZR_REQUIRES(mtxControl) ZR_EXCLUDES(mtx);

    IActiveItems& items;
    std::atomic<int32_t> nPriorityWanted{0};
    ManualEvent evRoom{true};  // clear while full; changed under mtx
    ManualEvent evClosed;      // ends the waits for room
    CountdownEvent evPutters;  // counts the calls of Put that are under way

    Mutex mtxControl{lock_order::kActiveQueueControl};  // start of the thread against close; outside mtx
    Mutex mtx{lock_order::kActiveQueue};
    int32_t nMin ZR_GUARDED_BY(mtx) = 0;
    int32_t nMax ZR_GUARDED_BY(mtx) = 0;
    int32_t nCount ZR_GUARDED_BY(mtx) = 0;
    bool bDropOldest ZR_GUARDED_BY(mtx) = false;
    bool bClosed ZR_GUARDED_BY(mtx) = false;
    bool bThreadStarted ZR_GUARDED_BY(mtx) = false;  // changed under mtxControl too
    IStatisticsSink* pStatistics ZR_GUARDED_BY(mtx) = nullptr;
    IStatisticsSink::Handle nStatMax ZR_GUARDED_BY(mtx) = IStatisticsSink::kNone;
    IStatisticsSink::Handle nStatMin ZR_GUARDED_BY(mtx) = IStatisticsSink::kNone;
    IStatisticsSink::Handle nStatCurrent ZR_GUARDED_BY(mtx) = IStatisticsSink::kNone;
    IStatisticsSink::Handle nStatOverflow ZR_GUARDED_BY(mtx) = IStatisticsSink::kNone;

    CBaseThread thread;  // last: it goes first, while all it uses is there
};

}  // namespace zr
