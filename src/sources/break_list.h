#pragma once
// The breaks of an item, sorted by where in the file they come.

#include <cstdint>
#include <vector>

#include "framework/lock_order.h"
#include "platform/lock.h"
#include "zr/items.h"
#include "zr/ptr.h"
#include "zr/records.h"

namespace zr {

class CCoZrItem;

// What of a file plays, in seconds.
struct PLAY_RANGE {
    double dblIn = 0;
    double dblOut = 0;
};

// Where a break was asked for.
struct BREAK_PLACE {
    double dblPosition = 0;    // seconds from the in point, from the out point when negative
    bool bAtDateTime = false;  // at that time, wherever the file then is; the position is 0
    ZR_DATETIME time;
};

struct BREAK_ENTRY {
    ZrPtr<CCoZrItem> pItem;
    BREAK_PLACE place;
    int64_t rtTime = 0;  // ticks from the start of the file
};

// Where a position lies, in ticks from the start of the file: within the range.
int64_t BreakTime(double _dblPosition, const PLAY_RANGE& _range);

// Any thread. Items are closed without the lock.
class BreakList {
public:
    void Add(ZrPtr<CCoZrItem> _pItem, const BREAK_PLACE& _place, const PLAY_RANGE& _range);
    // ZR_E_EMPTY, ZR_E_NOT_FOUND_FILE.
    HRESULT Remove(const IZrItem* _pItem);
    // A negative index counts from the end. ZR_E_EMPTY, ZR_E_BAD_INDEX.
    HRESULT RemoveRange(int32_t _nIndex, int32_t _nExtra);
    HRESULT Move(int32_t _nIndex, double _dblPosition, const PLAY_RANGE& _range);
    // All places again, for another range.
    void Place(const PLAY_RANGE& _range);
    HRESULT At(int32_t _nIndex, BREAK_ENTRY* _pEntry) const;
    std::vector<BREAK_ENTRY> All() const;
    void Clear();

private:
    void Insert_I(BREAK_ENTRY _entry) ZR_REQUIRES(mtx);
    void Number_I() ZR_REQUIRES(mtx);

    mutable Mutex mtx{lock_order::kItemBreaks};
    std::vector<BREAK_ENTRY> arrEntries ZR_GUARDED_BY(mtx);
};

}  // namespace zr
