#pragma once
// The one place where threads wait and are released. For the sources of platform/ only.
//
// A thread that waits links one node into each object of its set, and sleeps on a word of its own. Whoever sets an
// object decides, under the one lock of the engine, which threads that releases and with which index: it unlinks all
// nodes of such a thread, takes what the wait takes (auto events), and stores the result. Only after the lock is
// released is the thread published: its word is written and it is woken. So a wake is never lost or doubled, the first
// in the queue is served first, and nobody touches an object after the threads it released may have destroyed it.
// Timers are due times that a waiting thread folds into its own timed sleep; the first thread that looks after the due
// time sets the timer like an event.
// On the virtual clock a counted thread that is decided becomes ready instead, and is published when its turn comes.

#include <atomic>
#include <cstdint>
#include <string>

#include "platform/event.h"
#include "platform/futex.h"

namespace zr {

struct ThreadState;

// A waiting thread's place in the queue of one object.
struct WaitNode {
    Waitable* pObject;
    ThreadState* pThread;
    WaitNode* pPrev;
    WaitNode* pNext;
};

// Doubly linked list of threads. Which one a thread is in is said by its state.
struct ThreadList {
    ThreadState* pFirst = nullptr;
    ThreadState* pLast = nullptr;
    void PushBack(ThreadState& _thread);
    void Remove(ThreadState& _thread);
};

// What the engine knows of a thread. Threads that Thread starts own theirs; any other has a thread-local one.
struct ThreadState {
    // kAwake when no wait is under way or the wait has ended; the thread itself writes kWaiting and kSleeping.
    static constexpr uint32_t kAwake = 0, kWaiting = 1, kSleeping = 2, kKicked = 3;
    std::atomic<uint32_t> nWord{kAwake};

    // Below: under the engine's lock, except that a waiting thread reads nResult after its word says it is awake.
    enum class Doing : uint8_t { Running, Waiting, Ready };
    Doing eDoing = Doing::Running;
    bool bListed = false;   // reachable from WaitEngine::pFirstListed
    bool bCounted = false;  // the virtual clock waits for it
    bool bOutside = false;  // counted, but in a ClockBlockingCall
    bool bAll = false;
    int32_t nResult = 0;
    WaitSet set;                   // what it waits for
    WaitNode* pNodes = nullptr;    // one for each object of the set
    const void* pMutex = nullptr;  // the word of the lock it waits for
    int64_t rtDeadline = kNever;
    int64_t rtWake = kNever;       // the deadline and the due times of the timers in the set: when it must look
    ThreadState* pPrev = nullptr;  // in the waiting, ready or publishing list
    ThreadState* pNext = nullptr;
    ThreadState* pPrevListed = nullptr;
    ThreadState* pNextListed = nullptr;

    std::atomic<uint32_t> nId{0};  // the system's number, 0 until the thread runs; written by the thread
    char szName[48] = "";

    void SetId();  // for the calling thread's own
};

class WaitEngine {
public:
    static WaitEngine& Get();
    static ThreadState& Self();
    static void BindSelf(ThreadState* _pState);  // what Self() returns on this thread from now on; nullptr: its own

    // Waits. The result is an index, 0 for all, or kWaitTimeout. A deadline of kPoll or in the past tests only.
    static constexpr int64_t kPoll = std::numeric_limits<int64_t>::min();
    int32_t Wait(WaitSet _set, bool _bAll, int64_t _rtDeadline);
    void Yield();

    // Objects.
    void Set(Waitable& _object);
    void Reset(Waitable& _object);
    void Pulse(Waitable& _object);
    void AddCount(Waitable& _object, int32_t _nCount);
    void Arm(Waitable& _object, int64_t _rtDue);  // kNever disarms
    void CheckUnused(Waitable& _object);

