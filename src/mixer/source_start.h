#pragma once
// The start of a source, for which a file may have to be opened.

#include <memory>

#include "platform/event.h"
#include "sources/co_zr_item.h"

namespace zr {

// A thread of the pool is about it. One that never ends is left to itself: it keeps what it needs.
struct SourceStart {
    ZrPtr<CCoZrItem> pItem;
    OwnedSourcePtr pOwned;  // closed meanwhile, it ends with its start
    ManualEvent evEnded;
};

// Has the source of an item play. Without waiting, unless the pool takes nothing.
std::shared_ptr<SourceStart> StartOnPool(const ZrPtr<CCoZrItem>& _pItem);

}  // namespace zr
