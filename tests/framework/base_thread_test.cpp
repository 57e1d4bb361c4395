#include "framework/base_thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <tuple>

#include "platform/clock.h"
#include "support/stress.h"

namespace zr {
namespace {

struct Owner {
    ManualEvent evStarted;
    ManualEvent evMayEnd;
    AutoEvent evWoken;
    std::atomic<int> nWakes{0};

    // Counts its wakes until it is stopped.
    static void CountWakes(void* _p, ThreadRun& _run) {
        auto& owner = *static_cast<Owner*>(_p);
        owner.evStarted.Set();
        while (_run.WaitWake()) {
            ++owner.nWakes;
            owner.evWoken.Set();
        }
    }
    // Does not look whether it is to end.
    static void Stubborn(void* _p, ThreadRun&) {
        auto& owner = *static_cast<Owner*>(_p);
        owner.evStarted.Set();
        WaitOne(owner.evMayEnd, -1);
    }
};

TEST(BaseThread, StatesAndResultsOfStop) {
    Owner owner;
    CBaseThread thread("stubborn");
    CBaseThread::Handle pHandle;
    EXPECT_EQ(thread.IsRunning(&pHandle), CBaseThread::kStopped);
    EXPECT_EQ(pHandle, nullptr);
    EXPECT_EQ(thread.Stop(0), S_FALSE);
    EXPECT_FALSE(thread.Wake());

    ASSERT_EQ(thread.Start(&owner, &Owner::Stubborn), S_OK);
    ASSERT_TRUE(WaitOne(owner.evStarted, -1));
    EXPECT_EQ(thread.IsRunning(&pHandle), CBaseThread::kRunning);
    EXPECT_EQ(thread.Stop(1), ZR_E_TIMEOUT);
    EXPECT_EQ(thread.IsRunning(), CBaseThread::kStopping);
    EXPECT_FALSE(pHandle->IsSet());
    owner.evMayEnd.Set();
    EXPECT_TRUE(WaitOne(*pHandle, -1));
    EXPECT_EQ(thread.IsRunning(), CBaseThread::kStopped);
    EXPECT_EQ(thread.Stop(-1), S_FALSE);
    EXPECT_TRUE(pHandle->IsSet());  // the end of that run stays to be seen
}

TEST(BaseThread, WakesOfABusyThreadAreOne) {
    VirtualClock clock;
    Owner owner;
    CBaseThread thread("count");
    ASSERT_EQ(thread.Start(&owner, &Owner::CountWakes), S_OK);
    for (int i = 0; i < 3; ++i) thread.Wake();  // the other thread has its turn only when this one waits
    ASSERT_TRUE(WaitOne(owner.evWoken, -1));
    EXPECT_FALSE(WaitOne(owner.evWoken, kTicksPerSecond));
    EXPECT_EQ(owner.nWakes, 1);
    EXPECT_EQ(thread.Stop(-1), S_OK);
    EXPECT_EQ(owner.nWakes, 1);  // the wake of a stop is none
}

class Pump final : public MessagePump {
public:
    explicit Pump(ManualEvent& _evDone) : evDone(_evDone) {}
    Waitable& HasMessages() override { return evMessage; }
    void DispatchAll() override {
        evMessage.Reset();
        evDone.Set();
    }

    ManualEvent evMessage;
    ManualEvent& evDone;
};

// The thread ends only when its stopper has served a message.
TEST(BaseThread, StopServesTheCallersMessages) {
    VirtualClock clock;
    Owner owner;
    Pump pump(owner.evMayEnd);
    CBaseThread thread("stubborn");
    ASSERT_EQ(thread.Start(&owner, &Owner::Stubborn), S_OK);
    pump.evMessage.Set();
    EXPECT_EQ(thread.Stop(0), ZR_E_TIMEOUT);
    EXPECT_FALSE(owner.evMayEnd.IsSet());
    EXPECT_EQ(thread.Stop(1000, &pump), S_OK);
}

struct SelfStopper {
    CBaseThread thread{"self"};
    ManualEvent evDone;
    HRESULT hrStop = S_OK, hrStart = S_OK;
    bool bWanted = true;

