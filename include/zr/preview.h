#pragma once
// The preview of an object: a window with its picture, and its sound, on the machine that it runs on.

#include <cstdint>

#include "zr/enums.h"
#include "zr/text.h"
#include "zr/unknown.h"

namespace zr {

// The object passes every call on to a preview object of class kClsidZrPreview; REGDB_E_CLASSNOTREG where the host has
// registered none. _bsChannelID: null or empty for the object's own preview. The preview never sets the pace of the
// object and may drop frames. Any thread.
struct IZrPreview : IUnknown {
    static constexpr GUID kIid = GuidOf("3D4BEA48-CA66-427F-B884-CB388AE35A51");

    // Switches sound and picture on (not 0) or off.
    virtual HRESULT PreviewEnable(const char16_t* _bsChannelID, int32_t _bEnableAudio, int32_t _bEnableVideo) = 0;
    // The window to draw into, as the window system's number; 0: a window of its own.
    virtual HRESULT PreviewWindowSet(const char16_t* _bsChannelID, int64_t _hWndParent) = 0;
    // Full screen (not 0) on a display, 0 first, -1 the one that the window is on; or back into the window.
    virtual HRESULT PreviewFullScreen(const char16_t* _bsChannelID, int32_t _bFullScreen, int32_t _nDisplay) = 0;
    // Whether it is full screen, and on which display. Either may be null.
    virtual HRESULT PreviewIsFullScreen(const char16_t* _bsChannelID, int32_t* _pbFullScreen, int32_t* _pnDisplay) = 0;
    // Volume of a channel, -1 all, in dB: 0 full, -100 silence.
    virtual HRESULT PreviewAudioVolumeSet(const char16_t* _bsChannelID, int32_t _nChannel,
                                          double _dblAttenuationdB) = 0;
    virtual HRESULT PreviewAudioVolumeGet(const char16_t* _bsChannelID, int32_t _nChannel,
                                          double* _pdblAttenuationdB) = 0;
    // The pointer's shape over the picture; eZrCT_NOCURSOR hides it.
    virtual HRESULT PreviewSetCursor(const char16_t* _bsChannelID, eZrCursorType _eCursor) = 0;
    // Whether sound and picture are on. Either may be null.
    virtual HRESULT PreviewIsEnabled(const char16_t* _bsChannelID, int32_t* _pbEnabledAudio,
                                     int32_t* _pbEnabledVideo) = 0;
    // As PreviewWindowSet, for languages that have 32 bits at most.
    virtual HRESULT PreviewWindowSetVB6(const char16_t* _bsChannelID, int32_t _hWndParent) = 0;

protected:
    ~IZrPreview() = default;
};

}  // namespace zr
