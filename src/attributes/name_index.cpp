#include "attributes/name_index.h"

#include <algorithm>
#include <bit>

namespace zr {

void NameIndex::Reset(size_t _nNames) {
    const size_t nSlots = std::bit_ceil(std::max<size_t>(_nNames * 2, 32));
    arrSlots.assign(nSlots, {0, kNone, kNone});
    arrNext.clear();
    arrNext.reserve(_nNames);
    nUsed = 0;
}

void NameIndex::Add(uint32_t _nPosition, uint64_t _nHash) {
    arrNext.resize(_nPosition + size_t{1}, kNone);
    if ((nUsed + 1) * 2 > arrSlots.size()) Grow();
    SLOT& slot = arrSlots[SlotOf(_nHash)];
    if (slot.nFirst == kNone) {
        slot = {_nHash, _nPosition, _nPosition};
        ++nUsed;
    } else {
        arrNext[slot.nLast] = _nPosition;
        slot.nLast = _nPosition;
    }
}

void NameIndex::RemoveLast(uint32_t _nPosition, uint64_t _nHash) {
    const size_t i = SlotOf(_nHash);
    SLOT& slot = arrSlots[i];
    if (slot.nFirst == _nPosition) {
        FreeSlot(i);
    } else {
        uint32_t nBefore = slot.nFirst;
        while (arrNext[nBefore] != _nPosition) nBefore = arrNext[nBefore];
        arrNext[nBefore] = kNone;
        slot.nLast = nBefore;
    }
    arrNext.resize(_nPosition);
}

uint32_t NameIndex::Find(uint64_t _nHash, size_t _nOccurrence) const {
    uint32_t nPosition = arrSlots[SlotOf(_nHash)].nFirst;
    for (; nPosition != kNone && _nOccurrence > 0; --_nOccurrence) nPosition = arrNext[nPosition];
    return nPosition;
}

// The slot that holds the hash, or the free one where it belongs.
size_t NameIndex::SlotOf(uint64_t _nHash) const {
    const size_t nMask = arrSlots.size() - 1;
    size_t i = static_cast<size_t>(_nHash) & nMask;
    while (arrSlots[i].nFirst != kNone && arrSlots[i].nHash != _nHash) i = (i + 1) & nMask;
    return i;
}

// Moves the slots behind a freed one up, as far as that brings them nearer to where they belong.
void NameIndex::FreeSlot(size_t _i) {
    const size_t nMask = arrSlots.size() - 1;
    size_t nHole = _i;
    for (size_t i = (_i + 1) & nMask; arrSlots[i].nFirst != kNone; i = (i + 1) & nMask) {
        const size_t nHome = static_cast<size_t>(arrSlots[i].nHash) & nMask;
        if (((i - nHome) & nMask) < ((i - nHole) & nMask)) continue;
        arrSlots[nHole] = arrSlots[i];
        nHole = i;
    }
    arrSlots[nHole].nFirst = kNone;
    --nUsed;
}

void NameIndex::Grow() {
    std::vector<SLOT> arrOld(arrSlots.size() * 2, {0, kNone, kNone});
    arrOld.swap(arrSlots);
    for (const SLOT& slot : arrOld)
        if (slot.nFirst != kNone) arrSlots[SlotOf(slot.nHash)] = slot;
}

}  // namespace zr
