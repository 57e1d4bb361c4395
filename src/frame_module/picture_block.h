#pragma once
// The picture of any frame, whoever made it, as the pixel work takes it: a record and one block of memory.

#include "video/scaling_engine.h"
#include "zr/frame.h"
#include "zr/records.h"

namespace zr {

struct PICTURE_BLOCK {
    ZR_VID_PROPS props;
    uint8_t* pBits = nullptr;  // the frame's own memory, or the scratch
};

// Planes that do not stand one behind the other, as in a part cut from a larger picture, are copied into _scratch.
// ZR_E_EMPTY: there is no picture. E_INVALIDARG: one that cannot be. E_OUTOFMEMORY.
HRESULT PictureBlockOf(IZrFFrame& _frame, ScratchBuffer& _scratch, PICTURE_BLOCK* _pBlock);

}  // namespace zr
