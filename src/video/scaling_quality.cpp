#include "video/scaling_quality.h"

#include "media/pixel_format.h"
#include "media/vid_props.h"

namespace zr {

namespace {

int32_t AutoQuality(const ZR_VID_PROPS& _src, const ZR_VID_PROPS& _dst, int32_t _nLevel) {
    const int32_t nSrcLines = AbsHeight(_src.nHeight), nDstLines = AbsHeight(_dst.nHeight);
    const bool bSrcInterlaced = InterlaceClass(&_src) != 0, bDstInterlaced = InterlaceClass(&_dst) != 0;
    if (bSrcInterlaced && bDstInterlaced) {
        if (nSrcLines > 1.8 * nDstLines || _nLevel >= 0) return 18;
        if (nDstLines < nSrcLines) return 16;
    }
    if (bSrcInterlaced && !bDstInterlaced && _dst.dblRate >= 1.7 * _src.dblRate) return 16;
    return nSrcLines > 2.0 * nDstLines ? 8 : 4;
}

}  // namespace

SCALING_QUALITY ScalingQuality(int32_t _nQuality, const ZR_VID_PROPS& _srcProps, const ZR_VID_PROPS& _dstProps,
                               int32_t _nLevel) {
    int32_t nQuality = _nQuality < 1 ? AutoQuality(_srcProps, _dstProps, _nLevel) : _nQuality;
    const bool bSeparateFields = nQuality >= 10;
    if (bSeparateFields) nQuality -= 10;
    if (nQuality < 1) nQuality = 1;
    if (nQuality == 3) nQuality = 2;
    if (nQuality >= 9) nQuality = 16;
    return {static_cast<eInterpolation>(nQuality), bSeparateFields};
}

}  // namespace zr
