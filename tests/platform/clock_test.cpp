#include "platform/clock.h"

#include <array>
#include <atomic>
#include <deque>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/lock.h"
#include "platform/thread.h"
#include "platform/thread_pool.h"
#include "platform/waitable_timer.h"
#include "support/stress.h"

namespace zr {
namespace {

constexpr int64_t kMs = kTicksPerMs;
constexpr int64_t kHour = 3600 * kTicksPerSecond;

TEST(RealClock, WaitsEndAtTheirTimeAndTheClocksAgree) {
    const int64_t rtStart = ClockNow(), rtWall = WallNow();
    SleepUntil(rtStart + 2 * kMs);
    EXPECT_GE(ClockNow(), rtStart + 2 * kMs);
    WaitableTimer timer;
    const int64_t rtDue = ClockNow() + 2 * kMs;
    timer.Arm(rtDue);
    EXPECT_TRUE(WaitOne(timer, -1));
    EXPECT_GE(ClockNow(), rtDue);
    timer.ArmIn(kHour);
    Thread thread;
    thread.Start("waits for an hour", [&](ManualEvent&) { WaitOne(timer, -1); });
    SleepFor(5 * kMs);
    timer.ArmIn(kMs);  // it waits for the new time
    EXPECT_TRUE(thread.Join(60 * kTicksPerSecond));
    EXPECT_GE(WallNow() - rtWall, 3 * kMs);
    EXPECT_GT(rtWall, VirtualClock::kWallStart);
}

// Thirty minutes of 25 frames a second through a queue between a producer that a timer paces and a consumer that takes
// 30 ms for each fourth frame.
TEST(VirtualClock, AShowRunsAsItsTimesSay) {
    VirtualClock clock;
    constexpr int64_t kPeriod = kTicksPerSecond / 25;
    const int64_t nFrames = StressRounds(30 * 60 * 25);
    const int64_t rtStart = ClockNow(), rtWallStart = WallNow();
    Mutex mtx;
    std::deque<int64_t> queue;
    AutoEvent evFrame;
    Thread producer, consumer;
    int64_t nLate = 0, nTaken = 0, rtLongest = 0;
    producer.Start("producer", [&](ManualEvent& _evStop) {
        WaitableTimer timer;
        for (int64_t n = 1; n <= nFrames; ++n) {
            timer.Arm(rtStart + n * kPeriod);
            if (WaitAny({&_evStop, &timer}, -1) != 1) return;
            if (ClockNow() != rtStart + n * kPeriod) ++nLate;
            MutexLock lock(mtx);
            queue.push_back(ClockNow());
            evFrame.Set();
        }
    });
    consumer.Start("consumer", [&](ManualEvent& _evStop) {
        while (WaitAny({&_evStop, &evFrame}, -1) == 1) {
            for (;;) {
                MutexLock lock(mtx);
                if (queue.empty()) break;
                rtLongest = std::max(rtLongest, ClockNow() - queue.front());
                queue.pop_front();
                lock.Unlock();
                if (++nTaken % 4 == 0) SleepFor(50 * kMs);
            }
        }
    });
    EXPECT_TRUE(producer.Join());
    SleepFor(100 * kMs);
    consumer.RequestStop();
    EXPECT_TRUE(consumer.Join());
    EXPECT_EQ(nLate, 0);
    EXPECT_EQ(nTaken, nFrames);
    EXPECT_EQ(rtLongest, 10 * kMs);  // the frame after each fourth waits for the consumer
    EXPECT_EQ(ClockNow() - rtStart, nFrames * kPeriod + 100 * kMs);
    EXPECT_EQ(WallNow() - rtWallStart, ClockNow() - rtStart);
}

// Everything at once, most of it at the same instants: timers, an auto event many wait for, a lock that is held over a
// wait, pool tasks, threads that start threads.
std::string Scenario(uint64_t _nSeed) {
    VirtualClock clock(_nSeed);
    const int64_t rtStart = ClockNow();
    Mutex mtxTrace, mtxHeld;
    std::string trace;
    const auto note = [&](char _cWho, int _nWhat) {
        MutexLock lock(mtxTrace);
        trace += _cWho + std::to_string(_nWhat) + "@" + std::to_string((ClockNow() - rtStart) / kMs) + " ";
    };
    AutoEvent evWork;
    ThreadPool pool("scenario");
    TaskGroup group;
    std::vector<std::unique_ptr<Thread>> arrThreads;
    for (char cName = 'a'; cName < 'e'; ++cName) {
        arrThreads.push_back(std::make_unique<Thread>());
        arrThreads.back()->Start("timed", [&, cName](ManualEvent& _evStop) {
            WaitableTimer timer;
            for (int i = 1; i <= 10; ++i) {
                timer.Arm(rtStart + i * 40 * kMs);
                if (WaitAny({&_evStop, &timer}, -1) != 1) return;
                note(cName, i);
                evWork.Set();
                if (i % 3 == 0) {
                    MutexLock lock(mtxHeld);
                    SleepFor(5 * kMs);
                    note(cName, 100 + i);
                }
                if (i % 4 == 0) {
                    pool.Submit(
                        [&, cName, i] {
                            SleepFor((cName - 'a') / 2 * kMs);
                            note(cName, 200 + i);
                        },
                        &group);
                }
            }
        });
    }
    for (char cName = 'x'; cName <= 'z'; ++cName) {
        arrThreads.push_back(std::make_unique<Thread>());
        arrThreads.back()->Start("worker", [&, cName](ManualEvent& _evStop) {
            Thread child;
            for (int i = 0; WaitAny({&_evStop, &evWork}, -1) == 1; ++i) {
                note(cName, i);
                if (i == 3) child.Start("child", [&](ManualEvent&) { note('c', cName); });
            }
            child.Join();
        });
    }
    SleepFor(kTicksPerSecond);
    group.Wait(nullptr, -1);
    for (auto& pThread : arrThreads) pThread->RequestStop();
    arrThreads.clear();
    return trace;
}

TEST(VirtualClock, ARunIsTheSameEachTimeForEachSeed) {
    SetThreadFaultHandler([](const char*, uint32_t) {});
    for (const uint64_t nSeed : {uint64_t{0}, uint64_t{1}, uint64_t{2}}) {
        const std::string first = Scenario(nSeed);
        EXPECT_GT(first.size(), 500u);
        for (int i = 0; i < 20; ++i) ASSERT_EQ(Scenario(nSeed), first) << "seed " << nSeed << ", run " << i;
    }
    EXPECT_NE(Scenario(1), Scenario(2));
    SetThreadFaultHandler(nullptr);
}

TEST(VirtualClock, EqualDeadlinesComeInTheOrderOfTheWaits) {
    VirtualClock clock;
    std::string trace;
    std::array<Thread, 4> arrThreads;
    for (size_t i = 0; i < arrThreads.size(); ++i) {
        arrThreads[i].Start("t", [&, i](ManualEvent&) {
            SleepFor(static_cast<int64_t>(4 - i) * kMs);  // the last one begins to wait first
            SleepUntil(VirtualClock::kStart + 10 * kMs);
            trace += static_cast<char>('0' + i);
            SleepFor(0);  // lets the others come first
            trace += static_cast<char>('a' + i);
        });
    }
    for (Thread& thread : arrThreads) thread.Join();
    EXPECT_EQ(trace, "3210dcba");
}

TEST(VirtualClock, TimeStandsUntilAStartedThreadAndAThreadThatWasSetHaveRun) {
    VirtualClock clock;
    AutoEvent ev;
    std::vector<int64_t> arrTimes;
    Thread thread;
    thread.Start("t", [&](ManualEvent&) {
        arrTimes.push_back(ClockNow() - VirtualClock::kStart);
        WaitOne(ev, -1);
        arrTimes.push_back(ClockNow() - VirtualClock::kStart);
    });
    SleepFor(kHour);
    ev.Set();
    SleepFor(kHour);
    EXPECT_EQ(arrTimes, (std::vector<int64_t>{0, kHour}));
}

TEST(VirtualClock, AThreadThatWaitsForALockLetsItsHolderSleep) {
    VirtualClock clock;
    Mutex mtx;
    Thread holder;
    holder.Start("holder", [&](ManualEvent&) {
        MutexLock lock(mtx);
        SleepFor(kHour);
    });
    SleepFor(1);
    {
        MutexLock lock(mtx);
        EXPECT_EQ(ClockNow() - VirtualClock::kStart, kHour);
    }
    holder.Join();
}

TEST(VirtualClock, ReportsOnceThatItStandsAndGoesOnFromOutside) {
    static std::atomic<int> nReports;
    static std::string report;
    nReports = 0;
    VirtualClock::SetStallHandler([](const char* _szThreads) {
        report = _szThreads;
        ++nReports;
    });
    VirtualClock clock;
    ManualEvent ev, evNever;
    Thread thread;
    thread.Start("patient", [&](ManualEvent& _evStop) { WaitAny({&_evStop, &evNever}, -1); });
    for (int i = 0; i < 2; ++i) {
        std::thread outside([&] {
            // The report is made outside the lock: it must be there before the wait that it tells of ends.
            while (!VirtualClock::IsStalled() || nReports == 0) std::this_thread::yield();
            ev.Set();
        });
        EXPECT_TRUE(WaitOne(ev, -1));
        EXPECT_FALSE(VirtualClock::IsStalled());
        ev.Reset();
        outside.join();
    }
    EXPECT_EQ(nReports, 1);
    EXPECT_NE(report.find("\"patient\": waits for 2 objects without limit"), std::string::npos) << report;
    EXPECT_NE(report.find("\"main\": waits for 1 objects without limit"), std::string::npos) << report;
    thread.RequestStop();
    thread.Join();
    VirtualClock::SetStallHandler(nullptr);
}

TEST(VirtualClock, GoesOnWithoutAThreadInABlockingCall) {
    VirtualClock clock;
    std::atomic<bool> bGo{false};
    int64_t rtBack = 0;
    Thread thread;
    thread.Start("blocked", [&](ManualEvent&) {
        {
            ClockBlockingCall call;
            bGo.wait(false);
        }
        rtBack = ClockNow();
        SleepFor(kMs);
    });
    SleepFor(kHour);
    EXPECT_NE(DescribeThreads().find("in a blocking call"), std::string::npos);
    bGo = true;
    bGo.notify_one();
    EXPECT_TRUE(thread.Join());
    EXPECT_EQ(rtBack, VirtualClock::kStart + kHour);
    EXPECT_EQ(ClockNow(), rtBack + kMs);
}

TEST(VirtualClock, WaitsThatAreUnderWayKeepWhatIsLeftOfTheirTime) {
    ManualEvent evNever;
    Thread longWait, shortWait;
    std::atomic<int> nWaiting{0};
    longWait.Start("long", [&](ManualEvent&) {
        ++nWaiting;
        EXPECT_FALSE(WaitOne(evNever, kHour));
    });
    while (nWaiting < 1 || DescribeThreads().find("waits for 1") == std::string::npos) std::this_thread::yield();
    {
        VirtualClock clock;
        SleepFor(kHour - 5 * 60 * kTicksPerSecond);
        EXPECT_TRUE(longWait.IsRunning());
        SleepFor(6 * 60 * kTicksPerSecond);
        EXPECT_FALSE(longWait.IsRunning());
        shortWait.Start("short", [&](ManualEvent&) { EXPECT_FALSE(WaitOne(evNever, 10 * kMs)); });
        SleepFor(9 * kMs);
    }
    EXPECT_TRUE(shortWait.Join(60 * kTicksPerSecond));
}

}  // namespace
}  // namespace zr
