#include "framework/events.h"

#include <algorithm>
#include <new>
#include <string>
#include <utility>

#include "platform/clock.h"

namespace zr {
namespace {

constexpr NameKey kEventSync{u"on_event.sync"};
constexpr NameKey kFrameSync{u"on_frame.sync"};
constexpr NameKey kFrameData{u"on_frame.data"};

constexpr HRESULT kNoListener = static_cast<HRESULT>(0x80040202u);
constexpr HRESULT kNoCookie = static_cast<HRESULT>(0x80040200u);

// Cookies count in the low half; the high half tells the kind of the listener.
constexpr uint32_t kCookieEvents = 0x10000, kCookieFrames = 0x20000, kLastCookie = 0xFFFF;
constexpr int64_t kMostSyncWait = kTicksPerSecond;

bool IsOn(const XMLNodePtr& _pNode, const NameKey& _key) {
    bool bOn = false;
    _pNode->GetOwnAttribute(_key, bOn);
    return bOn;
}

EVENT_ENTRY::Text TextFrom(const char16_t* _sz) {
    return _sz ? std::make_shared<const std::u16string>(_sz) : EVENT_ENTRY::Text();
}

}  // namespace

bool EVENT_LISTENERS::WantDirect(bool _bFrame) const {
    return pCallback || (_bFrame ? pfnFrame != nullptr : pfnEvent != nullptr);
}

bool EVENT_LISTENERS::WantAdvised(bool _bFrame) const {
    return std::any_of(arrPoints.begin(), arrPoints.end(), [_bFrame](const POINT& _point) {
        return _point.pBoth || (_bFrame ? static_cast<bool>(_point.pFrames) : static_cast<bool>(_point.pEvents));
    });
}

void EVENT_LISTENERS::TellDirect(const EVENT_ENTRY& _entry) const {
    const char16_t* const szName = EVENT_ENTRY::TextOf(_entry.name);
    if (_entry.pFrame) {
        if (pCallback) pCallback->OnFrame(llCallbackData, szName, _entry.pFrame.Get());
        if (pfnFrame) pfnFrame(llFunctionData, szName, _entry.pFrame.Get());
        return;
    }
    const char16_t* const szEvent = EVENT_ENTRY::TextOf(_entry.event);
    const char16_t* const szParam = EVENT_ENTRY::TextOf(_entry.param);
    if (pCallback) pCallback->OnEvent(llCallbackData, szName, szEvent, szParam, _entry.pObject.Get());
    if (pfnEvent) pfnEvent(llFunctionData, szName, szEvent, szParam, _entry.pObject.Get());
}

void EVENT_LISTENERS::TellAdvised(const EVENT_ENTRY& _entry) const {
    const char16_t* const szName = EVENT_ENTRY::TextOf(_entry.name);
    const char16_t* const szEvent = EVENT_ENTRY::TextOf(_entry.event);
    const char16_t* const szParam = EVENT_ENTRY::TextOf(_entry.param);
    for (const POINT& point : arrPoints) {
        if (_entry.pFrame) {
            if (point.pBoth) point.pBoth->OnFrame(szName, _entry.pFrame.Get());
            if (point.pFrames) point.pFrames->OnFrameSafe(szName, _entry.pFrame.Get());
        } else {
            if (point.pBoth) point.pBoth->OnEvent(szName, szEvent, szParam, _entry.pObject.Get());
            if (point.pEvents) point.pEvents->OnEventSafe(szName, szEvent, szParam, _entry.pObject.Get());
        }
    }
}

ObjectEvents::ObjectEvents(const XMLNodePtr& _pObject) : pObject(_pObject), pDelivery(std::make_shared<DELIVERY>()) {
    CRWWriteScope lock(pDelivery->lock, "ObjectEvents");
    pDelivery->pListeners = std::make_shared<const EVENT_LISTENERS>();
}

ObjectEvents::~ObjectEvents() {
    Close();
    MutexLock lock(mtxThread);
    if (!thread.IsJoinable()) return;
    thread.RequestStop();  // the thread itself, which then works on what it shares with nobody
    thread.Abandon();
}

// --- Who listens

// The listeners there were go without the lock.
template <class Change>
HRESULT ObjectEvents::ChangeListeners(Change _change) {
    try {
        const auto pNew = std::make_shared<EVENT_LISTENERS>();
        ListenersPtr pOld;
        CRWWriteScope lock(pDelivery->lock, "ChangeListeners");
        *pNew = *pDelivery->pListeners;
        const HRESULT hr = _change(*pNew);
        if (Failed(hr)) return hr;
        const bool bEvents = pNew->WantDirect(false) || pNew->WantAdvised(false);
        const bool bFrames = pNew->WantDirect(true) || pNew->WantAdvised(true);
        pOld = std::exchange(pDelivery->pListeners, pNew);
        nWants = (bEvents ? kWantsEvents : 0u) | (bFrames ? kWantsFrames : 0u);
        return hr;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT ObjectEvents::SetCallback(IZrCallback* _pCallback, int64_t _llUserData) {
    return ChangeListeners([&](EVENT_LISTENERS& _listeners) {
        _listeners.pCallback = _pCallback;
        _listeners.llCallbackData = _llUserData;
        return S_OK;
    });
}

HRESULT ObjectEvents::SetFunctions(PFOnEvent _pfnEvent, PFOnFrame _pfnFrame, int64_t _llUserData) {
    return ChangeListeners([&](EVENT_LISTENERS& _listeners) {
        _listeners.pfnEvent = _pfnEvent;
        _listeners.pfnFrame = _pfnFrame;
        _listeners.llFunctionData = _llUserData;
        return S_OK;
    });
}

HRESULT ObjectEvents::Advise(IUnknown* _pListener, uint32_t* _pdwCookie) {
    if (!_pdwCookie) return E_POINTER;
    *_pdwCookie = 0;
    EVENT_LISTENERS::POINT point;
    uint32_t nKind = 0;
    if (point.pBoth = QueryAs<IZrEvents>(_pListener); !point.pBoth) {
        nKind = kCookieEvents;
        if (point.pEvents = QueryAs<IZrEventsEvent>(_pListener); !point.pEvents) {
            nKind = kCookieFrames;
            if (point.pFrames = QueryAs<IZrEventsFrame>(_pListener); !point.pFrames) return kNoListener;
        }
    }
    return ChangeListeners([&](EVENT_LISTENERS& _listeners) {
        auto& arr = _listeners.arrPoints;
        uint32_t nCookie = nKind + 1;  // the least that is free; the kinds stand one behind the other
        auto it = std::find_if(arr.begin(), arr.end(), [&](const auto& _p) { return _p.nCookie >= nKind; });
        for (; it != arr.end() && it->nCookie == nCookie; ++it) ++nCookie;
        if (nCookie > nKind + kLastCookie) return E_OUTOFMEMORY;
        point.nCookie = *_pdwCookie = nCookie;
        arr.insert(it, std::move(point));
        return S_OK;
    });
}

HRESULT ObjectEvents::Unadvise(uint32_t _dwCookie) {
    return ChangeListeners([_dwCookie](EVENT_LISTENERS& _listeners) {
        auto& arr = _listeners.arrPoints;
        const auto it = std::find_if(arr.begin(), arr.end(), [&](const auto& _p) { return _p.nCookie == _dwCookie; });
        if (it == arr.end()) return kNoCookie;
        arr.erase(it);
        return S_OK;
    });
}

ObjectEvents::ListenersPtr ObjectEvents::DELIVERY::Listeners() const {
    CRWReadScope scope(lock);
    return pListeners;
}

// --- What happens

void ObjectEvents::RaiseEvent(const char16_t* _szName, const char16_t* _szEvent, const char16_t* _szParam,
                              IUnknown* _pObject) {
    if ((nWants & kWantsEvents) != 0) FireEvent(_szName, _szEvent, _szParam, _pObject, IsOn(pObject, kEventSync));
}

void ObjectEvents::RaiseFrame(const char16_t* _szName, IZrFFrame* _pFrame) {
    if ((nWants & kWantsFrames) == 0) return;
    FireFrame(_szName, _pFrame, IsOn(pObject, kFrameSync), IsOn(pObject, kFrameData));
}

// A thing that cannot be told for want of memory is lost; whoever raises it goes on.
void ObjectEvents::FireEvent(const char16_t* _szName, const char16_t* _szEvent, const char16_t* _szParam,
                             IUnknown* _pObject, bool _bSync) try {
    if ((nWants & kWantsEvents) == 0) return;
    EVENT_ENTRY entry;
    entry.name = TextFrom(_szName);
    entry.event = TextFrom(_szEvent);
    entry.param = TextFrom(_szParam);
    entry.pObject = _pObject;
    Fire(entry, _bSync);
} catch (const std::bad_alloc&) {
}

void ObjectEvents::FireFrame(const char16_t* _szName, IZrFFrame* _pFrame, bool _bSync, bool _bData) try {
    if ((nWants & kWantsFrames) == 0 || !_pFrame) return;
    EVENT_ENTRY entry;
    entry.name = NameOf(_szName);
    if (_bSync) {
        entry.pFrame = _pFrame;
    } else {
        const bool bData = _bData && pDelivery->queue.HasRoomForData();
        const eZrFrameClone eClone = bData ? eZrFC_Reference : eZrFC_Props;
        if (Failed(_pFrame->ZrFClone(entry.pFrame.Out(), eClone, eZrFCC_Default))) return;
        ZRF_FRAME_INFO info;
        if (bData && Succeeded(_pFrame->ZrFAllGet(&info))) entry.cbData = int64_t{info.cbVideo} + info.cbAudio;
    }
    Fire(entry, _bSync);
} catch (const std::bad_alloc&) {
}

ObjectEvents::Text ObjectEvents::NameOf(const char16_t* _szName) {
    if (!_szName) return {};
    {
        MutexLock lock(mtx);
        if (lastName && *lastName == _szName) return lastName;
    }
    Text name = TextFrom(_szName);
    MutexLock lock(mtx);
    return lastName = std::move(name);
}

void ObjectEvents::Fire(EVENT_ENTRY& _entry, bool _bSync) {
    if (!_bSync) {
        Queue(std::move(_entry), false);
        return;
    }
    const ListenersPtr pListeners = pDelivery->Listeners();
    pListeners->TellDirect(_entry);
    if (pListeners->WantAdvised(static_cast<bool>(_entry.pFrame))) Queue(std::move(_entry), true);
}

void ObjectEvents::Queue(EVENT_ENTRY _entry, bool _bWait) {
    // Held here: a listener may have the object destroyed meanwhile.
    const std::shared_ptr<DELIVERY> pKept = pDelivery;
    const bool bInside = pKept->idThread == CurrentThreadId();
    if (!bInside && !StartThread()) return;
    const auto pDone = _bWait ? std::make_shared<ManualEvent>() : nullptr;
    _entry.pDone = pDone;
    pKept->queue.Put(std::move(_entry));
    if (!pDone) return;
    if (!bInside) {
        WaitOne(*pDone, kMostSyncWait);
        return;
    }
    // Raised by a listener's own call: nobody else would deliver it.
    while (!pDone->IsSet() && pKept->DeliverOne()) {
    }
}

bool ObjectEvents::StartThread() {
    if (bClosing) return false;  // whoever raises must not wait for a listener that may wait for it
    MutexLock lock(mtxThread);
    if (thread.IsJoinable()) return true;
    return Succeeded(thread.Start("zr-events", [p = pDelivery](ManualEvent& _evStop) {
        p->idThread = CurrentThreadId();
        while (WaitAny({&_evStop, &p->queue.Wake()}, -1) == 1) {
            while (!_evStop.IsSet() && p->DeliverOne()) {
            }
        }
        p->idThread = 0;
    }));
}

bool ObjectEvents::DELIVERY::DeliverOne() {
    EVENT_ENTRY entry;
    if (!queue.Take(entry)) return false;
    const ListenersPtr p = Listeners();
    if (!entry.pDone) p->TellDirect(entry);
    p->TellAdvised(entry);
    if (entry.pDone) entry.pDone->Set();
    return true;
}

void ObjectEvents::Close() {
    pDelivery->queue.Clear();
    if (pDelivery->idThread == CurrentThreadId()) return;
    MutexLock lock(mtxThread);
    bClosing = true;
    thread.RequestStop();
    thread.Join();
    pDelivery->queue.Clear();
    bClosing = false;
}

}  // namespace zr
