#pragma once
// Turns the picture of a frame by 90 degrees.

#include "media/frame_interfaces.h"
#include "video/rotate.h"

namespace zr {

// A new frame with the picture of _pSource turned clockwise or counter-clockwise, with its time; of a frame's other
// parts nothing goes along. _pWantedProps (may be null): a valid record gives the pixel format and row bytes.
// E_UNEXPECTED: no maker or no frame. kUnsupportedFrame: a frame without a picture. E_NOTIMPL: planar formats, v210.
HRESULT Rotate90(ZrFrameFactory_I* _pFactory, bool _bRight, IZrFrame* _pSource, IZrFrame** _ppFrameRes,
                 const ZR_VID_PROPS* _pWantedProps);

inline constexpr HRESULT kUnsupportedFrame = static_cast<HRESULT>(0x80040248u);

}  // namespace zr
