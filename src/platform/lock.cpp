#include "platform/lock.h"

#include <cstdio>
#include <cstdlib>

#include "platform/futex.h"
#include "platform/wait_engine.h"

namespace zr {
namespace {

constexpr int32_t kMaxHeldLocks = 32;

// The ranked locks that this thread holds, in the order taken.
struct HeldLocks {
    LockRank arrRanks[kMaxHeldLocks];
    int32_t nCount = 0;
};
constinit thread_local HeldLocks tHeld;

void StopOnLockOrder(const LockRank& _held, const LockRank& _wanted) {
    std::fprintf(stderr, "ZrMixer: lock order: \"%s\" (rank %d) wanted while \"%s\" (rank %d) is held, thread %s\n",
                 _wanted.szName, _wanted.nRank, _held.szName, _held.nRank, WaitEngine::Self().szName);
    std::abort();
}
constinit std::atomic<LockOrderHandler> pLockOrderHandler{StopOnLockOrder};

}  // namespace

void CheckLockOrder(const LockRank& _rank) {
    if (_rank.nRank == 0) return;
    for (int32_t i = tHeld.nCount - 1; i >= 0; --i) {
        if (tHeld.arrRanks[i].nRank < _rank.nRank) continue;
        pLockOrderHandler.load()(tHeld.arrRanks[i], _rank);
        return;
    }
}

void NoteLockTaken(const LockRank& _rank) {
    if (_rank.nRank == 0) return;
    if (tHeld.nCount == kMaxHeldLocks) {
        std::fprintf(stderr, "ZrMixer: a thread holds more than %d ranked locks\n", kMaxHeldLocks);
        std::abort();
    }
    tHeld.arrRanks[tHeld.nCount++] = _rank;
}

void NoteLockReleased(const LockRank& _rank) {
    if (_rank.nRank == 0) return;
    for (int32_t i = tHeld.nCount - 1; i >= 0; --i) {
        if (tHeld.arrRanks[i].nRank != _rank.nRank) continue;
        for (; i + 1 < tHeld.nCount; ++i) tHeld.arrRanks[i] = tHeld.arrRanks[i + 1];
        --tHeld.nCount;
        return;
    }
}

LockOrderHandler SetLockOrderHandler(LockOrderHandler _pHandler) {
    return pLockOrderHandler.exchange(_pHandler ? _pHandler : StopOnLockOrder);
}

void Mutex::LockSlow() {
    if (SpinToTake(nWord, [this] { return Take(); })) return;
    while (nWord.exchange(kContended) != kFree) {
        if (!WaitEngine::Get().ParkOnMutex(nWord, kContended)) FutexWait(nWord, kContended, kNever);
    }
}

void Mutex::UnlockSlow() {
    FutexWake(&nWord, 1);
    WaitEngine::Get().UnparkFromMutex(&nWord);
}

}  // namespace zr
