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

// 4:2:2 mixed around black (MixMaskOffset): samples and masks in 16-bit lanes, the overlay at nA of 256. The sum
// (d - o) * rest + nA * (s - o), rest = 256 - q, q = nA * mask >> 8, does not fit 16 bits, and need not: what
// saturation cuts off is what the limit to a byte cuts off. kWhole: nA is 256.
template <bool kWhole>
struct OffsetMix {
    explicit HWY_INLINE OffsetMix(uint32_t nA) : a(Set16(nA)), aHigh(Set16(nA << 8 & 0xFFFF)) {}

    HWY_INLINE VU16 Share(VU16 mask) const {
        if constexpr (kWhole) return mask;
        return vec::MulHigh(aHigh, mask);
    }
    // The result is the high byte. The sum is d * rest + nA * s - 16 * (nA - q): nothing in it is negative but the last
    // part, which is taken off the first, or what is left of it at the end.
    HWY_INLINE VU16 Luma(VU16 s, VU16 d, VU16 mask) const {
        const VU16 q = Share(mask), weak = vec::Mul(d, vec::Sub(Set16(256), q));
        const VU16 black = vec::ShiftLeft<4>(vec::Sub(a, q));
        return vec::SaturatedSub(vec::SaturatedAdd(vec::SaturatedSub(weak, black), vec::Mul(s, a)),
                                 vec::SaturatedSub(black, weak));
    }
    // The result is the high byte less 128, signed. Both products fit.
    HWY_INLINE VU16 Chroma(VU16 s, VU16 d, VU16 mask) const {
        const D16 d16;
        const V16 s0 = vec::BitCast(d16, vec::Sub(s, Set16(128))), d0 = vec::BitCast(d16, vec::Sub(d, Set16(128)));
        const V16 rest = vec::BitCast(d16, vec::Sub(Set16(256), Share(mask)));
        const V16 sum = vec::SaturatedAdd(vec::Mul(d0, rest), vec::Mul(s0, vec::BitCast(d16, a)));
        return vec::BitCast(DU16(), sum);
    }
    VU16 a, aHigh;
};

// A 4:2:2 vector of those two results.
template <bool kLumaOdd>
HWY_INLINE VU16 JoinOffset(VU16 luma, VU16 chroma) {
    if constexpr (kLumaOdd) return vec::Xor(JoinHigh(chroma, luma), Set16(0x0080));
    return vec::Xor(JoinHigh(luma, chroma), Set16(0x8000));
}

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace zr::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
