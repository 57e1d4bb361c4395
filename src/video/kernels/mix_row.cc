#include "video/kernels/mix_row.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "video/kernels/mix_row.cc"
#include <hwy/foreach_target.h>  // what follows is compiled once per CPU target
#include <hwy/highway.h>

#include "video/kernels/mix_ops-inl.h"
#include "video/kernels/vector_ops-inl.h"
HWY_BEFORE_NAMESPACE();
namespace zr::HWY_NAMESPACE {
namespace {

// Vectors are mixed as 16-bit lanes of the even and of the odd bytes. Each step has the vector form here; its scalar
// form, which mixes the tail, is the formula in the header.

#if HWY_TARGET != HWY_SCALAR

HWY_INLINE size_t MixPlainVectors(const uint8_t* over, const uint8_t* base, uint8_t* dst, size_t n, uint32_t nA) {
    const VU16 a = Set16(nA), b = Set16(256 - nA);
    const size_t nStep = vec::Lanes(D8());
    size_t x = 0;
    for (; n - x >= nStep; x += nStep) {
        const VU16 s = LoadPairs(over + x), d = LoadPairs(base + x);
        const VU16 even = vec::Add(vec::Mul(Even(s), a), vec::Mul(Even(d), b));
        const VU16 odd = vec::Add(vec::Mul(Odd(s), a), vec::Mul(Odd(d), b));
        StorePairs(JoinHigh(even, odd), dst + x);
    }
    return x;
}

HWY_INLINE size_t Fade128Vectors(const uint8_t* over, uint8_t* base, size_t n, uint32_t nA) {
    const VU16 a = Set16(nA), b = Set16(128 - nA), half = Set16(64);
    const auto Fade = [&](VU16 s, VU16 d) HWY_ATTR {
        return vec::Add(vec::ShiftRight<7>(vec::Add(vec::Mul(s, a), half)),
                        vec::ShiftRight<7>(vec::Add(vec::Mul(d, b), half)));
    };
    const size_t nStep = vec::Lanes(D8());
    size_t x = 0;
    for (; n - x >= nStep; x += nStep) {
        const VU16 s = LoadPairs(over + x), d = LoadPairs(base + x);
        const VU16 limit = Set16(255);  // 255 and 255 at half weight give 256
        StorePairs(Join(vec::Min(Fade(Even(s), Even(d)), limit), vec::Min(Fade(Odd(s), Odd(d)), limit)), base + x);
    }
    return x;
}

// mask(x): the masks of the bytes from x on, one per byte. The saturating sums stand for the limit of 255.
template <class LoadMaskBytes>
HWY_INLINE size_t MaskPremulVectors(const uint8_t* over, uint8_t* base, size_t n, uint32_t nA,
                                    const LoadMaskBytes& mask) {
    const VU16 a = Set16(nA), round = Set16(255);
    const auto Mix = [&](VU16 s, VU16 d, VU16 rest) HWY_ATTR {
        return vec::SaturatedAdd(vec::SaturatedAdd(vec::Mul(s, a), vec::Mul(d, rest)), round);
    };
    const size_t nStep = vec::Lanes(D8());
    size_t x = 0;
    for (; n - x >= nStep; x += nStep) {
        const VU16 s = LoadPairs(over + x), d = LoadPairs(base + x);
        const VU16 rest = vec::Not(mask(x));  // 255 - m in each byte
        StorePairs(JoinHigh(Mix(Even(s), Even(d), Even(rest)), Mix(Odd(s), Odd(d), Odd(rest))), base + x);
    }
    return x;
}

template <bool kWhole>  // the mask is taken as it is
HWY_INLINE size_t MaskPlainVectors(const uint8_t* over, const uint8_t* mask, uint8_t* base, size_t nPixels,
                                   uint32_t nA) {
    const VU16 a = Set16(nA), full = Set16(255);
    const size_t nStep = vec::Lanes(DU16());
    size_t x = 0;
    for (; nPixels - x >= nStep; x += nStep) {
        const VU16 s = LoadPairs(over + 2 * x), d = LoadPairs(base + 2 * x), m = LoadMask(mask + x);
        const VU16 w = kWhole ? m : vec::ShiftRight<8>(vec::Mul(m, a));
        const VU16 rest = vec::Sub(full, w);
        const VU16 even = vec::Add(vec::Add(vec::Mul(Even(s), w), vec::Mul(Even(d), rest)), full);
        const VU16 odd = vec::Add(vec::Add(vec::Mul(Odd(s), w), vec::Mul(Odd(d), rest)), full);
        StorePairs(JoinHigh(even, odd), base + 2 * x);
    }
    return x;
}

template <bool kWhole, eLumaAt kLumaAt>
HWY_INLINE size_t MaskOffsetVectors(const uint8_t* over, const uint8_t* mask, uint8_t* base, size_t nPixels,
                                    uint32_t nA) {
    const OffsetMix<kWhole> mix(nA);
    constexpr bool kOdd = kLumaAt == eLumaAt::Odd;
    const VU16 black = Set16(kOdd ? 0x1080 : 0x8010);
    const size_t nStep = vec::Lanes(DU16());
    size_t x = 0;
    for (; nPixels - x >= nStep; x += nStep) {
        const VU16 s = LoadPairs(over + 2 * x), m = LoadMask(mask + x);
        // Black without weight leaves the base as it is: most of a logo's picture.
        if (vec::AllTrue(DU16(), vec::Eq(vec::Or(m, vec::Xor(s, black)), vec::Zero(DU16())))) continue;
        const VU16 d = LoadPairs(base + 2 * x);
        const VU16 mLuma = vec::Sub(m, vec::VecFromMask(DU16(), vec::Eq(m, Set16(255))));  // 255 becomes 256
        const VU16 mChroma = vec::ShiftRight<1>(vec::Add(mLuma, SwapLanes(mLuma)));
        const VU16 luma = mix.Luma(kOdd ? Odd(s) : Even(s), kOdd ? Odd(d) : Even(d), mLuma);
        const VU16 chroma = mix.Chroma(kOdd ? Even(s) : Odd(s), kOdd ? Even(d) : Odd(d), mChroma);
        StorePairs(JoinOffset<kOdd>(luma, chroma), base + 2 * x);
    }
    return x;
}

// kShift 8: nA of 256, 7: nA of 128; kWhole: the overlay is taken as it is.
template <int kShift, bool kWhole>
HWY_INLINE size_t OverVectors(const uint8_t* over, uint8_t* base, size_t nPixels, uint32_t nA) {
    alignas(16) static constexpr uint8_t arrAlpha[16] = {3,  0x80, 3,  0x80, 7,  0x80, 7,  0x80,
                                                         11, 0x80, 11, 0x80, 15, 0x80, 15, 0x80};
    const VU16 a = Set16(nA), half = Set16(1u << (kShift - 1)), full = Set16(255), half255 = Set16(128),
               inverse = Set16(257);
    const auto Scale = [&](VU16 s) HWY_ATTR { return vec::ShiftRight<kShift>(vec::Add(vec::Mul(s, a), half)); };
    const auto Weaken = [&](VU16 d, VU16 rest) HWY_ATTR {  // Div255(d * rest): t + (t >> 8) >> 8 is t * 257 >> 16
        return vec::MulHigh(vec::Add(vec::Mul(d, rest), half255), inverse);
    };
    const size_t nStep = vec::Lanes(D32());
    size_t x = 0;
    for (; nPixels - x >= nStep; x += nStep) {
        VU16 s = LoadPairs(over + 4 * x);
        if constexpr (!kWhole) s = Join(Scale(Even(s)), Scale(Odd(s)));
        const VU16 d = LoadPairs(base + 4 * x);
        const VU16 alpha =
            vec::BitCast(DU16(), vec::TableLookupBytesOr0(vec::BitCast(D8(), s), vec::LoadDup128(D8(), arrAlpha)));
        const VU16 rest = vec::Sub(full, alpha);
        const VU16 weak = Join(Weaken(Even(d), rest), Weaken(Odd(d), rest));
        vec::StoreU(vec::SaturatedAdd(vec::BitCast(D8(), s), vec::BitCast(D8(), weak)), D8(), base + 4 * x);
    }
    return x;
}

#endif  // HWY_TARGET != HWY_SCALAR

#if HWY_TARGET != HWY_SCALAR
// Equal weights: the mean of both bytes, rounded down.
HWY_INLINE void HalfStep(const uint8_t* over, const uint8_t* base, uint8_t* dst) {
    const D8 d8;
    const V8 s = vec::LoadU(d8, over), d = vec::LoadU(d8, base);
    const V8 odd = vec::And(vec::Xor(s, d), vec::Set(d8, 1));
    vec::StoreU(vec::Sub(vec::AverageRound(s, d), odd), d8, dst);
}
HWY_INLINE size_t HalfVectors(const uint8_t* over, const uint8_t* base, uint8_t* dst, size_t n) {
    const size_t nStep = vec::Lanes(D8());
    size_t x = 0;
    for (; n - x >= 4 * nStep; x += 4 * nStep)  // the loop costs as much as a step
        for (size_t i = 0; i < 4; ++i) HalfStep(over + x + i * nStep, base + x + i * nStep, dst + x + i * nStep);
    for (; n - x >= nStep; x += nStep) HalfStep(over + x, base + x, dst + x);
    return x;
}
#endif

void MixPlainRowToImpl(const uint8_t* over, const uint8_t* base, uint8_t* dst, size_t n, uint32_t nA) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    x = nA == 128 ? HalfVectors(over, base, dst, n) : MixPlainVectors(over, base, dst, n, nA);
#endif
    for (; x < n; ++x) dst[x] = MixPlain(over[x], base[x], static_cast<int>(nA));
}

void Fade128RowImpl(const uint8_t* over, uint8_t* base, size_t n, uint32_t nA) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    x = Fade128Vectors(over, base, n, nA);
#endif
    for (; x < n; ++x) base[x] = Fade128(over[x], base[x], static_cast<int>(nA));
}

