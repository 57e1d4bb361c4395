#pragma once
// The events and frames of an object that wait for their listeners.

#include <cstdint>
#include <memory>
#include <string>

#include "framework/item_ring.h"
#include "framework/lock_order.h"
#include "platform/event.h"
#include "platform/lock.h"
#include "zr/frame.h"
#include "zr/ptr.h"

namespace zr {

// One thing to be told. Texts may be null.
struct EVENT_ENTRY {
    using Text = std::shared_ptr<const std::u16string>;
    static const char16_t* TextOf(const Text& _text) { return _text ? _text->c_str() : nullptr; }

    Text name;
    ZrPtr<IZrFFrame> pFrame;  // empty for an event
    Text event, param;
    ZrPtr<IUnknown> pObject;
    std::shared_ptr<ManualEvent> pDone;  // set when it has been told, or dropped; the raiser has told the direct ones
    int64_t cbData = 0;                  // picture and audio that only this entry may still hold
};

// Any thread. Nothing is allocated per entry once the queue has grown to its length.
class EventQueue {
public:
    static constexpr size_t kMostEntries = 10'000;
    // Frames that wait hold no more data than this: a listener that stands still must not take the machine's memory.
    static constexpr int64_t kMostDataBytes = int64_t{512} << 20;

    // Beyond the limit the oldest goes. Throws std::bad_alloc, and nothing is queued.
    void Put(EVENT_ENTRY _entry);
    // The oldest. False: there is none.
    bool Take(EVENT_ENTRY& _entry);
    // All that wait are dropped.
    void Clear();
    bool HasRoomForData() const;
    size_t Count() const;
    // Set by each Put.
    AutoEvent& Wake() { return evWake; }

private:
    EVENT_ENTRY Take_I() ZR_REQUIRES(mtx);

    AutoEvent evWake;
    mutable Mutex mtx{lock_order::kEventQueue};
    ItemRing<EVENT_ENTRY> ring ZR_GUARDED_BY(mtx);
    int64_t cbData ZR_GUARDED_BY(mtx) = 0;
};

}  // namespace zr
