#pragma once
// Where in a list each name stands, for lists too long to be searched from the front.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zr {

// Maps a hash to the ascending positions that hold it: open addressing to the first of them, a chain to the others.
class NameIndex {
public:
    static constexpr uint32_t kNone = UINT32_MAX;

    // Forgets everything and makes room for so many names.
    void Reset(size_t _nNames);
    // _nPosition: above every position added since the last Reset.
    void Add(uint32_t _nPosition, uint64_t _nHash);
    // Takes the last position that was added out again.
    void RemoveLast(uint32_t _nPosition, uint64_t _nHash);
    // The position of occurrence number _nOccurrence, 0 first; kNone when there is none.
    uint32_t Find(uint64_t _nHash, size_t _nOccurrence) const;

private:
    struct SLOT {
        uint64_t nHash;
        uint32_t nFirst;  // kNone: the slot is free
        uint32_t nLast;
    };

    size_t SlotOf(uint64_t _nHash) const;
    void Grow();
    void FreeSlot(size_t _i);

    std::vector<SLOT> arrSlots;     // a power of two of them, at most half in use
    std::vector<uint32_t> arrNext;  // by position: the next one with the same name
    size_t nUsed = 0;
};

}  // namespace zr
