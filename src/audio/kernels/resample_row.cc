#include "audio/kernels/resample_row.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "audio/kernels/resample_row.cc"
#include <hwy/foreach_target.h>  // what follows is compiled once per CPU target
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace zr::HWY_NAMESPACE {
namespace {

namespace vec = hwy::HWY_NAMESPACE;

// Which weights a position has.
struct WEIGHTS {
    const float* p = nullptr;
    float fPart = 0;  // of the way to the next place
};

template <bool kExact>
HWY_INLINE WEIGHTS WeightsAt(const RESAMPLE_PLAN& plan, uint32_t nPhase) {
    if constexpr (kExact) {
        return {plan.pWeights + size_t{nPhase} * kResampleTaps, 0.0f};
    } else {
        const double dblPlace =
            (static_cast<double>(nPhase) + plan.dblOffset) / static_cast<double>(plan.nPhases) * plan.nPlaces;
        const auto nPlace = static_cast<size_t>(dblPlace);
        return {plan.pWeights + nPlace * kResampleTaps, static_cast<float>(dblPlace - static_cast<double>(nPlace))};
    }
}

HWY_INLINE void Advance(const RESAMPLE_PLAN& plan, RESAMPLE_POSITION& position) {
    position.nSample += plan.nStepWhole;
    position.nPhase += plan.nStepPart;
    if (position.nPhase >= plan.nPhases) {
        position.nPhase -= plan.nPhases;
        ++position.nSample;
    }
}

#if HWY_TARGET != HWY_SCALAR

using D4 = vec::FixedTag<float, 4>;

// Sixteen sums to four.
template <class D>
HWY_INLINE vec::Vec<D4> Fold(D, const vec::Vec<D>* arrSums) {
    constexpr size_t kLanes = vec::MaxLanes(D());
    if constexpr (kLanes == 16) {
        const vec::Half<D> d8;
        const auto s = vec::Add(vec::LowerHalf(d8, arrSums[0]), vec::UpperHalf(d8, arrSums[0]));
        return vec::Add(vec::LowerHalf(D4(), s), vec::UpperHalf(D4(), s));
    } else if constexpr (kLanes == 8) {
        const auto s = vec::Add(arrSums[0], arrSums[1]);
        return vec::Add(vec::LowerHalf(D4(), s), vec::UpperHalf(D4(), s));
    } else {
        return vec::Add(vec::Add(arrSums[0], arrSums[2]), vec::Add(arrSums[1], arrSums[3]));
    }
}

// The four sums of one result.
template <bool kExact>
HWY_INLINE vec::Vec<D4> Sums(const float* x, const WEIGHTS& weights) {
    const vec::CappedTag<float, 16> d;
    constexpr size_t kLanes = vec::MaxLanes(decltype(d)());
    constexpr size_t kSums = 16 / kLanes;
    vec::Vec<decltype(d)> arrSums[kSums];
    const auto part = vec::Set(d, weights.fPart);
    const auto Product = [&](size_t i) HWY_ATTR {
        auto w = vec::LoadU(d, weights.p + i);
        if constexpr (!kExact)
            w = vec::Add(w, vec::Mul(vec::Sub(vec::LoadU(d, weights.p + kResampleTaps + i), w), part));
        return vec::Mul(vec::LoadU(d, x + i), w);
    };
    for (size_t k = 0; k < kSums; ++k) arrSums[k] = Product(k * kLanes);
    for (size_t nRow = 16; nRow < kResampleTaps; nRow += 16)
        for (size_t k = 0; k < kSums; ++k) arrSums[k] = vec::Add(arrSums[k], Product(nRow + k * kLanes));
    return Fold(d, arrSums);
}

// Lanes in pairs: those of a, then those of b.
HWY_INLINE vec::Vec<D4> AddPairs(vec::Vec<D4> a, vec::Vec<D4> b) {
    return vec::Add(vec::ConcatEven(D4(), b, a), vec::ConcatOdd(D4(), b, a));
}

template <bool kExact>
HWY_INLINE void Resample(const float* src, float* dst, size_t n, const RESAMPLE_PLAN& plan,
                         RESAMPLE_POSITION& position) {
    RESAMPLE_POSITION at = position;
    const auto Next = [&]() HWY_ATTR {
        const auto sums = Sums<kExact>(src + at.nSample, WeightsAt<kExact>(plan, at.nPhase));
        Advance(plan, at);
        return sums;
    };
    size_t x = 0;
    for (; x + 4 <= n; x += 4) {
        const auto s0 = Next(), s1 = Next(), s2 = Next(), s3 = Next();
        vec::StoreU(AddPairs(AddPairs(s0, s1), AddPairs(s2, s3)), D4(), dst + x);
    }
    for (; x < n; ++x) {
        const auto s = AddPairs(Next(), vec::Zero(D4()));
        dst[x] = vec::GetLane(AddPairs(s, s));
    }
    position = at;
}

#else

template <bool kExact>
HWY_INLINE void Resample(const float* src, float* dst, size_t n, const RESAMPLE_PLAN& plan,
                         RESAMPLE_POSITION& position) {
    for (size_t r = 0; r < n; ++r, Advance(plan, position)) {
        const float* const x = src + position.nSample;
        const WEIGHTS weights = WeightsAt<kExact>(plan, position.nPhase);
        float s[16] = {};
        for (size_t i = 0; i < kResampleTaps; ++i) {
            float w = weights.p[i];
            if constexpr (!kExact) w = w + (weights.p[kResampleTaps + i] - w) * weights.fPart;
            s[i % 16] = i < 16 ? x[i] * w : s[i % 16] + x[i] * w;
        }
        for (size_t i = 0; i < 8; ++i) s[i] += s[i + 8];
        for (size_t i = 0; i < 4; ++i) s[i] += s[i + 4];
        dst[r] = (s[0] + s[1]) + (s[2] + s[3]);
    }
}

#endif  // HWY_TARGET != HWY_SCALAR

void ResampleRowImpl(const float* src, float* dst, size_t n, const RESAMPLE_PLAN& plan, RESAMPLE_POSITION& position) {
    plan.bExact ? Resample<true>(src, dst, n, plan, position) : Resample<false>(src, dst, n, plan, position);
}

}  // namespace
}  // namespace zr::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace zr {

HWY_EXPORT(ResampleRowImpl);
void ResampleRow(const float* _pSrc, float* _pDst, size_t _nResults, const RESAMPLE_PLAN& _plan,
                 RESAMPLE_POSITION& _position) {
    HWY_DYNAMIC_DISPATCH(ResampleRowImpl)(_pSrc, _pDst, _nResults, _plan, _position);
}

}  // namespace zr

#endif  // HWY_ONCE