    static void Run(void* _p, ThreadRun& _run) {
        auto& self = *static_cast<SelfStopper*>(_p);
        self.hrStop = self.thread.Stop(-1);
        self.hrStart = self.thread.Start(_p, &Run);
        self.bWanted = _run.IsWanted();
        self.evDone.Set();
    }
};

TEST(BaseThread, ThreadThatStopsItselfIsToldThatItRuns) {
    SelfStopper self;
    ASSERT_EQ(self.thread.Start(&self, &SelfStopper::Run), S_OK);
    ASSERT_TRUE(WaitOne(self.evDone, -1));
    self.thread.Stop(-1);
    EXPECT_EQ(self.hrStop, ZR_E_TIMEOUT);
    EXPECT_EQ(self.hrStart, ZR_E_TIMEOUT);
    EXPECT_FALSE(self.bWanted);
}

TEST(BaseThread, DestroyedWhileRunningIsReportedAndStopped) {
    Owner owner;
    testing::internal::CaptureStderr();
    {
        CBaseThread thread("forgotten");
        ASSERT_EQ(thread.Start(&owner, &Owner::CountWakes), S_OK);
        ASSERT_TRUE(WaitOne(owner.evStarted, -1));
    }
    const std::string text = testing::internal::GetCapturedStderr();
    EXPECT_NE(text.find("WARNING !!! Thread not stopped.\n"), std::string::npos) << text;
    EXPECT_NE(text.find(") NOT STOPPED before destroying.\n"), std::string::npos) << text;
    EXPECT_NE(text.find("forgotten"), std::string::npos) << text;
    EXPECT_NE(text.find("\nEXE: test_framework\n"), std::string::npos) << text;
}

struct SelfDestroyer {
    std::unique_ptr<CBaseThread> pThread = std::make_unique<CBaseThread>("suicide");
    std::atomic<bool> bWanted{true};
    ManualEvent evDone;

    static void Run(void* _p, ThreadRun& _run) {
        auto& self = *static_cast<SelfDestroyer*>(_p);
        _run.WaitWake();
        self.pThread.reset();
        self.bWanted = _run.WaitWake();
        self.evDone.Set();
    }
};

// The run outlives its object, and only the object reports.
TEST(BaseThread, DestroyedByItsOwnThreadKeepsItsRun) {
    static std::atomic<int> nReports;
    nReports = 0;
    SetThreadFaultHandler([](const char*, uint32_t) { ++nReports; });
    testing::internal::CaptureStderr();
    SelfDestroyer self;
    ASSERT_EQ(self.pThread->Start(&self, &SelfDestroyer::Run), S_OK);
    ASSERT_TRUE(self.pThread->Wake());
    ASSERT_TRUE(WaitOne(self.evDone, -1));
    EXPECT_FALSE(self.bWanted);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("suicide"), std::string::npos);
    EXPECT_EQ(nReports, 0);
    SetThreadFaultHandler(nullptr);
}

struct SharedThread {
    CBaseThread thread{"shared"};
    std::atomic<int> nInside{0};
    std::atomic<int> nTogether{0};

    static void Run(void* _p, ThreadRun& _run) {
        auto& shared = *static_cast<SharedThread*>(_p);
        if (shared.nInside.fetch_add(1) != 0) ++shared.nTogether;
        while (_run.WaitWake()) {
        }
        --shared.nInside;
    }
};

// Many threads start, wake and stop one thread object: every call succeeds, and no run meets another.
TEST(BaseThread, AnyoneMayStartAndStop) {
    SharedThread shared;
    OnThreads(4, [&shared](int _nThread) {
        for (int n = 0; n < 200; ++n) {
            if ((n + _nThread) % 2) {
                EXPECT_EQ(shared.thread.Start(&shared, &SharedThread::Run), S_OK);
            } else {
                shared.thread.Wake();
                EXPECT_TRUE(Succeeded(shared.thread.Stop(-1)));
            }
        }
    });
    shared.thread.Stop(-1);
    EXPECT_EQ(shared.nTogether, 0);
    EXPECT_EQ(shared.nInside, 0);
}

TEST(BaseThread, PriorityFromText) {
    constexpr std::tuple<const char16_t*, int32_t> arrCases[] = {
        {u"15", 15}, {u"-2", -2}, {u" 7 ", 7}, {u"", 0}, {u"high", 0}, {u"-16", -15}, {u"99999999999", 15}};
    for (const auto& [szText, nPriority] : arrCases) EXPECT_EQ(ThreadPriorityFromText(szText), nPriority);
}

}  // namespace
}  // namespace zr
