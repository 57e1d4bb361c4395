#pragma once
// What is told while a lock is held, and goes out when it has been left.

#include <string>
#include <vector>

#include "attributes/interface_call.h"
#include "framework/event_sink.h"
#include "sources/co_zr_item.h"
#include "zr/ptr.h"

namespace zr {

// One call's events, on its own thread; they go out in their order with the end of the object, which is therefore made
// before the lock is taken.
class DeferredEvents final : public IEventSink {
public:
    explicit DeferredEvents(IEventSink& _sink) : sink(_sink) {}
    ~DeferredEvents() {
        for (const ZrPtr<CCoZrItem>& pItem : arrEnded) pItem->Plugins_I().MediaEnd();
        for (const EVENT& e : arrEvents) {
            sink.RaiseEvent(e.name.c_str(), e.event.c_str(), e.bParam ? e.param.c_str() : nullptr, e.pObject.Get());
        }
    }
    DeferredEvents(const DeferredEvents&) = delete;
    DeferredEvents& operator=(const DeferredEvents&) = delete;

    void RaiseEvent(const char16_t* _szName, const char16_t* _szEvent, const char16_t* _szParam,
                    IUnknown* _pObject) override try {
        arrEvents.push_back({std::u16string(TextArgument(_szName)), std::u16string(TextArgument(_szEvent)),
                             std::u16string(TextArgument(_szParam)), _szParam != nullptr, _pObject});
    } catch (const std::bad_alloc&) {
        // Nobody hears of it; what it tells of has happened all the same.
    }
    // Frames of an item do not come any more: its plug-ins are told before all events.
    void AddEnd(const ZrPtr<CCoZrItem>& _pItem) { arrEnded.push_back(_pItem); }
    void RaiseFrame(const char16_t* _szName, IZrFFrame* _pFrame) override { sink.RaiseFrame(_szName, _pFrame); }

private:
    struct EVENT {
        std::u16string name, event, param;
        bool bParam;
        ZrPtr<IUnknown> pObject;
    };

    IEventSink& sink;
    std::vector<EVENT> arrEvents;
    std::vector<ZrPtr<CCoZrItem>> arrEnded;
};

}  // namespace zr
