#include "platform/event.h"

#include <algorithm>

#include "platform/wait_engine.h"
#include "platform/waitable_timer.h"

namespace zr {
namespace {

int64_t DeadlineOf(int64_t _rtTimeout) {
    if (_rtTimeout < 0) return kNever;
    return _rtTimeout == 0 ? WaitEngine::kPoll : DeadlineAfter(ClockNow(), _rtTimeout);
}

}  // namespace

Waitable::~Waitable() { WaitEngine::Get().CheckUnused(*this); }

void ManualEvent::Set() { WaitEngine::Get().Set(*this); }
void ManualEvent::Reset() { WaitEngine::Get().Reset(*this); }
void ManualEvent::Pulse() { WaitEngine::Get().Pulse(*this); }

void AutoEvent::Set() { WaitEngine::Get().Set(*this); }
void AutoEvent::Reset() { WaitEngine::Get().Reset(*this); }
void AutoEvent::Pulse() { WaitEngine::Get().Pulse(*this); }

void CountdownEvent::Add(int32_t _nCount) { WaitEngine::Get().AddCount(*this, _nCount); }
void CountdownEvent::Done() { WaitEngine::Get().AddCount(*this, -1); }

void WaitableTimer::Arm(int64_t _rtDue) { WaitEngine::Get().Arm(*this, _rtDue); }
void WaitableTimer::ArmIn(int64_t _rtTicks) { Arm(ClockNow() + std::max<int64_t>(_rtTicks, 0)); }
void WaitableTimer::Cancel() { WaitEngine::Get().Arm(*this, kNever); }

int32_t WaitAny(WaitSet _set, int64_t _rtTimeout) {
    return WaitEngine::Get().Wait(_set, false, DeadlineOf(_rtTimeout));
}
int32_t WaitAnyUntil(WaitSet _set, int64_t _rtDeadline) { return WaitEngine::Get().Wait(_set, false, _rtDeadline); }
bool WaitAll(WaitSet _set, int64_t _rtTimeout) {
    return WaitEngine::Get().Wait(_set, true, DeadlineOf(_rtTimeout)) == 0;
}
bool WaitAllUntil(WaitSet _set, int64_t _rtDeadline) { return WaitEngine::Get().Wait(_set, true, _rtDeadline) == 0; }

int32_t WaitAnyPumped(WaitSet _set, int64_t _rtTimeout, MessagePump& _pump) {
    Waitable* arrWithPump[kMaxWaitObjects];
    const size_t nObjects = std::min(_set.size(), kMaxWaitObjects - 1);
    std::copy_n(_set.begin(), nObjects, arrWithPump);
    arrWithPump[nObjects] = &_pump.HasMessages();
    const int64_t rtDeadline = DeadlineOf(_rtTimeout);
    for (;;) {
        const int32_t nIndex = WaitAnyUntil(WaitSet(arrWithPump, nObjects + 1), rtDeadline);
        if (nIndex != static_cast<int32_t>(nObjects)) return nIndex;
        _pump.DispatchAll();
        const int32_t nTested = WaitAny(_set, 0);
        if (nTested >= 0) return nTested;
        if (rtDeadline <= ClockNow()) return kWaitTimeout;
    }
}

}  // namespace zr
