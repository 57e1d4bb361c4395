#pragma once
// One consumer of a source: a slot of one frame between the thread that puts and the one that gets.

#include <cstdint>

#include "framework/lock_order.h"
#include "platform/event.h"
#include "platform/lock.h"
#include "platform/ref_object.h"
#include "zr/frame.h"

namespace zr {

// Any thread.
class ZrReader final : public AutoObjBase<ZrReader> {
public:
    // One that misses more frames in a row than this goes, unless it is kept.
    static constexpr int32_t kMostMissed = 100;

    // The slot is full / has been emptied. A removed reader has both set for good.
    ManualEvent evAvailable;
    ManualEvent evTaken{true};

    // Puts the frame into the slot; the one that was there is missed. False: it has missed too many, and stays as it
    // is.
    bool Offer(IZrFFrame* _pFrame);
    // A reference of the caller's own to the frame in the slot, which is empty then, with the break flag when frames
    // were missed before it, and with the data items "AFPT" (_rtSincePut) and "WAIT" (_rtWaited), in ticks.
    // E_ABORT: there is none. A frame that could not be copied stays.
    HRESULT Take(int64_t _rtSincePut, int64_t _rtWaited, IZrFFrame** _ppFrame);
    // Drops the frame in the slot.
    void Clear();
    // It has been taken from its source: nobody waits for it or at it any more.
    void Remove();
    void Keep();

    // Holds a frame, and has not missed _nCycles in a row yet.
    bool IsAwaited(int32_t _nCycles) const;
    int32_t MissedTotal() const;

private:
    mutable Mutex mtx{lock_order::kReader};
    ZrPtr<IZrFFrame> pFrame ZR_GUARDED_BY(mtx);
    int32_t nMissed ZR_GUARDED_BY(mtx) = 0;  // in a row, since the last get
    int32_t nMissedTotal ZR_GUARDED_BY(mtx) = 0;
    bool bKeep ZR_GUARDED_BY(mtx) = false;
    bool bRemoved ZR_GUARDED_BY(mtx) = false;
};

}  // namespace zr
