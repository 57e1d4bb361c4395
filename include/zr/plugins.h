#pragma once
// Plug-ins: objects of the host that see each frame of an object before it goes on, and may replace it.

#include <cstdint>

#include "zr/frame.h"
#include "zr/unknown.h"

namespace zr {

// The list of an object or of an item. Any thread. The plug-in added last is called first; one that does not have
// IZrPlugin stays in the list and is passed over.
struct IZrPlugins : IUnknown {
    static constexpr GUID kIid = GuidOf("601BABAE-2891-43CD-81B5-7AA1DB6BDF0F");

    // E_POINTER: _pnCount is null.
    virtual HRESULT PluginsGetCount(int32_t* _pnCount) = 0;
    // A plug-in in order of adding, 0 first, which the caller releases, and its user data. ZR_E_BAD_INDEX: none there.
    virtual HRESULT PluginsGetByIndex(int32_t _nIndex, IUnknown** _ppPlugin, int64_t* _pllCallbackUserData) = 0;
    // Adds a plug-in and takes a reference. _llCallbackUserData comes back in each of its calls. From within a call of
    // a plug-in, as the other changes: it holds for the next frame. E_POINTER: _pPlugin is null. E_OUTOFMEMORY.
    virtual HRESULT PluginsAdd(IUnknown* _pPlugin, int64_t _llCallbackUserData) = 0;
    // Removes a plug-in, null: all. A call that is under way on another thread ends as it is. ZR_E_NOT_FOUND: it is not
    // in the list. S_FALSE: null, and there was none.
    virtual HRESULT PluginsRemove(IUnknown* _pPlugin) = 0;
    // The same with 32 bits of user data, for languages that have no more.
    virtual HRESULT PluginsAddVB6(IUnknown* _pPlugin, int32_t _lCallbackUserData) = 0;
    virtual HRESULT PluginsGetByIndexVB6(int32_t _nIndex, IUnknown** _ppPlugin, int32_t* _plCallbackUserData) = 0;
    // Moves a plug-in by that many places, no further than either end. S_FALSE: it stays where it is. E_POINTER,
    // ZR_E_NOT_FOUND as above.
    virtual HRESULT PluginsReorder(IUnknown* _pPlugin, int32_t _nOrderChange) = 0;

protected:
    ~IZrPlugins() = default;
};

// What a host implements. Calls come on worker threads, for different streams at the same time, and hold up the frame:
// be done well within a frame period. No lock of the object is held. A failure counts as "no frame given back". Those
// of an item see the frames of its source before they are mixed, those of a mixer and of a file source what goes out.
struct IZrPlugin : IUnknown {
    static constexpr GUID kIid = GuidOf("3B49F85E-535F-4AFF-8481-68099D8F175F");

    // A frame on its way. It may be shared: to change it, give another one back in _ppFrameRes, with a reference that
    // the caller releases. _ppFrameRes is null when the frame is the object's own; then change it in place.
    // Leaving _ppFrameRes as it is lets the frame go on.
    virtual HRESULT OnMediaReceive(int64_t _llCallbackUserData, IUnknown* _pSender, IZrFrame* _pFrame,
                                   IZrFrame** _ppFrameRes) = 0;
    // The media has ended, or the sender has gone: an item was disconnected, a mixer closed, a file is at its end.
    // Comes to those that have been given frames.
    virtual HRESULT OnMediaEnd(int64_t _llCallbackUserData, IUnknown* _pSender, uint32_t _dwFlags) = 0;
    // The time line breaks off, as by a seek of a file: drop what is held back.
    virtual HRESULT OnMediaFlush(int64_t _llCallbackUserData, IUnknown* _pSender, uint32_t _dwFlags) = 0;

protected:
    ~IZrPlugin() = default;
};

}  // namespace zr
