#include "audio/kernels/level_row.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "audio/kernels/level_row.cc"
#include <hwy/foreach_target.h>  // what follows is compiled once per CPU target
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace zr::HWY_NAMESPACE {
namespace {

namespace vec = hwy::HWY_NAMESPACE;

constexpr size_t kSums = 8;

HWY_INLINE float Fold(float* p) {
    for (size_t nHalf = kSums / 2; nHalf > 0; nHalf /= 2)
        for (size_t k = 0; k < nHalf; ++k) p[k] += p[k + nHalf];
    return p[0];
}

#if HWY_TARGET != HWY_SCALAR

using D = vec::CappedTag<float, 4>;  // two of these make the eight sums, whatever the machine has
constexpr D d4;
constexpr vec::Rebind<int32_t, D> di;
using V = vec::Vec<D>;

HWY_INLINE void AddProducts(V a, V b, V& sum) { sum = vec::Add(sum, vec::Mul(a, b)); }

HWY_INLINE void StorePair(V lower, V upper, float* p) {
    vec::StoreU(lower, d4, p);
    vec::StoreU(upper, d4, p + 4);
}

#endif

void LevelRow32fImpl(const float* src, const float* w1, const float* w2, size_t n, LEVEL_SUMS* sums) {
    float arrSquares[kSums] = {}, arrFirst[kSums] = {}, arrSecond[kSums] = {};
    float fPeak = 0;
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    if (n >= kSums) {
        V sqLo = vec::Zero(d4), sqHi = sqLo, firstLo = sqLo, firstHi = sqLo, secondLo = sqLo, secondHi = sqLo;
        V peak = sqLo;
        for (; n - x >= kSums; x += kSums) {
            const V lo = vec::Abs(vec::LoadU(d4, src + x)), hi = vec::Abs(vec::LoadU(d4, src + x + 4));
            AddProducts(lo, lo, sqLo);
            AddProducts(hi, hi, sqHi);
            AddProducts(lo, vec::LoadU(d4, w1 + x), firstLo);
            AddProducts(hi, vec::LoadU(d4, w1 + x + 4), firstHi);
            AddProducts(lo, vec::LoadU(d4, w2 + x), secondLo);
            AddProducts(hi, vec::LoadU(d4, w2 + x + 4), secondHi);
            peak = vec::Max(vec::Max(lo, hi), peak);
        }
        StorePair(sqLo, sqHi, arrSquares);
        StorePair(firstLo, firstHi, arrFirst);
        StorePair(secondLo, secondHi, arrSecond);
        fPeak = vec::GetLane(vec::MaxOfLanes(d4, peak));
    }
#endif
    for (; x < n; ++x) {
        const float f = std::abs(src[x]);
        arrSquares[x % kSums] += f * f;
        arrFirst[x % kSums] += f * w1[x];
        arrSecond[x % kSums] += f * w2[x];
        fPeak = std::max(fPeak, f);
    }
    *sums = {Fold(arrSquares), fPeak, Fold(arrFirst), Fold(arrSecond)};
}

void LevelRow16sImpl(const int16_t* src, const float* w1, const float* w2, size_t n, LEVEL_SUMS_16* sums) {
    float arrFirst[kSums] = {}, arrSecond[kSums] = {};
    uint64_t nSquares = 0;
    int32_t nPeak = 0;
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    if (n >= kSums) {
        const vec::Rebind<int16_t, D> d16;
        const auto low16 = vec::Set(di, 0xFFFF);
        V firstLo = vec::Zero(d4), firstHi = firstLo, secondLo = firstLo, secondHi = firstLo;
        auto peak = vec::Zero(di), lower = peak, upper = peak;  // of the squares: 16 and 15 bits, for 64 steps
        for (; n - x >= kSums; x += kSums) {
            const auto lo = vec::Abs(vec::PromoteTo(di, vec::LoadU(d16, src + x)));
            const auto hi = vec::Abs(vec::PromoteTo(di, vec::LoadU(d16, src + x + 4)));
            const auto sqLo = vec::Mul(lo, lo), sqHi = vec::Mul(hi, hi);
            lower = vec::Add(lower, vec::Add(vec::And(sqLo, low16), vec::And(sqHi, low16)));
            upper = vec::Add(upper, vec::Add(vec::ShiftRight<16>(sqLo), vec::ShiftRight<16>(sqHi)));
            peak = vec::Max(peak, vec::Max(lo, hi));
            const V fLo = vec::ConvertTo(d4, lo), fHi = vec::ConvertTo(d4, hi);
            AddProducts(fLo, vec::LoadU(d4, w1 + x), firstLo);
            AddProducts(fHi, vec::LoadU(d4, w1 + x + 4), firstHi);
            AddProducts(fLo, vec::LoadU(d4, w2 + x), secondLo);
            AddProducts(fHi, vec::LoadU(d4, w2 + x + 4), secondHi);
        }
        StorePair(firstLo, firstHi, arrFirst);
        StorePair(secondLo, secondHi, arrSecond);
        nPeak = vec::GetLane(vec::MaxOfLanes(di, peak));
        nSquares = static_cast<uint32_t>(vec::GetLane(vec::SumOfLanes(di, lower))) +
                   (uint64_t{static_cast<uint32_t>(vec::GetLane(vec::SumOfLanes(di, upper)))} << 16);
    }
#endif
    for (; x < n; ++x) {
        const int32_t nMagnitude = std::abs(int32_t{src[x]});
        const auto f = static_cast<float>(nMagnitude);
        nSquares += static_cast<uint32_t>(nMagnitude * nMagnitude);
        arrFirst[x % kSums] += f * w1[x];
        arrSecond[x % kSums] += f * w2[x];
        nPeak = std::max(nPeak, nMagnitude);
    }
    *sums = {nSquares, nPeak, Fold(arrFirst), Fold(arrSecond)};
}

template <class DT>
HWY_INLINE vec::Vec<DT> HighestOfThree(DT d, const float* src, const float (*taps)[kTruePeakTaps]) {
    auto first = vec::Zero(d), second = first, third = first;
    for (size_t k = 0; k < kTruePeakTaps; ++k) {
        const auto x = vec::LoadU(d, src + k);
        first = vec::Add(first, vec::Mul(x, vec::Set(d, taps[0][k])));
        second = vec::Add(second, vec::Mul(x, vec::Set(d, taps[1][k])));
        third = vec::Add(third, vec::Mul(x, vec::Set(d, taps[2][k])));
    }
    const auto high = vec::Max(vec::Max(vec::Abs(first), vec::Abs(second)), vec::Abs(third));
    const auto sum = vec::Add(vec::Add(first, second), third);
    return vec::IfThenElseZero(vec::Eq(sum, sum), high);
}

float TruePeakRowImpl(const float* src, size_t n, const float (*taps)[kTruePeakTaps]) {
    const vec::ScalableTag<float> d;
    const vec::CappedTag<float, 1> dOne;
    const size_t nStep = vec::Lanes(d);
    auto peak = vec::Zero(d);
    size_t x = 0;
    for (; n - x >= nStep; x += nStep) peak = vec::Max(peak, HighestOfThree(d, src + x, taps));
    float fPeak = vec::GetLane(vec::MaxOfLanes(d, peak));
    for (; x < n; ++x) fPeak = std::max(fPeak, vec::GetLane(HighestOfThree(dOne, src + x, taps)));
    return fPeak;
}

}  // namespace
}  // namespace zr::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace zr {

HWY_EXPORT(LevelRow32fImpl);
void LevelRow32f(const float* _pSrc, const float* _pFirst, const float* _pSecond, size_t _nSamples,
                 LEVEL_SUMS* _pSums) {
    HWY_DYNAMIC_DISPATCH(LevelRow32fImpl)(_pSrc, _pFirst, _pSecond, _nSamples, _pSums);
}

HWY_EXPORT(LevelRow16sImpl);
void LevelRow16s(const int16_t* _pSrc, const float* _pFirst, const float* _pSecond, size_t _nSamples,
                 LEVEL_SUMS_16* _pSums) {
    HWY_DYNAMIC_DISPATCH(LevelRow16sImpl)(_pSrc, _pFirst, _pSecond, _nSamples, _pSums);
}

HWY_EXPORT(TruePeakRowImpl);
float TruePeakRow(const float* _pSrc, size_t _nSamples, const float (*_pTaps)[kTruePeakTaps]) {
    return HWY_DYNAMIC_DISPATCH(TruePeakRowImpl)(_pSrc, _nSamples, _pTaps);
}

}  // namespace zr

#endif  // HWY_ONCE
