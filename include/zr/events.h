#pragma once
// What an object tells its host: named events, and the frames it sends. A host implements one of these, or gives plain
// functions to IZrObject::ObjectCallbackSetFunc.
//
// Calls come on the object's delivery thread, one after another; what waits there is at most 10000 entries, of which
// the oldest goes first. With the key "on_frame.sync" or "on_event.sync" the direct listener is called by the thread
// that mixes and sends instead, which then waits: be quick there, and call no start, stop or close of the object.
//
// Texts and objects that come in belong to the caller and are good for the call; a listener takes references of its own
// to what it keeps. The results of listeners are ignored. A frame shows IZrFrame and IZrFFrame (QueryAs); without the
// key "on_frame.data" it carries its properties and time but no picture and no audio, unless it comes synchronously.
//
// Events of a mixer: "start"; "pause" with seconds, "pause-start" or "pause-done"; "stop" with seconds; "connect" and
// "disconnect" with the item; "source_connected" and "source_disconnected" with the source; "trans-done";
// "scene_active_set" with "true" or "false"; and each command of ObjectCommandExecute, channel "command-execute".
// With the key "on_mix.event" also "mix" before each frame, with its number since the start, 0 first. Streams, items
// and scenes may be changed then, unless somebody closes the mixer meanwhile; with "on_event.sync" the change shows in
// that very frame.

#include <cstdint>

#include "zr/unknown.h"

namespace zr {

// The functions of ObjectCallbackSetFunc; the arguments are those of IZrCallback.
using PFOnEvent = HRESULT (*)(int64_t _llCallbackUserData, const char16_t* _bsName, const char16_t* _bsEventName,
                              const char16_t* _bsEventParam, IUnknown* _pEventObject);
using PFOnFrame = HRESULT (*)(int64_t _llCallbackUserData, const char16_t* _bsName, IUnknown* _pZrFrame);

// The direct listener of ObjectCallbackSet.
struct IZrCallback : IUnknown {
    static constexpr GUID kIid = GuidOf("C0A07E56-E6F7-4EDA-BC5C-EC196AD639AD");

    // _bsName: what raised it, the object or a part of it. _bsEventParam, _pEventObject: by the event, null for none.
    virtual HRESULT OnEvent(int64_t _llCallbackUserData, const char16_t* _bsName, const char16_t* _bsEventName,
                            const char16_t* _bsEventParam, IUnknown* _pEventObject) = 0;
    // Every frame that the object sends.
    virtual HRESULT OnFrame(int64_t _llCallbackUserData, const char16_t* _bsName, IUnknown* _pZrFrame) = 0;

protected:
    ~IZrCallback() = default;
};

// A listener to events and frames.
struct IZrEvents : IUnknown {
    static constexpr GUID kIid = GuidOf("A6EBF924-7F6E-49BD-863F-374DF3B88002");

    // As in IZrCallback.
    virtual HRESULT OnEvent(const char16_t* _bsChannelID, const char16_t* _bsEventName, const char16_t* _bsEventParam,
                            IUnknown* _pEventObject) = 0;
    virtual HRESULT OnFrame(const char16_t* _bsChannelID, IUnknown* _pZrFrame) = 0;

protected:
    ~IZrEvents() = default;
};

// A listener to events alone.
struct IZrEventsEvent : IUnknown {
    static constexpr GUID kIid = GuidOf("EBF0DB1B-9169-4B83-8F19-4E7DDB114A81");

    virtual HRESULT OnEventSafe(const char16_t* _bsChannelID, const char16_t* _bsEventName,
                                const char16_t* _bsEventParam, IUnknown* _pEventObject) = 0;

protected:
    ~IZrEventsEvent() = default;
};

// A listener to frames alone.
struct IZrEventsFrame : IUnknown {
    static constexpr GUID kIid = GuidOf("CF8938D3-CFD5-458C-9101-D334A9D50B24");

    virtual HRESULT OnFrameSafe(const char16_t* _bsChannelID, IUnknown* _pZrFrame) = 0;

protected:
    ~IZrEventsFrame() = default;
};

// How a host subscribes: every object that fires events has this face.
struct IZrEventsAdvise : IUnknown {
    static constexpr GUID kIid = GuidOf("FD2F1BFE-7E28-4402-9B88-50245BDE7F7A");

    // Adds a listener by the first that it has of IZrEvents, IZrEventsEvent, IZrEventsFrame, and keeps a reference.
    // _pdwCookie: what Unadvise needs. 0x80040202: the object has none of the three. Any thread.
    virtual HRESULT Advise(IUnknown* _pListener, uint32_t* _pdwCookie) = 0;
    // Ends that. A call that is under way on the delivery thread may still come to its end.
    // 0x80040200: no such cookie.
    virtual HRESULT Unadvise(uint32_t _dwCookie) = 0;

protected:
    ~IZrEventsAdvise() = default;
};

}  // namespace zr
