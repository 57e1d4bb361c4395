#include "framework/statistics_node.h"

#include <new>

namespace zr {
namespace {

// A handle is the number of a slot, and above it the turn of the slot.
constexpr uint32_t kSlotBits = 20, kTurnBits = 11;
constexpr size_t kMostSlots = size_t{1} << kSlotBits;

}  // namespace

IStatisticsSink::Handle StatisticsNode::HandleOf_I(size_t _nSlot) const {
    const uint32_t nTurn = arrSlots[_nSlot].nTurn & ((1u << kTurnBits) - 1);
    return static_cast<Handle>(nTurn << kSlotBits | static_cast<uint32_t>(_nSlot));
}

// Null: there is none, or it was given back.
StatisticsNode::SLOT* StatisticsNode::Find_I(Handle _handle) {
    if (_handle < 0) return nullptr;
    const size_t nSlot = static_cast<uint32_t>(_handle) & (kMostSlots - 1);
    const bool bGood = nSlot < arrSlots.size() && arrSlots[nSlot].pName && HandleOf_I(nSlot) == _handle;
    return bGood ? &arrSlots[nSlot] : nullptr;
}

IStatisticsSink::Handle StatisticsNode::Resolve(const char16_t* _szName) try {
    MutexLock lock(mtx);
    const auto it = mapSlots.find(_szName);
    if (it != mapSlots.end()) {
        ++arrSlots[it->second].nUsers;
        return HandleOf_I(it->second);
    }
    if (arrFree.empty()) {
        if (arrSlots.size() == kMostSlots) return kNone;
        if (arrSlots.size() == arrSlots.capacity()) arrSlots.reserve(2 * arrSlots.size() + 16);
        arrFree.reserve(arrSlots.capacity());
        arrSlots.emplace_back();
        arrFree.push_back(arrSlots.size() - 1);
    }
    const size_t nSlot = arrFree.back();
    const auto itNew = mapSlots.emplace(_szName, nSlot).first;
    arrFree.pop_back();
    arrSlots[nSlot].pName = &itNew->first;
    arrSlots[nSlot].nUsers = 1;
    return HandleOf_I(nSlot);
} catch (const std::bad_alloc&) {
    return kNone;
}

void StatisticsNode::Release(Handle _handle) {
    MutexLock lock(mtx);
    SLOT* const pSlot = Find_I(_handle);
    if (!pSlot || --pSlot->nUsers > 0) return;
    pNode->RemoveAttribute(*pSlot->pName);
    mapSlots.erase(mapSlots.find(*pSlot->pName));
    pSlot->pName = nullptr;
    ++pSlot->nTurn;
    arrFree.push_back(static_cast<size_t>(pSlot - arrSlots.data()));
}

template <class T>
void StatisticsNode::Set(Handle _handle, T _value) try {
    MutexLock lock(mtx);
    if (const SLOT* const pSlot = Find_I(_handle)) pNode->SetAttribute(*pSlot->pName, _value);
} catch (const std::bad_alloc&) {
    // The number is lost, the show goes on.
}

void StatisticsNode::SetCount(Handle _handle, int64_t _nValue) { Set(_handle, _nValue); }

void StatisticsNode::SetValue(Handle _handle, double _dblValue) { Set(_handle, _dblValue); }

void StatisticsNode::SetText(Handle _handle, std::u16string_view _text) { Set(_handle, _text); }

void StatisticsNode::AddCount(Handle _handle, int64_t _nAdd) try {
    MutexLock lock(mtx);
    const SLOT* const pSlot = Find_I(_handle);
    if (pSlot) pNode->SetAttribute(*pSlot->pName, pNode->AttributeOr(*pSlot->pName, int64_t{0}) + _nAdd);
} catch (const std::bad_alloc&) {
    // As above.
}

void StatisticsNode::Clear() {
    MutexLock lock(mtx);
    pNode->RemoveAttributes();
}

}  // namespace zr
