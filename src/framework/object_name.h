#pragma once
// The name of an object, which its events carry.

#include <memory>
#include <string>
#include <string_view>

#include "platform/lock.h"

namespace zr {

// Any thread.
class ObjectName {
public:
    // Never null; allocates nothing.
    std::shared_ptr<const std::u16string> Get() const {
        MutexLock lock(mtx);
        return pName;
    }
    // Throws std::bad_alloc.
    void Set(std::u16string_view _name) {
        auto pNew = std::make_shared<const std::u16string>(_name);
        MutexLock lock(mtx);
        pName.swap(pNew);
    }

private:
    mutable Mutex mtx;
    std::shared_ptr<const std::u16string> pName ZR_GUARDED_BY(mtx) = std::make_shared<const std::u16string>();
};

}  // namespace zr
