#include "platform/event.h"

#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/thread.h"
#include "platform/waitable_timer.h"
#include "support/stress.h"

namespace zr {
namespace {

constexpr int64_t kMs = kTicksPerMs;

// Threads that each wait once and leave their name and result in a trace. On the virtual clock they all wait as soon as
// the test itself waits.
class Waiters {
public:
    template <class F>
    void Add(const char* _szName, F _wait) {
        arrThreads.push_back(std::make_unique<Thread>());
        arrThreads.back()->Start(_szName, [this, _szName, _wait](ManualEvent&) {
            trace += std::string(_szName) + std::to_string(static_cast<int>(_wait())) + " ";
        });
        SleepFor(1);
    }
    // What has ended since the last call, in order.
    std::string Ended() {
        SleepFor(1);
        return std::exchange(trace, {});
    }

private:
    std::string trace;
    std::vector<std::unique_ptr<Thread>> arrThreads;
};

TEST(Event, FirstListedWinsAndOnlyThatOneIsTaken) {
    AutoEvent evA(true), evB(true);
    EXPECT_EQ(WaitAny({&evA, &evB}, 0), 0);
    EXPECT_FALSE(evA.IsSet());
    EXPECT_TRUE(evB.IsSet());
    EXPECT_EQ(WaitAny({&evA, nullptr, &evB}, -1), 2);
    EXPECT_EQ(WaitAny({&evA, &evB}, 0), kWaitTimeout);
    EXPECT_EQ(WaitAny({}, 0), kWaitTimeout);
}

TEST(Event, AutoEventServesOneThreadForEachSetInTheOrderOfTheWaits) {
    VirtualClock clock;
    AutoEvent ev;
    Waiters waiters;
    for (const char* szName : {"a", "b", "c"}) waiters.Add(szName, [&] { return WaitAny({&ev}, -1); });
    EXPECT_EQ(waiters.Ended(), "");
    ev.Set();
    EXPECT_FALSE(ev.IsSet());
    EXPECT_EQ(waiters.Ended(), "a0 ");
    ev.Set();
    ev.Set();  // not lost: b has been given the one before
    EXPECT_EQ(waiters.Ended(), "b0 c0 ");
    ev.Pulse();
    EXPECT_FALSE(ev.IsSet());
    ev.Set();
    ev.Set();  // lost
    EXPECT_TRUE(WaitOne(ev, 0));
    EXPECT_FALSE(WaitOne(ev, 0));
}

TEST(Event, ManualEventReleasesAllThatWaitEvenIfItIsClearedAtOnce) {
    VirtualClock clock;
    ManualEvent ev;
    Waiters waiters;
    for (const char* szName : {"a", "b"}) waiters.Add(szName, [&] { return WaitAny({&ev}, -1); });
    ev.Set();
    ev.Reset();
    EXPECT_EQ(waiters.Ended(), "a0 b0 ");
    waiters.Add("c", [&] { return WaitAny({&ev}, -1); });
    ev.Pulse();
    EXPECT_FALSE(ev.IsSet());
    EXPECT_EQ(waiters.Ended(), "c0 ");
}

TEST(Event, AWaitTakesNothingButWhatItReturns) {
    VirtualClock clock;
    AutoEvent evA, evB;
    Waiters waiters;
    waiters.Add("any", [&] { return WaitAny({&evA, &evB}, -1); });
    evB.Set();
    evA.Set();  // comes second: stays
    EXPECT_EQ(waiters.Ended(), "any1 ");
    EXPECT_TRUE(evA.IsSet());
    EXPECT_FALSE(evB.IsSet());
    evA.Reset();
    waiters.Add("twice", [&] { return WaitAny({&evA, &evB, &evA}, -1); });
    evA.Set();
    EXPECT_EQ(waiters.Ended(), "twice0 ");
    ManualEvent evC;
    waiters.Add("both", [&] { return WaitAll({&evC, &evC}, -1); });
    waiters.Add("next", [&] { return WaitAny({&evB, &evC}, -1); });
    evC.Set();
    EXPECT_EQ(waiters.Ended(), "both1 next1 ");
}

TEST(Event, WaitAllTakesAllOrNothing) {
    VirtualClock clock;
    AutoEvent evA, evB;
    ManualEvent evC(true);
    Waiters waiters;
    waiters.Add("all", [&] { return WaitAll({&evA, nullptr, &evB, &evC}, -1); });
    waiters.Add("any", [&] { return WaitAny({&evA}, -1); });
    evA.Set();  // "all" came first, but cannot be served yet
    EXPECT_EQ(waiters.Ended(), "any0 ");
    evA.Set();
    EXPECT_TRUE(evA.IsSet());
    EXPECT_EQ(waiters.Ended(), "");
    EXPECT_TRUE(WaitOne(evA, 0));  // "all" holds nothing back
    evB.Set();
    EXPECT_EQ(waiters.Ended(), "");
    evA.Set();
    EXPECT_EQ(waiters.Ended(), "all1 ");
    EXPECT_FALSE(evA.IsSet() || evB.IsSet());
    evA.Set();
    EXPECT_FALSE(WaitAll({&evA, &evB}, 5 * kMs));
    EXPECT_TRUE(evA.IsSet());
}

TEST(Event, TimeoutsLastExactlyAsLongAsAsked) {
    VirtualClock clock;
    ManualEvent ev;
    for (const int64_t rtTimeout : {int64_t{0}, int64_t{1}, 40 * kMs, 24 * 3600 * kTicksPerSecond}) {
        const int64_t rtStart = ClockNow();
        EXPECT_EQ(WaitAny({&ev}, rtTimeout), kWaitTimeout);
        EXPECT_EQ(ClockNow() - rtStart, rtTimeout);
    }
    EXPECT_EQ(WaitAnyUntil({&ev}, ClockNow() - 1), kWaitTimeout);
    EXPECT_EQ(DeadlineAfter(5, -1), kNever);
    EXPECT_EQ(DeadlineAfter(5, kNever - 1), kNever);
}

TEST(Event, SixtyFourObjects) {
    std::array<AutoEvent, kMaxWaitObjects> arrEvents;
    std::vector<Waitable*> arrSet;
    for (AutoEvent& ev : arrEvents) arrSet.push_back(&ev);
    arrEvents.back().Set();
    EXPECT_EQ(WaitAny(arrSet, -1), 63);
    for (AutoEvent& ev : arrEvents) ev.Set();
    EXPECT_TRUE(WaitAll(arrSet, 0));
    EXPECT_FALSE(arrEvents.front().IsSet() || arrEvents.back().IsSet());
}

TEST(Timer, ThreadsThatWaitFollowItsDueTime) {
    VirtualClock clock;
    WaitableTimer timer;
    ManualEvent evStop;
    const int64_t rtStart = ClockNow();
    Waiters waiters;
    int64_t rtEnd = 0;
    const auto wait = [&] {
        const int32_t nResult = WaitAny({&evStop, &timer}, 1000 * kMs);
        rtEnd = ClockNow() - rtStart;
        return nResult;
    };
    constexpr std::tuple<const char*, int64_t, int64_t, int64_t, const char*> arrCases[] = {
        {"armed_before", 100 * kMs, 0, 100 * kMs, "w1 "},
        {"armed_later", 500 * kMs, 700 * kMs, 700 * kMs, "w1 "},
        {"armed_earlier", 500 * kMs, 200 * kMs, 200 * kMs, "w1 "},
        {"cancelled", 500 * kMs, kNever, 1000 * kMs, "w-1 "},
        {"at_the_timeout", 1000 * kMs, 0, 1000 * kMs, "w1 "},
    };
    for (const auto& [szName, rtFirst, rtThen, rtEndWanted, szTrace] : arrCases) {
        SCOPED_TRACE(szName);
        const int64_t rtCase = ClockNow() - rtStart;
        timer.ArmIn(rtFirst);
        waiters.Add("w", wait);
        SleepFor(10 * kMs - 1);
        if (rtThen == kNever) timer.Cancel();
        if (rtThen != 0 && rtThen != kNever) timer.Arm(rtStart + rtCase + rtThen);
        SleepFor(2000 * kMs);
        EXPECT_EQ(waiters.Ended(), szTrace);
        EXPECT_EQ(rtEnd - rtCase, rtEndWanted);
    }
}

TEST(Timer, ArmedAnewAtItsDueTimeItHasReleasedThoseThatWaited) {
    VirtualClock clock;
    WaitableTimer timer;
    timer.ArmIn(10 * kMs);
    Thread again;
    again.Start("again", [&](ManualEvent&) {
        SleepFor(10 * kMs);  // due first, as it began to wait first
        timer.ArmIn(kTicksPerSecond);
    });
    SleepFor(1);
    Waiters waiters;
    waiters.Add("w", [&] { return WaitAny({&timer}, 100 * kMs); });
    SleepFor(20 * kMs);
    EXPECT_EQ(waiters.Ended(), "w0 ");
    EXPECT_FALSE(timer.IsSet());
    again.Join();
}

TEST(Timer, StaysSetUntilItIsArmedAgainUnlessItResetsItself) {
    VirtualClock clock;
    WaitableTimer timer, once(true);
    timer.ArmIn(-5);
    once.ArmIn(10 * kMs);
    EXPECT_TRUE(timer.IsSet());
    EXPECT_FALSE(once.IsSet());
    Waiters waiters;
    for (const char* szName : {"a", "b"}) waiters.Add(szName, [&] { return WaitAny({&once}, 50 * kMs); });
    EXPECT_TRUE(WaitOne(timer, 0));
    EXPECT_TRUE(WaitOne(timer, 0));
    timer.ArmIn(5 * kMs);  // nobody waits for it, and the time goes past it
    EXPECT_FALSE(timer.IsSet());
    SleepFor(20 * kMs);
    EXPECT_EQ(waiters.Ended(), "a0 ");
    EXPECT_TRUE(timer.IsSet());
    SleepFor(100 * kMs);
    EXPECT_EQ(waiters.Ended(), "b-1 ");
    timer.Cancel();
    EXPECT_FALSE(timer.IsSet());
}

class CountingPump : public MessagePump {
public:
    Waitable& HasMessages() override { return evHas; }
    void DispatchAll() override {
        evHas.Reset();
        ++nDispatched;
        if (nDispatched == nSetAt) evObject.Set();
        if (nDispatched < nMessages) evHas.Set();
        SleepFor(rtEach);
    }
    ManualEvent evHas, evObject;
    int nDispatched = 0, nMessages = 1, nSetAt = 0;
    int64_t rtEach = 10 * kMs;
};

TEST(PumpedWait, DispatchesAndThenTests) {
    VirtualClock clock;
    constexpr std::tuple<const char*, int, int, int64_t, int32_t, int, int64_t> arrCases[] = {
        {"set_by_a_message", 5, 2, -1, 0, 2, 20 * kMs},
        {"time_of_dispatch_counts", 1000, 0, 25 * kMs, kWaitTimeout, 3, 30 * kMs},
        {"rest_of_the_time", 2, 0, 100 * kMs, kWaitTimeout, 2, 100 * kMs},
        {"poll_dispatches", 2, 0, 0, kWaitTimeout, 1, 10 * kMs},
    };
    for (const auto& [szName, nMessages, nSetAt, rtTimeout, nResult, nDispatched, rtTaken] : arrCases) {
        SCOPED_TRACE(szName);
        CountingPump pump;
        pump.nMessages = nMessages;
        pump.nSetAt = nSetAt;
        pump.evHas.Set();
        Waitable* const arrSet[] = {&pump.evObject};
        const int64_t rtStart = ClockNow();
        EXPECT_EQ(WaitAnyPumped(arrSet, rtTimeout, pump), nResult);
        EXPECT_EQ(pump.nDispatched, nDispatched);
        EXPECT_EQ(ClockNow() - rtStart, rtTaken);
    }
}

// Each channel is set again only after the last Set was answered, so every Set must reach exactly one of the threads
// that wait in different ways: one by one, in pairs, with short timeouts, and by tests alone.
TEST(EventStress, EverySetReachesExactlyOneThread) {
    constexpr size_t kChannels = 6;
    struct Channel {
        AutoEvent evRequest, evAnswer;
        std::atomic<int> nTaken{0};
        Thread thread;
    };
    const int nRounds = StressRounds(30'000);
    std::array<Channel, kChannels> arrChannels;
    ManualEvent evStop;
    std::atomic<int> nBad{0};
    const auto take = [&](size_t _nChannel) {
        ++arrChannels[_nChannel].nTaken;
        arrChannels[_nChannel].evAnswer.Set();
    };

    std::array<Thread, 5> arrTakers;
    for (size_t nTaker = 0; nTaker < arrTakers.size(); ++nTaker) {
        arrTakers[nTaker].Start("taker", [&, nTaker](ManualEvent&) {
            std::vector<Waitable*> arrSet = {&evStop};
            for (size_t i = 0; i < kChannels; ++i) arrSet.push_back(&arrChannels[(i + nTaker) % kChannels].evRequest);
            const size_t nPair = nTaker % 2 * 2;
            WaitableTimer timer(true);
            arrSet.push_back(&timer);
            while (!evStop.IsSet()) {
                if (nTaker >= 3) {  // takes a pair, or gives up soon
                    if (WaitAll({&arrChannels[nPair].evRequest, &arrChannels[nPair + 1].evRequest}, 200)) {
                        take(nPair);
                        take(nPair + 1);
                    }
                    continue;
                }
                if (nTaker == 2) timer.ArmIn(50);
                const int32_t nIndex = WaitAny(arrSet, nTaker == 1 ? 10 : -1);
                if (nIndex > 0 && nIndex <= static_cast<int32_t>(kChannels)) {
                    take((static_cast<size_t>(nIndex) - 1 + nTaker) % kChannels);
                }
            }
        });
    }
    for (Channel& channel : arrChannels) {
        channel.thread.Start("setter", [&](ManualEvent&) {
            for (int i = 1; i <= nRounds; ++i) {
                channel.evRequest.Set();
                if (!WaitOne(channel.evAnswer, 30 * kTicksPerSecond) || channel.nTaken != i) ++nBad;
                if (nBad > 0) return;
            }
        });
    }
    for (Channel& channel : arrChannels) channel.thread.Join();
    evStop.Set();
    for (Thread& thread : arrTakers) thread.Join();
    EXPECT_EQ(nBad, 0);
    for (Channel& channel : arrChannels) {
        EXPECT_EQ(channel.nTaken, nRounds);
        EXPECT_FALSE(channel.evRequest.IsSet() || channel.evAnswer.IsSet());
    }
}

// The thread that was released destroys the event while the Set that released it may still be under way.
TEST(EventStress, TheReleasedThreadMayDestroyTheObject) {
    std::atomic<CountdownEvent*> pShared{nullptr};
    AutoEvent evMade;
    Thread setter;
    setter.Start("setter", [&](ManualEvent& _evStop) {
        while (WaitAny({&_evStop, &evMade}, -1) == 1) pShared.exchange(nullptr)->Done();
    });
    for (int i = StressRounds(30'000); i > 0; --i) {
        auto pEvent = std::make_unique<CountdownEvent>();
        pEvent->Add();
        pShared = pEvent.get();
        evMade.Set();
        ASSERT_TRUE(WaitOne(*pEvent, 30 * kTicksPerSecond));
    }
    setter.RequestStop();
    EXPECT_TRUE(setter.Join());
}

}  // namespace
}  // namespace zr
