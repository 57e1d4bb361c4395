#pragma once
// The frame that is shown in one slot of the output's line.

#include "mixer/stream_rate.h"
#include "zr/frame.h"
#include "zr/ptr.h"

namespace zr {

// _frame itself where it is shown whole; a reference of it that asks for one field to be spread over the picture; or,
// woven, a new frame with the lines of _pKept (may be null: it is gone) and _frame in the fields of _output. What
// cannot be woven, or need not be, as both show the same picture, is shown whole. Codes of a clone, and E_OUTOFMEMORY.
HRESULT FrameOfSlot(SlotPicture _ePicture, IZrFFrame* _pKept, IZrFFrame& _frame, const ZR_VID_PROPS& _output,
                    ZrPtr<IZrFFrame>* _ppFrame);

}  // namespace zr