void MixMaskPremulRow32Impl(const uint8_t* over, const uint8_t* mask, uint8_t* base, size_t nPixels, uint32_t nA) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    alignas(16) static constexpr uint8_t arrSpread[16] = {0, 0, 0, 0, 4, 4, 4, 4, 8, 8, 8, 8, 12, 12, 12, 12};
    const auto Masks = [&](size_t nByte) HWY_ATTR {
        const vec::Rebind<uint8_t, D32> dQuarter;
        const V8 lanes = vec::BitCast(D8(), vec::PromoteTo(D32(), vec::LoadU(dQuarter, mask + nByte / 4)));
        return vec::BitCast(DU16(), vec::TableLookupBytes(lanes, vec::LoadDup128(D8(), arrSpread)));
    };
    x = MaskPremulVectors(over, base, 4 * nPixels, nA, Masks);
#endif
    for (; x < 4 * nPixels; ++x) base[x] = MixMaskPremul(over[x], base[x], mask[x / 4], static_cast<int>(nA));
}

void MixMaskPremulRow24Impl(const uint8_t* over, const uint8_t* mask, uint8_t* base, size_t nPixels, uint32_t nA) {
    constexpr size_t nRun = 256;  // pixels whose masks are spread at a time
    uint8_t arrSpread[3 * nRun];
    for (size_t nFirst = 0; nFirst < nPixels; nFirst += nRun) {
        const size_t nPart = nPixels - nFirst < nRun ? nPixels - nFirst : nRun;
        for (size_t i = 0; i < nPart; ++i)
            arrSpread[3 * i] = arrSpread[3 * i + 1] = arrSpread[3 * i + 2] = mask[nFirst + i];
        const uint8_t* pOver = over + 3 * nFirst;
        uint8_t* pBase = base + 3 * nFirst;
        size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
        const auto Masks = [&](size_t nByte) HWY_ATTR { return LoadPairs(arrSpread + nByte); };
        x = MaskPremulVectors(pOver, pBase, 3 * nPart, nA, Masks);
#endif
        for (; x < 3 * nPart; ++x) pBase[x] = MixMaskPremul(pOver[x], pBase[x], arrSpread[x], static_cast<int>(nA));
    }
}

