#include "audio/drift_control.h"

#include <algorithm>
#include <cmath>

#include "platform/clock.h"

namespace zr {
namespace {

constexpr double kTicks = static_cast<double>(kTicksPerSecond);
constexpr int64_t kLearnTicks = 4 * kTicksPerSecond;
constexpr double kSmoothTicks = 2 * kTicks;    // blocks come late and early by more than clocks differ
constexpr double kCorrectTicks = 10 * kTicks;  // in which a difference is made good; well above the smoothing
constexpr double kTolerated = 0.002 * kTicks;  // before it begins
constexpr double kMostCorrection = 0.005;      // a twelfth of a semitone, and fifty times what a clock is off

}  // namespace

double DriftControl::Next(int64_t _rtHeld, int64_t _rtBlock, int64_t _rtLeast, int64_t _rtMost) {
    const auto dblNow = static_cast<double>(_rtHeld), dblBlock = static_cast<double>(std::max<int64_t>(_rtBlock, 1));
    const auto dblSeen = static_cast<double>(rtSeen);
    // A mean of all blocks until there are enough of them.
    dblHeld += (dblNow - dblHeld) * dblBlock / std::min(dblSeen + dblBlock, kSmoothTicks);
    rtSeen += std::max<int64_t>(_rtBlock, 1);
    if (rtSeen < kLearnTicks) return 1;
    if (dblTarget == 0) dblTarget = dblHeld;
    const double dblMost = static_cast<double>(std::max(_rtLeast, _rtMost));
    const double dblOff = dblHeld - std::clamp(dblTarget, static_cast<double>(_rtLeast), dblMost);
    bActive = bActive || std::fabs(dblOff) > kTolerated;
    return bActive ? 1 - std::clamp(dblOff / kCorrectTicks, -kMostCorrection, kMostCorrection) : 1;
}

}  // namespace zr
