#pragma once
// How an object tells its host of events and frames: the direct listener, those that have advised, and the thread that
// calls them.

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "attributes/co_xml_node.h"
#include "framework/event_queue.h"
#include "framework/event_sink.h"
#include "platform/rw_lock.h"
#include "platform/thread.h"
#include "zr/events.h"

namespace zr {

// Everybody who listens to one object; never changed once it is in use.
struct EVENT_LISTENERS {
    // One of the three, which tells its cookie's range as well.
    struct POINT {
        uint32_t nCookie = 0;
        ZrPtr<IZrEvents> pBoth;
        ZrPtr<IZrEventsEvent> pEvents;
        ZrPtr<IZrEventsFrame> pFrames;
    };

    bool WantDirect(bool _bFrame) const;
    bool WantAdvised(bool _bFrame) const;
    void TellDirect(const EVENT_ENTRY& _entry) const;
    void TellAdvised(const EVENT_ENTRY& _entry) const;

    ZrPtr<IZrCallback> pCallback;
    int64_t llCallbackData = 0;
    PFOnEvent pfnEvent = nullptr;
    PFOnFrame pfnFrame = nullptr;
    int64_t llFunctionData = 0;
    std::vector<POINT> arrPoints;  // by cookie
};

// Any thread. Listeners are called with no lock held: on the delivery thread, one call at a time and in the order in
// which things were raised, or, by the keys "on_event.sync" and "on_frame.sync", the direct ones by the raiser itself.
// The delivery thread is there from the first entry on.
class ObjectEvents final : public IEventSink {
public:
    // Keys are read from _pObject, the object's node, while somebody listens.
    explicit ObjectEvents(const XMLNodePtr& _pObject);
    // A listener may let the last reference to the object go from within a call.
    ~ObjectEvents();
    ObjectEvents(const ObjectEvents&) = delete;
    ObjectEvents& operator=(const ObjectEvents&) = delete;

    // --- Who listens; results as of IZrObject and IZrEventsAdvise

    HRESULT SetCallback(IZrCallback* _pCallback, int64_t _llUserData);
    HRESULT SetFunctions(PFOnEvent _pfnEvent, PFOnFrame _pfnFrame, int64_t _llUserData);
    HRESULT Advise(IUnknown* _pListener, uint32_t* _pdwCookie);
    HRESULT Unadvise(uint32_t _dwCookie);

    // --- What happens

    void RaiseEvent(const char16_t* _szName, const char16_t* _szEvent, const char16_t* _szParam,
                    IUnknown* _pObject) override;
    void RaiseFrame(const char16_t* _szName, IZrFFrame* _pFrame) override;
    // The same with the keys' values given. _bSync: the direct listeners are called at once; those that have advised
    // have been called when this returns, or go on after a second.
    void FireEvent(const char16_t* _szName, const char16_t* _szEvent, const char16_t* _szParam, IUnknown* _pObject,
                   bool _bSync);
    // _bData: a frame that waits for delivery brings its picture and audio, as long as there is room for it.
    void FireFrame(const char16_t* _szName, IZrFFrame* _pFrame, bool _bSync, bool _bData);

    // The object is closed: what waits is dropped, and no call is under way any more, unless this is called from within
    // one. Listeners stay. Not under a lock that a listener may wait for.
    void Close();
    size_t Waiting() const { return pDelivery->queue.Count(); }

private:
    using ListenersPtr = std::shared_ptr<const EVENT_LISTENERS>;
    using Text = EVENT_ENTRY::Text;

    // What the delivery thread works on; it stays with the thread when the object goes within a call.
    struct DELIVERY {
        EventQueue queue;
        mutable CRWSynchroLiteRW lock{lock_order::kListeners};
        ListenersPtr pListeners ZR_GUARDED_BY(lock);
        std::atomic<uint32_t> idThread{0};

        ListenersPtr Listeners() const;
        bool DeliverOne();
    };
    enum Wants : uint32_t { kWantsEvents = 1, kWantsFrames = 2 };

    template <class Change>
    HRESULT ChangeListeners(Change _change);
    Text NameOf(const char16_t* _szName);
    void Fire(EVENT_ENTRY& _entry, bool _bSync);
    void Queue(EVENT_ENTRY _entry, bool _bWait);
    bool StartThread();

    const XMLNodePtr pObject;
    const std::shared_ptr<DELIVERY> pDelivery;
    std::atomic<uint32_t> nWants{0};  // changed under the lock of the listeners
    Mutex mtx{lock_order::kEventQueue};
    Text lastName ZR_GUARDED_BY(mtx);   // frames come under one name, whose text is made once
    std::atomic<bool> bClosing{false};  // what is raised meanwhile is dropped
    Mutex mtxThread;                    // start and end of the thread; taken outside all others
    Thread thread ZR_GUARDED_BY(mtxThread);
};

// Gives an object T its face for subscribers; T has the events and shows them by Events_I().
template <class T>
class IZrEventsImpl : public IZrEventsAdvise {
public:
    HRESULT Advise(IUnknown* _pListener, uint32_t* _pdwCookie) override {
        return static_cast<T*>(this)->Events_I().Advise(_pListener, _pdwCookie);
    }
    HRESULT Unadvise(uint32_t _dwCookie) override { return static_cast<T*>(this)->Events_I().Unadvise(_dwCookie); }

protected:
    ~IZrEventsImpl() = default;
};

}  // namespace zr
