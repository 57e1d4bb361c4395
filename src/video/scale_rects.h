#pragma once
// Which part of a source picture goes to which part of a destination: the scale type's rule, and clipping.

#include <cstdint>

#include "zr/records.h"
#include "zr/status.h"

namespace zr {

// The source's scale type, else the destination's, else what ScaleRects takes on its own.
eZrScaleType ScaleTypeFor(const ZR_VID_PROPS& _srcProps, const ZR_VID_PROPS& _dstProps);

// The rectangles by which _src is fitted into _dst: the scale type is the source's, else the destination's, else it
// follows from sizes and rates: nearly equal widths at equal rate are centred without scaling, narrower pictures are
// cropped, all others letter-boxed. Lefts and tops come out even. True: the rectangles are not the whole pictures or
// differ in size.
bool ScaleRects(const ZR_VID_PROPS& _srcProps, const ZR_VID_PROPS& _dstProps, tagRECT& _srcRect, tagRECT& _dstRect);

// Clips a pair of rectangles to their pictures. Null: the whole picture. _bKeepScale true: what is cut off one is cut
// off the other in proportion; false: both get the smaller of both sizes first, and the scale is 1. When either format
// shares chroma between pixels, lefts and rights come out even.
// S_OK; S_FALSE: nothing is left; E_INVALIDARG: a left or top beyond its picture, or a picture without a size.
HRESULT ClipRects(const ZR_VID_PROPS& _srcProps, const ZR_VID_PROPS& _dstProps, tagRECT& _srcRect, tagRECT& _dstRect,
                  bool _bKeepScale, const tagRECT* _pSrcRectIn, const tagRECT* _pDstRectIn);

constexpr int32_t RectWidth(const tagRECT& _rect) { return _rect.right - _rect.left; }
constexpr int32_t RectHeight(const tagRECT& _rect) { return _rect.bottom - _rect.top; }

}  // namespace zr
