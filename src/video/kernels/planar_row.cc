#include "video/kernels/planar_row.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "video/kernels/planar_row.cc"
#include <hwy/foreach_target.h>  // what follows is compiled once per CPU target
#include <hwy/highway.h>

#include "video/kernels/vector_ops-inl.h"
HWY_BEFORE_NAMESPACE();
namespace zr::HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

HWY_INLINE V8 Load(const uint8_t* p) { return vec::LoadU(D8(), p); }
HWY_INLINE void Store(V8 v, uint8_t* p) { vec::StoreU(v, D8(), p); }

// Two vectors of byte pairs in memory order become one vector of the even bytes and one of the odd ones.
HWY_INLINE void SplitBytes(V8 v0, V8 v1, V8& even, V8& odd) {
    const D16 d16;
    const DU16 du16;
    const auto Even = [&](V8 v) HWY_ATTR { return vec::And(vec::BitCast(d16, v), vec::Set(d16, 0x00FF)); };
    const auto Odd = [&](V8 v) HWY_ATTR { return vec::BitCast(d16, vec::ShiftRight<8>(vec::BitCast(du16, v))); };
    even = OrderPackedHalves(PackBlocks(Even(v0), Even(v1)));
    odd = OrderPackedHalves(PackBlocks(Odd(v0), Odd(v1)));
}

// The other way round; the result is for StoreSpread.
HWY_INLINE void JoinBytes(V8 even, V8 odd, V8& lower, V8& upper) {
    const V8 e = SpreadHalves(even), o = SpreadHalves(odd);
    lower = vec::InterleaveLower(D8(), e, o);
    upper = vec::InterleaveUpper(D8(), e, o);
}

template <bool kLumaFirst>
HWY_INLINE void SplitLuma(V8 v0, V8 v1, V8& luma, V8& chroma) {
    if constexpr (kLumaFirst) {
        SplitBytes(v0, v1, luma, chroma);
    } else {
        SplitBytes(v0, v1, chroma, luma);
    }
}

template <bool kLumaFirst>
HWY_INLINE void JoinLuma(V8 luma, V8 chroma, uint8_t* dst) {
    V8 lower, upper;
    if constexpr (kLumaFirst) {
        JoinBytes(luma, chroma, lower, upper);
    } else {
        JoinBytes(chroma, luma, lower, upper);
    }
    StoreSpread(lower, upper, dst);
}

#endif  // HWY_TARGET != HWY_SCALAR

template <bool kLumaFirst>
HWY_INLINE void SplitRow(const uint8_t* src, uint8_t* y, uint8_t* cb, uint8_t* cr, size_t nPairs) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const size_t n = vec::Lanes(D8());
    for (; nPairs - x >= n; x += n) {
        V8 luma0, chroma0, luma1, chroma1, cbs, crs;
        SplitLuma<kLumaFirst>(Load(src + 4 * x), Load(src + 4 * x + n), luma0, chroma0);
        SplitLuma<kLumaFirst>(Load(src + 4 * x + 2 * n), Load(src + 4 * x + 3 * n), luma1, chroma1);
        SplitBytes(chroma0, chroma1, cbs, crs);
        Store(luma0, y + 2 * x);
        Store(luma1, y + 2 * x + n);
        Store(cbs, cb + x);
        Store(crs, cr + x);
    }
#endif
    constexpr size_t nLumaAt = kLumaFirst ? 0 : 1;
    for (; x < nPairs; ++x) {
        y[2 * x] = src[4 * x + nLumaAt];
        y[2 * x + 1] = src[4 * x + nLumaAt + 2];
        cb[x] = src[4 * x + 1 - nLumaAt];
        cr[x] = src[4 * x + 3 - nLumaAt];
    }
}

template <bool kLumaFirst>
HWY_INLINE void JoinRow(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, size_t nPairs) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const size_t n = vec::Lanes(D8());
    for (; nPairs - x >= n; x += n) {
        V8 chroma0, chroma1;
        JoinBytes(Load(cb + x), Load(cr + x), chroma0, chroma1);
        OrderSpread(chroma0, chroma1);
        JoinLuma<kLumaFirst>(Load(y + 2 * x), chroma0, dst + 4 * x);
        JoinLuma<kLumaFirst>(Load(y + 2 * x + n), chroma1, dst + 4 * x + 2 * n);
    }
