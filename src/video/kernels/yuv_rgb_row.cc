#include "video/kernels/yuv_rgb_row.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "video/kernels/yuv_rgb_row.cc"
#include <hwy/foreach_target.h>  // what follows is compiled once per CPU target
#include <hwy/highway.h>

#include "video/kernels/vector_ops-inl.h"
#include "video/kernels/yuv_rgb_ops-inl.h"
HWY_BEFORE_NAMESPACE();
namespace zr::HWY_NAMESPACE {
namespace {

template <eYuvOrder kOrder>
constexpr int kLumaAt = kOrder == eYuvOrder::CbYCrY ? 1 : 0;

template <eYuvOrder kOrder>
void BgraToYuvPair(const RGB_TO_YUV& m, const uint8_t* src, uint8_t* dst) {
    const int nB = src[0] + src[4], nG = src[1] + src[5], nR = src[2] + src[6];
    dst[kLumaAt<kOrder>] = LumaOf(m, src[0], src[1], src[2]);
    dst[kLumaAt<kOrder> + 2] = LumaOf(m, src[4], src[5], src[6]);
    dst[1 - kLumaAt<kOrder>] = CbOf(m, nB, nG, nR);
    dst[3 - kLumaAt<kOrder>] = CrOf(m, nB, nG, nR);
}

template <eYuvOrder kOrder, bool k709>
void YuvToBgraPair(const uint8_t* src, uint8_t* dst, uint8_t nAlpha) {
    const int nCb = src[1 - kLumaAt<kOrder>], nCr = src[3 - kLumaAt<kOrder>];
    for (int i = 0; i < 2; ++i) {
        const int nY = src[kLumaAt<kOrder> + 2 * i];
        const BGR8 pixel = k709 ? BgrOf709(nY, nCb, nCr) : BgrOf601(nY, nCb, nCr);
        dst[4 * i] = pixel.nB;
        dst[4 * i + 1] = pixel.nG;
        dst[4 * i + 2] = pixel.nR;
        dst[4 * i + 3] = nAlpha;
    }
}

#if HWY_TARGET != HWY_SCALAR

// ---- RGB to 4:2:2

template <eYuvOrder kOrder, int kShift>
HWY_INLINE size_t BgraToYuvVectors(const RGB_TO_YUV& m, const uint8_t* src, uint8_t* dst, size_t nPairs) {
    const D16 d16;
    const size_t nStep = vec::Lanes(d16) / 2;  // pairs whose 4:2:2 form fills a vector
    const YuvFactors f(m);
    size_t x = 0;
    for (; nPairs - x >= nStep; x += nStep) {
        V32 luma0, chroma0, luma1, chroma1;
        LumaAndChroma<kShift>(src + 8 * x, f, luma0, chroma0);
        LumaAndChroma<kShift>(src + 8 * x + vec::Lanes(D8()), f, luma1, chroma1);
        const V16 luma = vec::ReorderDemote2To(d16, luma0, luma1);
        const V16 chroma = vec::ReorderDemote2To(d16, chroma0, chroma1);
        const V16 yuv = kOrder == eYuvOrder::CbYCrY ? vec::Or(chroma, vec::ShiftLeft<8>(luma))
                                                    : vec::Or(luma, vec::ShiftLeft<8>(chroma));
        vec::StoreU(vec::BitCast(D8(), OrderPackedHalves(yuv)), D8(), dst + 4 * x);
    }
    return x;
}

// ---- 4:2:2 to RGB

// Copies each even (or odd) 16-bit lane over its neighbour.
template <bool kOdd>
HWY_INLINE V16 DuplicateLanes(V16 v) {
    alignas(16) static constexpr uint8_t arrEven[16] = {0, 1, 0, 1, 4, 5, 4, 5, 8, 9, 8, 9, 12, 13, 12, 13};
    alignas(16) static constexpr uint8_t arrOdd[16] = {2, 3, 2, 3, 6, 7, 6, 7, 10, 11, 10, 11, 14, 15, 14, 15};
    return vec::BitCast(D16(),
                        vec::TableLookupBytes(vec::BitCast(D8(), v), vec::LoadDup128(D8(), kOdd ? arrOdd : arrEven)));
}

// Exchanges the 16-bit lanes of each pair.
HWY_INLINE V16 SwapLanes(V16 v) {
    alignas(16) static constexpr uint8_t arrSwap[16] = {2, 3, 0, 1, 6, 7, 4, 5, 10, 11, 8, 9, 14, 15, 12, 13};
    return vec::BitCast(D16(), vec::TableLookupBytes(vec::BitCast(D8(), v), vec::LoadDup128(D8(), arrSwap)));
}

// The three channels of a vector of pixels as 16-bit lanes, not yet limited to bytes. 601: see BgrOf601.
template <eYuvOrder kOrder>
HWY_INLINE void Channels601(V16 yuv, V16& b, V16& g, V16& r) {
    const D16 d16;
    const auto yuvBits = vec::BitCast(DU16(), yuv);
    const auto high = vec::And(yuvBits, vec::Set(DU16(), 0xFF00)), low = vec::ShiftLeft<8>(yuvBits);
    const auto lumaHigh = kOrder == eYuvOrder::CbYCrY ? high : low;
    const V16 chroma = vec::BitCast(d16, vec::Xor(kOrder == eYuvOrder::CbYCrY ? low : high, vec::Set(DU16(), 0x8000)));
    const V16 y = vec::Sub(vec::BitCast(d16, vec::MulHigh(lumaHigh, vec::Set(DU16(), 19077))), vec::Set(d16, 1160));
    const V16 br = vec::MulFixedPoint15(chroma, SetPair(16525, 13075));
    const V16 gHalves = vec::MulFixedPoint15(chroma, SetPair(-3209, -6660));
    b = vec::ShiftRight<6>(vec::SaturatedAdd(y, DuplicateLanes<false>(br)));
    g = vec::ShiftRight<6>(vec::Add(y, vec::Add(gHalves, SwapLanes(gHalves))));
    r = vec::ShiftRight<6>(vec::Add(y, DuplicateLanes<true>(br)));
}

// A pair of factors for the bytes (chroma, luma) of a pixel.
HWY_INLINE V8 SetFactors(int chroma, int luma) {
    return vec::BitCast(D8(), vec::Set(D16(), static_cast<int16_t>((luma << 8) | (chroma & 0xFF))));
}

// 709, in 16 bits without loss: 298 = 256 + 42, 542 = 512 + 30, -137 = -256 + 119, 459 = 512 - 53. The multiples of 256
// need no shift, and the rest stays below 32768 once 16 and 128 are taken off, which is done in one step for each.
HWY_INLINE void Channels709(V8 uyvy, V16& b, V16& g, V16& r) {
    alignas(16) static constexpr uint8_t arrCbY[16] = {0, 1, 0, 3, 4, 5, 4, 7, 8, 9, 8, 11, 12, 13, 12, 15};
    alignas(16) static constexpr uint8_t arrCrY[16] = {2, 1, 2, 3, 6, 5, 6, 7, 10, 9, 10, 11, 14, 13, 14, 15};
    const D16 d16;
    const V8 cbY = vec::TableLookupBytes(uyvy, vec::LoadDup128(D8(), arrCbY));
    const V8 crY = vec::TableLookupBytes(uyvy, vec::LoadDup128(D8(), arrCrY));
    const auto Take = [d16](V16 v, int n) HWY_ATTR { return vec::Sub(v, vec::Set(d16, static_cast<int16_t>(n))); };
    const V16 bLow = Take(MulAddBytePairs(cbY, SetFactors(30, 42)), 42 * 16 + 30 * 128);
    const V16 rLow = Take(MulAddBytePairs(crY, SetFactors(-53, 42)), 42 * 16 - 53 * 128);
    const V16 gLow = Take(vec::Add(MulAddBytePairs(cbY, SetFactors(-55, 42)), MulAddBytePairs(crY, SetFactors(119, 0))),
                          42 * 16 + (119 - 55) * 128);
    b = vec::Add(Take(MulAddBytePairs(cbY, SetFactors(2, 1)), 16 + 2 * 128), vec::ShiftRight<8>(bLow));
    g = vec::Add(Take(MulAddBytePairs(crY, SetFactors(-1, 1)), 16 - 128), vec::ShiftRight<8>(gLow));
    r = vec::Add(Take(MulAddBytePairs(crY, SetFactors(2, 1)), 16 + 2 * 128), vec::ShiftRight<8>(rLow));
}

// b, g, r: from pixels in the order that SpreadHalves makes.
HWY_INLINE void StoreBgra(V16 b, V16 g, V16 r, V16 alpha, uint8_t* dst) {
    const D8 d8;
    const D16 d16;
    const V8 br = PackBlocks(b, r), ga = PackBlocks(g, alpha);
    const V16 bg = vec::BitCast(d16, vec::InterleaveLower(d8, br, ga));
    const V16 ra = vec::BitCast(d16, vec::InterleaveUpper(d8, br, ga));
    StoreSpread(vec::BitCast(d8, vec::InterleaveLower(d16, bg, ra)),
                vec::BitCast(d8, vec::InterleaveUpper(d16, bg, ra)), dst);
}

template <eYuvOrder kOrder, bool k709>
HWY_INLINE size_t YuvToBgraVectors(const uint8_t* src, uint8_t* dst, size_t nPairs, uint8_t nAlpha) {
    const D16 d16;
    const size_t nStep = vec::Lanes(d16) / 2;
    const V16 alpha = vec::Set(d16, nAlpha);
    size_t x = 0;
    for (; nPairs - x >= nStep; x += nStep) {
        const V8 yuv = SpreadHalves(vec::LoadU(D8(), src + 4 * x));
        V16 b, g, r;
        if constexpr (k709) {
            Channels709(yuv, b, g, r);
        } else {
            Channels601<kOrder>(vec::BitCast(d16, yuv), b, g, r);
        }
        StoreBgra(b, g, r, alpha, dst + 8 * x);
    }
    return x;
}

// ---- 4:4:4

struct PlaneFactors {
    explicit HWY_INLINE PlaneFactors(const RGB_TO_YUV& m)
        : yBR(SetPair(m.nYB, m.nYR)),
          yG(SetPair(m.nYG, 0)),
          cbBR(SetPair(m.nCbB, m.nCbR)),
          cbG(SetPair(m.nCbG, 0)),
          crBR(SetPair(m.nCrB, m.nCrR)),
          crG(SetPair(m.nCrG, 0)) {}
    V16 yBR, yG, cbBR, cbG, crBR, crG;
};

// Four vectors of 32-bit lanes as one of bytes, in order.
HWY_INLINE V8 PackFour(V32 v0, V32 v1, V32 v2, V32 v3) {
    const D16 d16;
    const V16 low = OrderPackedHalves(vec::ReorderDemote2To(d16, v0, v1));
    const V16 high = OrderPackedHalves(vec::ReorderDemote2To(d16, v2, v3));
    return OrderPackedHalves(PackBlocks(low, high));
}

// The sum of two equal pixels, for which the chroma formulas are written, is one factor of two: one bit less of shift.
HWY_INLINE size_t BgraToPlanesVectors(const RGB_TO_YUV& m, const uint8_t* src, uint8_t* y, uint8_t* cb, uint8_t* cr,
                                      size_t nPixels) {
    constexpr int kShift = kRgbToYuv601.nShift;
    const D16 d16;
    const D32 d32;
    const size_t nStep = vec::Lanes(D8());
    const PlaneFactors f(m);
    const V32 yStart = vec::Set(d32, m.nRoundY + (16 << m.nShift)),
              cStart = vec::Set(d32, m.nRoundC / 2 + (128 << m.nShift));
    size_t x = 0;
    for (; nPixels - x >= nStep; x += nStep) {
        V32 luma[4], blue[4], red[4];
        for (size_t i = 0; i < 4; ++i) {
            const V8 pixels = vec::LoadU(D8(), src + 4 * x + i * nStep);
            const V16 br = vec::And(vec::BitCast(d16, pixels), vec::Set(d16, 0x00FF));
            const V16 ga = vec::BitCast(d16, vec::ShiftRight<8>(vec::BitCast(DU16(), pixels)));
            luma[i] = vec::ShiftRight<kShift>(PairwiseMulAdd(ga, f.yG, PairwiseMulAdd(br, f.yBR, yStart)));
            blue[i] = vec::ShiftRight<kShift>(PairwiseMulAdd(ga, f.cbG, PairwiseMulAdd(br, f.cbBR, cStart)));
            red[i] = vec::ShiftRight<kShift>(PairwiseMulAdd(ga, f.crG, PairwiseMulAdd(br, f.crBR, cStart)));
        }
        vec::StoreU(PackFour(luma[0], luma[1], luma[2], luma[3]), D8(), y + x);
        vec::StoreU(PackFour(blue[0], blue[1], blue[2], blue[3]), D8(), cb + x);
        vec::StoreU(PackFour(red[0], red[1], red[2], red[3]), D8(), cr + x);
    }
    return x;
}

// Samples in the upper bytes of 16-bit lanes, in the order that StoreBgra takes.
HWY_INLINE V16 LoadHigh(const uint8_t* p) {
    const V16 wide = vec::PromoteTo(D16(), vec::LoadU(vec::Half<D8>(), p));
    return vec::ShiftLeft<8>(vec::BitCast(D16(), SpreadHalves(vec::BitCast(D8(), wide))));
}

HWY_INLINE size_t PlanesToBgraVectors(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst,
                                      size_t nPixels, uint8_t nAlpha) {
    const D16 d16;
    const size_t nStep = vec::Lanes(d16);
    const V16 alpha = vec::Set(d16, nAlpha), sign = vec::Set(d16, static_cast<int16_t>(-0x8000));
    const auto Term = [d16](V16 chroma, int nFactor) HWY_ATTR {
        return vec::MulFixedPoint15(chroma, vec::Set(d16, static_cast<int16_t>(nFactor)));
    };
    size_t x = 0;
    for (; nPixels - x >= nStep; x += nStep) {
        const auto luma = vec::MulHigh(vec::BitCast(DU16(), LoadHigh(y + x)), vec::Set(DU16(), 19077));
        const V16 base = vec::Sub(vec::BitCast(d16, luma), vec::Set(d16, 1160));
        const V16 blue = vec::Xor(LoadHigh(cb + x), sign), red = vec::Xor(LoadHigh(cr + x), sign);
        const V16 b = vec::ShiftRight<6>(vec::SaturatedAdd(base, Term(blue, 16525)));
        const V16 g = vec::ShiftRight<6>(vec::Add(base, vec::Add(Term(blue, -3209), Term(red, -6660))));
        const V16 r = vec::ShiftRight<6>(vec::Add(base, Term(red, 13075)));
        StoreBgra(b, g, r, alpha, dst + 4 * x);
    }
    return x;
}

#else

template <eYuvOrder kOrder, int kShift>
size_t BgraToYuvVectors(const RGB_TO_YUV&, const uint8_t*, uint8_t*, size_t) {
    return 0;
}
template <eYuvOrder kOrder, bool k709>
size_t YuvToBgraVectors(const uint8_t*, uint8_t*, size_t, uint8_t) {
    return 0;
}
size_t BgraToPlanesVectors(const RGB_TO_YUV&, const uint8_t*, uint8_t*, uint8_t*, uint8_t*, size_t) { return 0; }
size_t PlanesToBgraVectors(const uint8_t*, const uint8_t*, const uint8_t*, uint8_t*, size_t, uint8_t) { return 0; }

#endif  // HWY_TARGET != HWY_SCALAR

template <eYuvOrder kOrder, int kShift>
HWY_INLINE void BgraToYuvRow(const RGB_TO_YUV& m, const uint8_t* src, uint8_t* dst, size_t nPairs) {
    for (size_t x = BgraToYuvVectors<kOrder, kShift>(m, src, dst, nPairs); x < nPairs; ++x)
        BgraToYuvPair<kOrder>(m, src + 8 * x, dst + 4 * x);
}

template <eYuvOrder kOrder, bool k709>
HWY_INLINE void YuvToBgraRow(const uint8_t* src, uint8_t* dst, size_t nPairs, uint8_t nAlpha) {
    for (size_t x = YuvToBgraVectors<kOrder, k709>(src, dst, nPairs, nAlpha); x < nPairs; ++x)
        YuvToBgraPair<kOrder, k709>(src + 4 * x, dst + 8 * x, nAlpha);
}

void BgraToUyvyRow601Impl(const uint8_t* src, uint8_t* dst, size_t nPairs) {
    BgraToYuvRow<eYuvOrder::CbYCrY, kRgbToYuv601.nShift>(kRgbToYuv601, src, dst, nPairs);
}
void BgraToYuy2Row601Impl(const uint8_t* src, uint8_t* dst, size_t nPairs) {
    BgraToYuvRow<eYuvOrder::YCbYCr, kRgbToYuv601.nShift>(kRgbToYuv601, src, dst, nPairs);
}
void BgraToUyvyRow709Impl(const uint8_t* src, uint8_t* dst, size_t nPairs) {
    BgraToYuvRow<eYuvOrder::CbYCrY, kRgbToYuv709.nShift>(kRgbToYuv709, src, dst, nPairs);
}
void UyvyToBgraRow601Impl(const uint8_t* src, uint8_t* dst, size_t nPairs, uint8_t nAlpha) {
    YuvToBgraRow<eYuvOrder::CbYCrY, false>(src, dst, nPairs, nAlpha);
}
void Yuy2ToBgraRow601Impl(const uint8_t* src, uint8_t* dst, size_t nPairs, uint8_t nAlpha) {
    YuvToBgraRow<eYuvOrder::YCbYCr, false>(src, dst, nPairs, nAlpha);
}
void UyvyToBgraRow709Impl(const uint8_t* src, uint8_t* dst, size_t nPairs, uint8_t nAlpha) {
    YuvToBgraRow<eYuvOrder::CbYCrY, true>(src, dst, nPairs, nAlpha);
}

void BgraToPlanesRow601Impl(const uint8_t* src, uint8_t* y, uint8_t* cb, uint8_t* cr, size_t nPixels) {
    const RGB_TO_YUV& m = kRgbToYuv601;
    for (size_t x = BgraToPlanesVectors(m, src, y, cb, cr, nPixels); x < nPixels; ++x) {
        const int nB = src[4 * x], nG = src[4 * x + 1], nR = src[4 * x + 2];
        y[x] = LumaOf(m, nB, nG, nR);
        cb[x] = CbOf(m, 2 * nB, 2 * nG, 2 * nR);
        cr[x] = CrOf(m, 2 * nB, 2 * nG, 2 * nR);
    }
}

void PlanesToBgraRow601Impl(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, size_t nPixels,
                            uint8_t nAlpha) {
    for (size_t x = PlanesToBgraVectors(y, cb, cr, dst, nPixels, nAlpha); x < nPixels; ++x) {
        const BGR8 pixel = BgrOf601(y[x], cb[x], cr[x]);
        dst[4 * x] = pixel.nB;
        dst[4 * x + 1] = pixel.nG;
        dst[4 * x + 2] = pixel.nR;
        dst[4 * x + 3] = nAlpha;
    }
}

}  // namespace
}  // namespace zr::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zr {
HWY_EXPORT(BgraToUyvyRow601Impl);
HWY_EXPORT(BgraToYuy2Row601Impl);
HWY_EXPORT(BgraToUyvyRow709Impl);
HWY_EXPORT(UyvyToBgraRow601Impl);
HWY_EXPORT(Yuy2ToBgraRow601Impl);
HWY_EXPORT(UyvyToBgraRow709Impl);
HWY_EXPORT(BgraToPlanesRow601Impl);
HWY_EXPORT(PlanesToBgraRow601Impl);

