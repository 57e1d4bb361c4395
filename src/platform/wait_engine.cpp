#include "platform/wait_engine.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <sched.h>
#include <unistd.h>

namespace zr {
namespace {

constinit WaitEngine engine;
constinit thread_local ThreadState tOwnState;
constinit thread_local ThreadState* tpState = nullptr;

[[noreturn]] void Fail(const char* _szWhat) {
    std::fprintf(stderr, "ZrMixer: %s (thread %u)\n", _szWhat, static_cast<unsigned>(gettid()));
    std::abort();
}

void Append(std::string& _text, const char* _szFormat, auto... _args) {
    char szLine[160];
    std::snprintf(szLine, sizeof(szLine), _szFormat, _args...);
    _text += szLine;
}

}  // namespace

void ThreadState::SetId() { nId = static_cast<uint32_t>(gettid()); }

void ThreadList::PushBack(ThreadState& _thread) {
    _thread.pPrev = pLast;
    _thread.pNext = nullptr;
    (pLast ? pLast->pNext : pFirst) = &_thread;
    pLast = &_thread;
}

void ThreadList::Remove(ThreadState& _thread) {
    (_thread.pPrev ? _thread.pPrev->pNext : pFirst) = _thread.pNext;
    (_thread.pNext ? _thread.pNext->pPrev : pLast) = _thread.pPrev;
}

// Holds the lock of the engine. At its end the turn is passed on if nobody has it, and the threads that were decided
// are published after the lock is released.
class ZR_SCOPED_CAPABILITY WaitEngine::Scope {
public:
    explicit Scope(WaitEngine& _engine) ZR_ACQUIRE(_engine.mtx) : e(_engine) { e.mtx.Lock(); }
    ~Scope() ZR_RELEASE() ZR_NO_THREAD_SAFETY_ANALYSIS {
        bool bReport = false;
        if (e.nRunning == 0 && e.IsVirtual()) {
            e.PassTurn();
            bReport = e.NoteStall();
        }
        ThreadState* const pPublish = e.listPublish.pFirst;
        e.listPublish = {};
        e.mtx.Unlock();
        Publish(pPublish);
        if (bReport) e.ReportStall();
    }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

private:
    WaitEngine& e;
};

WaitEngine& WaitEngine::Get() { return engine; }
ThreadState& WaitEngine::Self() { return tpState ? *tpState : tOwnState; }
void WaitEngine::BindSelf(ThreadState* _pState) { tpState = _pState; }

// Waiting

int32_t WaitEngine::Wait(WaitSet _set, bool _bAll, int64_t _rtDeadline) {
    if (_set.size() > kMaxWaitObjects) Fail("too many objects in a wait");
    WaitNode arrNodes[kMaxWaitObjects];  // not initialised on purpose
    ThreadState* pSelf = nullptr;
    int64_t rtWake = kNever;
    {
        Scope scope(*this);
        FireDue(_set);
        const int32_t nResult = Take(_set, _bAll);
        if (nResult >= 0) return nResult;
        if (_rtDeadline == kPoll || (_rtDeadline != kNever && _rtDeadline <= Now())) return kWaitTimeout;
        pSelf = &Self();
        pSelf->set = _set;
        pSelf->bAll = _bAll;
        pSelf->pNodes = arrNodes;
        Enqueue(*pSelf, _rtDeadline);
        if (!IsVirtual()) rtWake = pSelf->rtWake;
    }
    return Sleep(*pSelf, rtWake);
}

void WaitEngine::Yield() {
    ThreadState& self = Self();
    if (!IsVirtual() || !self.bCounted) {
        sched_yield();
        return;
    }
    {
        Scope scope(*this);
        if (!IsVirtual()) return;
        // As a wait for this very instant, it comes after the threads that are ready and those whose time has come.
        Enqueue(self, Now());
    }
    Sleep(self, kNever);
}

// Puts the thread into the queues of its set, and stops counting it as running.
void WaitEngine::Enqueue(ThreadState& _thread, int64_t _rtDeadline) {
    if (_thread.nId == 0) _thread.SetId();
    for (size_t i = 0; i < _thread.set.size(); ++i) {
        Waitable* const pObject = _thread.set[i];
        if (!pObject) continue;
        WaitNode& node = _thread.pNodes[i];
        node = {pObject, &_thread, pObject->pLast, nullptr};
        (pObject->pLast ? pObject->pLast->pNext : pObject->pFirst) = &node;
        pObject->pLast = &node;
    }
    _thread.rtDeadline = _rtDeadline;
    UpdateWake(_thread);
    _thread.eDoing = ThreadState::Doing::Waiting;
    _thread.nWord.store(ThreadState::kWaiting, std::memory_order_relaxed);
    listWaiting.PushBack(_thread);
    if (_thread.bCounted && IsVirtual()) --nRunning;
}

void WaitEngine::Dequeue(ThreadState& _thread) {
    for (size_t i = 0; i < _thread.set.size(); ++i) {
        Waitable* const pObject = _thread.set[i];
        if (!pObject) continue;
        const WaitNode& node = _thread.pNodes[i];
        (node.pPrev ? node.pPrev->pNext : pObject->pFirst) = node.pNext;
        (node.pNext ? node.pNext->pPrev : pObject->pLast) = node.pPrev;
    }
    _thread.set = {};
    _thread.pNodes = nullptr;
    _thread.pMutex = nullptr;
    listWaiting.Remove(_thread);
}

// Takes what a wait for the set takes, if it can be served now: its result, or -1.
int32_t WaitEngine::Take(WaitSet _set, bool _bAll) {
    const auto takeOne = [](Waitable& _object) {
        if (_object.bAutoReset) _object.bSet.store(false, std::memory_order_relaxed);
    };
    if (!_bAll) {
        for (size_t i = 0; i < _set.size(); ++i) {
            if (!_set[i] || !_set[i]->bSet.load(std::memory_order_relaxed)) continue;
            takeOne(*_set[i]);
            return static_cast<int32_t>(i);
        }
        return -1;
    }
    for (const Waitable* pObject : _set) {
        if (pObject && !pObject->bSet.load(std::memory_order_relaxed)) return -1;
    }
    for (Waitable* pObject : _set) {
        if (pObject) takeOne(*pObject);
    }
    return 0;
}

// Sets the timers of the set that are due.
void WaitEngine::FireDue(WaitSet _set) {
    for (Waitable* pObject : _set) {
        if (!pObject) continue;
        const int64_t rtDue = pObject->rtDue.load(std::memory_order_relaxed);
        if (rtDue == kNever || rtDue > Now()) continue;
        pObject->rtDue.store(kNever, std::memory_order_relaxed);
        SetLocked(*pObject);
    }
}

void WaitEngine::UpdateWake(ThreadState& _thread) {
    _thread.rtWake = _thread.rtDeadline;
    for (const Waitable* pObject : _thread.set) {
        if (!pObject) continue;
        const int64_t rtDue = pObject->rtDue.load(std::memory_order_relaxed);
        if (rtDue < _thread.rtWake) _thread.rtWake = rtDue;
    }
}

// Ends the wait of a thread.
void WaitEngine::Decide(ThreadState& _thread, int32_t _nResult) {
    Dequeue(_thread);
    _thread.nResult = _nResult;
    bStalled = false;
    if (_thread.bCounted && IsVirtual()) {
        MakeReady(_thread);
    } else {
        _thread.eDoing = ThreadState::Doing::Running;
        listPublish.PushBack(_thread);
    }
}

// What a waiting thread must do at its wake time: set the timers that are due, which may serve it, or end in timeout.
void WaitEngine::Expire(ThreadState& _thread) {
    FireDue(_thread.set);
    if (_thread.eDoing != ThreadState::Doing::Waiting) return;
    if (_thread.rtDeadline <= Now()) {
        Decide(_thread, kWaitTimeout);
    } else {
        UpdateWake(_thread);
    }
}

// Sleeps until the thread is published.
int32_t WaitEngine::Sleep(ThreadState& _self, int64_t _rtWake) {
    for (;;) {
        uint32_t nWord = _self.nWord.load(std::memory_order_acquire);
        if (nWord == ThreadState::kAwake) return _self.nResult;
        if (nWord == ThreadState::kWaiting) {
            if (!_self.nWord.compare_exchange_strong(nWord, ThreadState::kSleeping, std::memory_order_acquire))
                continue;
            nWord = ThreadState::kSleeping;
        }
        if (nWord == ThreadState::kKicked || !FutexWait(_self.nWord, nWord, _rtWake)) _rtWake = LookAgain(_self);
    }
}

// After a kick or at the wake time. Returns the next wake time.
int64_t WaitEngine::LookAgain(ThreadState& _self) {
    Scope scope(*this);
    uint32_t nKicked = ThreadState::kKicked;
    _self.nWord.compare_exchange_strong(nKicked, ThreadState::kWaiting);
    // If it is decided, whoever decided it is about to publish it.
    if (_self.eDoing != ThreadState::Doing::Waiting || IsVirtual()) return kNever;
    Expire(_self);
    return _self.eDoing == ThreadState::Doing::Waiting ? _self.rtWake : kNever;
}

// Makes a sleeping thread look at its wake time again.
void WaitEngine::Kick(ThreadState& _thread) {
    if (_thread.nWord.exchange(ThreadState::kKicked) == ThreadState::kSleeping) FutexWake(&_thread.nWord, 1);
}

void WaitEngine::Publish(ThreadState* _pFirst) {
    while (_pFirst) {
        ThreadState* const pNext = _pFirst->pNext;  // the thread may be gone after the next line
        std::atomic<uint32_t>* const pWord = &_pFirst->nWord;
        if (pWord->exchange(ThreadState::kAwake, std::memory_order_acq_rel) == ThreadState::kSleeping) {
            FutexWake(pWord, 1);
        }
        _pFirst = pNext;
    }
}

// Objects

void WaitEngine::Set(Waitable& _object) {
    Scope scope(*this);
    SetLocked(_object);
}

void WaitEngine::SetLocked(Waitable& _object) {
    _object.bSet.store(true, std::memory_order_release);
    WaitNode* pNode = _object.pFirst;
    while (pNode && _object.bSet.load(std::memory_order_relaxed)) {
        ThreadState& thread = *pNode->pThread;
        do {  // a thread may have listed the object twice; all its nodes go at once
            pNode = pNode->pNext;
        } while (pNode && pNode->pThread == &thread);
        const int32_t nResult = Take(thread.set, thread.bAll);
        if (nResult >= 0) Decide(thread, nResult);
    }
}

void WaitEngine::Reset(Waitable& _object) {
    Scope scope(*this);
    _object.bSet.store(false, std::memory_order_relaxed);
}

void WaitEngine::Pulse(Waitable& _object) {
    Scope scope(*this);
    SetLocked(_object);
    _object.bSet.store(false, std::memory_order_relaxed);
}

void WaitEngine::AddCount(Waitable& _object, int32_t _nCount) {
    Scope scope(*this);
    _object.nCount += _nCount;
    if (_object.nCount < 0) Fail("a countdown went below zero");
    if (_object.nCount == 0) {
        SetLocked(_object);
    } else {
        _object.bSet.store(false, std::memory_order_relaxed);
    }
}

void WaitEngine::Arm(Waitable& _object, int64_t _rtDue) {
    Scope scope(*this);
    Waitable* const pObject = &_object;
    FireDue(WaitSet(&pObject, 1));  // who waits for the time it was armed for has seen it pass
    _object.bSet.store(false, std::memory_order_relaxed);
    if (_rtDue != kNever && _rtDue <= Now()) {
        _object.rtDue.store(kNever, std::memory_order_relaxed);
        SetLocked(_object);
        return;
    }
    _object.rtDue.store(_rtDue, std::memory_order_relaxed);
    for (WaitNode* pNode = _object.pFirst; pNode; pNode = pNode->pNext) {
        ThreadState& thread = *pNode->pThread;
        const int64_t rtBefore = thread.rtWake;
        UpdateWake(thread);
        if (thread.rtWake < rtBefore && !IsVirtual()) Kick(thread);
    }
}

void WaitEngine::CheckUnused(Waitable& _object) {
    // Under the lock: a Set that is still at work on the object ends first.
    Scope scope(*this);
    if (_object.pFirst) Fail("an object was destroyed while a thread waits for it");
}

// Threads

void WaitEngine::ListNew(ThreadState& _thread, const char* _szName, bool _bCounted) {
    std::snprintf(_thread.szName, sizeof(_thread.szName), "%s", _szName);
    Scope scope(*this);
    _thread.bListed = true;
    _thread.bCounted = _bCounted;
    _thread.pPrevListed = nullptr;
    _thread.pNextListed = pFirstListed;
    if (pFirstListed) pFirstListed->pPrevListed = &_thread;
    pFirstListed = &_thread;
    if (_bCounted && IsVirtual()) MakeReady(_thread);
}

void WaitEngine::Unlist(ThreadState& _thread, Waitable* _pevFinished) {
    Scope scope(*this);
    if (_pevFinished) SetLocked(*_pevFinished);
    (_thread.pPrevListed ? _thread.pPrevListed->pNextListed : pFirstListed) = _thread.pNextListed;
    if (_thread.pNextListed) _thread.pNextListed->pPrevListed = _thread.pPrevListed;
    _thread.bListed = false;
    if (_thread.eDoing == ThreadState::Doing::Ready) {  // it was never started
        listReady.Remove(_thread);
        --nReady;
        _thread.eDoing = ThreadState::Doing::Running;
    } else if (_thread.bCounted && IsVirtual()) {
        --nRunning;
    }
    _thread.bCounted = false;
}

void WaitEngine::ListSelf(const char* _szName) {
    ThreadState& self = Self();
    self.SetId();
    ListNew(self, _szName, false);
}

void WaitEngine::SetCounted(bool _bCounted, bool _bOutside) {
    ThreadState& self = Self();
    if (self.bCounted == _bCounted) return;
    {
        Scope scope(*this);
        self.bCounted = _bCounted;
        self.bOutside = _bOutside;
        if (!IsVirtual()) return;
        if (_bCounted) {
            MakeReady(self);
        } else {
            --nRunning;
        }
    }
    if (_bCounted) Sleep(self, kNever);
}

std::string WaitEngine::NameOf(uint32_t _nId) {
    Scope scope(*this);
    for (const ThreadState* p = pFirstListed; p; p = p->pNextListed) {
        if (p->nId == _nId) return p->szName;
    }
    return {};
}

std::string WaitEngine::Describe() {
    Scope scope(*this);
    std::string text;
    const int64_t rtNow = Now();
    const auto describe = [&](const ThreadState& _thread) {
        Append(text, "%u \"%s\"%s: ", _thread.nId.load(), _thread.szName, _thread.bCounted ? "" : ", not counted");
        if (_thread.bOutside) text += "in a blocking call";
        if (_thread.eDoing == ThreadState::Doing::Ready) text += "ready";
        if (_thread.eDoing == ThreadState::Doing::Running && !_thread.bOutside) text += "runs";
        if (_thread.eDoing == ThreadState::Doing::Waiting) {
            if (_thread.pMutex) {
                Append(text, "waits for the mutex %p", _thread.pMutex);
            } else {
                Append(text, "waits for %s%zu objects", _thread.bAll ? "all of " : "", _thread.set.size());
            }
            if (_thread.rtWake == kNever) {
                text += " without limit";
            } else {
                Append(text, " for another %.4f s",
                       static_cast<double>(_thread.rtWake - rtNow) / static_cast<double>(kTicksPerSecond));
            }
        }
        text += '\n';
    };
    for (const ThreadState* p = pFirstListed; p; p = p->pNextListed) describe(*p);
    for (const ThreadState* p = listWaiting.pFirst; p; p = p->pNext) {
        if (!p->bListed) describe(*p);
    }
    return text;
}

// Mutexes on the virtual clock. Whoever releases a contended mutex writes its word first and then looks here; a thread
// parks only while the word still says contended. As both, and the test whether the clock is virtual, are sequentially
// consistent, one of the two sees the other.

bool WaitEngine::ParkOnMutex(std::atomic<uint32_t>& _nWord, uint32_t _nContended) {
    ThreadState& self = Self();
    if (!self.bCounted || !IsVirtual()) return false;
    {
        Scope scope(*this);
        if (!IsVirtual()) return false;
        if (_nWord.load() != _nContended) return true;
        self.pMutex = &_nWord;
        self.bAll = false;
        Enqueue(self, kNever);
    }
    Sleep(self, kNever);
    return true;
}

void WaitEngine::UnparkFromMutex(const std::atomic<uint32_t>* _pWord) {
    if (!IsVirtual()) return;
    Scope scope(*this);
    for (ThreadState* p = listWaiting.pFirst; p; p = p->pNext) {
        if (p->pMutex != _pWord) continue;
        Decide(*p, 0);
        return;
    }
}

// The virtual clock

void WaitEngine::MakeReady(ThreadState& _thread) {
    _thread.eDoing = ThreadState::Doing::Ready;
    if (_thread.nWord.load(std::memory_order_relaxed) == ThreadState::kAwake) {
        _thread.nWord.store(ThreadState::kWaiting, std::memory_order_relaxed);
    }
    listReady.PushBack(_thread);
    ++nReady;
}

// Gives the turn to a ready thread; when there is none, moves the time until there is. Threads that are due at the same
// instant come one by one, in the order in which they began to wait; if the turns are shuffled, all come at once.
void WaitEngine::PassTurn() {
    while (nRunning == 0) {
        if (ThreadState* const pReady = TakeReady()) {
            pReady->eDoing = ThreadState::Doing::Running;
            listPublish.PushBack(*pReady);
            ++nRunning;
            return;
        }
        ThreadState* pNext = EarliestWaiter();
        if (!pNext) return;
        if (pNext->rtWake > Now()) rtVirtual.store(pNext->rtWake);
        do {
            Expire(*pNext);
            pNext = nShuffle != 0 ? EarliestWaiter() : nullptr;
        } while (pNext && pNext->rtWake <= Now());
    }
}

ThreadState* WaitEngine::TakeReady() {
    if (nReady == 0) return nullptr;
    ThreadState* pThread = listReady.pFirst;
    if (nShuffle != 0 && nReady > 1) {
        nShuffle ^= nShuffle << 13;
        nShuffle ^= nShuffle >> 7;
        nShuffle ^= nShuffle << 17;
        for (uint64_t n = nShuffle % static_cast<uint64_t>(nReady); n > 0; --n) pThread = pThread->pNext;
    }
    listReady.Remove(*pThread);
    --nReady;
    return pThread;
}

ThreadState* WaitEngine::EarliestWaiter() {
    ThreadState* pEarliest = nullptr;
    int64_t rtEarliest = kNever;
    for (ThreadState* p = listWaiting.pFirst; p; p = p->pNext) {
        if (p->rtWake < rtEarliest) {
            pEarliest = p;
            rtEarliest = p->rtWake;
        }
    }
    return pEarliest;
}

// After PassTurn: true if this is the first time on this clock that nothing can go on by itself.
bool WaitEngine::NoteStall() {
    if (nRunning != 0) return false;
    bStalled = true;
    if (bStallReported || listPublish.pFirst) return false;
    for (const ThreadState* p = pFirstListed; p; p = p->pNextListed) {
        if (p->bOutside) return false;
    }
    bStallReported = true;
    return true;
}

void WaitEngine::ReportStall() {
    const std::string text = Describe();
    if (const auto pHandler = pStallHandler.load()) {
        pHandler(text.c_str());
    } else {
        std::fprintf(stderr, "ZrMixer: the virtual clock stands: every thread waits without limit\n%s", text.c_str());
    }
}

bool WaitEngine::IsStalled() {
    Scope scope(*this);
    return IsVirtual() && bStalled;
}

void WaitEngine::ShiftDeadlines(int64_t _rtDelta) {
    for (ThreadState* p = listWaiting.pFirst; p; p = p->pNext) {
        if (_rtDelta >= 0) p->rtDeadline = DeadlineAfter(p->rtDeadline, _rtDelta);
        if (_rtDelta < 0 && p->rtDeadline != kNever) p->rtDeadline += _rtDelta;
        UpdateWake(*p);
        Kick(*p);
    }
}

void WaitEngine::Install(uint64_t _nSeed, int64_t _rtStart, int64_t _rtWallStart) {
    Scope scope(*this);
    if (IsVirtual()) Fail("two virtual clocks at once");
    rtWallOffset.store(_rtWallStart - _rtStart);
    rtVirtual.store(_rtStart);
    nShuffle = _nSeed;
    bStalled = bStallReported = false;
    nRunning = 0;
    for (const ThreadState* p = pFirstListed; p; p = p->pNextListed) {
        if (p->bCounted && p->eDoing == ThreadState::Doing::Running) ++nRunning;
    }
    ShiftDeadlines(_rtStart - RealNow());
}

void WaitEngine::Remove() {
    Scope scope(*this);
    const int64_t rtDelta = RealNow() - Now();
    rtVirtual.store(kRealClock);
    while (ThreadState* const pReady = TakeReady()) {
        pReady->eDoing = ThreadState::Doing::Running;
        listPublish.PushBack(*pReady);
    }
    for (ThreadState *p = listWaiting.pFirst, *pNext = nullptr; p; p = pNext) {
        pNext = p->pNext;
        if (p->pMutex) Decide(*p, 0);
    }
    ShiftDeadlines(rtDelta);
}

}  // namespace zr
