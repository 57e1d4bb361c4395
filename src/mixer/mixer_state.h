#pragma once
// The state of a mixer, what is left of a timed pause, and who may change them.

#include <atomic>
#include <cstdint>

#include "framework/lock_order.h"
#include "framework/object_name.h"
#include "platform/rw_lock.h"
#include "zr/enums.h"

namespace zr {

// Control calls change the state as writers of the lock, one call at a time. The mix thread, for which those calls
// wait, only tries for it.
class MixerState {
public:
    CRWSynchroLiteRW lock{lock_order::kHostState};

    // Any thread, without the lock: the state at this moment.
    eZrState Get() const { return eState.load(std::memory_order_acquire); }
    void Set(eZrState _eState) ZR_REQUIRES(lock) { eState.store(_eState, std::memory_order_release); }

    // Ticks; 0: the pause has no end of its own. Changed under the lock, read by anyone.
    std::atomic<int64_t> rtPauseRemainder{0};

    ObjectName name;  // that the mixer's events carry

    // While it lives, its thread works for the mixer: it makes a frame or sends one, and control calls may wait for it.
    // A listener that is told there and calls the mixer is on such a thread.
    class Work {
    public:
        explicit Work(const MixerState& _state);
        ~Work();
        Work(const Work&) = delete;
        Work& operator=(const Work&) = delete;

    private:
        friend class MixerState;
        const MixerState& state;
        const Work* const pOuter;  // of the same thread
    };
    bool IsWorking() const;
    // For a control call. False: the thread works for the mixer, and a call that may wait for it has the lock.
    bool Enter(const char* _szLabel) ZR_TRY_ACQUIRE(true, lock);

private:
    std::atomic<eZrState> eState{eZrS_Closed};
};

// What the mix thread writes as, which waits for nobody.
inline constexpr const char* kEndOfPauseLabel = "EndTimedPause";

// A control call: has the state lock, unless it was refused; then it leaves everything as it is.
class ZR_SCOPED_CAPABILITY ControlScope {
public:
    // The analysis is told that the lock is there in any case: whoever is refused returns at once.
    ControlScope(MixerState& _state, const char* _szLabel) ZR_ACQUIRE(_state.lock) ZR_NO_THREAD_SAFETY_ANALYSIS
        : state(_state),
          bEntered(_state.Enter(_szLabel)) {}
    ~ControlScope() ZR_RELEASE() ZR_NO_THREAD_SAFETY_ANALYSIS {
        if (bEntered) state.lock.LeaveWrite();
    }
    ControlScope(const ControlScope&) = delete;
    ControlScope& operator=(const ControlScope&) = delete;

    bool IsRefused() const { return !bEntered; }

private:
    MixerState& state;
    const bool bEntered;
};

}  // namespace zr
