#pragma once
// Run-time objects that are kept with a node under a name, and are no part of its text form.

#include <string_view>
#include <vector>

#include "attributes/named_list.h"
#include "platform/ref_object.h"

namespace zr {

// One object per name, without regard to case. No lock of its own. An object that is replaced or removed is handed to
// the caller, who lets go of it outside his lock: its end may run any code.
class ObjectsMap {
public:
    using ObjectPtr = CAutoObj<ObjectBase>;

    ObjectPtr Get(const NameKey& _key) const {
        const size_t i = arrObjects.Find(_key.nHash);
        return i == arrObjects.kNone ? ObjectPtr() : arrObjects[i];
    }
    // Puts _pObject under the name and returns what was there.
    ObjectPtr Set(const NameKey& _key, ObjectPtr _pObject) {
        ObjectPtr& pHeld = arrObjects.FindOrAppend(_key);
        std::swap(pHeld, _pObject);
        return _pObject;
    }
    // Takes the object of that name out; empty when there is none.
    ObjectPtr Remove(const NameKey& _key) {
        const size_t i = arrObjects.Find(_key.nHash);
        return i == arrObjects.kNone ? ObjectPtr() : arrObjects.Remove(i);
    }
    // Takes all out.
    [[nodiscard]] NamedList<ObjectPtr> RemoveAll() { return std::exchange(arrObjects, {}); }
    size_t Size() const { return arrObjects.Size(); }

private:
    NamedList<ObjectPtr> arrObjects;
};

}  // namespace zr
