#include "mixer/feedback.h"

#include "zr/items.h"
#include "zr/ptr.h"
#include "zr/streams.h"

namespace zr {

bool Shows(IUnknown* _pMixer, IUnknown& _other) {
    const ZrPtr<IZrStreams> pStreams = QueryAs<IZrStreams>(_pMixer);
    if (!pStreams) return false;
    const ZrPtr<IUnknown> pOther = QueryAs<IUnknown>(&_other);
    const auto IsIt = [&](IZrItem* _pItem) {
        ZrPtr<IUnknown> pSource;
        return _pItem && Succeeded(_pItem->ItemInnerGet(pSource.Out())) && QueryAs<IUnknown>(pSource.Get()) == pOther;
    };
    ZrPtr<IZrItem> pItem;
    if (Succeeded(pStreams->StreamsBackgroundGet(nullptr, pItem.Out())) && IsIt(pItem.Get())) return true;
    for (int32_t i = 0; Succeeded(pStreams->StreamsGetByIndex(i, nullptr, pItem.Out())); ++i)
        if (IsIt(pItem.Get())) return true;
    return false;
}

}  // namespace zr
