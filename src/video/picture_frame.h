#pragma once
// New frames for pictures that this folder makes.

#include <cstdint>

#include "media/frame_interfaces.h"
#include "zr/ptr.h"

namespace zr {

// A frame of a format, with a time and room for its picture, whose bytes are undefined yet.
// E_INVALIDARG: more than 2 GiB. E_OUTOFMEMORY.
HRESULT MakePictureFrame(ZrFrameFactory_I& _factory, const ZR_AV_PROPS& _avProps, const ZR_TIME& _time,
                         ZrPtr<IZrFrame>* _ppFrame, uint8_t** _ppBits);

}  // namespace zr
