#pragma once
// The weights of the resampler: a windowed sinc, taken at the places between two samples.

#include <cstdint>
#include <memory>
#include <vector>

#include "audio/kernels/resample_row.h"

namespace zr {

// The weights of one place, on cache lines of their own.
struct alignas(64) RESAMPLE_WEIGHTS {
    float arr[kResampleTaps];
};

// Shared by all that use it. Never changes.
struct ResampleFilter {
    uint32_t nPlaces = 1;
    std::vector<RESAMPLE_WEIGHTS> arrWeights;  // for each place and one place more, which is a sample further
};
using ResampleFilterPtr = std::shared_ptr<const ResampleFilter>;

// For _nPlaces places from one sample to the next. _dblRatio: output rate / input rate; below 1 the band is narrowed
// to the output's. The last ones asked for are kept; one that is not takes milliseconds. Any thread; throws
// std::bad_alloc.
ResampleFilterPtr FilterFor(uint32_t _nPlaces, double _dblRatio);

}  // namespace zr
