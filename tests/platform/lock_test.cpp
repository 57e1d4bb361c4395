#include "platform/lock.h"

#include <string>

#include <gtest/gtest.h>

#include "platform/thread.h"
#include "support/stress.h"

namespace zr {
namespace {

TEST(Mutex, ExcludesAndLosesNoWake) {
    Mutex mtx;
    int64_t nCount = 0;
    const int nRounds = StressRounds(500'000);
    OnThreads(4, [&](int) {
        for (int i = 0; i < nRounds; ++i) {
            if (i % 3 == 0) {
                if (!mtx.TryLock()) mtx.Lock();
                ++nCount;
                mtx.Unlock();
            } else {
                MutexLock lock(mtx);
                ++nCount;
                lock.Unlock();
                if (i % 1000 == 1) SleepFor(0);
                lock.Lock();
            }
        }
    });
    EXPECT_EQ(nCount, int64_t{nRounds} * 4);
}

bool CanTake(Mutex& _mtx) {
    const bool bTaken = _mtx.TryLock();
    if (bTaken) _mtx.Unlock();
    return bTaken;
}

TEST(Mutex, TryLockFailsWhileHeld) {
    Mutex mtx;
    EXPECT_TRUE(CanTake(mtx));
    MutexLock lock(mtx);
    Thread thread;
    thread.Start("try", [&](ManualEvent&) { EXPECT_FALSE(CanTake(mtx)); });
    thread.Join();
}

std::string strFaults;

class LockOrder : public testing::Test {
protected:
    LockOrder() {
        strFaults.clear();
        SetLockOrderHandler([](const LockRank& _held, const LockRank& _wanted) {
            strFaults += std::string(_held.szName) + ">" + _wanted.szName + " ";
        });
    }
    ~LockOrder() override { SetLockOrderHandler(nullptr); }
    void Take(const LockRank& _rank) {
        CheckLockOrder(_rank);
        NoteLockTaken(_rank);
    }
    static constexpr LockRank kOuter{10, "outer"}, kOuterTwin{10, "twin"}, kInner{20, "inner"}, kNone{};
};

TEST_F(LockOrder, NamesTheLocksThatAreTakenInTheWrongOrder) {
    Take(kOuter);
    Take(kNone);
    Take(kInner);
    EXPECT_EQ(strFaults, "");
    NoteLockReleased(kOuter);  // not in the order taken
    Take(kOuter);
    EXPECT_EQ(std::exchange(strFaults, {}), "inner>outer ");
    NoteLockReleased(kInner);
    Take(kOuterTwin);
    EXPECT_EQ(std::exchange(strFaults, {}), "outer>twin ");
    NoteLockReleased(kOuterTwin);
    NoteLockReleased(kOuter);
    NoteLockReleased(kNone);
    NoteLockTaken(kInner);  // a try is not checked, but what follows it is
    NoteLockTaken(kOuter);
    EXPECT_EQ(strFaults, "");
    Take(kOuterTwin);
    EXPECT_EQ(strFaults, "outer>twin ");
    for (const LockRank& rank : {kOuterTwin, kOuter, kInner}) NoteLockReleased(rank);
}

}  // namespace
}  // namespace zr
