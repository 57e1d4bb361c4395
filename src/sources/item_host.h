#pragma once
// The mixer that an item stands on, as the item's own play calls reach it.

#include "zr/items.h"
#include "zr/unknown.h"

namespace zr {

// Any thread, with no lock held.
struct IItemHost : IUnknown {
    static constexpr GUID kIid = GuidOf("B5E0B7B2-7C55-4E0E-9D31-52F0C1A6E84D");

    // _dblSeconds below 0: the input plays. Else it is paused for so long, 0 without end; ZR_E_RETRY: inputs are not
    // paused here, their sources are. ZR_E_NOT_FOUND_FILE: the item has left. ZR_E_NOT_RUNNING: its source does not
    // start.
    virtual HRESULT ItemPlay(IZrItem* _pItem, double _dblSeconds) = 0;
    // The input takes no frames until it plays again.
    virtual HRESULT ItemStop(IZrItem* _pItem) = 0;

protected:
    ~IItemHost() = default;
};

}  // namespace zr
