#pragma once
// Frames as they come from sources and plug-ins of hosts, and as the mixer works with them. They are others' frames:
// what changes is a clone.

#include "zr/frame.h"
#include "zr/ptr.h"

namespace zr {

// The frame itself where its times are such as can be reckoned with; else a clone whose times are: those beyond some
// 3600 years are cut. Null: memory is out.
ZrPtr<IZrFFrame> WithinReach(ZrPtr<IZrFFrame> _pFrame);

// A clone of the named parts with the break flag. The line of a source begins with its first frame, whatever its flags
// say: it may have played for others before. Null: memory is out, or there is no frame.
ZrPtr<IZrFFrame> BreakClone(const ZrPtr<IZrFFrame>& _pFrame, eZrFrameClone _eParts);

}  // namespace zr
