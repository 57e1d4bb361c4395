#pragma once
// The life of a media object: its name, start and close, state, listeners, commands, and a look at its last frame.

#include <cstdint>

#include "zr/enums.h"
#include "zr/events.h"
#include "zr/frame.h"
#include "zr/text.h"
#include "zr/unknown.h"

namespace zr {

// Any thread may call any operation. Start, close and the file operations of one object wait for each other. A listener
// that is called at once, by the keys "on_event.sync" and "on_frame.sync", runs on a thread that they wait for: on a
// mixer they answer ZR_E_RETRY there while another of them is under way, and otherwise work, but for a start after a
// stop by the thread that mixes. On a file source they are not to be called there.
struct IZrObject : IUnknown {
    static constexpr GUID kIid = GuidOf("158DE741-0963-43BD-9834-1407E0047B5C");

    // The name that events carry and under which receivers find the object. Null or empty is allowed.
    virtual HRESULT ObjectNameSet(const char16_t* _bsName) = 0;
    // The caller frees the text. E_POINTER: _pbsName is null.
    virtual HRESULT ObjectNameGet(BSTR* _pbsName) = 0;
    // Opens the object and leaves it stopped, or playing when its key "auto_start" is true. _pSource: the object to
    // take frames from, for a renderer or a capture object; null for a mixer or a file. S_FALSE: it is open already. On
    // failure it is closed again, with the state eZrS_Error.
    virtual HRESULT ObjectStart(IUnknown* _pSource) = 0;
    // Stops, waits for the object's threads to be done, and lets go of sources, receivers and preview. The object can
    // be started again. Closing a closed object does nothing.
    virtual HRESULT ObjectClose() = 0;
    // The state at this moment. E_POINTER: _peState is null.
    virtual HRESULT ObjectStateGet(eZrState* _peState) = 0;
    // The one direct listener, in place of an earlier one; null ends it. The object keeps a reference. Beside it the
    // functions below and the advised listeners of zr/events.h are called as well.
    virtual HRESULT ObjectCallbackSet(IZrCallback* _pCallback, int64_t _llCallbackUserData) = 0;
    // The same by functions: the addresses of a PFOnEvent and a PFOnFrame (zr/events.h), 0 for none. They must stay
    // callable until they are replaced or the object is closed.
    virtual HRESULT ObjectCallbackSetFunc(int64_t _lpPFOnEvent, int64_t _lpPFOnFrame, int64_t _llCallbackUserData) = 0;
    // Runs a command: "start", "pause", "pause_last", "stop", "rate", "seek", "skip", "seek_list", "mute", "audio",
    // "gain", "audio-track", "loop". _bsParam: an attribute line such as "time=1.5 ramp=0.1", or the one value alone.
    // The event "command-execute" goes out first. _pbsReturn (may be null): a text the caller frees, null for most.
    // E_INVALIDARG: an empty command. E_NOINTERFACE: the object has nothing that the command addresses.
    virtual HRESULT ObjectCommandExecute(const char16_t* _bsCommand, const char16_t* _bsParam, IUnknown* _pParamUnk,
                                         BSTR* _pbsReturn) = 0;
    // Shows the output to other programs as a capture device (_bCreate not 0), or takes that back. Null or empty
    // _bsName: a name made from the object's. _bsParam: attributes, may be null. E_NOTIMPL so far.
    virtual HRESULT ObjectVirtualSourceCreate(int32_t _bCreate, const char16_t* _bsName, const char16_t* _bsParam) = 0;
    // The frame sent last, by default as ARGB32. _bsParam (may be null): "max_wait" milliseconds to wait for a first
    // frame (1000; 0 or less: do not wait), "field" 1 or 2 to have one field of an interlaced frame, "pixel_format" (0
    // keeps the frame's). The caller releases the frame. ZR_E_TIMEOUT: none came. E_POINTER: _ppFrame is null.
    virtual HRESULT ObjectFrameGet(IZrFrame** _ppFrame, const char16_t* _bsParam) = 0;
    // A part of a capture object, by type name; the caller releases it.
    virtual HRESULT ObjectGetInternal(const char16_t* _bsType, IUnknown** _ppObject) = 0;

protected:
    ~IZrObject() = default;
};

}  // namespace zr
