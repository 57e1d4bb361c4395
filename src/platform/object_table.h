#pragma once
// The objects of this process that others may find: by names, which are listed by their beginning.

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/lock.h"
#include "platform/unknown.h"
#include "zr/ptr.h"

namespace zr {

// Any thread. Keeps no object alive: an object takes itself out, when it closes or at the latest with its last
// reference. Nothing is called under the lock.
class ObjectTable {
public:
    // That of the process. It outlives all static objects.
    static ObjectTable& Shared();

    // Puts an object in. The number that comes back, never 0, takes it out again, which must be done before
    // _references, the object's own count, is gone. Throws std::bad_alloc.
    uint64_t Register(std::u16string _name, IUnknown& _object, ReferenceCount& _references);
    // 0, or one that was taken out: nothing.
    void Revoke(uint64_t _llCookie);

    // Those whose names begin so, in the order in which they were put in.
    std::vector<uint64_t> List(std::u16string_view _prefix) const;
    // Null: it was taken out, or its last reference has gone.
    ZrPtr<IUnknown> Get(uint64_t _llCookie) const;

private:
    struct ENTRY {
        std::u16string strName;
        IUnknown* pObject;
        ReferenceCount* pReferences;
    };
    mutable Mutex mtx;  // a leaf
    std::map<uint64_t, ENTRY> mapEntries ZR_GUARDED_BY(mtx);
    uint64_t llLast ZR_GUARDED_BY(mtx) = 0;
};

}  // namespace zr
