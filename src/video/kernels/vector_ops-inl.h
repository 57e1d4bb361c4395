// Vector steps that several kernel files need, compiled once per CPU target. Included behind <hwy/highway.h>.
//
// "Block" is 16 bytes: the widest unit in which every instruction set packs and interleaves. None of this exists for
// the one-lane scalar target, where the kernels run their formulas.

#if defined(ZR_VIDEO_VECTOR_OPS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZR_VIDEO_VECTOR_OPS_INL_H_
#undef ZR_VIDEO_VECTOR_OPS_INL_H_
#else
#define ZR_VIDEO_VECTOR_OPS_INL_H_
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace zr::HWY_NAMESPACE {
namespace vec = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

#if HWY_ARCH_X86
using D8 = vec::ScalableTag<uint8_t>;
#else
using D8 = vec::CappedTag<uint8_t, 16>;
#endif
using D16 = vec::Repartition<int16_t, D8>;
using DU16 = vec::Repartition<uint16_t, D8>;
using D32 = vec::Repartition<int32_t, D8>;
using V8 = vec::Vec<D8>;
using V16 = vec::Vec<D16>;
using V32 = vec::Vec<D32>;

// Packs signed 16-bit lanes to bytes, limited to 0..255: each block holds 8 bytes of a, then 8 of b.
HWY_INLINE V8 PackBlocks(V16 a, V16 b) {
#if HWY_TARGET == HWY_AVX2
    return V8{_mm256_packus_epi16(a.raw, b.raw)};
#elif HWY_ARCH_X86 && HWY_TARGET < HWY_AVX2
    return V8{_mm512_packus_epi16(a.raw, b.raw)};
#elif HWY_ARCH_X86
    return V8{_mm_packus_epi16(a.raw, b.raw)};
#else
    const vec::Half<D8> dHalf;
    return vec::Combine(D8(), vec::DemoteTo(dHalf, b), vec::DemoteTo(dHalf, a));
#endif
}

// Each 32-bit lane: the products of its two 16-bit lanes, summed, on top of start.
HWY_INLINE V32 PairwiseMulAdd(V16 a, V16 b, V32 start) {
    V32 rest = vec::Zero(D32());
    const V32 sum = vec::ReorderWidenMulAccumulate(D32(), a, b, start, rest);
    return vec::RearrangeToOddPlusEven(sum, rest);
}

// The 16-bit pair (lo, hi) in every 32-bit lane.
HWY_INLINE V16 SetPair(int lo, int hi) {
    const uint32_t nPair = (static_cast<uint32_t>(hi) << 16) | (static_cast<uint32_t>(lo) & 0xFFFFu);
    return vec::BitCast(D16(), vec::Set(D32(), static_cast<int32_t>(nPair)));
}

// Two such pairs in turn.
HWY_INLINE V16 SetPairs(int lo0, int hi0, int lo1, int hi1) {
    const V32 even = vec::BitCast(D32(), SetPair(lo0, hi0)), odd = vec::BitCast(D32(), SetPair(lo1, hi1));
    return vec::BitCast(D16(), vec::OddEven(odd, even));
}

// Two vectors whose blocks alternate in memory (a0 b0 a1 b1 ...) are stored in that order.
HWY_INLINE void StoreBlocksInTurn(V8 a, V8 b, uint8_t* dst) {
    const D8 d8;
    const size_t nLanes = vec::Lanes(d8);
#if HWY_ARCH_X86 && HWY_TARGET < HWY_AVX2
    const auto lo = _mm512_permutex2var_epi64(a.raw, _mm512_setr_epi64(0, 1, 8, 9, 2, 3, 10, 11), b.raw);
    const auto hi = _mm512_permutex2var_epi64(a.raw, _mm512_setr_epi64(4, 5, 12, 13, 6, 7, 14, 15), b.raw);
    vec::StoreU(V8{lo}, d8, dst);
    vec::StoreU(V8{hi}, d8, dst + nLanes);
#elif HWY_TARGET == HWY_AVX2
    vec::StoreU(vec::ConcatLowerLower(d8, b, a), d8, dst);
    vec::StoreU(vec::ConcatUpperUpper(d8, b, a), d8, dst + nLanes);
#else
    vec::StoreU(a, d8, dst);
    vec::StoreU(b, d8, dst + nLanes);
#endif
}

// The 8-byte halves that packing two vectors left block by block (a0 b0 a1 b1 ...), in memory order (a0 a1 ... b0 b1
// ...).
template <class V>
HWY_INLINE V OrderPackedHalves(V v) {
#if HWY_TARGET == HWY_AVX2
    return V{_mm256_permute4x64_epi64(v.raw, _MM_SHUFFLE(3, 1, 2, 0))};
#elif HWY_ARCH_X86 && HWY_TARGET < HWY_AVX2
    return V{_mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), v.raw)};
#else
    return v;
#endif
}

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace zr::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
