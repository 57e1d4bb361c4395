#pragma once
// The direct listener of an object.

#include "framework/event_sink.h"
#include "framework/lock_order.h"
#include "platform/lock.h"
#include "zr/events.h"
#include "zr/ptr.h"

namespace zr {

// Calls the listener on the thread that raises, with no lock held. Any thread. A call that is under way while the
// listener is replaced comes to its end.
class CallbackSink final : public IEventSink {
public:
    void SetCallback(IZrCallback* _pCallback, int64_t _llUserData);
    void SetFunctions(PFOnEvent _pfnEvent, PFOnFrame _pfnFrame, int64_t _llUserData);

    void RaiseEvent(const char16_t* _szName, const char16_t* _szEvent, const char16_t* _szParam,
                    IUnknown* _pObject) override;
    void RaiseFrame(const char16_t* _szName, IZrFFrame* _pFrame) override;

private:
    struct LISTENER {
        ZrPtr<IZrCallback> pCallback;
        int64_t llCallbackData = 0;
        PFOnEvent pfnEvent = nullptr;
        PFOnFrame pfnFrame = nullptr;
        int64_t llFunctionData = 0;
    };
    LISTENER Listener() const;

    mutable Mutex mtx{lock_order::kListeners};
    LISTENER listener ZR_GUARDED_BY(mtx);
};

}  // namespace zr