void MixMaskPlainRow422Impl(const uint8_t* over, const uint8_t* mask, uint8_t* base, size_t nPixels, uint32_t nA) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    x = nA >= 255 ? MaskPlainVectors<true>(over, mask, base, nPixels, nA)
                  : MaskPlainVectors<false>(over, mask, base, nPixels, nA);
#endif
    for (x *= 2; x < 2 * nPixels; ++x) base[x] = MixMaskPlain(over[x], base[x], mask[x / 2], static_cast<int>(nA));
}

template <eLumaAt kLumaAt>
HWY_INLINE void MixMaskOffsetRow(const uint8_t* over, const uint8_t* mask, uint8_t* base, size_t nPixels, uint32_t nA) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    x = nA >= 256 ? MaskOffsetVectors<true, kLumaAt>(over, mask, base, nPixels, nA)
                  : MaskOffsetVectors<false, kLumaAt>(over, mask, base, nPixels, nA);
#endif
    constexpr size_t nLumaAt = kLumaAt == eLumaAt::Odd ? 1 : 0;
    const int nWeight = static_cast<int>(nA);
    for (; x < nPixels; ++x) {
        const size_t nOther = (x ^ 1) < nPixels ? x ^ 1 : x;
        const int nLumaMask = SolidMask(mask[x]), nChromaMask = (nLumaMask + SolidMask(mask[nOther])) >> 1;
        uint8_t& nLuma = base[2 * x + nLumaAt];
        uint8_t& nChroma = base[2 * x + 1 - nLumaAt];
        nLuma = MixMaskOffset(over[2 * x + nLumaAt], nLuma, nLumaMask, nWeight, 16);
        nChroma = MixMaskOffset(over[2 * x + 1 - nLumaAt], nChroma, nChromaMask, nWeight, 128);
    }
}

