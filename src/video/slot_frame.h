#pragma once
// The frame that is shown in one slot of the output's line.

#include <cstdint>

#include "media/slot_picture.h"
#include "zr/frame.h"
#include "zr/ptr.h"

namespace zr {

// How a record asks for one field of a frame, FirstField or SecondField, to be spread over the picture. _nFields: as of
// InterlaceClass, not 0.
eZrInterlace SpreadField(SlotPicture _ePicture, int32_t _nFields);

// _frame itself where it is shown whole; a reference of it that asks for one field to be spread over the picture; or,
// woven, a new frame with the lines of _pKept (may be null: it is gone) and _frame in the fields of the output,
// whose order is that of _nOutputFields: above 0 the upper one is the first. What cannot be woven, or need not be, as
// both show the same picture, is shown whole. Codes of a clone, and E_OUTOFMEMORY.
HRESULT FrameOfSlot(SlotPicture _ePicture, IZrFFrame* _pKept, IZrFFrame& _frame, int32_t _nOutputFields,
                    ZrPtr<IZrFFrame>* _ppFrame);

}  // namespace zr
