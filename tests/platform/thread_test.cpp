#include "platform/thread.h"

#include <atomic>
#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace zr {
namespace {

TEST(Thread, StartsStopsAndStartsAgain) {
    Thread thread;
    EXPECT_TRUE(thread.Join());
    for (int i = 0; i < 2; ++i) {
        std::atomic<uint32_t> nId{0};
        std::string nameInside;
        ManualEvent evIn;
        thread.Start("a name longer than the system keeps",
                     [&](ManualEvent& _evStop) {
                         nId = CurrentThreadId();
                         nameInside = ThreadName(nId);
                         evIn.Set();
                         WaitOne(_evStop, -1);
                     },
                     {.nPriority = -15});
        EXPECT_EQ(thread.Start("second", [](ManualEvent&) {}), ZR_E_WRONG_STATE);
        WaitOne(evIn, -1);
        EXPECT_EQ(thread.Id(), nId);
        EXPECT_EQ(nameInside, "a name longer than the system keeps");
        EXPECT_FALSE(thread.Join(kTicksPerMs));
        EXPECT_TRUE(thread.IsRunning());
        thread.SetPriority(15);
        thread.RequestStop();
        if (i == 1) {
            EXPECT_TRUE(thread.Join());
            EXPECT_EQ(ThreadName(nId), "");
        }
        // else Start joins it
        while (thread.IsRunning()) SleepFor(kTicksPerMs);
    }
}

int nFaults = 0;
std::string strFault;

TEST(Thread, ReportsAnOwnerThatForgotToStopIt) {
    SetThreadFaultHandler([](const char* _szName, uint32_t) {
        ++nFaults;
        strFault = _szName;
    });
    nFaults = 0;
    std::atomic<bool> bEnded{false};
    {
        Thread stopped, forgotten;
        stopped.Start("stopped", [](ManualEvent&) {});
        forgotten.Start("forgotten", [&](ManualEvent& _evStop) {
            WaitOne(_evStop, -1);
            bEnded = true;
        });
        WaitOne(stopped.Finished(), -1);
    }
    EXPECT_TRUE(bEnded);
    EXPECT_EQ(nFaults, 1);
    EXPECT_EQ(strFault, "forgotten");
    SetThreadFaultHandler(nullptr);
}

TEST(Thread, MayBeDestroyedByItself) {
    SetThreadFaultHandler([](const char*, uint32_t) {});
    ManualEvent evGo, evEnded;
    auto pThread = std::make_unique<Thread>();
    pThread->Start("own", [&](ManualEvent& _evStop) {
        WaitOne(evGo, -1);
        EXPECT_FALSE(pThread->Join());
        pThread.reset();
        EXPECT_TRUE(_evStop.IsSet());  // the block outlives the object
        evEnded.Set();
    });
    evGo.Set();
    EXPECT_TRUE(WaitOne(evEnded, 60 * kTicksPerSecond));
    SetThreadFaultHandler(nullptr);
}

TEST(Thread, DropsWhatItsBodyHoldsBeforeItCountsAsEnded) {
    auto pHeld = std::make_shared<int>(1);
    Thread thread;
    thread.Start("holder", [pHeld](ManualEvent&) {});
    EXPECT_TRUE(WaitOne(thread.Finished(), -1));
    EXPECT_EQ(pHeld.use_count(), 1);
    EXPECT_TRUE(thread.Join());
}

}  // namespace
}  // namespace zr