void MixMaskOffsetRow422Impl(const uint8_t* over, const uint8_t* mask, uint8_t* base, size_t nPixels, uint32_t nA,
                             eLumaAt eAt) {
    if (eAt == eLumaAt::Odd)
        MixMaskOffsetRow<eLumaAt::Odd>(over, mask, base, nPixels, nA);
    else
        MixMaskOffsetRow<eLumaAt::Even>(over, mask, base, nPixels, nA);
}

template <int kShift>
HWY_INLINE void OverRow(const uint8_t* over, uint8_t* base, size_t nPixels, uint32_t nA) {
    const bool bWhole = nA >= (1u << kShift);
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    x = bWhole ? OverVectors<kShift, true>(over, base, nPixels, nA)
               : OverVectors<kShift, false>(over, base, nPixels, nA);
#endif
    const auto Scaled = [&](int nS) {
        return bWhole ? nS : (nS * static_cast<int>(nA) + (1 << (kShift - 1))) >> kShift;
    };
    for (; x < nPixels; ++x) {
        const int nAlpha = Scaled(over[4 * x + 3]);
        for (size_t i = 4 * x; i < 4 * x + 4; ++i) base[i] = MixOver(Scaled(over[i]), base[i], nAlpha);
    }
}

void MixOverRowImpl(const uint8_t* over, uint8_t* base, size_t nPixels, uint32_t nA) {
    OverRow<8>(over, base, nPixels, nA);
}
void FadeOverRow128Impl(const uint8_t* over, uint8_t* base, size_t nPixels, uint32_t nA) {
    OverRow<7>(over, base, nPixels, nA);
}

}  // namespace
}  // namespace zr::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zr {
HWY_EXPORT(MixPlainRowToImpl);
HWY_EXPORT(Fade128RowImpl);
HWY_EXPORT(MixMaskPremulRow32Impl);
HWY_EXPORT(MixMaskPremulRow24Impl);
HWY_EXPORT(MixMaskPlainRow422Impl);
HWY_EXPORT(MixMaskOffsetRow422Impl);
HWY_EXPORT(MixOverRowImpl);
HWY_EXPORT(FadeOverRow128Impl);

void MixPlainRow(const uint8_t* _pOver, uint8_t* _pBase, size_t _cbRow, uint32_t _nA) {
    HWY_DYNAMIC_DISPATCH(MixPlainRowToImpl)(_pOver, _pBase, _pBase, _cbRow, _nA);
}
void MixPlainRowTo(const uint8_t* _pOver, const uint8_t* _pBase, uint8_t* _pDst, size_t _cbRow, uint32_t _nA) {
    HWY_DYNAMIC_DISPATCH(MixPlainRowToImpl)(_pOver, _pBase, _pDst, _cbRow, _nA);
}
void Fade128Row(const uint8_t* _pOver, uint8_t* _pBase, size_t _cbRow, uint32_t _nA128) {
    HWY_DYNAMIC_DISPATCH(Fade128RowImpl)(_pOver, _pBase, _cbRow, _nA128);
}
void MixMaskPremulRow32(const uint8_t* _pOver, const uint8_t* _pMask, uint8_t* _pBase, size_t _nPixels, uint32_t _nA) {
    HWY_DYNAMIC_DISPATCH(MixMaskPremulRow32Impl)(_pOver, _pMask, _pBase, _nPixels, _nA);
}
void MixMaskPremulRow24(const uint8_t* _pOver, const uint8_t* _pMask, uint8_t* _pBase, size_t _nPixels, uint32_t _nA) {
    HWY_DYNAMIC_DISPATCH(MixMaskPremulRow24Impl)(_pOver, _pMask, _pBase, _nPixels, _nA);
}
void MixMaskPlainRow422(const uint8_t* _pOver, const uint8_t* _pMask, uint8_t* _pBase, size_t _nPixels, uint32_t _nA) {
    HWY_DYNAMIC_DISPATCH(MixMaskPlainRow422Impl)(_pOver, _pMask, _pBase, _nPixels, _nA);
}
void MixMaskOffsetRow422(const uint8_t* _pOver, const uint8_t* _pMask, uint8_t* _pBase, size_t _nPixels, uint32_t _nA,
                         eLumaAt _eLumaAt) {
    HWY_DYNAMIC_DISPATCH(MixMaskOffsetRow422Impl)(_pOver, _pMask, _pBase, _nPixels, _nA, _eLumaAt);
}
void MixOverRow(const uint8_t* _pOver, uint8_t* _pBase, size_t _nPixels, uint32_t _nA) {
    HWY_DYNAMIC_DISPATCH(MixOverRowImpl)(_pOver, _pBase, _nPixels, _nA);
}
void FadeOverRow128(const uint8_t* _pOver, uint8_t* _pBase, size_t _nPixels, uint32_t _nA128) {
    HWY_DYNAMIC_DISPATCH(FadeOverRow128Impl)(_pOver, _pBase, _nPixels, _nA128);
}
}  // namespace zr
#endif
