#include "frame_module/sound_pool.h"

#include <algorithm>
#include <new>

namespace zr {
namespace {

struct NAMED {
    std::u16string strName;
    CAutoObj<NamedSound> pSound;
    uint64_t nLastUse = 0;
};
struct POOL {
    Mutex mtx;  // a leaf
    std::vector<NAMED> arrNamed ZR_GUARDED_BY(mtx);
    uint64_t nUses ZR_GUARDED_BY(mtx) = 0;
};

// Never destroyed, as frames may outlive everything.
POOL& Pool() {
    static POOL& pool = *new POOL;
    return pool;
}

}  // namespace

CAutoObj<NamedSound> SoundOfName(std::u16string_view _svName) try {
    constexpr size_t kMaxNamed = 64;
    POOL& pool = Pool();
    CAutoObj<NamedSound> pPushedOut;  // goes when the lock has been left
    MutexLock lock(pool.mtx);
    for (NAMED& named : pool.arrNamed) {
        if (named.strName != _svName) continue;
        named.nLastUse = ++pool.nUses;
        return named.pSound;
    }
    NAMED named{std::u16string(_svName), NamedSound::Make(), ++pool.nUses};
    CAutoObj<NamedSound> pNew = named.pSound;
    if (!pNew) return {};
    if (pool.arrNamed.size() < kMaxNamed) {
        pool.arrNamed.push_back(std::move(named));
    } else {
        auto pOldest = std::min_element(pool.arrNamed.begin(), pool.arrNamed.end(),
                                        [](const NAMED& _a, const NAMED& _b) { return _a.nLastUse < _b.nLastUse; });
        std::swap(*pOldest, named);
        pPushedOut = std::move(named.pSound);
    }
    return pNew;
} catch (const std::bad_alloc&) {
    return {};
}

}  // namespace zr
