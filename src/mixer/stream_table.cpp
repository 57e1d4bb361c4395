#include "mixer/stream_table.h"

#include <algorithm>

namespace zr {
namespace {

template <class List, class F>
int32_t FindIn(const List& _arrStreams, CInputStream* _pEntry, F&& _fIs) {
    const auto it = std::find_if(_arrStreams.begin(), _arrStreams.end(), _fIs);
    if (it == _arrStreams.end()) return -1;
    if (_pEntry) *_pEntry = *it;
    return static_cast<int32_t>(it - _arrStreams.begin());
}

}  // namespace

void StreamTable::Collect(std::vector<MIX_INPUT>& _arrInputs) const {
    _arrInputs.clear();
    CRWReadScope scope(lock);
    if (pBackground) _arrInputs.push_back({{pBackground, {}}, -1});
    for (const CInputStream& stream : arrStreams) {
        _arrInputs.push_back({stream, static_cast<int32_t>(_arrInputs.size()) - (pBackground ? 1 : 0)});
    }
}

int32_t StreamTable::Count() const {
    CRWReadScope scope(lock);
    return static_cast<int32_t>(arrStreams.size());
}

bool StreamTable::At(int32_t _nIndex, CInputStream& _entry) const {
    CRWReadScope scope(lock);
    if (_nIndex < 0 || static_cast<size_t>(_nIndex) >= arrStreams.size()) return false;
    _entry = arrStreams[static_cast<size_t>(_nIndex)];
    return true;
}

int32_t StreamTable::Find(std::u16string_view _id, CInputStream* _entry) const {
    CRWReadScope scope(lock);
    return FindIn(arrStreams, _entry, [&](const CInputStream& _stream) { return _stream.pStream->Id() == _id; });
}

int32_t StreamTable::Find(const IZrItem* _pItem, CInputStream* _entry) const {
    CRWReadScope scope(lock);
    return FindIn(arrStreams, _entry, [&](const CInputStream& _stream) { return _stream.pItem.Get() == _pItem; });
}

bool StreamTable::Uses(IUnknown* _pIdentity) const {
    CRWReadScope scope(lock);
    if (pBackground && pBackground->Source() == _pIdentity) return true;
    return FindIn(arrStreams, nullptr,
                  [&](const CInputStream& _stream) { return _stream.pItem->Source() == _pIdentity; }) >= 0;
}

ZrPtr<CCoZrItem> StreamTable::Background() const {
    CRWReadScope scope(lock);
    return pBackground;
}

void StreamTable::Append(CInputStream _entry) {
    CRWWriteScope scope(lock, "StreamAdd");
    arrStreams.push_back(std::move(_entry));
}

ZrPtr<CCoZrItem> StreamTable::Replace(int32_t _nIndex, ZrPtr<CCoZrItem> _pItem) {
    CRWWriteScope scope(lock, "StreamAdd");
    std::swap(arrStreams[static_cast<size_t>(_nIndex)].pItem, _pItem);
    return _pItem;
}

std::vector<CInputStream> StreamTable::Remove(int32_t _nFirst, int32_t _nEnd) {
    std::vector<CInputStream> arrGone;
    arrGone.reserve(static_cast<size_t>(_nEnd - _nFirst));
    CRWWriteScope scope(lock, "StreamRemove");
    const auto itFirst = arrStreams.begin() + _nFirst;
    const auto itEnd = arrStreams.begin() + _nEnd;
    std::move(itFirst, itEnd, std::back_inserter(arrGone));
    arrStreams.erase(itFirst, itEnd);
    return arrGone;
}

int32_t StreamTable::Move(int32_t _nIndex, int32_t _nAdd) {
    CRWWriteScope scope(lock, "StreamReorder");
    const auto nLast = static_cast<int64_t>(arrStreams.size()) - 1;
    const auto nTo = static_cast<int32_t>(std::clamp<int64_t>(int64_t{_nIndex} + _nAdd, 0, nLast));
    const auto it = arrStreams.begin() + _nIndex;
    if (nTo > _nIndex) {
        std::rotate(it, it + 1, arrStreams.begin() + nTo + 1);
    } else {
        std::rotate(arrStreams.begin() + nTo, it, it + 1);
    }
    return nTo - _nIndex;
}

ZrPtr<CCoZrItem> StreamTable::ExchangeBackground(ZrPtr<CCoZrItem> _pItem) {
    CRWWriteScope scope(lock, "MixerBackgroundSet");
    std::swap(pBackground, _pItem);
    return _pItem;
}

}  // namespace zr
