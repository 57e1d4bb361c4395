#include "sources/break_list.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/clock.h"
#include "sources/co_zr_item.h"

namespace zr {
namespace {

constexpr double kMostSeconds = 1e11;

}  // namespace

int64_t BreakTime(double _dblPosition, const PLAY_RANGE& _range) {
    const double dblAsked = (_dblPosition >= 0 ? _range.dblIn : _range.dblOut) + _dblPosition;
    const double dblLast = std::clamp(std::max(_range.dblIn, _range.dblOut), 0.0, kMostSeconds);
    const double dblFirst = std::clamp(_range.dblIn, 0.0, dblLast);
    const double dbl = std::isnan(dblAsked) ? dblFirst : std::clamp(dblAsked, dblFirst, dblLast);
    return std::llround(dbl * static_cast<double>(kTicksPerSecond));  // halves go away from zero
}

void BreakList::Insert_I(BREAK_ENTRY _entry) {
    const auto it =
        std::upper_bound(arrEntries.begin(), arrEntries.end(), _entry.rtTime,
                         [](int64_t _rtTime, const BREAK_ENTRY& _other) { return _rtTime < _other.rtTime; });
    arrEntries.insert(it, std::move(_entry));
    Number_I();
}

void BreakList::Number_I() {
    for (size_t i = 0; i < arrEntries.size(); ++i) arrEntries[i].pItem->ListIndexSet(static_cast<int32_t>(i));
}

void BreakList::Add(ZrPtr<CCoZrItem> _pItem, const BREAK_PLACE& _place, const PLAY_RANGE& _range) {
    MutexLock lock(mtx);
    Insert_I({std::move(_pItem), _place, BreakTime(_place.dblPosition, _range)});
}

HRESULT BreakList::Remove(const IZrItem* _pItem) {
    BREAK_ENTRY removed;
    {
        MutexLock lock(mtx);
        if (arrEntries.empty()) return ZR_E_EMPTY;
        const auto it = std::find_if(arrEntries.begin(), arrEntries.end(), [&](const BREAK_ENTRY& _entry) {
            return static_cast<const IZrItem*>(_entry.pItem.Get()) == _pItem;
        });
        if (it == arrEntries.end()) return ZR_E_NOT_FOUND_FILE;
        removed = std::move(*it);
        arrEntries.erase(it);
        Number_I();
    }
    removed.pItem->Close();
    return S_OK;
}

HRESULT BreakList::RemoveRange(int32_t _nIndex, int32_t _nExtra) {
    std::vector<BREAK_ENTRY> arrRemoved;
    {
        MutexLock lock(mtx);
        if (arrEntries.empty()) return ZR_E_EMPTY;
        const auto nCount = static_cast<int64_t>(arrEntries.size());
        const int64_t nAt = _nIndex < 0 ? _nIndex + nCount : _nIndex;
        if (nAt < 0 || nAt >= nCount) return ZR_E_BAD_INDEX;
        const int64_t nFirst = std::max<int64_t>(nAt + std::min(_nExtra, 0), 0);
        const int64_t nLast = std::min<int64_t>(nAt + std::max(_nExtra, 0), nCount - 1);
        const auto itFirst = arrEntries.begin() + nFirst, itEnd = arrEntries.begin() + nLast + 1;
        arrRemoved.assign(std::make_move_iterator(itFirst), std::make_move_iterator(itEnd));
        arrEntries.erase(itFirst, itEnd);
        Number_I();
    }
    for (const BREAK_ENTRY& entry : arrRemoved) entry.pItem->Close();
    return S_OK;
}

HRESULT BreakList::Move(int32_t _nIndex, double _dblPosition, const PLAY_RANGE& _range) {
    MutexLock lock(mtx);
    if (_nIndex < 0 || static_cast<size_t>(_nIndex) >= arrEntries.size()) return ZR_E_BAD_INDEX;
    BREAK_ENTRY entry = std::move(arrEntries[static_cast<size_t>(_nIndex)]);
    arrEntries.erase(arrEntries.begin() + _nIndex);
    entry.place = {_dblPosition, false, {}};
    entry.rtTime = BreakTime(_dblPosition, _range);
    Insert_I(std::move(entry));
    return S_OK;
}

void BreakList::Place(const PLAY_RANGE& _range) {
    MutexLock lock(mtx);
    for (BREAK_ENTRY& entry : arrEntries) entry.rtTime = BreakTime(entry.place.dblPosition, _range);
    std::stable_sort(arrEntries.begin(), arrEntries.end(),
                     [](const BREAK_ENTRY& _a, const BREAK_ENTRY& _b) { return _a.rtTime < _b.rtTime; });
    Number_I();
}

HRESULT BreakList::At(int32_t _nIndex, BREAK_ENTRY* _pEntry) const {
    MutexLock lock(mtx);
    if (_nIndex < 0 || static_cast<size_t>(_nIndex) >= arrEntries.size()) return ZR_E_BAD_INDEX;
    *_pEntry = arrEntries[static_cast<size_t>(_nIndex)];
    return S_OK;
}

std::vector<BREAK_ENTRY> BreakList::All() const {
    MutexLock lock(mtx);
    return arrEntries;
}

void BreakList::Clear() {
    std::vector<BREAK_ENTRY> arrRemoved;
    {
        MutexLock lock(mtx);
        arrRemoved.swap(arrEntries);
    }
    for (const BREAK_ENTRY& entry : arrRemoved) entry.pItem->Close();
}

}  // namespace zr
