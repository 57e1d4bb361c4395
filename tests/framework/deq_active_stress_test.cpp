// Real threads, real time: many producers against one queue, to be run under the sanitizers too.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "framework/deq_active.h"
#include "platform/thread.h"
#include "support/stress.h"

namespace zr {
namespace {

constexpr int64_t kItemsEach = StressRounds(100'000);
constexpr int64_t kProducers = 4;

struct STRESS_CASE {
    const char* szName;
    int32_t nMin, nMax;
    bool bDropOldest;
    int64_t rtTimeout;  // of the puts
    int nRetryEvery;    // 0: never
};

// Checks on the queue's thread that each producer's items come in order, and counts them.
class Checker {
public:
    explicit Checker(int _nRetryEvery) : nRetryEvery(_nRetryEvery) {}

    HRESULT OnActiveDeq(int64_t& _nItem, int32_t) {
        if (nRetryEvery != 0 && ++nCalls % nRetryEvery == 0) return ZR_E_RETRY;
        const size_t nProducer = static_cast<size_t>(_nItem / kItemsEach);
        const int64_t nSequence = _nItem % kItemsEach;
        if (nSequence <= arrLast[nProducer]) ++nDisordered;
        arrLast[nProducer] = nSequence;
        ++nTaken;
        return S_OK;
    }
    void OnActiveDeqOverflow(int64_t&) { ++nRefused; }

    const int nRetryEvery;
    int64_t nCalls = 0;
    int64_t arrLast[kProducers] = {-1, -1, -1, -1};
    int64_t nDisordered = 0;
    std::atomic<int64_t> nTaken{0};
    std::atomic<int64_t> nRefused{0};
};

class Overflows final : public IStatisticsSink {
public:
    Handle Resolve(const char16_t* _szName) override { return std::u16string_view(_szName) == u"buffer.overflow"; }
    void SetCount(Handle, int64_t) override {}
    void SetValue(Handle, double) override {}
    void AddCount(Handle _handle, int64_t _nAdd) override { n += _handle == 1 ? _nAdd : 0; }

    int64_t n = 0;  // under the queue's lock
};

class DeqActiveStress : public testing::TestWithParam<STRESS_CASE> {};

TEST_P(DeqActiveStress, NothingIsLostDoubledOrDisordered) {
    const STRESS_CASE& c = GetParam();
    Checker checker(c.nRetryEvery);
    Overflows overflows;
    CDeqActive<Checker, int64_t> deq(checker, "stress");
    deq.SetStatistics(&overflows);
    deq.Init(c.nMin, c.nMax, c.bDropOldest);

    std::atomic<int64_t> nPut{0};
    OnThreads(kProducers, [&](int _nProducer) {
        int64_t nOk = 0;
        for (int64_t i = 0; i < kItemsEach; ++i) nOk += deq.Put(_nProducer * kItemsEach + i, c.rtTimeout) > 0;
        nPut += nOk;
    });
    deq.SetBounds(0, c.nMax);  // so that a rest below the minimum is taken too
    while (deq.Count() > 0) SleepFor(kTicksPerMs);
    ASSERT_EQ(deq.Stop(), S_OK);  // the last item has been served

    EXPECT_EQ(checker.nDisordered, 0);
    EXPECT_EQ(nPut + checker.nRefused, kProducers * kItemsEach);
    const int64_t nDropped = c.bDropOldest ? overflows.n : 0;
    EXPECT_EQ(checker.nTaken + nDropped, nPut);
    EXPECT_EQ(overflows.n, checker.nRefused + nDropped);
    if (c.rtTimeout < 0) {
        EXPECT_EQ(checker.nTaken, kProducers * kItemsEach);
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, DeqActiveStress,
                         testing::Values(STRESS_CASE{"waits", 0, 16, false, -1, 0},
                                         STRESS_CASE{"waits_for_one_place", 0, 1, false, -1, 0},
                                         STRESS_CASE{"waits_with_retries_and_minimum", 3, 8, false, -1, 7},
                                         STRESS_CASE{"refuses", 0, 8, false, 0, 0},
                                         STRESS_CASE{"refuses_after_a_time", 0, 4, false, 1, 5},
                                         STRESS_CASE{"drops_the_oldest", 0, 8, true, 0, 0},
                                         STRESS_CASE{"drops_the_oldest_with_retries", 0, 2, true, 0, 3},
                                         STRESS_CASE{"no_limit", 0, 0, false, 0, 11}),
                         [](const auto& _info) { return std::string(_info.param.szName); });

// Stop and Init against producers that go on: what was put is served or let go, and nothing else.
TEST(DeqActiveLife, StopAndInitAgainstProducers) {
    struct Owner {
        HRESULT OnActiveDeq(std::shared_ptr<int>& _pItem, int32_t) {
            nSum += *_pItem;
            return S_OK;
        }
        void OnActiveDeqOverflow(std::shared_ptr<int>&) {}
        int64_t nSum = 0;
    } owner;
    const auto pItem = std::make_shared<int>(1);
    {
        CDeqActive<Owner, std::shared_ptr<int>> deq(owner, "stress");
        deq.Init(0, 4, false);
        std::atomic<bool> bGoOn{true};
        std::atomic<int64_t> nPut{0};
        std::vector<Thread> arrThreads(3);
        for (Thread& thread : arrThreads) {
            thread.Start("producer", [&](ManualEvent&) {
                while (bGoOn) nPut += deq.Put(pItem, -1) > 0;
            });
        }
        for (int i = 0; i < 200; ++i) {
            SleepFor(2000);
            EXPECT_TRUE(Succeeded(deq.Stop()));
            EXPECT_EQ(deq.Init(0, 4, false), S_OK);
        }
        bGoOn = false;
        deq.Stop();
        for (Thread& thread : arrThreads) thread.Join();
        EXPECT_GT(owner.nSum, 0);
        EXPECT_LE(owner.nSum, nPut);
        EXPECT_GE(owner.nSum + 201 * 5, nPut);  // each stop lets go of a full queue at most
    }
    EXPECT_EQ(pItem.use_count(), 1);
}

}  // namespace
}  // namespace zr
