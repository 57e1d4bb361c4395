#pragma once
// The state of a mixer, and what is left of a timed pause.

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

    int64_t rtPauseRemainder ZR_GUARDED_BY(lock) = 0;  // ticks; 0: the pause has no end of its own

    ObjectName name;  // that the mixer's events carry

private:
    std::atomic<eZrState> eState{eZrS_Closed};
};

}  // namespace zr
