#include "framework/deq_active.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/clock.h"
#include "platform/thread.h"

namespace zr {
namespace {

// One address a key.
class Sink final : public IStatisticsSink {
public:
    Handle Resolve(const char16_t* _szName) override {
        const auto [i, bNew] = mapHandles.emplace(_szName, static_cast<Handle>(mapHandles.size()));
        return i->second;
    }
    void SetCount(Handle _handle, int64_t _nValue) override { arrValues[static_cast<size_t>(_handle)] = _nValue; }
    void SetValue(Handle, double) override { FAIL(); }
    void AddCount(Handle _handle, int64_t _nAdd) override { arrValues[static_cast<size_t>(_handle)] += _nAdd; }
    int64_t operator[](const char16_t* _szName) { return arrValues[static_cast<size_t>(Resolve(_szName))]; }

private:
    std::map<std::u16string, Handle> mapHandles;
    std::array<std::atomic<int64_t>, 8> arrValues{};
};

// Notes what it is given; takes an item only while it is open, and asks for some once more.
class Collector {
public:
    HRESULT OnActiveDeq(int& _nItem, int32_t _nLeft) {
        evServing.Set();
        WaitOne(evOpen, -1);
        if (nRetries > 0) {
            --nRetries;
            return ZR_E_RETRY;
        }
        arrTaken.push_back(_nItem);
        arrLeft.push_back(_nLeft);
        evTaken.Set();
        return S_OK;
    }
    void OnActiveDeqOverflow(int& _nItem) { arrRefused.push_back(_nItem); }
    void WaitTaken(size_t _n) {
        while (arrTaken.size() < _n) ASSERT_TRUE(WaitOne(evTaken, 10 * kTicksPerSecond));
    }

    ManualEvent evOpen{true};
    AutoEvent evServing;
    AutoEvent evTaken;
    int nRetries = 0;
    std::vector<int> arrTaken, arrLeft, arrRefused;
};

// All on the virtual clock: between two waits of the test nothing else runs.
class DeqActive : public testing::Test {
protected:
    ~DeqActive() override { deq.Stop(); }
    // Leaves the thread with item 0 in its hands, so that what follows stays in the queue.
    void Occupy() {
        collector.evOpen.Reset();
        ASSERT_EQ(deq.Put(0, 0), 1);
        ASSERT_TRUE(WaitOne(collector.evServing, kTicksPerSecond));
    }

