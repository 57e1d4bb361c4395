#include "video/kernels/planar_row.h"

#include "support/row_test.h"

namespace zr {
namespace {

using test::Bytes;
using test::GuardedRow;
using test::OnEveryTarget;
using test::SourceRow;

TEST(PlanarRow, SplitsAndJoinsPacked422) {
    OnEveryTarget(130, [](std::mt19937& rng, size_t nPairs, size_t nSkew) {
        for (const bool bYuy2 : {false, true}) {
            SCOPED_TRACE(bYuy2 ? "yuy2" : "uyvy");
            const Bytes packed = test::HarshBytes(rng, 4 * nPairs);
            GuardedRow y(2 * nPairs, nSkew), cb(nPairs, nSkew + 1), cr(nPairs, nSkew + 2), joined(4 * nPairs, nSkew);
            (bYuy2 ? SplitYuy2Row : SplitUyvyRow)(SourceRow(packed, nSkew).Get(), y.Get(), cb.Get(), cr.Get(), nPairs);
            const Bytes ys = y.Take(), cbs = cb.Take(), crs = cr.Take();
            for (size_t i = 0; i < nPairs; ++i) {
                const uint8_t* p = &packed[4 * i];
                ASSERT_EQ(ys[2 * i], p[bYuy2 ? 0 : 1]) << i;
                ASSERT_EQ(ys[2 * i + 1], p[bYuy2 ? 2 : 3]) << i;
                ASSERT_EQ(cbs[i], p[bYuy2 ? 1 : 0]) << i;
                ASSERT_EQ(crs[i], p[bYuy2 ? 3 : 2]) << i;
            }
            (bYuy2 ? JoinYuy2Row : JoinUyvyRow)(y.Get(), cb.Get(), cr.Get(), joined.Get(), nPairs);
            ASSERT_EQ(joined.Take(), packed);

            GuardedRow cbcr(2 * nPairs, nSkew), fromNv12(4 * nPairs, nSkew);
            JoinPairsRow(cb.Get(), cr.Get(), cbcr.Get(), nPairs);
            (bYuy2 ? JoinYuy2RowNv12 : JoinUyvyRowNv12)(y.Get(), cbcr.Get(), fromNv12.Get(), nPairs);
            ASSERT_EQ(fromNv12.Take(), packed);
            GuardedRow cbBack(nPairs, nSkew), crBack(nPairs, nSkew);
            SplitPairsRow(cbcr.Get(), cbBack.Get(), crBack.Get(), nPairs);
            ASSERT_EQ(cbBack.Take(), cbs);
            ASSERT_EQ(crBack.Take(), crs);
        }
    });
}

TEST(PlanarRow, MeansRoundToNearest) {
    OnEveryTarget(130, [](std::mt19937& rng, size_t n, size_t nSkew) {
        const Bytes a = test::HarshBytes(rng, n), b = test::HarshBytes(rng, n);
        const SourceRow rowA(a, nSkew), rowB(b, nSkew + 1);
        GuardedRow mean(n, nSkew), twice(2 * n, nSkew), half(n / 2, nSkew);
        MeanRow(rowA.Get(), rowB.Get(), mean.Get(), n);
        DoubleSamplesRow(rowA.Get(), twice.Get(), n);
        HalveSamplesRow(rowA.Get(), half.Get(), n / 2);
        const Bytes means = mean.Take(), twices = twice.Take(), halves = half.Take();
        for (size_t i = 0; i < n; ++i) {
            ASSERT_EQ(means[i], static_cast<int>((a[i] + b[i]) / 2.0 + 0.5));
            ASSERT_EQ(twices[2 * i], a[i]);
            ASSERT_EQ(twices[2 * i + 1], a[i]);
        }
        for (size_t i = 0; i < n / 2; ++i)
            ASSERT_EQ(halves[i], static_cast<int>((a[2 * i] + a[2 * i + 1]) / 2.0 + 0.5));
    });
}

}  // namespace
}  // namespace zr