#endif
    constexpr size_t nLumaAt = kLumaFirst ? 0 : 1;
    for (; x < nPairs; ++x) {
        dst[4 * x + nLumaAt] = y[2 * x];
        dst[4 * x + nLumaAt + 2] = y[2 * x + 1];
        dst[4 * x + 1 - nLumaAt] = cb[x];
        dst[4 * x + 3 - nLumaAt] = cr[x];
    }
}

template <bool kLumaFirst>
HWY_INLINE void JoinRowNv12(const uint8_t* y, const uint8_t* cbcr, uint8_t* dst, size_t nPairs) {
    const size_t nSamples = 2 * nPairs;
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const size_t n = vec::Lanes(D8());
    for (; nSamples - x >= n; x += n) JoinLuma<kLumaFirst>(Load(y + x), Load(cbcr + x), dst + 2 * x);
#endif
    constexpr size_t nLumaAt = kLumaFirst ? 0 : 1;
    for (; x < nSamples; ++x) {
        dst[2 * x + nLumaAt] = y[x];
        dst[2 * x + 1 - nLumaAt] = cbcr[x];
    }
}

void SplitUyvyRowImpl(const uint8_t* src, uint8_t* y, uint8_t* cb, uint8_t* cr, size_t nPairs) {
    SplitRow<false>(src, y, cb, cr, nPairs);
}
void SplitYuy2RowImpl(const uint8_t* src, uint8_t* y, uint8_t* cb, uint8_t* cr, size_t nPairs) {
    SplitRow<true>(src, y, cb, cr, nPairs);
}
void JoinUyvyRowImpl(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, size_t nPairs) {
    JoinRow<false>(y, cb, cr, dst, nPairs);
}
void JoinYuy2RowImpl(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, size_t nPairs) {
    JoinRow<true>(y, cb, cr, dst, nPairs);
}
void JoinUyvyRowNv12Impl(const uint8_t* y, const uint8_t* cbcr, uint8_t* dst, size_t nPairs) {
    JoinRowNv12<false>(y, cbcr, dst, nPairs);
}
void JoinYuy2RowNv12Impl(const uint8_t* y, const uint8_t* cbcr, uint8_t* dst, size_t nPairs) {
    JoinRowNv12<true>(y, cbcr, dst, nPairs);
}

void SplitPairsRowImpl(const uint8_t* cbcr, uint8_t* cb, uint8_t* cr, size_t nPairs) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const size_t n = vec::Lanes(D8());
    for (; nPairs - x >= n; x += n) {
        V8 even, odd;
        SplitBytes(Load(cbcr + 2 * x), Load(cbcr + 2 * x + n), even, odd);
        Store(even, cb + x);
        Store(odd, cr + x);
    }
#endif
    for (; x < nPairs; ++x) {
        cb[x] = cbcr[2 * x];
        cr[x] = cbcr[2 * x + 1];
    }
}

void JoinPairsRowImpl(const uint8_t* cb, const uint8_t* cr, uint8_t* cbcr, size_t nPairs) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const size_t n = vec::Lanes(D8());
    for (; nPairs - x >= n; x += n) {
        V8 lower, upper;
        JoinBytes(Load(cb + x), Load(cr + x), lower, upper);
        StoreSpread(lower, upper, cbcr + 2 * x);
    }
#endif
    for (; x < nPairs; ++x) {
        cbcr[2 * x] = cb[x];
        cbcr[2 * x + 1] = cr[x];
    }
}

void MeanRowImpl(const uint8_t* a, const uint8_t* b, uint8_t* dst, size_t nSamples) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const size_t n = vec::Lanes(D8());
    for (; nSamples - x >= n; x += n) Store(vec::AverageRound(Load(a + x), Load(b + x)), dst + x);
#endif
    for (; x < nSamples; ++x) dst[x] = static_cast<uint8_t>((a[x] + b[x] + 1) >> 1);
}

void DoubleSamplesRowImpl(const uint8_t* src, uint8_t* dst, size_t nSamples) {
    JoinPairsRowImpl(src, src, dst, nSamples);
}