void BgraToUyvyRow601(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPairs) {
    HWY_DYNAMIC_DISPATCH(BgraToUyvyRow601Impl)(_pSrc, _pDst, _nPairs);
}
void BgraToYuy2Row601(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPairs) {
    HWY_DYNAMIC_DISPATCH(BgraToYuy2Row601Impl)(_pSrc, _pDst, _nPairs);
}
void BgraToUyvyRow709(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPairs) {
    HWY_DYNAMIC_DISPATCH(BgraToUyvyRow709Impl)(_pSrc, _pDst, _nPairs);
}
void UyvyToBgraRow601(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPairs, uint8_t _nAlpha) {
    HWY_DYNAMIC_DISPATCH(UyvyToBgraRow601Impl)(_pSrc, _pDst, _nPairs, _nAlpha);
}
void Yuy2ToBgraRow601(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPairs, uint8_t _nAlpha) {
    HWY_DYNAMIC_DISPATCH(Yuy2ToBgraRow601Impl)(_pSrc, _pDst, _nPairs, _nAlpha);
}
void UyvyToBgraRow709(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPairs, uint8_t _nAlpha) {
    HWY_DYNAMIC_DISPATCH(UyvyToBgraRow709Impl)(_pSrc, _pDst, _nPairs, _nAlpha);
}
void BgraToPlanesRow601(const uint8_t* _pSrc, uint8_t* _pY, uint8_t* _pCb, uint8_t* _pCr, size_t _nPixels) {
    HWY_DYNAMIC_DISPATCH(BgraToPlanesRow601Impl)(_pSrc, _pY, _pCb, _pCr, _nPixels);
}
void PlanesToBgraRow601(const uint8_t* _pY, const uint8_t* _pCb, const uint8_t* _pCr, uint8_t* _pDst, size_t _nPixels,
                        uint8_t _nAlpha) {
    HWY_DYNAMIC_DISPATCH(PlanesToBgraRow601Impl)(_pY, _pCb, _pCr, _pDst, _nPixels, _nAlpha);
}
}  // namespace zr
#endif
