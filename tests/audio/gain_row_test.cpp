#include "audio/kernels/gain_row.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "audio/kernels/channel_row.h"
#include "support/row_test.h"

namespace zr {
namespace {

using test::Bytes;

int16_t At(const uint8_t* _p, size_t _i) {
    int16_t n;
    std::memcpy(&n, _p + 2 * _i, 2);
    return n;
}

// To the nearest, ties to even, in the numbers that a float has: its product with 16 bits is exact in a double.
int32_t Gained(int16_t _n, float _fGain) {
    const auto product = static_cast<float>(double{_fGain} * _n);
    if (std::isnan(product)) return 0;
    const double dblFloor = std::floor(std::clamp(double{product}, -32768.0, 32767.0));
    const double dblRest = std::clamp(double{product}, -32768.0, 32767.0) - dblFloor;
    const auto nFloor = static_cast<int32_t>(dblFloor);
    return nFloor + (dblRest > 0.5 || (dblRest == 0.5 && nFloor % 2 != 0));
}

TEST(GainRow, AStereoRampIsGainAndSumOnEveryTarget) {
    constexpr double dblNone = std::numeric_limits<double>::quiet_NaN();
    constexpr double arrRamps[][2] = {{1, -1.0 / 130}, {0, 0.01},          {0.25, 1e-9},
                                      {0.5, 0},        {-3, 0.0123456789}, {40, -0.3},
                                      {dblNone, 1},    {1e300, 1e300},     {0.1, 1.0 / 3e5}};
    test::OnEveryTarget(130, [&](std::mt19937& _rng, size_t _n, size_t _nSkew) {
        const auto& [dblStart, dblStep] = arrRamps[_rng() % std::size(arrRamps)];
        const Bytes from = test::HarshBytes(_rng, 4 * _n), to = test::HarshBytes(_rng, 4 * _n);
        const test::SourceRow source(from, 2 * _nSkew);
        test::GuardedRow sum(to, 2 * _nSkew);
        AddRampStereo16Row(reinterpret_cast<const int16_t*>(source.Get()), dblStart, dblStep,
                           reinterpret_cast<int16_t*>(sum.Get()), _n);
        const Bytes result = sum.Take();
        for (size_t i = 0; i < 2 * _n; ++i) {
            const double dblGain = dblStep * static_cast<double>(i / 2) + dblStart;
            const int32_t nWanted = At(to.data(), i) + Gained(At(from.data(), i), static_cast<float>(dblGain));
            ASSERT_EQ(At(result.data(), i), std::clamp(nWanted, -32768, 32767)) << i << " of " << dblStart;
        }
    });
}

TEST(ChannelRow, TakesASampleOfEachStepOnEveryTarget) {
    test::OnEveryTarget(140, [](std::mt19937& _rng, size_t _n, size_t _nSkew) {
        for (const auto& [cb, cbStep] : {std::pair<size_t, size_t>{1, 2},
                                         {2, 2},
                                         {2, 4},
                                         {2, 8},
                                         {2, 12},
                                         {3, 6},
                                         {4, 4},
                                         {4, 8},
                                         {4, 24},
                                         {2, 0}}) {
            const Bytes from = test::HarshBytes(_rng, _n == 0 ? 0 : (_n - 1) * cbStep + cb);
            const test::SourceRow source(from, _nSkew);
            test::GuardedRow row(_n * cb, _nSkew);
            TakeChannelRow(cb, source.Get(), cbStep, row.Get(), _n);
            const Bytes result = row.Take();
            for (size_t i = 0; i < _n * cb; ++i)
                ASSERT_EQ(result[i], from[i / cb * cbStep + i % cb]) << i << " of " << cb << " each " << cbStep;
        }
    });
}

}  // namespace
}  // namespace zr
