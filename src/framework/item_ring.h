#pragma once
// A first-in first-out line of items in one block of memory. It grows by doubling; within its capacity nothing is
// allocated.

#include <cassert>
#include <cstddef>
#include <utility>
#include <vector>

namespace zr {

template <class Item>
class ItemRing {
public:
    size_t Count() const { return nCount; }

    // Makes room for _nItems altogether. Throws std::bad_alloc and changes nothing when memory is out.
    void Reserve(size_t _nItems) {
        if (_nItems <= arrSlots.size()) return;
        size_t nCapacity = arrSlots.empty() ? 4 : arrSlots.size();
        while (nCapacity < _nItems) nCapacity *= 2;
        std::vector<Item> arrNew(nCapacity);
        for (size_t i = 0; i < nCount; ++i) arrNew[i] = std::move(Slot(i));
        arrSlots.swap(arrNew);
        nHead = 0;
    }
    // The next three need room, or an item.
    void PushBack(Item&& _item) {
        assert(nCount < arrSlots.size());
        Slot(nCount++) = std::move(_item);
    }
    void PushFront(Item&& _item) {
        assert(nCount < arrSlots.size());
        nHead = (nHead + arrSlots.size() - 1) & (arrSlots.size() - 1);
        ++nCount;
        Slot(0) = std::move(_item);
    }
    Item PopFront() {
        assert(nCount > 0);
        Item item = std::exchange(Slot(0), Item());
        nHead = (nHead + 1) & (arrSlots.size() - 1);
        --nCount;
        return item;
    }

private:
    Item& Slot(size_t _n) { return arrSlots[(nHead + _n) & (arrSlots.size() - 1)]; }

    std::vector<Item> arrSlots;  // its size is 0 or a power of two
    size_t nHead = 0;
    size_t nCount = 0;
};

}  // namespace zr