    VirtualClock clock;
    Collector collector;
    Sink sink;
    CDeqActive<Collector, int> deq{collector, "collector"};
};

TEST_F(DeqActive, FullQueueRefusesAtOnce) {
    deq.SetStatistics(&sink);
    deq.Init(0, 2, false);
    Occupy();
    EXPECT_EQ(deq.Put(1, 0), 1);
    EXPECT_EQ(deq.Put(2, 0), 2);
    EXPECT_EQ(deq.Put(3, 0), -1);
    EXPECT_EQ(sink[u"buffer.overflow"], 1);
    EXPECT_EQ(sink[u"buffer.current"], 2);
    EXPECT_EQ(collector.arrRefused, std::vector<int>{3});
    collector.evOpen.Set();
    collector.WaitTaken(3);
    EXPECT_EQ(collector.arrTaken, (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(collector.arrLeft, (std::vector<int>{0, 1, 0}));
    EXPECT_EQ(sink[u"buffer.current"], 0);
}

TEST_F(DeqActive, PutWaitsForRoomAsLongAsItMay) {
    deq.Init(0, 1, false);
    Occupy();
    ASSERT_EQ(deq.Put(1, 0), 1);
    const int64_t rtStart = ClockNow();
    EXPECT_EQ(deq.Put(2, 30'000), -1);
    EXPECT_EQ(ClockNow() - rtStart, 30'000);
    Thread opener;
    opener.Start("opener", [&](ManualEvent&) {
        SleepFor(50'000);
        collector.evOpen.Set();
    });
    EXPECT_EQ(deq.Put(3, 60'000), 1);
    EXPECT_EQ(ClockNow() - rtStart, 80'000);
    EXPECT_EQ(deq.Put(4, -1), 1);
    collector.WaitTaken(4);
    EXPECT_EQ(collector.arrTaken, (std::vector<int>{0, 1, 3, 4}));
}

TEST_F(DeqActive, ThreadSleepsUntilTheMinimumIsThereAndThenTakesAll) {
    deq.Init(3, 10, false);
    deq.Put(1, 0);
    deq.Put(2, 0);
    SleepFor(kTicksPerSecond);
    EXPECT_TRUE(collector.arrTaken.empty());
    deq.Put(3, 0);
    collector.WaitTaken(3);
    deq.Put(4, 0);
    SleepFor(kTicksPerSecond);
    EXPECT_EQ(collector.arrTaken, (std::vector<int>{1, 2, 3}));
    deq.SetBounds(1, 10);  // enough are there now
    collector.WaitTaken(4);
}

// Also when the queue is over its bound, as that was lowered or an item came back.
TEST_F(DeqActive, EachPutDropsOne) {
    deq.SetStatistics(&sink);
    deq.Init(0, 4, true);
    Occupy();
    for (int i = 1; i <= 4; ++i) deq.Put(i, 0);
    deq.SetBounds(0, 2);
    EXPECT_EQ(deq.Put(5, 0), 4);
    EXPECT_EQ(sink[u"buffer.overflow"], 1);
    collector.evOpen.Set();
    collector.WaitTaken(5);
    EXPECT_EQ(collector.arrTaken, (std::vector<int>{0, 2, 3, 4, 5}));
}

TEST_F(DeqActive, StopReleasesWaitingPutsAndIsFinalUntilInit) {
    deq.Init(0, 1, false);
    Occupy();
    ASSERT_EQ(deq.Put(1, 0), 1);
    int32_t nPut = 0;
    Thread producer;
    ASSERT_EQ(producer.Start("producer", [&](ManualEvent&) { nPut = deq.Put(2, -1); }), S_OK);
    SleepFor(1000);
    EXPECT_EQ(deq.Stop(1), ZR_E_TIMEOUT);  // the owner still holds item 0
    producer.Join();
    EXPECT_EQ(nPut, -1);
    collector.evOpen.Set();
    EXPECT_EQ(deq.Stop(), S_OK);
    EXPECT_EQ(deq.Put(3, -1), -1);
    EXPECT_EQ(deq.Count(), 0);
    EXPECT_EQ(deq.Stop(), S_FALSE);
    EXPECT_EQ(collector.arrTaken, std::vector<int>{0});
    EXPECT_TRUE(collector.arrRefused.empty());  // a stopped queue drops the call

    ASSERT_EQ(deq.Init(0, 1, false), S_OK);
    EXPECT_EQ(deq.Put(4, 0), 1);
    collector.WaitTaken(2);
    EXPECT_EQ(collector.arrTaken.back(), 4);
}

// A put waits while another thread opens the queue anew: its item is served or let go, whichever thread goes first.
TEST(DeqActiveOrder, NothingIsLeftLyingByAnInit) {
    for (uint64_t nSeed = 1; nSeed <= 40; ++nSeed) {
        VirtualClock clock(nSeed);
        Collector collector;
        CDeqActive<Collector, int> deq(collector, "collector");
        deq.Init(0, 1, false);
        collector.evOpen.Reset();
        ASSERT_EQ(deq.Put(0, 0), 1);
        ASSERT_TRUE(WaitOne(collector.evServing, kTicksPerSecond));
        ASSERT_EQ(deq.Put(1, 0), 1);
        int32_t nPut = 0;
        Thread producer, opener;
        ASSERT_EQ(producer.Start("producer", [&](ManualEvent&) { nPut = deq.Put(2, -1); }), S_OK);
        SleepFor(1000);
        ASSERT_EQ(opener.Start("opener", [&](ManualEvent&) { deq.Init(0, 1, false); }), S_OK);
        collector.evOpen.Set();
        producer.Join();
        opener.Join();
        SleepFor(1000);
        EXPECT_EQ(deq.Count(), 0) << nSeed;
        EXPECT_LE(std::ranges::count(collector.arrTaken, 2), nPut > 0) << nSeed;
        deq.Stop();
    }
}

TEST_F(DeqActive, StopWaitsForThePutsThatAreUnderWay) {
    struct Owner {
        HRESULT OnActiveDeq(int&, int32_t) {
            WaitOne(evOpen, -1);
            return S_OK;
        }
        void OnActiveDeqOverflow(int& _nItem) {
            if (_nItem == 3) hrStop = pDeq->Stop();  // its own put is one of them
            SleepFor(kTicksPerSecond);
            bOut = true;
        }
        CDeqActive<Owner, int>* pDeq = nullptr;
        ManualEvent evOpen;
        HRESULT hrStop = S_OK;
        bool bOut = false;
    } owner;
    for (const int nItem : {2, 3}) {
        owner.bOut = false;
        owner.evOpen.Reset();
        CDeqActive<Owner, int> deqSlow(owner, "slow");
        owner.pDeq = &deqSlow;
        deqSlow.Init(0, 1, false);
        deqSlow.Put(0, 0);
        SleepFor(1000);
        deqSlow.Put(1, 0);
        Thread producer;
        ASSERT_EQ(producer.Start("producer", [&](ManualEvent&) { deqSlow.Put(nItem, 0); }), S_OK);
        owner.evOpen.Set();
        SleepFor(1000);
        EXPECT_EQ(deqSlow.Stop(1), ZR_E_TIMEOUT);
        EXPECT_FALSE(owner.bOut);
        EXPECT_TRUE(Succeeded(deqSlow.Stop()));
        EXPECT_TRUE(owner.bOut);
        producer.Join();
    }
    EXPECT_EQ(owner.hrStop, ZR_E_TIMEOUT);
}

// An item is let go as soon as the owner has it behind it, or the queue drops it.
TEST_F(DeqActive, KeepsNoItemLongerThanItsTurn) {
    struct Owner {
        HRESULT OnActiveDeq(std::shared_ptr<int>&, int32_t) {
            WaitOne(evOpen, -1);
            return S_OK;
        }
        void OnActiveDeqOverflow(std::shared_ptr<int>&) {}
        ManualEvent evOpen;
    } owner;
    CDeqActive<Owner, std::shared_ptr<int>> deqShared(owner, "shared");
    deqShared.Init(0, 1, true);
    std::vector<std::weak_ptr<int>> arrItems;
    for (int i = 0; i < 3; ++i) {
        auto pItem = std::make_shared<int>(i);
        arrItems.push_back(pItem);
        deqShared.Put(std::move(pItem), 0);
        SleepFor(1000);
    }
    EXPECT_FALSE(arrItems[0].expired());  // with the owner
    EXPECT_TRUE(arrItems[1].expired());   // dropped
    EXPECT_FALSE(arrItems[2].expired());
    owner.evOpen.Set();
    SleepFor(1000);
    EXPECT_TRUE(arrItems[0].expired());
    EXPECT_TRUE(arrItems[2].expired());
    deqShared.Stop();
}

TEST_F(DeqActive, StopFromTheOwnersCallClosesAndReturns) {
    struct Owner {
        HRESULT OnActiveDeq(int&, int32_t) {
            hrStop = pDeq->Stop();
            hrInit = pDeq->Init(0, 0, false);
            return S_OK;
        }
        void OnActiveDeqOverflow(int&) {}
        CDeqActive<Owner, int>* pDeq = nullptr;
        HRESULT hrStop = S_OK, hrInit = S_OK;
    } owner;
    CDeqActive<Owner, int> deqSelf(owner, "self");
    owner.pDeq = &deqSelf;
    deqSelf.Put(1, 0);
    SleepFor(1000);
    EXPECT_EQ(owner.hrStop, ZR_E_TIMEOUT);
    EXPECT_EQ(owner.hrInit, ZR_E_TIMEOUT);
    EXPECT_EQ(deqSelf.Put(2, 0), -1);
    deqSelf.Stop();
}

}  // namespace
}  // namespace zr
