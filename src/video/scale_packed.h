#pragma once
// YCbCr pictures at another size: packed rows taken apart and put together on the way, or plane by plane.
//
// All take pictures that are cut to what is to be scaled, and parameters whose flags hold the field mode already; the
// engine's lock is held. E_INVALIDARG: a format that cannot be scaled. E_OUTOFMEMORY: no scratch.

#include "video/picture.h"
#include "video/resize_sharpen.h"
#include "video/scaling_engine.h"

namespace zr {

// Packed to packed of equal width: whole rows, all bytes with the same weights.
HRESULT ScalePackedRows(ScalingEngine& _engine, const PICTURE& _src, const PICTURE& _dst, const RESIZE_PARAMS& _params);

// Packed or planar to packed, row by row through the cache. Gives the bytes that ScaleByPlanes gives.
HRESULT ScaleIntoPacked(ScalingEngine& _engine, const PICTURE& _src, const PICTURE& _dst, const RESIZE_PARAMS& _params);

// Any to any, through whole planes; chroma with half the filter width and never sharpened.
HRESULT ScaleByPlanes(ScalingEngine& _engine, const PICTURE& _src, const PICTURE& _dst, bool _bInterlaced,
                      const RESIZE_PARAMS& _params);

}  // namespace zr
