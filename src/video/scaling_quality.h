#pragma once
// The quality number of scaling_quality as an interpolation and a route.

#include <cstdint>

#include "zr/records.h"

namespace zr {

// How rows are resampled; the numbers are those that quality values normalise to.
enum class eInterpolation : int32_t {
    Nearest = 1,
    Linear = 2,
    Cubic = 4,          // B 0, C 1
    BSpline = 5,        // B 1, C 0
    CatmullRom = 6,     // B 0, C 1/2
    CubicB05C03 = 7,    // B 1/2, C 3/10
    SuperSampling = 8,  // area weights; reduces only
    Lanczos = 16,       // 3 lobes
};

struct SCALING_QUALITY {
    eInterpolation eMode;
    bool bSeparateFields;  // the field-separating route
};

// _nQuality below 1 is automatic and follows from the records; 10 added to any value forces the field-separating route.
// _nLevel: of the conversion call, below 0 when there is none.
SCALING_QUALITY ScalingQuality(int32_t _nQuality, const ZR_VID_PROPS& _srcProps, const ZR_VID_PROPS& _dstProps,
                               int32_t _nLevel);

}  // namespace zr
