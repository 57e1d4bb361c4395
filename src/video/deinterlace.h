#pragma once
// A whole picture out of one field.

#include <cstdint>

#include "video/scaling_engine.h"
#include "zr/records.h"

namespace zr {

// The field that a record asks for: 1 or 2 (as of IZrFrame::FrameCut), 0 when it does not ask for one.
int32_t DeinterlaceField(const ZR_VID_PROPS& _props);

// Makes a progressive picture of one field (1, 2) of an interlaced one: lines that the field does not have are filtered
// from those that it has, by the vertical pass. Sizes and formats may differ, as in Img_Convert, whose result codes
// these are. E_INVALIDARG also: another field.
HRESULT DeinterlacePicture(ScalingEngine& _engine, const uint8_t* _pSrc, uint8_t* _pDst, const ZR_VID_PROPS& _srcProps,
                           const ZR_VID_PROPS& _dstProps, int32_t _nField, eInterpolation _eQuality);

}  // namespace zr
