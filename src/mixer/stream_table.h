#pragma once
// What is on a mixer: the background, and above it the streams in their order.

#include <string_view>
#include <vector>

#include "framework/lock_order.h"
#include "mixer/mixer_stream.h"
#include "platform/lock.h"
#include "platform/rw_lock.h"
#include "sources/co_zr_item.h"

namespace zr {

// A place in the table: what stands there, and the stream that takes its frames. The stream stays when the item is
// replaced; its id is that of the place.
struct CInputStream {
    ZrPtr<CCoZrItem> pItem;
    MixerStreamPtr pStream;  // null: the background
};

// One input of a cycle.
struct MIX_INPUT : CInputStream {
    int32_t nIndex = -1;  // place in the table; -1 the background
};

// Any thread. Edits come with the change lock and the cycle lock held, but for the removal, which needs the first only:
// a pass works on what it has collected.
class StreamTable {
public:
    // Edits, and the collection of a cycle. Held for moments only.
    Mutex mtxChange{lock_order::kChange};

    // The background first, then the streams; into a list that keeps its memory.
    void Collect(std::vector<MIX_INPUT>& _arrInputs) const;

    int32_t Count() const;
    // False: no such place.
    bool At(int32_t _nIndex, CInputStream& _entry) const;
    // The place of an id or an item; -1: none. _entry may be null.
    int32_t Find(std::u16string_view _id, CInputStream* _entry) const;
    int32_t Find(const IZrItem* _pItem, CInputStream* _entry) const;
    // Whether the source stands in the table or is the background. _pIdentity: its IUnknown.
    bool Uses(IUnknown* _pIdentity) const;
    ZrPtr<CCoZrItem> Background() const;

    // Puts a new stream on top.
    void Append(CInputStream _entry) ZR_REQUIRES(mtxChange);
    // Puts another item in a place. Returns the one that was there.
    ZrPtr<CCoZrItem> Replace(int32_t _nIndex, ZrPtr<CCoZrItem> _pItem) ZR_REQUIRES(mtxChange);
    // Takes the places from _nFirst to before _nEnd out.
    std::vector<CInputStream> Remove(int32_t _nFirst, int32_t _nEnd) ZR_REQUIRES(mtxChange);
    // Moves a place by _nAdd, no further than either end. Returns how far it went.
    int32_t Move(int32_t _nIndex, int32_t _nAdd) ZR_REQUIRES(mtxChange);
    // Puts another background, or none, in place, and returns the old one.
    ZrPtr<CCoZrItem> ExchangeBackground(ZrPtr<CCoZrItem> _pItem) ZR_REQUIRES(mtxChange);

private:
    mutable CRWSynchroLiteRW lock{lock_order::kStreams};
    ZrPtr<CCoZrItem> pBackground ZR_GUARDED_BY(lock);
    std::vector<CInputStream> arrStreams ZR_GUARDED_BY(lock);
};

}  // namespace zr
