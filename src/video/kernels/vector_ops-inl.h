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

#undef ZR_X86_VECTORS
HWY_BEFORE_NAMESPACE();
namespace zr::HWY_NAMESPACE {
namespace vec = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

// The emulated target is plain code on any processor.
#if HWY_ARCH_X86 && HWY_TARGET != HWY_EMU128
#define ZR_X86_VECTORS 1
#else
#define ZR_X86_VECTORS 0
#endif

#if ZR_X86_VECTORS
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
#elif ZR_X86_VECTORS && HWY_TARGET < HWY_AVX2
    return V8{_mm512_packus_epi16(a.raw, b.raw)};
#elif ZR_X86_VECTORS
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

// Products of unsigned bytes with signed ones, summed in pairs to 16-bit lanes; no sum may leave the signed 16-bit
// range.
HWY_INLINE V16 MulAddBytePairs(V8 bytes, V8 factors) {
#if HWY_TARGET == HWY_AVX2
    return V16{_mm256_maddubs_epi16(bytes.raw, factors.raw)};
#elif ZR_X86_VECTORS && HWY_TARGET < HWY_AVX2
    return V16{_mm512_maddubs_epi16(bytes.raw, factors.raw)};
#elif ZR_X86_VECTORS
    return V16{_mm_maddubs_epi16(bytes.raw, factors.raw)};
#else
    const D16 d16;
    const V16 bytes16 = vec::BitCast(d16, bytes), factors16 = vec::BitCast(d16, factors);
    const V16 even =
        vec::Mul(vec::And(bytes16, vec::Set(d16, 0x00FF)), vec::ShiftRight<8>(vec::ShiftLeft<8>(factors16)));
    const V16 odd =
        vec::Mul(vec::BitCast(d16, vec::ShiftRight<8>(vec::BitCast(DU16(), bytes))), vec::ShiftRight<8>(factors16));
    return vec::Add(even, odd);
#endif
}

// The 8-byte halves that packing two vectors left block by block (a0 b0 a1 b1 ...), in memory order (a0 a1 ... b0 b1
// ...).
template <class V>
HWY_INLINE V OrderPackedHalves(V v) {
#if HWY_TARGET == HWY_AVX2
    return V{_mm256_permute4x64_epi64(v.raw, _MM_SHUFFLE(3, 1, 2, 0))};
#elif ZR_X86_VECTORS && HWY_TARGET < HWY_AVX2
    return V{_mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), v.raw)};
#else
    return v;
#endif
}

// Interleaving the lower and the upper halves of blocks gives two vectors in memory order when its inputs went through
// SpreadHalves and its results are stored by StoreSpread. With AVX2 the order is made by stores of blocks, which cost
// nothing, where an exchange of halves would cost a slow shuffle; elsewhere by SpreadHalves.
HWY_INLINE V8 SpreadHalves(V8 v) {
#if ZR_X86_VECTORS && HWY_TARGET < HWY_AVX2
    return V8{_mm512_permutexvar_epi64(_mm512_setr_epi64(0, 4, 1, 5, 2, 6, 3, 7), v.raw)};
#else
    return v;
#endif
}
// Two such results in memory order.
HWY_INLINE void OrderSpread(V8& lower, V8& upper) {
#if HWY_TARGET == HWY_AVX2
    const V8 first = vec::ConcatLowerLower(D8(), upper, lower);
    upper = vec::ConcatUpperUpper(D8(), upper, lower);
    lower = first;
#else
    (void)lower;
    (void)upper;
#endif
}
HWY_INLINE void StoreSpread(V8 lower, V8 upper, uint8_t* dst) {
#if HWY_TARGET == HWY_AVX2
    const vec::Half<D8> dBlock;
    vec::StoreU(vec::LowerHalf(dBlock, lower), dBlock, dst);
    vec::StoreU(vec::LowerHalf(dBlock, upper), dBlock, dst + 16);
    vec::StoreU(vec::UpperHalf(dBlock, lower), dBlock, dst + 32);
    vec::StoreU(vec::UpperHalf(dBlock, upper), dBlock, dst + 48);
#else
    vec::StoreU(lower, D8(), dst);
    vec::StoreU(upper, D8(), dst + vec::Lanes(D8()));
#endif
}

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace zr::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
