#include "framework/callback_sink.h"

namespace zr {

void CallbackSink::SetCallback(IZrCallback* _pCallback, int64_t _llUserData) {
    ZrPtr<IZrCallback> pNew(_pCallback);  // the old one is let go of outside the lock
    MutexLock lock(mtx);
    std::swap(listener.pCallback, pNew);
    listener.llCallbackData = _llUserData;
    lock.Unlock();
}

void CallbackSink::SetFunctions(PFOnEvent _pfnEvent, PFOnFrame _pfnFrame, int64_t _llUserData) {
    MutexLock lock(mtx);
    listener.pfnEvent = _pfnEvent;
    listener.pfnFrame = _pfnFrame;
    listener.llFunctionData = _llUserData;
}

CallbackSink::LISTENER CallbackSink::Listener() const {
    MutexLock lock(mtx);
    return listener;
}

void CallbackSink::RaiseEvent(const char16_t* _szName, const char16_t* _szEvent, const char16_t* _szParam,
                              IUnknown* _pObject) {
    const LISTENER l = Listener();
    if (l.pCallback) l.pCallback->OnEvent(l.llCallbackData, _szName, _szEvent, _szParam, _pObject);
    if (l.pfnEvent) l.pfnEvent(l.llFunctionData, _szName, _szEvent, _szParam, _pObject);
}

void CallbackSink::RaiseFrame(const char16_t* _szName, IZrFFrame* _pFrame) {
    const LISTENER l = Listener();
    if (l.pCallback) l.pCallback->OnFrame(l.llCallbackData, _szName, _pFrame);
    if (l.pfnFrame) l.pfnFrame(l.llFunctionData, _szName, _pFrame);
}

}  // namespace zr
