#pragma once
// The picture of any frame, whoever made it, as the pixel work takes it.

#include "video/picture.h"
#include "video/scaling_engine.h"
#include "zr/frame.h"
#include "zr/records.h"

namespace zr {

struct FRAME_PICTURE {
    ZR_VID_PROPS props;
    PICTURE picture;  // in the frame's own memory, to be read
};

// ZR_E_EMPTY: there is no picture. E_INVALIDARG: one that cannot be.
HRESULT PictureOfFrame(IZrFFrame& _frame, FRAME_PICTURE* _pPicture);

// The same as a record and one block of memory.
struct PICTURE_BLOCK {
    ZR_VID_PROPS props;
    uint8_t* pBits = nullptr;  // the frame's own memory, or the scratch
};

// Planes that do not stand one behind the other, as in a part cut from a larger picture, are copied into _scratch.
// Codes as above. E_OUTOFMEMORY.
HRESULT PictureBlockOf(IZrFFrame& _frame, ScratchBuffer& _scratch, PICTURE_BLOCK* _pBlock);

}  // namespace zr
