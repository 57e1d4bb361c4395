#pragma once
// The rate at which something happens, as a mean over its last times.

#include <array>
#include <cstdint>

#include "platform/clock.h"

namespace zr {

// One thread only.
class RateMeter {
public:
    // Takes one more time and returns the rate per second over the last kStamps; 0 until there are two.
    double Stamp(int64_t _rtNow) {
        arrStamps[nNext] = _rtNow;
        nNext = (nNext + 1) % kStamps;
        if (nCount < kStamps) ++nCount;
        const int64_t rtSpan = _rtNow - arrStamps[nCount < kStamps ? 0 : nNext];
        if (rtSpan <= 0) return 0;
        return static_cast<double>(nCount - 1) * static_cast<double>(kTicksPerSecond) / static_cast<double>(rtSpan);
    }
    void Reset() { nNext = nCount = 0; }

private:
    static constexpr size_t kStamps = 30;
    std::array<int64_t, kStamps> arrStamps{};
    size_t nNext = 0;
    size_t nCount = 0;
};

}  // namespace zr
