#include "mixer/stream_table.h"

namespace zr {

void StreamTable::Collect(std::vector<MIX_INPUT>& _arrInputs) const {
    _arrInputs.clear();
    CRWReadScope scope(lock);
    if (pBackground) _arrInputs.push_back({pBackground, -1});
}

ZrPtr<CCoZrItem> StreamTable::Background() const {
    CRWReadScope scope(lock);
    return pBackground;
}

ZrPtr<CCoZrItem> StreamTable::ExchangeBackground(ZrPtr<CCoZrItem> _pItem) {
    CRWWriteScope scope(lock, "MixerBackgroundSet");
    std::swap(pBackground, _pItem);
    return _pItem;
}

}  // namespace zr