    // Threads. A new thread is listed by its maker, so that it counts from then on, and calls AwaitTurn first of all.
    void ListNew(ThreadState& _thread, const char* _szName, bool _bCounted);
    void AwaitTurn(ThreadState& _thread) { Sleep(_thread, kNever); }
    void Unlist(ThreadState& _thread, Waitable* _pevFinished);  // sets the event, which may be null
    // For the calling thread.
    void ListSelf(const char* _szName);
    void SetCounted(bool _bCounted, bool _bOutside);
    std::string NameOf(uint32_t _nId);
    std::string Describe();

    // Waits of locks on the virtual clock. ParkOnMutex waits until UnparkFromMutex for that word, if the word still has
    // the contended value; it may return early. False: not on the virtual clock, sleep on the word. Whoever writes the
    // word does so sequentially consistently, and wakes both those that sleep and one that is parked.
    bool ParkOnMutex(std::atomic<uint32_t>& _nWord, uint32_t _nContended);
    void UnparkFromMutex(const std::atomic<uint32_t>* _pWord);

    // The clock.
    int64_t Now() const {
        const int64_t rt = rtVirtual.load(std::memory_order_relaxed);
        return rt == kRealClock ? RealNow() : rt;
    }
    bool IsVirtual() const { return rtVirtual.load() != kRealClock; }
    int64_t VirtualWallOffset() const { return rtWallOffset.load(std::memory_order_relaxed); }
    void Install(uint64_t _nSeed, int64_t _rtStart, int64_t _rtWallStart);
    void Remove();
    bool IsStalled();
    std::atomic<void (*)(const char*)> pStallHandler{nullptr};

private:
    static constexpr int64_t kRealClock = -1;
    class Scope;

    void Enqueue(ThreadState& _thread, int64_t _rtDeadline) ZR_REQUIRES(mtx);
    void Dequeue(ThreadState& _thread) ZR_REQUIRES(mtx);
    int32_t Take(WaitSet _set, bool _bAll) ZR_REQUIRES(mtx);
    void FireDue(WaitSet _set) ZR_REQUIRES(mtx);
    void Decide(ThreadState& _thread, int32_t _nResult) ZR_REQUIRES(mtx);
    void SetLocked(Waitable& _object) ZR_REQUIRES(mtx);
    void Expire(ThreadState& _thread) ZR_REQUIRES(mtx);
    static void UpdateWake(ThreadState& _thread);
    void MakeReady(ThreadState& _thread) ZR_REQUIRES(mtx);
    int64_t LookAgain(ThreadState& _self);
    void Kick(ThreadState& _thread) ZR_REQUIRES(mtx);
    void PassTurn() ZR_REQUIRES(mtx);
    ThreadState* TakeReady() ZR_REQUIRES(mtx);
    ThreadState* EarliestWaiter() ZR_REQUIRES(mtx);
    bool NoteStall() ZR_REQUIRES(mtx);
    static void Publish(ThreadState* _pFirst);
    void ReportStall();
    int32_t Sleep(ThreadState& _self, int64_t _rtWake);
    void ShiftDeadlines(int64_t _rtDelta) ZR_REQUIRES(mtx);

    RawMutex mtx;
    ThreadList listWaiting ZR_GUARDED_BY(mtx);  // in the order in which they began to wait
    ThreadList listReady ZR_GUARDED_BY(mtx);    // virtual clock: decided, not yet published
    ThreadList listPublish ZR_GUARDED_BY(mtx);  // emptied at the end of each Scope
    ThreadState* pFirstListed ZR_GUARDED_BY(mtx) = nullptr;
    int32_t nRunning ZR_GUARDED_BY(mtx) = 0;  // virtual clock: counted threads that run
    int32_t nReady ZR_GUARDED_BY(mtx) = 0;
    uint64_t nShuffle ZR_GUARDED_BY(mtx) = 0;  // state of the shuffle, 0 for none
    bool bStalled ZR_GUARDED_BY(mtx) = false;
    bool bStallReported ZR_GUARDED_BY(mtx) = false;
    std::atomic<int64_t> rtVirtual{kRealClock};  // written under mtx
    std::atomic<int64_t> rtWallOffset{0};        // wall time less monotonic time, on the virtual clock
};

}  // namespace zr
