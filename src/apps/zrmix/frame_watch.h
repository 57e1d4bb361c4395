#pragma once
// Takes the frames of an object without writing them, and looks at when they come.

#include <cstdint>
#include <string>

#include "zr/zr.h"

namespace zrmix {

// How late frames were, against a line through the first frame at the rate of the output.
struct LATENESS {
    static constexpr double kLimitsMs[] = {0.1, 0.5, 1, 2, 5, 10};
    int64_t arrCounts[7] = {};  // up to each limit, then beyond
    double dblWorstMs = 0;
    double dblMeanRate = 0;  // frames a second
    int64_t nFrames = 0;
    int64_t nBreaks = 0;  // after the first frame: some were missed

    // "under 0.1 ms 2990, under 0.5 ms 10, ..."
    std::string Text() const;
};

class FrameWatch {
public:
    FrameWatch(zr::IZrSource* _pSource, double _dblRate) : pSource(_pSource), dblRate(_dblRate) {}
    ~FrameWatch();
    FrameWatch(const FrameWatch&) = delete;
    FrameWatch& operator=(const FrameWatch&) = delete;

    // Waits for a frame, for a second at most. False: none came.
    bool Next();
    const LATENESS& Figures() const { return figures; }

private:
    const zr::ZrPtr<zr::IZrSource> pSource;
    const double dblRate;
    int64_t llReader = 0;
    double dblFirst = 0;  // seconds
    LATENESS figures;
};

}  // namespace zrmix
