#include "framework/statistics_node.h"

#include <new>

namespace zr {

IStatisticsSink::Handle StatisticsNode::Resolve(const char16_t* _szName) try {
    MutexLock lock(mtx);
    const auto [it, bNew] = mapHandles.try_emplace(_szName, static_cast<Handle>(arrNames.size()));
    if (bNew) {
        try {
            arrNames.emplace_back(&it->first);
        } catch (const std::bad_alloc&) {
            mapHandles.erase(it);
            return kNone;
        }
    }
    return it->second;
} catch (const std::bad_alloc&) {
    return kNone;
}

template <class T>
void StatisticsNode::Set(Handle _handle, T _value) try {
    if (_handle == kNone) return;
    MutexLock lock(mtx);
    pNode->SetAttribute(*arrNames[static_cast<size_t>(_handle)], _value);
} catch (const std::bad_alloc&) {
    // The number is lost, the show goes on.
}

void StatisticsNode::SetCount(Handle _handle, int64_t _nValue) { Set(_handle, _nValue); }

void StatisticsNode::SetValue(Handle _handle, double _dblValue) { Set(_handle, _dblValue); }

void StatisticsNode::SetText(Handle _handle, std::u16string_view _text) { Set(_handle, _text); }

void StatisticsNode::AddCount(Handle _handle, int64_t _nAdd) try {
    if (_handle == kNone) return;
    MutexLock lock(mtx);
    const std::u16string& name = *arrNames[static_cast<size_t>(_handle)];
    pNode->SetAttribute(name, pNode->AttributeOr(name, int64_t{0}) + _nAdd);
} catch (const std::bad_alloc&) {
    // As above.
}

void StatisticsNode::Clear() {
    MutexLock lock(mtx);
    pNode->RemoveAttributes();
}

}  // namespace zr
