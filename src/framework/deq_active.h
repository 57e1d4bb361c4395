#pragma once
// A bounded first-in first-out queue that owns a thread: producers put, the thread gives the items to the owner.

#include <cstdint>
#include <new>
#include <utility>

#include "framework/active_queue.h"
#include "framework/item_ring.h"

namespace zr {

// Owner has two operations, which the queue calls without a lock:
//   HRESULT OnActiveDeq(Item& _item, int32_t _nLeft);   on the queue's thread, one at a time, in the order of the puts.
//     _nLeft: items that remained when this one was taken. ZR_E_RETRY: not now; the item goes back to the front and is
//     offered again at once, so the owner waits for whatever it needs before it answers. Any other result is done with.
//   void OnActiveDeqOverflow(Item& _item);              on the putting thread; the item was refused.
// Item is moved, and default-made when empty: a smart pointer as a rule. Nothing is allocated per item once the queue
// has grown to its length.
// The owner calls Stop before its own parts go. All operations are safe from any thread.
template <class Owner, class Item>
class CDeqActive {
public:
    // _szThreadName: a literal. The queue is open, without a limit, and has no thread until the first Put.
    CDeqActive(Owner& _owner, const char* _szThreadName) : items(_owner), queue(_szThreadName, items) {}
    CDeqActive(const CDeqActive&) = delete;
    CDeqActive& operator=(const CDeqActive&) = delete;

    // Stops and empties the queue, and opens it. The smaller bound is the minimum: the thread is woken when at least so
    // many are queued. The larger is the maximum; 0 is no limit. _bDropOldest: a full queue drops its oldest item
    // instead of refusing the new one. ZR_E_TIMEOUT, and the queue stays closed: called by the owner from within one of
    // its two operations.
    HRESULT Init(int32_t _nMin, int32_t _nMax, bool _bDropOldest) { return queue.Init(_nMin, _nMax, _bDropOldest); }
    // Changes the bounds, ordered likewise, of a queue in use; what is queued stays.
    void SetBounds(int32_t _nMin, int32_t _nMax) { queue.SetBounds(_nMin, _nMax); }
    // Where "buffer.max", "buffer.min", "buffer.current" and "buffer.overflow" are published; null for nowhere. The
    // sink must outlive the queue or the next call.
    void SetStatistics(IStatisticsSink* _pSink) { queue.SetStatistics(_pSink); }
    // Of the thread, from its next item on: -15 (idle) to 15 (time critical).
    void SetPriority(int32_t _nPriority) { queue.SetPriority(_nPriority); }

    // Puts an item at the end and starts the thread if it does not run. Full: waits up to _rtTimeout ticks for room
    // (negative: without limit, 0: not at all); then counts an overflow, and refuses or drops the oldest.
    // Returns the count with the new item. -1: refused (after OnActiveDeqOverflow), closed, no thread or no memory, or
    // _pEnd (may be null) was set before there was room.
    int32_t Put(Item _item, int64_t _rtTimeout, Waitable* _pEnd = nullptr) {
        Item itemDropped{};
        return queue.Put(&_item, &itemDropped, _rtTimeout, _pEnd);
    }
    // Closes the queue: waiting and later puts give -1, items that are not yet with the owner are let go. Waits for the
    // thread and for the puts that are under way: when it has succeeded, nobody is in the queue or in the owner's
    // operations any more. Results, time and pump as of CBaseThread::Stop. ZR_E_TIMEOUT: closed all the same; call it
    // again, and from outside if the owner called it from within one of its operations.
    HRESULT Stop(int64_t _nTimeoutMs = -1, MessagePump* _pPump = nullptr) { return queue.Stop(_nTimeoutMs, _pPump); }

    int32_t MaxSize() { return queue.MaxSize(); }
    int32_t MinSize() { return queue.MinSize(); }
    int32_t Count() { return queue.Count(); }

private:
    class Items final : public IActiveItems {
    public:
        explicit Items(Owner& _owner) : owner(_owner) {}

        bool Append(void* _pItem) override {
            try {
                ring.Reserve(ring.Count() + 2);
            } catch (const std::bad_alloc&) {
                return false;
            }
            ring.PushBack(std::move(*static_cast<Item*>(_pItem)));
            return true;
        }
        void DropOldest(void* _pInto) override { *static_cast<Item*>(_pInto) = ring.PopFront(); }
        void TakeOut() override { itemOut = ring.PopFront(); }
        void PutBack() override { ring.PushFront(std::exchange(itemOut, Item{})); }
        HRESULT Serve(int32_t _nLeft) override { return owner.OnActiveDeq(itemOut, _nLeft); }
        void Release() override { itemOut = Item{}; }
        void Overflow(void* _pItem) override { owner.OnActiveDeqOverflow(*static_cast<Item*>(_pItem)); }

    private:
        Owner& owner;
        ItemRing<Item> ring;  // under the queue's lock
        Item itemOut{};       // the queue's thread only; after its end, whoever empties the queue
    };

    Items items;
    ActiveQueue queue;
};

}  // namespace zr
