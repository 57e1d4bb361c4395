#pragma once
// The part of a picture that the attribute crop leaves.

#include <string_view>

#include "zr/frame.h"
#include "zr/records.h"
#include "zr/status.h"

namespace zr {

// What is left of a picture: _text lists pixels to cut from the edges. One number: from all four; two: left and right,
// top and bottom; three: left and right, top, bottom; four: left, top, right, bottom. E_INVALIDARG: no number in the
// text, or nothing is left.
HRESULT CropRect(std::u16string_view _text, const ZR_VID_PROPS& _props, tagRECT* _pRect);

// The window onto the rectangle, without a copy; see IZrFrame::FrameCut.
HRESULT Crop(IZrFrame* _pFrame, const tagRECT& _rect, IZrFrame** _ppFrameRes);

}  // namespace zr
