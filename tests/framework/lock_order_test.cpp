#include "framework/lock_order.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zr {
namespace {

std::vector<std::string> arrBroken;  // "held < wanted"

class LockOrder : public testing::Test {
protected:
    void SetUp() override {
        if (!kLockOrderChecked) GTEST_SKIP() << "built without ZR_LOCK_ORDER";
        arrBroken.clear();
        pBefore = SetLockOrderHandler([](const LockRank& _held, const LockRank& _wanted) {
            arrBroken.push_back(std::string(_held.szName) + " < " + _wanted.szName);
        });
    }
    void TearDown() override {
        if (kLockOrderChecked) SetLockOrderHandler(pBefore);
    }

    LockOrderHandler pBefore = nullptr;
};

// What a cycle takes, in its order, with the leaf in the middle of it.
TEST_F(LockOrder, CycleInItsOrderIsQuiet) {
    Mutex mtxChange(lock_order::kChange), mtxCycle(lock_order::kCycle), mtxStreams(lock_order::kStreams);
    Mutex mtxFrame(lock_order::kStreamFrame), mtxBlock(lock_order::kBlock), mtxAudio(lock_order::kStreamAudio);
    Mutex mtxClock(lock_order::kClock);
    MutexLock change(mtxChange), cycle(mtxCycle);
    { MutexLock clock(mtxClock); }
    MutexLock streams(mtxStreams);
    { MutexLock frame(mtxFrame), block(mtxBlock), audio(mtxAudio), clock(mtxClock); }
    EXPECT_TRUE(arrBroken.empty());
}

// The way in which the mix thread takes the state lock under its own locks.
TEST_F(LockOrder, TryAgainstTheOrderIsQuiet) {
    Mutex mtxState(lock_order::kState), mtxCycle(lock_order::kCycle), mtxChange(lock_order::kChange);
    MutexLock cycle(mtxCycle);
    if (!mtxState.TryLock()) FAIL();
    EXPECT_TRUE(arrBroken.empty());
    { MutexLock change(mtxChange); }
    EXPECT_EQ(arrBroken.size(), 1u);  // but what is taken under it still is looked at
    mtxState.Unlock();
}

}  // namespace
}  // namespace zr
