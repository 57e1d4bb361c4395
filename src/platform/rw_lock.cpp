#include "platform/rw_lock.h"

#include <pthread.h>

#include <cassert>
#include <cstddef>

#include "platform/futex.h"
#include "platform/wait_engine.h"

namespace zr {

namespace {

constexpr int kSpins = 128;  // about as long as going to sleep and being woken takes

uintptr_t ThisThread() { return static_cast<uintptr_t>(pthread_self()); }

// How deep this thread is in each lock that it reads. An entry exists only while its depth is above 0, so a lock that
// is made where a dead one was finds none. A thread that reads more locks than there is room for enters the rest
// untracked: each entry then counts as a reader of its own and passes a waiting writer, in case it is not the first.
struct READ_DEPTHS {
    struct ENTRY {
        const void* pLock;
        uint32_t nDepth;
    };
    static constexpr uint32_t kRoom = 16;

    ENTRY arr[kRoom];
    uint32_t nUsed;
    uint32_t nUntracked;

    ENTRY* Find(const void* _pLock) {
        for (uint32_t i = nUsed; i-- > 0;)
            if (arr[i].pLock == _pLock) return &arr[i];
        return nullptr;
    }
    void Add(const void* _pLock) {
        if (nUsed < kRoom)
            arr[nUsed++] = {_pLock, 1};
        else
            ++nUntracked;
    }
    void Remove(ENTRY* _p) { *_p = arr[--nUsed]; }
};

constinit thread_local READ_DEPTHS tlsDepths{};

// In a library that is loaded late, finding a thread's variable is a call. This pointer is in the part of a thread's
// memory that needs none; that part is scarce, so the table itself is not.
[[gnu::tls_model("initial-exec")]] constinit thread_local READ_DEPTHS* tlsDepthsNear = nullptr;

READ_DEPTHS& Depths() {
    if (!tlsDepthsNear) [[unlikely]]
        tlsDepthsNear = &tlsDepths;
    return *tlsDepthsNear;
}

constexpr uint32_t kWriterHas = 0x80000000u;
constexpr uint32_t kWriterWaits = 0x40000000u;
constexpr uint32_t kWriter = kWriterHas | kWriterWaits;

}  // namespace

// The sources below take locks on conditions that Clang cannot follow; it checks their users.

bool CMTSingleEx::IsMine() const { return idOwner.load(std::memory_order_relaxed) == ThisThread(); }

void CMTSingleEx::Enter() ZR_NO_THREAD_SAFETY_ANALYSIS {
    if (!IsMine()) {
        mtx.Lock();
        idOwner.store(ThisThread(), std::memory_order_relaxed);
    }
    ++nDepth;
}

bool CMTSingleEx::TryEnter() ZR_NO_THREAD_SAFETY_ANALYSIS {
    if (!IsMine()) {
        if (!mtx.TryLock()) return false;
        idOwner.store(ThisThread(), std::memory_order_relaxed);
    }
    ++nDepth;
    return true;
}

void CMTSingleEx::Leave() ZR_NO_THREAD_SAFETY_ANALYSIS {
    assert(IsMine() && "left by a thread that does not have it");
    if (--nDepth > 0) return;
    idOwner.store(0, std::memory_order_relaxed);
    mtx.Unlock();
}

void CRWSynchroLiteCS::EnterRead() ZR_NO_THREAD_SAFETY_ANALYSIS { cs.Enter(); }

bool CRWSynchroLiteCS::TryEnterRead() ZR_NO_THREAD_SAFETY_ANALYSIS { return cs.TryEnter(); }

void CRWSynchroLiteCS::LeaveRead() ZR_NO_THREAD_SAFETY_ANALYSIS { cs.Leave(); }

void CRWSynchroLiteCS::EnterWrite(const char* _szLabel) ZR_NO_THREAD_SAFETY_ANALYSIS {
    cs.Enter();
    if (nWrites++ == 0) szWriter.store(_szLabel, std::memory_order_relaxed);
}

bool CRWSynchroLiteCS::TryEnterWrite(const char* _szLabel) ZR_NO_THREAD_SAFETY_ANALYSIS {
    if (!cs.TryEnter()) return false;
    if (nWrites++ == 0) szWriter.store(_szLabel, std::memory_order_relaxed);
    return true;
}

void CRWSynchroLiteCS::LeaveWrite() ZR_NO_THREAD_SAFETY_ANALYSIS {
    if (--nWrites == 0) szWriter.store(nullptr, std::memory_order_relaxed);
    cs.Leave();
}

CRWSynchroLiteRW::~CRWSynchroLiteRW() {
    assert(nState.load(std::memory_order_relaxed) == 0 && "destroyed while someone has it");
}

void CRWSynchroLiteRW::EnterRead() ZR_NO_THREAD_SAFETY_ANALYSIS {
    READ_DEPTHS& depths = Depths();
    if (READ_DEPTHS::ENTRY* pEntry = depths.Find(this)) {
        ++pEntry->nDepth;
        return;
    }
    if constexpr (kLockOrderChecked) {
        if (cs.IsMine())
            LockOrderTryAcquired(Rank());  // its writer reads too: no wait, so no order to keep
        else
            LockOrderAcquire(Rank());
    }
    if (nState.fetch_add(1, std::memory_order_acquire) & kWriter) EnterReadPastWriter(true, depths.nUntracked > 0);
    depths.Add(this);
}

bool CRWSynchroLiteRW::TryEnterRead() ZR_NO_THREAD_SAFETY_ANALYSIS {
    READ_DEPTHS& depths = Depths();
    if (READ_DEPTHS::ENTRY* pEntry = depths.Find(this)) {
        ++pEntry->nDepth;
        return true;
    }
    if ((nState.fetch_add(1, std::memory_order_acquire) & kWriter) &&
        !EnterReadPastWriter(false, depths.nUntracked > 0)) {
        return false;
    }
    LockOrderTryAcquired(Rank());
    depths.Add(this);
    return true;
}

// The reader has counted itself and found a writer. _bMayPass: it may be inside already, so it goes before a writer
// that only waits; one that has the lock cannot have this thread inside.
bool CRWSynchroLiteRW::EnterReadPastWriter(bool _bMayWait, bool _bMayPass) ZR_NO_THREAD_SAFETY_ANALYSIS {
    DropReader();
    if (_bMayPass) {
        uint32_t nSeen = nState.load(std::memory_order_relaxed);
        while (!(nSeen & kWriterHas))
            if (nState.compare_exchange_weak(nSeen, nSeen + 1, std::memory_order_acquire, std::memory_order_relaxed))
                return true;
    }
    if (_bMayWait)
        cs.Enter();
    else if (!cs.TryEnter())
        return false;
    nState.fetch_add(1, std::memory_order_acquire);  // no other thread can be the writer now
    cs.Leave();
    return true;
}

void CRWSynchroLiteRW::LeaveRead() ZR_NO_THREAD_SAFETY_ANALYSIS {
    READ_DEPTHS& depths = Depths();
    if (READ_DEPTHS::ENTRY* pEntry = depths.Find(this)) {
        if (--pEntry->nDepth > 0) return;
        depths.Remove(pEntry);
    } else {
        assert(depths.nUntracked > 0 && "left by a thread that does not read");
        --depths.nUntracked;
    }
    LockOrderRelease(Rank());
    DropReader();
}

void CRWSynchroLiteRW::DropReader() {
    // Sequentially consistent together with the clock's flag: a writer that began to wait on the one clock is found by
    // a reader that leaves on the other.
    if (nState.fetch_sub(1) != (kWriterWaits | 1)) return;
    FutexWake(&nState, 1);
    WaitEngine::Get().UnparkFromMutex(&nState);
}

void CRWSynchroLiteRW::EnterWrite(const char* _szLabel) ZR_NO_THREAD_SAFETY_ANALYSIS {
    assert((cs.IsMine() || !Depths().Find(this)) && "a reader asks to write: it would wait for itself");
    if (!cs.IsMine()) LockOrderAcquire(Rank());
    cs.Enter();
    if (nWrites++ > 0) return;
    WaitForReaders();
    szWriter.store(_szLabel, std::memory_order_relaxed);
}

bool CRWSynchroLiteRW::TryEnterWrite(const char* _szLabel) ZR_NO_THREAD_SAFETY_ANALYSIS {
    if (!cs.TryEnter()) return false;
    if (nWrites == 0) {
        uint32_t nIdle = 0;
        if (!nState.compare_exchange_strong(nIdle, kWriterHas, std::memory_order_acquire, std::memory_order_relaxed)) {
            cs.Leave();
            return false;
        }
        LockOrderTryAcquired(Rank());
        szWriter.store(_szLabel, std::memory_order_relaxed);
    }
    ++nWrites;
    return true;
}

void CRWSynchroLiteRW::WaitForReaders() {
    uint32_t nIdle = 0;
    if (nState.compare_exchange_strong(nIdle, kWriterHas, std::memory_order_acquire, std::memory_order_relaxed)) return;
    nState.fetch_or(kWriterWaits);
    for (int nTurn = 0;; ++nTurn) {
        uint32_t nSeen = kWriterWaits;
        if (nState.compare_exchange_strong(nSeen, kWriterHas, std::memory_order_acquire, std::memory_order_relaxed))
            return;
        if (nTurn < kSpins)
            CpuRelax();
        else if (!WaitEngine::Get().ParkOnMutex(nState, nSeen))
            FutexWait(nState, nSeen, kNever);
    }
}

void CRWSynchroLiteRW::LeaveWrite() ZR_NO_THREAD_SAFETY_ANALYSIS {
    assert(nWrites > 0 && "left by a thread that does not write");
    if (--nWrites == 0) {
        LockOrderRelease(Rank());
        szWriter.store(nullptr, std::memory_order_relaxed);
        nState.fetch_and(~kWriterHas, std::memory_order_release);
    }
    cs.Leave();
}

}  // namespace zr
