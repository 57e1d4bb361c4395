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

// The eight sums are one vector of these, or two on machines of 128 bits, which go over the row once for each.
using D = vec::CappedTag<float, kSums>;
constexpr D dSums;
constexpr vec::Rebind<int32_t, D> dSumsInt;
using V = vec::Vec<D>;
using VI = vec::Vec<decltype(dSumsInt)>;

HWY_INLINE void AddProducts(V a, V b, V& sum) { sum = vec::Add(sum, vec::Mul(a, b)); }

// The squares are summed by their lower 16 and upper 15 bits, for 64 steps.
HWY_INLINE void AddMagnitudes(VI magnitude, V w1, V w2, V& first, V& second, VI& peak, VI& lower, VI& upper) {
    const VI square = vec::Mul(magnitude, magnitude);
    lower = vec::Add(lower, vec::And(square, vec::Set(dSumsInt, 0xFFFF)));
    upper = vec::Add(upper, vec::ShiftRight<16>(square));
    peak = vec::Max(peak, magnitude);
    const V f = vec::ConvertTo(dSums, magnitude);
    AddProducts(f, w1, first);
    AddProducts(f, w2, second);
}

#endif

// A channel of 16 bits: what vectors have summed up, and the rest of the samples.
struct CHANNEL_16 {
    float arrFirst[kSums] = {}, arrSecond[kSums] = {};
    uint64_t nSquares = 0;
    int32_t nPeak = 0;
#if HWY_TARGET != HWY_SCALAR
    HWY_INLINE void Store(size_t part, V first, V second, VI peak, VI lower, VI upper) {
        vec::StoreU(first, dSums, arrFirst + part);
        vec::StoreU(second, dSums, arrSecond + part);
        nPeak = std::max(nPeak, vec::GetLane(vec::MaxOfLanes(dSumsInt, peak)));
        nSquares += static_cast<uint32_t>(vec::GetLane(vec::SumOfLanes(dSumsInt, lower))) +
                    (uint64_t{static_cast<uint32_t>(vec::GetLane(vec::SumOfLanes(dSumsInt, upper)))} << 16);
    }
#endif
    HWY_INLINE void Add(int16_t sample, float w1, float w2, size_t x) {
        const int32_t nMagnitude = std::abs(int32_t{sample});
        const auto f = static_cast<float>(nMagnitude);
        nSquares += static_cast<uint32_t>(nMagnitude * nMagnitude);
        arrFirst[x % kSums] += f * w1;
        arrSecond[x % kSums] += f * w2;
        nPeak = std::max(nPeak, nMagnitude);
    }
    LEVEL_SUMS_16 Sums() { return {nSquares, nPeak, Fold(arrFirst), Fold(arrSecond)}; }
};

void LevelRow32fImpl(const float* src, const float* w1, const float* w2, size_t n, LEVEL_SUMS* sums) {
    float arrSquares[kSums] = {}, arrFirst[kSums] = {}, arrSecond[kSums] = {};
    float fPeak = 0;
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    x = n - n % kSums;
    for (size_t part = 0; part < kSums; part += vec::Lanes(dSums)) {
        V squares = vec::Zero(dSums), first = squares, second = squares, peak = squares;
        for (size_t i = part; i < x; i += kSums) {
            const V f = vec::Abs(vec::LoadU(dSums, src + i));
            AddProducts(f, f, squares);
            AddProducts(f, vec::LoadU(dSums, w1 + i), first);
            AddProducts(f, vec::LoadU(dSums, w2 + i), second);
            peak = vec::Max(f, peak);
        }
        vec::StoreU(squares, dSums, arrSquares + part);
        vec::StoreU(first, dSums, arrFirst + part);
        vec::StoreU(second, dSums, arrSecond + part);
        fPeak = std::max(fPeak, vec::GetLane(vec::MaxOfLanes(dSums, peak)));
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
    CHANNEL_16 channel;
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const vec::Rebind<int16_t, D> d16;
    x = n - n % kSums;
    for (size_t part = 0; part < kSums; part += vec::Lanes(dSums)) {
        V first = vec::Zero(dSums), second = first;
        VI peak = vec::Zero(dSumsInt), lower = peak, upper = peak;
        for (size_t i = part; i < x; i += kSums) {
            const VI magnitude = vec::Abs(vec::PromoteTo(dSumsInt, vec::LoadU(d16, src + i)));
            AddMagnitudes(magnitude, vec::LoadU(dSums, w1 + i), vec::LoadU(dSums, w2 + i), first, second, peak, lower,
                          upper);
        }
        channel.Store(part, first, second, peak, lower, upper);
    }
#endif
    for (; x < n; ++x) channel.Add(src[x], w1[x], w2[x], x);
    *sums = channel.Sums();
}

void LevelRowStereo16sImpl(const int16_t* src, const float* w1, const float* w2, size_t n, LEVEL_SUMS_16* sums) {
    CHANNEL_16 left, right;
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const vec::Repartition<int16_t, decltype(dSumsInt)> d16;
    x = n - n % kSums;
    for (size_t part = 0; part < kSums; part += vec::Lanes(dSums)) {
        V first1 = vec::Zero(dSums), first2 = first1, second1 = first1, second2 = first1;
        VI peak1 = vec::Zero(dSumsInt), peak2 = peak1, lower1 = peak1, lower2 = peak1, upper1 = peak1, upper2 = peak1;
        for (size_t i = part; i < x; i += kSums) {
            const VI both = vec::BitCast(dSumsInt, vec::LoadU(d16, src + 2 * i));  // little endian: left is below
            const V a = vec::LoadU(dSums, w1 + i), b = vec::LoadU(dSums, w2 + i);
            const VI l = vec::ShiftRight<16>(vec::ShiftLeft<16>(both)), r = vec::ShiftRight<16>(both);
            AddMagnitudes(vec::Abs(l), a, b, first1, second1, peak1, lower1, upper1);
            AddMagnitudes(vec::Abs(r), a, b, first2, second2, peak2, lower2, upper2);
        }
        left.Store(part, first1, second1, peak1, lower1, upper1);
        right.Store(part, first2, second2, peak2, lower2, upper2);
    }
#endif
    for (; x < n; ++x) {
        left.Add(src[2 * x], w1[x], w2[x], x);
        right.Add(src[2 * x + 1], w1[x], w2[x], x);
    }
    sums[0] = left.Sums();
    sums[1] = right.Sums();
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

HWY_EXPORT(LevelRowStereo16sImpl);
void LevelRowStereo16s(const int16_t* _pSrc, const float* _pFirst, const float* _pSecond, size_t _nSamples,
                       LEVEL_SUMS_16* _pSums) {
    HWY_DYNAMIC_DISPATCH(LevelRowStereo16sImpl)(_pSrc, _pFirst, _pSecond, _nSamples, _pSums);
}

HWY_EXPORT(TruePeakRowImpl);
float TruePeakRow(const float* _pSrc, size_t _nSamples, const float (*_pTaps)[kTruePeakTaps]) {
    return HWY_DYNAMIC_DISPATCH(TruePeakRowImpl)(_pSrc, _nSamples, _pTaps);
}

}  // namespace zr

#endif  // HWY_ONCE
