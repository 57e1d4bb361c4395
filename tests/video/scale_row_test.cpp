#include "video/kernels/scale_row.h"

#include <algorithm>

#include "support/row_test.h"
#include "video/horizontal_resampler.h"
#include "video/kernels/sharpen_row.h"

namespace zr {
namespace {

using test::Bytes;
using test::GuardedRow;
using test::OnEveryTarget;
using test::SourceRow;

TEST(ScaleRow, WeighsRowsByParityOfTheByte) {
    OnEveryTarget(130, [](std::mt19937& rng, size_t n, size_t nSkew) {
        for (int32_t nRows = 1; nRows <= kMaxWeighedRows; ++nRows) {
            SCOPED_TRACE(nRows);
            ROW_WEIGHTS weights;
            weights.nRows = nRows;
            int32_t nLeftEven = 255, nLeftOdd = 255;  // the last row takes the rest, which may be all of it
            for (int32_t k = 0; k < nRows; ++k) {
                const auto Take = [&](int32_t& _nLeft) {
                    const auto nTaken = k == nRows - 1 ? _nLeft : static_cast<int32_t>(rng() % 3) * (_nLeft / 4);
                    _nLeft -= nTaken;
                    return static_cast<uint8_t>(nTaken);
                };
                weights.arrEven[k] = Take(nLeftEven);
                weights.arrOdd[k] = n % 2 == 0 ? Take(nLeftOdd) : weights.arrEven[k];
            }
            std::vector<Bytes> rows;
            std::vector<SourceRow> sources;
            std::vector<const uint8_t*> pointers;
            for (int32_t k = 0; k < nRows; ++k) rows.push_back(test::HarshBytes(rng, n));
            for (const Bytes& row : rows) sources.emplace_back(row, nSkew);
            for (const SourceRow& row : sources) pointers.push_back(row.Get());
            GuardedRow out(n, nSkew);
            WeighRows(pointers.data(), weights, {1, {pointers[0]}}, out.Get(), n);
            const Bytes got = out.Take();
            for (size_t i = 0; i < n; ++i) {
                int32_t nSum = 0;
                for (size_t k = 0; k < rows.size(); ++k)
                    nSum += rows[k][i] * (i % 2 ? weights.arrOdd[k] : weights.arrEven[k]);
                ASSERT_EQ(got[i], nSum / 256) << i << " of " << n;
            }
        }
    });
}

// Luma and chroma with filters of their own length, as the vertical tables have them.
TEST(ScaleRow, WeighsPackedRowsApart) {
    static constexpr int32_t arrUsed[][2] = {{1, 1}, {2, 2}, {3, 1}, {3, 3}, {4, 2}, {5, 3}, {7, 5}, {12, 12}};
    OnEveryTarget(130, [](std::mt19937& rng, size_t nPairs, size_t nSkew) {
        const auto& arrCounts = arrUsed[rng() % std::size(arrUsed)];
        const bool bLumaOdd = rng() % 2 == 0;
        ROW_WEIGHTS weights;
        weights.nRows = arrCounts[0];
        uint8_t *pLuma = bLumaOdd ? weights.arrOdd : weights.arrEven,
                *pChroma = bLumaOdd ? weights.arrEven : weights.arrOdd;
        for (int32_t n = 0; n < 255; ++n) {
            const auto Any = [&](int32_t _nRows) { return n < _nRows ? n : static_cast<int32_t>(rng() % 12) % _nRows; };
            ++pLuma[Any(arrCounts[0])];
            ++pChroma[Any(arrCounts[1])];
        }
        std::vector<Bytes> rows;
        std::vector<SourceRow> sources;
        std::vector<const uint8_t*> pointers;
        for (int32_t k = 0; k < weights.nRows; ++k) rows.push_back(test::HarshBytes(rng, 4 * nPairs));
        for (const Bytes& row : rows) sources.emplace_back(row, nSkew);
        for (const SourceRow& row : sources) pointers.push_back(row.Get());
        GuardedRow luma(2 * nPairs, nSkew), first(nPairs, nSkew), second(nPairs, nSkew);
        NEXT_ROWS next{1, {pointers[0]}};
        WeighSplitRows(pointers.data(), weights, bLumaOdd, next, {luma.Get(), first.Get(), second.Get()}, nPairs);
        const Bytes gotLuma = luma.Take(), gotFirst = first.Take(), gotSecond = second.Take();
        for (size_t i = 0; i < 4 * nPairs; ++i) {
            const bool bLuma = (i % 2 != 0) == bLumaOdd;
            int32_t nSum = 0;
            for (size_t k = 0; k < rows.size(); ++k) nSum += rows[k][i] * (bLuma ? pLuma[k] : pChroma[k]);
            const uint8_t nGot = bLuma ? gotLuma[i / 2] : (i % 4 < 2 ? gotFirst : gotSecond)[i / 4];
            ASSERT_EQ(nGot, nSum / 256) << i << " of " << 4 * nPairs;
        }
    });
}

struct WIDTH_CASE {
    const char* szName;
    int32_t nSrc, nDst;
    eInterpolation eMode;
};

// Ratios for each of the layouts, widths around the groups of 16 and 32.
constexpr WIDTH_CASE arrWidths[] = {
    {"half_linear", 64, 32, eInterpolation::Linear},
    {"half_linear_odd_groups", 98, 49, eInterpolation::Linear},
    {"two_thirds_linear", 99, 66, eInterpolation::Linear},
    {"just_smaller_linear", 67, 66, eInterpolation::Linear},
    {"larger_linear", 33, 71, eInterpolation::Linear},
    {"half_linear_long", 402, 201, eInterpolation::Linear},
    {"half_nearest_long", 300, 150, eInterpolation::Nearest},
    {"half_area_long", 274, 137, eInterpolation::SuperSampling},
    {"half_cubic_long", 402, 201, eInterpolation::Cubic},
    {"half_lanczos_long", 402, 201, eInterpolation::Lanczos},
    {"half_area", 80, 40, eInterpolation::SuperSampling},
    {"third_linear_short", 120, 40, eInterpolation::Linear},
    {"third_linear_long", 603, 201, eInterpolation::Linear},
    {"third_area_long", 402, 134, eInterpolation::SuperSampling},
    {"third_cubic_long", 603, 201, eInterpolation::Cubic},
    {"third_lanczos_long", 603, 201, eInterpolation::Lanczos},
    {"almost_third_area", 100, 33, eInterpolation::SuperSampling},
    {"tenth_area", 211, 20, eInterpolation::SuperSampling},
    {"half_cubic", 130, 65, eInterpolation::Cubic},
    {"half_lanczos", 130, 65, eInterpolation::Lanczos},
    {"three_to_two_catmull_rom", 96, 64, eInterpolation::CatmullRom},
    {"seventh_lanczos", 300, 43, eInterpolation::Lanczos},
    {"larger_lanczos", 31, 97, eInterpolation::Lanczos},
    {"larger_b_spline", 20, 33, eInterpolation::BSpline},
    {"shorter_than_its_taps", 3, 40, eInterpolation::Lanczos},
    {"one_sample", 1, 17, eInterpolation::Cubic},
    {"to_one_sample", 50, 1, eInterpolation::Linear},
    {"nearest_smaller", 100, 37, eInterpolation::Nearest},
    {"nearest_larger", 37, 100, eInterpolation::Nearest},
};

TEST(ScaleRow, ResamplesAsTheTapsSay) {
    for (const WIDTH_CASE& c : arrWidths) {
        SCOPED_TRACE(c.szName);
        HorizontalFilter filter;
        ASSERT_EQ(filter.Init(c.nSrc, c.nDst, c.eMode), S_OK);
        const std::vector<RESAMPLE_TAPS> taps = ResampleTaps(c.nSrc, c.nDst, c.eMode);
        OnEveryTarget(3, [&](std::mt19937& rng, size_t, size_t) {
            const auto nSrc = static_cast<size_t>(c.nSrc), nDst = static_cast<size_t>(c.nDst);
            const Bytes row = test::HarshBytes(rng, nSrc);
            Bytes src = row, out(nDst + 31, 0xA5);
            src.resize(nSrc + kResampleSlack, 0xEE);  // must not count
            filter.Run(src.data(), out.data());
            for (size_t x = 0; x < nDst; ++x) {
                int32_t nSum = 1 << 13;
                for (size_t k = 0; k < taps[x].arrCoefficients.size(); ++k)
                    nSum += row[static_cast<size_t>(taps[x].nStart) + k] * taps[x].arrCoefficients[k];
                ASSERT_EQ(out[x], std::clamp(nSum >> 14, 0, 255)) << x;
            }
        });
    }
}

TEST(SharpenRow, DividesTheSumToTheNearest) {
    static constexpr SHARPEN_KERNEL arrKernels[] = {{10, -1, -1, -1, 2}, {60, -1, -1, -1, 52}, {2, 2, 2, 1, 14},
                                                    {51, 2, 2, 1, 63},   {10, -1, 0, 0, 8},    {59, -1, 0, 0, 57},
                                                    {2, 2, 0, 0, 6}};
    OnEveryTarget(40, [](std::mt19937& rng, size_t n, size_t nSkew) {
        for (const SHARPEN_KERNEL& k : arrKernels) {
            const size_t nSide = 1 + n % 4;
            const Bytes a = test::HarshBytes(rng, n + 2 * nSide), m = test::HarshBytes(rng, n + 2 * nSide),
                        b = test::HarshBytes(rng, n + 2 * nSide);
            const SourceRow above(a, nSkew), row(m, nSkew), below(b, nSkew + 1);
            GuardedRow out(n, nSkew);
            SharpenRow(above.Get() + nSide, row.Get() + nSide, below.Get() + nSide, out.Get(), n,
                       static_cast<ptrdiff_t>(nSide), k);
            const Bytes got = out.Take();
            for (size_t i = 0; i < n; ++i) {
                const size_t l = i, c = i + nSide, r = i + 2 * nSide;
                const double dblSum = k.nCentre * m[c] + k.nBeside * (m[l] + m[r]) + k.nAbove * (a[c] + b[c]) +
                                      k.nCorner * (a[l] + a[r] + b[l] + b[r]);
                ASSERT_EQ(got[i], std::clamp(std::floor(dblSum / k.nDivisor + 0.5), 0.0, 255.0)) << i;
            }
        }
    });
}

}  // namespace
}  // namespace zr
