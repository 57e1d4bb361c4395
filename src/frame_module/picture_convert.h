#pragma once
// A picture in another pixel format, at its own size.

#include "frame_module/picture.h"
#include "zr/enums.h"
#include "zr/records.h"
#include "zr/status.h"

namespace zr {

// A picture with bytes of its own in _fccTo; _pProps is its record. An odd last column or line that the format cannot
// hold is lost; RGB made of YCbCr is stored top-down. kTypeNotAccepted, E_FAIL: no way from one to the other.
HRESULT PictureConvert(const ZR_VID_PROPS& _from, const Picture& _picture, eZrFCC _fccTo, ZR_VID_PROPS* _pProps,
                       Picture* _pConverted);

}  // namespace zr
