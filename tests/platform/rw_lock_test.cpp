#include "platform/rw_lock.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "platform/clock.h"
#include "platform/thread.h"
#include "support/stress.h"

#ifdef __clang__
#pragma clang diagnostic ignored "-Wthread-safety-analysis"  // which forbids entering again, the very thing tested here
#endif

namespace zr {
namespace {

template <class Function>
auto OnOtherThread(Function _function) {
    decltype(_function()) result{};
    std::thread([&] { result = _function(); }).join();
    return result;
}

bool OtherMayRead(CRWSynchroLiteBase& _lock) {
    return OnOtherThread([&] {
        const bool bEntered = _lock.TryEnterRead();
        if (bEntered) _lock.LeaveRead();
        return bEntered;
    });
}

bool OtherMayWrite(CRWSynchroLiteBase& _lock) {
    return OnOtherThread([&] {
        const bool bEntered = _lock.TryEnterWrite("other");
        if (bEntered) _lock.LeaveWrite();
        return bEntered;
    });
}

TEST(RwLock, ReaderGetsInAgainWhileAWriterWaitsAndNewReadersDoNot) {
    CRWSynchroLiteRW lock;
    int nWritten = 0;
    lock.EnterRead();
    std::thread writer([&] {
        lock.EnterWrite("writer");
        nWritten = 1;
        lock.LeaveWrite();
    });
    while (OtherMayRead(lock)) std::this_thread::yield();  // until the writer waits
    ASSERT_TRUE(lock.TryEnterRead());
    lock.EnterRead();
    EXPECT_EQ(nWritten, 0);
    lock.LeaveRead();
    lock.LeaveRead();
    EXPECT_FALSE(OtherMayRead(lock));  // still inside once, the writer still waits
    EXPECT_EQ(nWritten, 0);
    lock.LeaveRead();
    writer.join();
    EXPECT_EQ(nWritten, 1);
    EXPECT_TRUE(OtherMayWrite(lock));
}

// More locks than the thread's table has room for.
TEST(RwLock, ReaderOfManyLocksGetsInAgainWhileWritersWait) {
    std::array<CRWSynchroLiteRW, 40> arrLocks;
    for (auto& lock : arrLocks) lock.EnterRead();
    std::vector<std::thread> arrWriters;
    for (auto& lock : arrLocks) {
        arrWriters.emplace_back([&lock] {
            lock.EnterWrite("writer");
            lock.LeaveWrite();
        });
    }
    for (auto& lock : arrLocks)
        while (OtherMayRead(lock)) std::this_thread::yield();
    for (auto& lock : arrLocks) lock.EnterRead();
    for (auto& lock : arrLocks) lock.LeaveRead();  // in an order other than that of a stack
    for (auto& lock : arrLocks) EXPECT_FALSE(OtherMayWrite(lock));
    for (auto& lock : arrLocks) lock.LeaveRead();
    for (auto& writer : arrWriters) writer.join();
    for (auto& lock : arrLocks) EXPECT_TRUE(OtherMayWrite(lock));
}

// The thread reads more locks than its table holds, and so may pass waiting writers, but never one that is inside.
TEST(RwLock, ReaderOfManyLocksStaysOutWhileAWriterIsInside) {
    std::array<CRWSynchroLiteRW, 40> arrLocks;
    CRWSynchroLiteRW lock;
    lock.EnterWrite("writer");
    EXPECT_FALSE(OnOtherThread([&] {
        for (auto& other : arrLocks) other.EnterRead();
        const bool bEntered = lock.TryEnterRead();
        for (auto& other : arrLocks) other.LeaveRead();
        return bEntered;
    }));
    lock.LeaveWrite();
}

TEST(RwLock, LockMadeAtTheAddressOfADeadOneStartsUnread) {
    alignas(CRWSynchroLiteRW) unsigned char arrPlace[sizeof(CRWSynchroLiteRW)];
    auto* pLock = new (arrPlace) CRWSynchroLiteRW;
    pLock->EnterRead();
    pLock->LeaveRead();
    pLock->~CRWSynchroLiteRW();
    pLock = new (arrPlace) CRWSynchroLiteRW;
    std::thread([&] { pLock->EnterWrite("writer"); }).join();
    EXPECT_FALSE(pLock->TryEnterRead());
}

template <class Lock>
class AnyRwLock : public testing::Test {};
using BothLocks = testing::Types<CRWSynchroLiteRW, CRWSynchroLiteCS>;
TYPED_TEST_SUITE(AnyRwLock, BothLocks);

TYPED_TEST(AnyRwLock, WriterMayWriteAndReadAgainAndKeepsOthersOutUntilTheLastLeave) {
    TypeParam lock;
    lock.EnterWrite("outer");
    lock.EnterRead();
    ASSERT_TRUE(lock.TryEnterWrite("inner"));
    EXPECT_STREQ(lock.WriterLabel(), "outer");
    EXPECT_FALSE(OtherMayRead(lock));
    lock.LeaveWrite();
    EXPECT_FALSE(OtherMayRead(lock));
    lock.LeaveWrite();
    EXPECT_EQ(lock.WriterLabel(), nullptr);
    EXPECT_FALSE(OtherMayWrite(lock));  // the read side is still held
    lock.LeaveRead();
    EXPECT_TRUE(OtherMayWrite(lock));
}

TYPED_TEST(AnyRwLock, ReadersNeverSeeHalfAWrite) {
    TypeParam lock;
    int64_t nFirst = 0, nSecond = 0;  // equal whenever nobody writes
    int64_t nTorn = 0;
    CMTSingleEx lockTorn;
    constexpr int kWriters = 2, kReaders = 3, kRounds = 4000;
    const auto Check = [&] {
        if (nFirst != nSecond) {
            CMTSingleExScope scope(lockTorn);
            ++nTorn;
        }
    };
    const auto Write = [&](int _n) {
        if (_n % 8 == 0) {
            while (!lock.TryEnterWrite("try")) std::this_thread::yield();
        } else {
            lock.EnterWrite("enter");
        }
        ++nFirst;
        {
            CRWWriteScope again(lock, "again");
            CRWReadScope read(lock);
            ++nSecond;
        }
        lock.LeaveWrite();
    };
    const auto Read = [&](int _n) {
        CRWReadScope read(lock);
        Check();
        if (_n % 16 == 0) std::this_thread::yield();
        CRWReadScope again(lock);  // often behind a waiting writer
        Check();
        if (lock.TryEnterRead()) {
            Check();
            lock.LeaveRead();
        }
    };
    OnThreads(kWriters + kReaders, [&](int _nThread) {
        for (int n = 0; n < kRounds; ++n) _nThread < kWriters ? Write(n) : Read(n);
    });
    EXPECT_EQ(nTorn, 0);
    EXPECT_EQ(nFirst, kWriters * kRounds);
    EXPECT_EQ(nSecond, kWriters * kRounds);
}

TEST(RwLock, WaitsOnTheVirtualClockLetTheOthersRun) {
    VirtualClock clock;
    CRWSynchroLiteRW lock;
    const int64_t rtStart = ClockNow();
    Thread reader;
    lock.EnterWrite("writer");
    reader.Start("reader", [&](ManualEvent&) {
        lock.EnterRead();  // waits for the writer
        SleepFor(10 * kTicksPerSecond);
        lock.LeaveRead();
    });
    SleepFor(kTicksPerSecond);
    lock.LeaveWrite();
    SleepFor(kTicksPerSecond);
    lock.EnterWrite("writer");  // waits for the reader
    EXPECT_EQ(ClockNow() - rtStart, 11 * kTicksPerSecond);
    lock.LeaveWrite();
    EXPECT_TRUE(reader.Join());
}

LockRank rankWanted;

TEST(RwLock, EveryKindOfLockTakesPartInTheLockOrder) {
    if constexpr (!kLockOrderChecked) GTEST_SKIP() << "built without the check";
    SetLockOrderHandler([](const LockRank&, const LockRank& _wanted) { rankWanted = _wanted; });
    CRWSynchroLiteRW rw(LockRank{2, "rw"}), outerRw(LockRank{1, "outer rw"});
    CRWSynchroLiteCS outerCs(LockRank{1, "outer cs"});
    CMTSingleEx outerPlain(LockRank{1, "outer plain"});
    const auto Wanted = [&](auto _enter, auto _leave) {
        rankWanted = {};
        rw.EnterWrite("again");
        rw.EnterRead();
        rw.EnterRead();
        rw.LeaveRead();
        rw.LeaveWrite();  // still held as a reader
        EXPECT_STREQ(rankWanted.szName, "");
        _enter();
        _leave();
        rw.LeaveRead();
        const std::string strWanted = rankWanted.szName;
        rankWanted = {};
        _enter();
        _leave();
        EXPECT_STREQ(rankWanted.szName, "");
        return strWanted;
    };
    EXPECT_EQ(Wanted([&] { outerRw.EnterRead(); }, [&] { outerRw.LeaveRead(); }), "outer rw");
    EXPECT_EQ(Wanted([&] { outerRw.EnterWrite(""); }, [&] { outerRw.LeaveWrite(); }), "outer rw");
    EXPECT_EQ(Wanted([&] { outerCs.EnterRead(); }, [&] { outerCs.LeaveRead(); }), "outer cs");
    EXPECT_EQ(Wanted([&] { outerPlain.Enter(); }, [&] { outerPlain.Leave(); }), "outer plain");
    SetLockOrderHandler(nullptr);
}

TEST(MTSingle, CountsItsOwnersEntriesAndExcludesOthers) {
    CMTSingleEx lock;
    const auto OtherMayEnter = [&] {
        return OnOtherThread([&] {
            const bool bEntered = lock.TryEnter();
            if (bEntered) lock.Leave();
            return bEntered;
        });
    };
    lock.Enter();
    ASSERT_TRUE(lock.TryEnter());
    lock.Leave();
    EXPECT_FALSE(OtherMayEnter());
    lock.Leave();
    EXPECT_TRUE(OtherMayEnter());

    int64_t nSum = 0;
    OnThreads(4, [&](int) {
        for (int n = 0; n < 20000; ++n) {
            CMTSingleExScope scope(lock);
            CMTSingleExScope again(lock);
            ++nSum;
            if (n % 1000 == 0) std::this_thread::yield();  // held across a time slice: others sleep
        }
    });
    EXPECT_EQ(nSum, 80000);
}

}  // namespace
}  // namespace zr
