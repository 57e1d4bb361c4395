#include "audio/kernels/resample_row.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "audio/kernels/resample_row.cc"
#include <hwy/foreach_target.h>  // what follows is compiled once per CPU target
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace zr::HWY_NAMESPACE {
namespace {

namespace vec = hwy::HWY_NAMESPACE;

// How long most filters are: known when compiled, their loops cost less.
constexpr size_t kUsualTaps = 64;

// Which weights a position has.
struct WEIGHTS {
    const float* p = nullptr;
    float fPart = 0;  // of the way to the next place
};

template <bool kExact>
HWY_INLINE WEIGHTS WeightsAt(const RESAMPLE_PLAN& plan, uint32_t nPhase) {
    if constexpr (kExact) {
        return {plan.pWeights + size_t{nPhase} * plan.nTaps, 0.0f};
    } else {
        const double dblPlace =
            (static_cast<double>(nPhase) + plan.dblOffset) / static_cast<double>(plan.nPhases) * plan.nPlaces;
        const auto nPlace = static_cast<size_t>(dblPlace);
        return {plan.pWeights + nPlace * plan.nTaps, static_cast<float>(dblPlace - static_cast<double>(nPlace))};
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

// Each vector of 16, 8 or 4 sums; a group of as many results is worked on together, so that what is left of the sums at
// the end goes across the lanes for all of them at once.
using D = vec::CappedTag<float, 16>;
using V = vec::Vec<D>;
constexpr size_t kLanes = vec::MaxLanes(D());

struct PLACE {
    const float* x;
    WEIGHTS weights;
};

// One result's sums, folded to one vector. kTaps: 0 takes nTaps.
template <bool kExact, size_t kTaps>
HWY_INLINE V Sums(const PLACE& place, size_t nTaps) {
    const D d;
    const size_t n = kTaps ? kTaps : nTaps;
    constexpr size_t kSums = kResampleLanes / kLanes;
    V arrSums[kSums];
    const auto part = vec::Set(d, place.weights.fPart);
    const auto Product = [&](size_t i) HWY_ATTR {
        auto w = vec::LoadU(d, place.weights.p + i);
        if constexpr (!kExact) w = vec::Add(w, vec::Mul(vec::Sub(vec::LoadU(d, place.weights.p + n + i), w), part));
        return vec::Mul(vec::LoadU(d, place.x + i), w);
    };
    for (size_t k = 0; k < kSums; ++k) arrSums[k] = Product(k * kLanes);
    for (size_t nRow = kResampleLanes; nRow < n; nRow += kResampleLanes)
        for (size_t k = 0; k < kSums; ++k) arrSums[k] = vec::Add(arrSums[k], Product(nRow + k * kLanes));
    if constexpr (kSums == 4) {
        return vec::Add(vec::Add(arrSums[0], arrSums[2]), vec::Add(arrSums[1], arrSums[3]));
    } else if constexpr (kSums == 2) {
        return vec::Add(arrSums[0], arrSums[1]);
    } else {
        return arrSums[0];
    }
}

// For vectors of more than one block. Adds up the blocks of four: [a0 a1], [b0 b1] to [a0+a1 b0+b1], and so in each
// pair of blocks.
[[maybe_unused]] HWY_INLINE V FoldBlocks(V a, V b) {
    if constexpr (kLanes > 4) {
        const auto even = vec::OddEvenBlocks(vec::SwapAdjacentBlocks(b), a);
        const auto odd = vec::OddEvenBlocks(b, vec::SwapAdjacentBlocks(a));
        return vec::Add(even, odd);
    } else {
        return a;
    }
}

// Four sums each of every fourth result of a group from place on, a block for each.
template <bool kExact, size_t kTaps>
HWY_INLINE V EveryFourth(const PLACE* place, size_t nTaps) {
    if constexpr (kLanes == 16) {
        const D d;
        const auto Pair = [&](const PLACE& lower, const PLACE& upper) HWY_ATTR {
            const auto a = Sums<kExact, kTaps>(lower, nTaps), b = Sums<kExact, kTaps>(upper, nTaps);
            return vec::Add(vec::ConcatLowerLower(d, b, a), vec::ConcatUpperUpper(d, b, a));
        };
        return FoldBlocks(Pair(place[0], place[8]), Pair(place[4], place[12]));
    } else if constexpr (kLanes == 8) {
        return FoldBlocks(Sums<kExact, kTaps>(place[0], nTaps), Sums<kExact, kTaps>(place[4], nTaps));
    } else {
        return Sums<kExact, kTaps>(place[0], nTaps);
    }
}

// [a0..a3], [b0..b3] to [a0+a2 b0+b2 a1+a3 b1+b3], in each block.
HWY_INLINE V FoldPair(V a, V b) {
    const D d;
    return vec::Add(vec::InterleaveLower(d, a, b), vec::InterleaveUpper(d, a, b));
}

template <bool kExact, size_t kTaps>
HWY_INLINE V Group(const PLACE* place, size_t nTaps) {
    const vec::Repartition<double, D> d64;
    const D d;
    const auto Fourth = [&](size_t k) HWY_ATTR { return EveryFourth<kExact, kTaps>(place + k, nTaps); };
    const auto ab = vec::BitCast(d64, FoldPair(Fourth(0), Fourth(1)));
    const auto cd = vec::BitCast(d64, FoldPair(Fourth(2), Fourth(3)));
    return vec::Add(vec::BitCast(d, vec::InterleaveLower(d64, ab, cd)),
                    vec::BitCast(d, vec::InterleaveUpper(d64, ab, cd)));
}

template <bool kExact, size_t kTaps>
HWY_INLINE void Resample(const float* src, float* dst, size_t n, const RESAMPLE_PLAN& plan,
                         RESAMPLE_POSITION& position) {
    const D d;
    const size_t nTaps = plan.nTaps;
    RESAMPLE_POSITION at = position;
    PLACE arrPlaces[kLanes];
    for (size_t x = 0; x < n; x += kLanes) {
        const size_t nNow = n - x < kLanes ? n - x : kLanes;
        for (size_t k = 0; k < nNow; ++k) {
            arrPlaces[k] = {src + at.nSample, WeightsAt<kExact>(plan, at.nPhase)};
            Advance(plan, at);
        }
        if (nNow == kLanes) {
            vec::StoreU(Group<kExact, kTaps>(arrPlaces, nTaps), d, dst + x);
        } else {
            for (size_t k = nNow; k < kLanes; ++k) arrPlaces[k] = arrPlaces[0];
            HWY_ALIGN float arrLast[kLanes];
            vec::Store(Group<kExact, kTaps>(arrPlaces, nTaps), d, arrLast);
            for (size_t k = 0; k < nNow; ++k) dst[x + k] = arrLast[k];
        }
    }
    position = at;
}

#else

template <bool kExact, size_t kTaps>
HWY_INLINE void Resample(const float* src, float* dst, size_t n, const RESAMPLE_PLAN& plan,
                         RESAMPLE_POSITION& position) {
    const size_t nTaps = kTaps ? kTaps : plan.nTaps;
    for (size_t r = 0; r < n; ++r, Advance(plan, position)) {
        const float* const x = src + position.nSample;
        const WEIGHTS weights = WeightsAt<kExact>(plan, position.nPhase);
        float s[kResampleLanes] = {};
        for (size_t i = 0; i < nTaps; ++i) {
            float w = weights.p[i];
            if constexpr (!kExact) w = w + (weights.p[nTaps + i] - w) * weights.fPart;
            s[i % kResampleLanes] = i < kResampleLanes ? x[i] * w : s[i % kResampleLanes] + x[i] * w;
        }
        for (size_t i = 0; i < 8; ++i) s[i] += s[i + 8];
        for (size_t i = 0; i < 4; ++i) s[i] += s[i + 4];
        dst[r] = (s[0] + s[2]) + (s[1] + s[3]);
    }
}

#endif  // HWY_TARGET != HWY_SCALAR

void ResampleRowImpl(const float* src, float* dst, size_t n, const RESAMPLE_PLAN& plan, RESAMPLE_POSITION& position) {
    if (plan.nTaps == kUsualTaps) {
        plan.bExact ? Resample<true, kUsualTaps>(src, dst, n, plan, position)
                    : Resample<false, kUsualTaps>(src, dst, n, plan, position);
    } else {
        plan.bExact ? Resample<true, 0>(src, dst, n, plan, position) : Resample<false, 0>(src, dst, n, plan, position);
    }
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
