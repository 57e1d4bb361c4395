#pragma once
// The weights of the resampler: a windowed sinc, taken at the places between two samples.

#include <cstdint>
#include <memory>
#include <vector>

#include "audio/kernels/resample_row.h"

namespace zr {

// Half the length of the window, in samples of the lower rate.
inline constexpr int32_t kResampleHalf = 32;

// A piece of a place's weights, on a cache line of its own.
struct alignas(64) RESAMPLE_WEIGHTS {
    float arr[kResampleLanes];
};

// Shared by all that use it. Never changes.
struct ResampleFilter {
    uint32_t nPlaces = 1;
    size_t nTaps = 0;                          // of a place
    std::vector<RESAMPLE_WEIGHTS> arrWeights;  // for each place and one place more, which is a sample further
};
using ResampleFilterPtr = std::shared_ptr<const ResampleFilter>;

// How many samples a result needs when the rates have that ratio, output / input: as the window keeps its length in
// samples of the output, it has the more of the input the lower the output's rate is. 0: more than there can be.
size_t ResampleTaps(double _dblRatio);
// Places from one sample to the next that a table of so long rows has at most.
uint32_t MostResamplePlaces(size_t _nTaps);
// For _nPlaces places from one sample to the next. _dblRatio: output rate / input rate; below 1 the band is narrowed
// to the output's. _nTaps: as ResampleTaps says, or more; the window has no more of them than it needs. The last ones
// asked for are kept; one that is not takes milliseconds. Any thread; throws std::bad_alloc.
ResampleFilterPtr FilterFor(uint32_t _nPlaces, double _dblRatio, size_t _nTaps);

}  // namespace zr
