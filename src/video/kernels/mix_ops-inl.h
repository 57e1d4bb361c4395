// Vector steps of mixing that several kernels share: vectors are mixed as 16-bit lanes of the even and of the odd
// bytes. Included behind <hwy/highway.h>, once per CPU target.
#if defined(ZR_VIDEO_MIX_OPS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZR_VIDEO_MIX_OPS_INL_H_
#undef ZR_VIDEO_MIX_OPS_INL_H_
#else
#define ZR_VIDEO_MIX_OPS_INL_H_
#endif

#include "video/kernels/vector_ops-inl.h"
HWY_BEFORE_NAMESPACE();
namespace zr::HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR

using VU16 = vec::Vec<DU16>;

HWY_INLINE VU16 Set16(uint32_t n) { return vec::Set(DU16(), static_cast<uint16_t>(n)); }
HWY_INLINE VU16 LoadPairs(const uint8_t* p) { return vec::BitCast(DU16(), vec::LoadU(D8(), p)); }
HWY_INLINE void StorePairs(VU16 v, uint8_t* p) { vec::StoreU(vec::BitCast(D8(), v), D8(), p); }
HWY_INLINE VU16 Even(VU16 v) { return vec::And(v, Set16(0x00FF)); }
HWY_INLINE VU16 Odd(VU16 v) { return vec::ShiftRight<8>(v); }
HWY_INLINE VU16 Join(VU16 even, VU16 odd) { return vec::Or(even, vec::ShiftLeft<8>(odd)); }
// The same for sums of which the high bytes are wanted.
HWY_INLINE VU16 JoinHigh(VU16 even, VU16 odd) {
    return vec::Or(vec::ShiftRight<8>(even), vec::And(odd, Set16(0xFF00)));
}

// The masks of the pixels of a 4:2:2 vector, one per 16-bit lane.
HWY_INLINE VU16 LoadMask(const uint8_t* p) { return vec::PromoteTo(DU16(), vec::LoadU(vec::Half<D8>(), p)); }

HWY_INLINE VU16 SwapLanes(VU16 v) {
    alignas(16) static constexpr uint8_t arrSwap[16] = {2, 3, 0, 1, 6, 7, 4, 5, 10, 11, 8, 9, 14, 15, 12, 13};
    return vec::BitCast(DU16(), vec::TableLookupBytes(vec::BitCast(D8(), v), vec::LoadDup128(D8(), arrSwap)));
}

HWY_INLINE VU16 LimitToByte(V16 v) {
    return vec::BitCast(DU16(), vec::Min(vec::Max(v, vec::Zero(D16())), vec::Set(D16(), 255)));
}

// One component of a vector of pixels around its origin, at full weight: nA * (s - o) is a whole number of steps, and
// ((d - o) * rest) >> 8 is the high half of a product whose factors are 7 bits and 1 bit up.
HWY_INLINE VU16 MixAroundOriginWhole(VU16 s, VU16 d, VU16 mask, V16 origin) {
    const D16 d16;
    const V16 d7 = vec::ShiftLeft<7>(vec::Sub(vec::BitCast(d16, d), origin));
    const V16 rest2 = vec::BitCast(d16, vec::Sub(Set16(512), vec::Add(mask, mask)));
    return LimitToByte(vec::Add(vec::MulHigh(d7, rest2), vec::BitCast(d16, s)));
}

// The same at any weight: (d - o) * (256 - x) does not fit 16 bits, so it is summed with nA * (s - o) in 32.
HWY_INLINE VU16 MixAroundOrigin(VU16 s, VU16 d, VU16 mask, V16 a, V16 origin) {
    const D16 d16;
    const V16 rest =
        vec::BitCast(d16, vec::Sub(Set16(256), vec::ShiftRight<8>(vec::Mul(vec::BitCast(DU16(), a), mask))));
    const V16 s0 = vec::Sub(vec::BitCast(d16, s), origin), d0 = vec::Sub(vec::BitCast(d16, d), origin);
    const V32 zero = vec::Zero(D32());
    const V32 lower = PairwiseMulAdd(vec::InterleaveLower(d16, d0, s0), vec::InterleaveLower(d16, rest, a), zero);
    const V32 upper = PairwiseMulAdd(vec::InterleaveUpper(d16, d0, s0), vec::InterleaveUpper(d16, rest, a), zero);
    const V16 sum = vec::ReorderDemote2To(d16, vec::ShiftRight<8>(lower), vec::ShiftRight<8>(upper));
    return LimitToByte(vec::Add(sum, origin));
}

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace zr::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
