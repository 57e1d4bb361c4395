#include "platform/clock.h"

#include <ctime>

#include "platform/wait_engine.h"

namespace zr {

int64_t ClockNow() { return WaitEngine::Get().Now(); }

int64_t WallNow() {
    WaitEngine& engine = WaitEngine::Get();
    if (engine.IsVirtual()) return engine.Now() + engine.VirtualWallOffset();
    timespec ts;
    clock_gettime(CLOCK_REALTIME, &ts);
    return ts.tv_sec * kTicksPerSecond + ts.tv_nsec / 100;
}

void SleepFor(int64_t _rtTicks) {
    if (_rtTicks <= 0) {
        WaitEngine::Get().Yield();
    } else {
        SleepUntil(DeadlineAfter(ClockNow(), _rtTicks));
    }
}

void SleepUntil(int64_t _rtTime) { WaitEngine::Get().Wait({}, false, _rtTime); }

ClockThread::ClockThread(const char* _szName)
    : bListedBefore(WaitEngine::Self().bListed), bCountedBefore(WaitEngine::Self().bCounted) {
    WaitEngine& engine = WaitEngine::Get();
    if (!bListedBefore) engine.ListSelf(_szName);
    engine.SetCounted(true, false);
}

ClockThread::~ClockThread() {
    WaitEngine& engine = WaitEngine::Get();
    engine.SetCounted(bCountedBefore, false);
    if (!bListedBefore) engine.Unlist(WaitEngine::Self(), nullptr);
}

VirtualClock::VirtualClock(uint64_t _nSeed, int64_t _rtStart, int64_t _rtWallStart) : thread("main") {
    WaitEngine::Get().Install(_nSeed, _rtStart, _rtWallStart);
}

VirtualClock::~VirtualClock() { WaitEngine::Get().Remove(); }

bool VirtualClock::IsStalled() { return WaitEngine::Get().IsStalled(); }

void VirtualClock::SetStallHandler(void (*_pHandler)(const char*)) { WaitEngine::Get().pStallHandler = _pHandler; }

ClockBlockingCall::ClockBlockingCall() : bWasCounted(WaitEngine::Self().bCounted) {
    if (bWasCounted) WaitEngine::Get().SetCounted(false, true);
}

ClockBlockingCall::~ClockBlockingCall() {
    if (bWasCounted) WaitEngine::Get().SetCounted(true, false);
}

std::string DescribeThreads() { return WaitEngine::Get().Describe(); }

}  // namespace zr
