#pragma once
// The state of a mixer, and what is left of a timed pause.

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "framework/lock_order.h"
#include "platform/lock.h"
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

    // The name that the object's events carry. Never null; taking it allocates nothing.
    std::shared_ptr<const std::u16string> Name() const {
        MutexLock lockName(mtxName);
        return pName;
    }
    // Throws std::bad_alloc.
    void SetName(std::u16string_view _name) {
        auto pNew = std::make_shared<const std::u16string>(_name);
        MutexLock lockName(mtxName);
        pName.swap(pNew);
    }

private:
    mutable Mutex mtxName;
    std::shared_ptr<const std::u16string> pName ZR_GUARDED_BY(mtxName) = std::make_shared<const std::u16string>();
    std::atomic<eZrState> eState{eZrS_Closed};
};

}  // namespace zr
