#include "frame_module/converter_pool.h"

#include <algorithm>
#include <utility>

namespace zr {

ConverterPool& ConverterPool::Shared() {
    static ConverterPool& pool = *new ConverterPool;
    return pool;
}

ConverterPool::KIND ConverterPool::KindOf(const ZR_VID_PROPS& _source, const ZR_VID_PROPS& _wanted) {
    return {_source.fccType, _wanted.fccType, _source.nWidth, _source.nHeight, _wanted.nWidth, _wanted.nHeight};
}

CAutoObj<ZrImageFormat> ConverterPool::Take(const ZR_VID_PROPS& _source, const ZR_VID_PROPS& _wanted) {
    const KIND kind = KindOf(_source, _wanted);
    {
        MutexLock lock(mtx);
        auto it = std::find_if(arrFree.begin(), arrFree.end(), [&](const FREE& _free) { return _free.kind == kind; });
        if (it == arrFree.end() && arrFree.size() >= kMaxFree) it = arrFree.begin();
        if (it != arrFree.end()) {
            CAutoObj<ZrImageFormat> pConverter = std::move(it->pConverter);
            arrFree.erase(it);
            return pConverter;
        }
    }
    return ZrImageFormat::Make();
}

void ConverterPool::GiveBack(CAutoObj<ZrImageFormat> _pConverter, const ZR_VID_PROPS& _source,
                             const ZR_VID_PROPS& _wanted) {
    MutexLock lock(mtx);
    if (arrFree.size() >= kMaxFree) return;
    try {
        arrFree.reserve(kMaxFree);
        arrFree.push_back({std::move(_pConverter), KindOf(_source, _wanted)});
    } catch (const std::bad_alloc&) {
    }
}

CAutoObj<ZrImageFormat> ConverterPool::Named(std::u16string_view _svName) {
    MutexLock lock(mtx);
    ++nUses;
    for (NAMED& named : arrNamed) {
        if (named.strName != _svName) continue;
        named.nLastUse = nUses;
        return named.pConverter;
    }
    try {
        CAutoObj<ZrImageFormat> pConverter = ZrImageFormat::Make();
        if (!pConverter) return {};
        if (arrNamed.size() >= kMaxNamed)
            arrNamed.erase(std::min_element(arrNamed.begin(), arrNamed.end(), [](const NAMED& _a, const NAMED& _b) {
                return _a.nLastUse < _b.nLastUse;
            }));
        arrNamed.push_back({std::u16string(_svName), pConverter, nUses});
        return pConverter;
    } catch (const std::bad_alloc&) {
        return {};
    }
}

}  // namespace zr