void HalveSamplesRowImpl(const uint8_t* src, uint8_t* dst, size_t nPairs) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const size_t n = vec::Lanes(D8());
    for (; nPairs - x >= n; x += n) {
        V8 even, odd;
        SplitBytes(Load(src + 2 * x), Load(src + 2 * x + n), even, odd);
        Store(vec::AverageRound(even, odd), dst + x);
    }
#endif
    for (; x < nPairs; ++x) dst[x] = static_cast<uint8_t>((src[2 * x] + src[2 * x + 1] + 1) >> 1);
}

}  // namespace
}  // namespace zr::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zr {
HWY_EXPORT(SplitUyvyRowImpl);
HWY_EXPORT(SplitYuy2RowImpl);
HWY_EXPORT(JoinUyvyRowImpl);
HWY_EXPORT(JoinYuy2RowImpl);
HWY_EXPORT(JoinUyvyRowNv12Impl);
HWY_EXPORT(JoinYuy2RowNv12Impl);
HWY_EXPORT(SplitPairsRowImpl);
HWY_EXPORT(JoinPairsRowImpl);
HWY_EXPORT(MeanRowImpl);
HWY_EXPORT(DoubleSamplesRowImpl);
HWY_EXPORT(HalveSamplesRowImpl);

void SplitUyvyRow(const uint8_t* _pSrc, uint8_t* _pY, uint8_t* _pCb, uint8_t* _pCr, size_t _nPairs) {
    HWY_DYNAMIC_DISPATCH(SplitUyvyRowImpl)(_pSrc, _pY, _pCb, _pCr, _nPairs);
}
void SplitYuy2Row(const uint8_t* _pSrc, uint8_t* _pY, uint8_t* _pCb, uint8_t* _pCr, size_t _nPairs) {
    HWY_DYNAMIC_DISPATCH(SplitYuy2RowImpl)(_pSrc, _pY, _pCb, _pCr, _nPairs);
}
void JoinUyvyRow(const uint8_t* _pY, const uint8_t* _pCb, const uint8_t* _pCr, uint8_t* _pDst, size_t _nPairs) {
    HWY_DYNAMIC_DISPATCH(JoinUyvyRowImpl)(_pY, _pCb, _pCr, _pDst, _nPairs);
}
void JoinYuy2Row(const uint8_t* _pY, const uint8_t* _pCb, const uint8_t* _pCr, uint8_t* _pDst, size_t _nPairs) {
    HWY_DYNAMIC_DISPATCH(JoinYuy2RowImpl)(_pY, _pCb, _pCr, _pDst, _nPairs);
}
void JoinUyvyRowNv12(const uint8_t* _pY, const uint8_t* _pCbCr, uint8_t* _pDst, size_t _nPairs) {
    HWY_DYNAMIC_DISPATCH(JoinUyvyRowNv12Impl)(_pY, _pCbCr, _pDst, _nPairs);
}
void JoinYuy2RowNv12(const uint8_t* _pY, const uint8_t* _pCbCr, uint8_t* _pDst, size_t _nPairs) {
    HWY_DYNAMIC_DISPATCH(JoinYuy2RowNv12Impl)(_pY, _pCbCr, _pDst, _nPairs);
}
void SplitPairsRow(const uint8_t* _pCbCr, uint8_t* _pCb, uint8_t* _pCr, size_t _nPairs) {
    HWY_DYNAMIC_DISPATCH(SplitPairsRowImpl)(_pCbCr, _pCb, _pCr, _nPairs);
}
void JoinPairsRow(const uint8_t* _pCb, const uint8_t* _pCr, uint8_t* _pCbCr, size_t _nPairs) {
    HWY_DYNAMIC_DISPATCH(JoinPairsRowImpl)(_pCb, _pCr, _pCbCr, _nPairs);
}
void MeanRow(const uint8_t* _pA, const uint8_t* _pB, uint8_t* _pDst, size_t _nSamples) {
    HWY_DYNAMIC_DISPATCH(MeanRowImpl)(_pA, _pB, _pDst, _nSamples);
}
void DoubleSamplesRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples) {
    HWY_DYNAMIC_DISPATCH(DoubleSamplesRowImpl)(_pSrc, _pDst, _nSamples);
}
void HalveSamplesRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPairs) {
    HWY_DYNAMIC_DISPATCH(HalveSamplesRowImpl)(_pSrc, _pDst, _nPairs);
}
}  // namespace zr
#endif
