#pragma once
// Two pictures, each seen for half of a frame's time, become the two fields of one.

#include "media/frame_interfaces.h"
#include "zr/frame.h"
#include "zr/ptr.h"

namespace zr {

// A new frame whose lines are in turn those of _first and of _second; the order of fields _eOrder says whose are the
// upper ones. Time and record are those of _first. S_FALSE, and no frame: the pictures are of different formats or
// sizes. E_POINTER: one has no picture. E_INVALIDARG: one that cannot be. E_OUTOFMEMORY.
HRESULT WeaveFrames(ZrFrameFactory_I& _factory, IZrFFrame& _first, IZrFFrame& _second, eZrInterlace _eOrder,
                    ZrPtr<IZrFFrame>* _ppWoven);

}  // namespace zr
