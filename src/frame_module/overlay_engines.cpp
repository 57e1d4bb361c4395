#include "frame_module/overlay_engines.h"

#include <new>
#include <utility>

namespace zr {

OverlayEngines& OverlayEngines::Shared() {
    static OverlayEngines& engines = *new OverlayEngines;  // never destroyed, as frames may outlive everything
    return engines;
}

OverlayEngine* OverlayEngines::Take(uint64_t _nKey) {
    {
        MutexLock lock(mtx);
        OverlayEngine** ppFound = nullptr;
        for (OverlayEngine** pp = &pFirst; *pp; pp = &(*pp)->pNext) {
            const bool bLast = !(*pp)->pNext && nFree >= kKept;
            if ((*pp)->nKey == _nKey || bLast) {
                ppFound = pp;
                break;
            }
        }
        if (ppFound) {
            OverlayEngine* p = *ppFound;
            *ppFound = std::exchange(p->pNext, nullptr);
            --nFree;
            p->nKey = _nKey;
            return p;
        }
    }
    auto* p = new (std::nothrow) OverlayEngine;
    if (p) p->nKey = _nKey;
    return p;
}

void OverlayEngines::Put(OverlayEngine* _p) {
    OverlayEngine* pTooMany = nullptr;
    {
        MutexLock lock(mtx);
        _p->pNext = pFirst;
        pFirst = _p;
        if (++nFree > 2 * kKept) {
            OverlayEngine** pp = &pFirst;
            while ((*pp)->pNext) pp = &(*pp)->pNext;
            pTooMany = std::exchange(*pp, nullptr);
            --nFree;
        }
    }
    delete pTooMany;
}

}  // namespace zr
