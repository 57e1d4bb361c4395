#pragma once
// What is on a mixer: the background, and above it the streams in their order.

#include <string>
#include <vector>

#include "framework/lock_order.h"
#include "platform/lock.h"
#include "platform/rw_lock.h"
#include "sources/co_zr_item.h"

namespace zr {

// One input of a cycle.
struct MIX_INPUT {
    ZrPtr<CCoZrItem> pItem;
    int32_t nIndex = -1;  // place in the table; -1 the background
};

// Any thread.
class StreamTable {
public:
    // The background first, then the streams; into a list that keeps its memory.
    void Collect(std::vector<MIX_INPUT>& _arrInputs) const;
    ZrPtr<CCoZrItem> Background() const;
    // Puts another background, or none, in place, and returns the old one. Taken with the cycle lock held, so that no
    // pass sees the change half done.
    ZrPtr<CCoZrItem> ExchangeBackground(ZrPtr<CCoZrItem> _pItem);

    // Edits, and the collection of a cycle. Held for moments only.
    Mutex mtxChange{lock_order::kChange};

private:
    mutable CRWSynchroLiteRW lock{lock_order::kStreams};
    ZrPtr<CCoZrItem> pBackground ZR_GUARDED_BY(lock);
};

}  // namespace zr
