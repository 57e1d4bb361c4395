#pragma once
// The driver of the scaler: a rectangle of one picture into a rectangle of another, of any size and format.

#include <cstdint>

#include "video/picture.h"
#include "video/scale_packed.h"
#include "video/scaling_engine.h"
#include "zr/records.h"

namespace zr {

// Scales _pSrcRect of the source into _pDstRect of the destination (null: the whole pictures), both clipped to their
// pictures in proportion, and changes the pixel format. Nothing outside the rectangle is written.
// _bInterlaced: fields are kept apart as _nFlags (eScaleFlags) say; without it the pictures are progressive.
// _nSharpness: -50..50, of RGB and luma.
//
// RGB is resized by pixels; packed 4:2:2 of unchanged width as whole rows, with luma's filter for chroma too; all else
// as planes, chroma with half the filter width. A picture that becomes RGB changes its format first, an RGB picture
// that becomes YCbCr afterwards.
//
// S_OK; S_FALSE: nothing of the rectangles is inside. E_POINTER: a null picture. E_INVALIDARG: sizes, strides or
// rectangles that cannot be, a format that cannot be scaled, or a v210 destination that would cut a group of six
// pixels. kTypeNotAccepted, E_FAIL: no way between the two formats. E_OUTOFMEMORY: no scratch. Nothing is written then.
HRESULT Img_Convert(ScalingEngine& _engine, const uint8_t* _pSrc, uint8_t* _pDst, const ZR_VID_PROPS& _srcProps,
                    const ZR_VID_PROPS& _dstProps, bool _bInterlaced, const tagRECT* _pSrcRect,
                    const tagRECT* _pDstRect, eInterpolation _eQuality, int32_t _nSharpness, uint32_t _nFlags);

// Prepares what Img_Convert would do to a whole destination, without sharpening, for rows that are made one by one: see
// PackedScaling. S_FALSE: it would do something else than scale into packed rows, or nothing. Codes as above.
HRESULT Img_PrepareRows(ScalingEngine& _engine, PICTURE _src, const ZR_VID_PROPS& _srcProps,
                        const ZR_VID_PROPS& _dstProps, bool _bInterlaced, const tagRECT& _srcRect,
                        eInterpolation _eQuality, uint32_t _nFlags, PackedScaling& _rows);

// The same as Img_Convert between pictures whose records are _srcProps and _dstProps.
HRESULT Img_Convert_I(ScalingEngine& _engine, const PICTURE& _src, const PICTURE& _dst, const ZR_VID_PROPS& _srcProps,
                      const ZR_VID_PROPS& _dstProps, bool _bInterlaced, const tagRECT* _pSrcRect,
                      const tagRECT* _pDstRect, eInterpolation _eQuality, int32_t _nSharpness, uint32_t _nFlags);

}  // namespace zr
