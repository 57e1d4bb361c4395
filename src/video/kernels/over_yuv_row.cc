#include "video/kernels/over_yuv_row.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "video/kernels/over_yuv_row.cc"
#include <hwy/foreach_target.h>  // what follows is compiled once per CPU target
#include <hwy/highway.h>

#include "video/kernels/mix_ops-inl.h"
#include "video/kernels/mix_row.h"
#include "video/kernels/vector_ops-inl.h"
#include "video/kernels/yuv_rgb_ops-inl.h"
#include "video/kernels/yuv_rgb_row.h"
HWY_BEFORE_NAMESPACE();
namespace zr::HWY_NAMESPACE {
namespace {

template <eYuvOrder kOrder>
void OverPair(const RGB_TO_YUV& m, const uint8_t* over, uint8_t* base, int nA) {
    constexpr int kLuma = kOrder == eYuvOrder::CbYCrY ? 1 : 0;
    const int nB = over[0] + over[4], nG = over[1] + over[5], nR = over[2] + over[6];
    const int nMask0 = SolidMask(over[3]), nMask1 = SolidMask(over[7]), nMask = (nMask0 + nMask1) >> 1;
    base[kLuma] = MixMaskOffset(LumaOf(m, over[0], over[1], over[2]), base[kLuma], nMask0, nA, 16);
    base[kLuma + 2] = MixMaskOffset(LumaOf(m, over[4], over[5], over[6]), base[kLuma + 2], nMask1, nA, 16);
    base[1 - kLuma] = MixMaskOffset(CbOf(m, nB, nG, nR), base[1 - kLuma], nMask, nA, 128);
    base[3 - kLuma] = MixMaskOffset(CrOf(m, nB, nG, nR), base[3 - kLuma], nMask, nA, 128);
}

#if HWY_TARGET != HWY_SCALAR

// The alpha of two vectors of pixels in 16-bit lanes, in the order of ReorderDemote2To.
HWY_INLINE VU16 Alphas(V8 pixels0, V8 pixels1) {
    const vec::Repartition<uint32_t, D8> du32;
    const V32 a0 = vec::BitCast(D32(), vec::ShiftRight<24>(vec::BitCast(du32, pixels0)));
    const V32 a1 = vec::BitCast(D32(), vec::ShiftRight<24>(vec::BitCast(du32, pixels1)));
    return vec::BitCast(DU16(), vec::ReorderDemote2To(D16(), a0, a1));
}

// Pairs whose overlay is all zeros leave the base as it is and are passed over: most of a logo's picture is empty.
template <eYuvOrder kOrder, int kShift, bool kWhole>
HWY_INLINE size_t OverVectors(const RGB_TO_YUV& m, const uint8_t* over, uint8_t* base, size_t nPairs, uint32_t nA) {
    constexpr bool kOdd = kOrder == eYuvOrder::CbYCrY;
    const D16 d16;
    const size_t nStep = vec::Lanes(d16) / 2, cbVector = vec::Lanes(D8());
    const YuvFactors f(m);
    const OffsetMix<kWhole> mix(nA);
    size_t x = 0;
    for (; nPairs - x >= nStep; x += nStep) {
        const V8 pixels0 = vec::LoadU(D8(), over + 8 * x), pixels1 = vec::LoadU(D8(), over + 8 * x + cbVector);
        if (vec::AllTrue(D8(), vec::Eq(vec::Or(pixels0, pixels1), vec::Zero(D8())))) continue;
        V32 luma0, chroma0, luma1, chroma1;
        LumaAndChroma<kShift>(over + 8 * x, f, luma0, chroma0);
        LumaAndChroma<kShift>(over + 8 * x + cbVector, f, luma1, chroma1);
        const VU16 luma = vec::BitCast(DU16(), OrderPackedHalves(vec::ReorderDemote2To(d16, luma0, luma1)));
        const VU16 chroma = vec::BitCast(DU16(), OrderPackedHalves(vec::ReorderDemote2To(d16, chroma0, chroma1)));
        const VU16 alpha = OrderPackedHalves(Alphas(pixels0, pixels1));
        const VU16 mask = vec::Sub(alpha, vec::VecFromMask(DU16(), vec::Eq(alpha, Set16(255))));  // 255 becomes 256
        const VU16 maskPair = vec::ShiftRight<1>(vec::Add(mask, SwapLanes(mask)));
        const VU16 d = LoadPairs(base + 4 * x);
        const VU16 mixedLuma = mix.Luma(luma, kOdd ? Odd(d) : Even(d), mask);
        const VU16 mixedChroma = mix.Chroma(chroma, kOdd ? Even(d) : Odd(d), maskPair);
        StorePairs(JoinOffset<kOdd>(mixedLuma, mixedChroma), base + 4 * x);
    }
    return x;
}

#endif  // HWY_TARGET != HWY_SCALAR

template <eYuvOrder kOrder, int kShift>
HWY_INLINE void OverRow(const RGB_TO_YUV& m, const uint8_t* over, uint8_t* base, size_t nPairs, uint32_t nA) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    x = nA == 256 ? OverVectors<kOrder, kShift, true>(m, over, base, nPairs, nA)
                  : OverVectors<kOrder, kShift, false>(m, over, base, nPairs, nA);
#endif
    for (; x < nPairs; ++x) OverPair<kOrder>(m, over + 8 * x, base + 4 * x, static_cast<int>(nA));
}

void OverBgraOnUyvyRow601Impl(const uint8_t* over, uint8_t* base, size_t nPairs, uint32_t nA) {
    OverRow<eYuvOrder::CbYCrY, kRgbToYuv601.nShift>(kRgbToYuv601, over, base, nPairs, nA);
}
void OverBgraOnYuy2Row601Impl(const uint8_t* over, uint8_t* base, size_t nPairs, uint32_t nA) {
    OverRow<eYuvOrder::YCbYCr, kRgbToYuv601.nShift>(kRgbToYuv601, over, base, nPairs, nA);
}
void OverBgraOnUyvyRow709Impl(const uint8_t* over, uint8_t* base, size_t nPairs, uint32_t nA) {
    OverRow<eYuvOrder::CbYCrY, kRgbToYuv709.nShift>(kRgbToYuv709, over, base, nPairs, nA);
}

}  // namespace
}  // namespace zr::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zr {
HWY_EXPORT(OverBgraOnUyvyRow601Impl);
HWY_EXPORT(OverBgraOnYuy2Row601Impl);
HWY_EXPORT(OverBgraOnUyvyRow709Impl);

void OverBgraOnUyvyRow601(const uint8_t* _pOver, uint8_t* _pBase, size_t _nPairs, uint32_t _nA) {
    HWY_DYNAMIC_DISPATCH(OverBgraOnUyvyRow601Impl)(_pOver, _pBase, _nPairs, _nA);
}
void OverBgraOnYuy2Row601(const uint8_t* _pOver, uint8_t* _pBase, size_t _nPairs, uint32_t _nA) {
    HWY_DYNAMIC_DISPATCH(OverBgraOnYuy2Row601Impl)(_pOver, _pBase, _nPairs, _nA);
}
void OverBgraOnUyvyRow709(const uint8_t* _pOver, uint8_t* _pBase, size_t _nPairs, uint32_t _nA) {
    HWY_DYNAMIC_DISPATCH(OverBgraOnUyvyRow709Impl)(_pOver, _pBase, _nPairs, _nA);
}
}  // namespace zr
#endif
