#pragma once
// One picture of 8-bit channels at another size, then sharper or softer.

#include <cstdint>

#include "video/picture.h"
#include "video/scaling_engine.h"

namespace zr {

struct RESIZE_PARAMS {
    eInterpolation eMode = eInterpolation::Linear;
    double dblWidth = 1;       // filter width of the vertical pass
    uint32_t nFlags = 0;       // eScaleFlags
    int32_t nSharpness = 0;    // -50 softest to 50 sharpest
    bool bFillBorder = false;  // outer pixels, which lack neighbours, take the resized picture when it is sharpened
};

struct RESIZE_INFO {
    eZrFCC fccType = eZrFCC_Default;
    int32_t nWidth = 0, nHeight = 0;  // the sign of the height does not matter: rows are walked as the stride says
    int32_t nStride = 0;
};

inline constexpr int32_t kMaxSharpness = 50;

// Resizes and sharpens RGB8 (any plane of bytes), RGB24, RGB32 and ARGB32. First vertically by the flags' field mode
// (progressive unless _bInterlaced), if the heights differ or there are flags; then horizontally; then a convolution,
// which after a vertical pass works along rows only and otherwise, if _bInterlaced, in each field.
// Without bFillBorder sharpening leaves the outer columns and rows of the destination as they were.
// E_POINTER: a null picture. E_INVALIDARG: formats that differ or are not of those, sizes that cannot be, strides that
// are too small. E_OUTOFMEMORY: no scratch. Nothing is written then.
HRESULT SEH_Resize_n_Sharp(ScalingEngine& _engine, const uint8_t* _pSrc, uint8_t* _pDst, const RESIZE_INFO& _srcInfo,
                           const RESIZE_INFO& _dstInfo, bool _bInterlaced, const RESIZE_PARAMS& _params);

// The same between planes whose geometry is known to be good, under the engine's lock. _cbPixel: 1, 3 or 4. _nPlane:
// whose tables are used.
HRESULT ResizePlane_I(ScalingEngine& _engine, const PLANE& _src, const PLANE& _dst, size_t _cbPixel, int32_t _nPlane,
                      bool _bInterlaced, const RESIZE_PARAMS& _params);

}  // namespace zr
