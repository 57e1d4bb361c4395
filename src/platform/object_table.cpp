#include "platform/object_table.h"

#include <utility>

namespace zr {

ObjectTable& ObjectTable::Shared() {
    static ObjectTable& table = *new ObjectTable;
    return table;
}

uint64_t ObjectTable::Register(std::u16string _name, IUnknown& _object, ReferenceCount& _references) {
    MutexLock lock(mtx);
    mapEntries.emplace_hint(mapEntries.end(), llLast + 1, ENTRY{std::move(_name), &_object, &_references});
    return ++llLast;
}

void ObjectTable::Revoke(uint64_t _llCookie) {
    MutexLock lock(mtx);
    mapEntries.erase(_llCookie);
}

std::vector<uint64_t> ObjectTable::List(std::u16string_view _prefix) const {
    std::vector<uint64_t> arrCookies;
    MutexLock lock(mtx);
    for (const auto& [llCookie, entry] : mapEntries)
        if (entry.strName.starts_with(_prefix)) arrCookies.push_back(llCookie);
    return arrCookies;
}

ZrPtr<IUnknown> ObjectTable::Get(uint64_t _llCookie) const {
    MutexLock lock(mtx);
    const auto it = mapEntries.find(_llCookie);
    if (it == mapEntries.end() || !it->second.pReferences->TryAdd()) return {};
    return ZrPtr<IUnknown>::Attach(it->second.pObject);
}

}  // namespace zr
