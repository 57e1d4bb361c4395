#include "video/kernels/scale_row.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "video/kernels/scale_row.cc"
#include <hwy/cache_control.h>
#include <hwy/foreach_target.h>  // what follows is compiled once per CPU target
#include <hwy/highway.h>

#include "video/kernels/vector_ops-inl.h"
HWY_BEFORE_NAMESPACE();
namespace zr::HWY_NAMESPACE {
namespace {

uint8_t WeighByte(const uint8_t* const* rows, const ROW_WEIGHTS& weights, size_t i) {
    const uint8_t* pWeights = i & 1 ? weights.arrOdd : weights.arrEven;
    uint32_t nSum = 0;
    for (int32_t k = 0; k < weights.nRows; ++k) nSum += uint32_t{rows[k][i]} * pWeights[k];
    return static_cast<uint8_t>(nSum >> 8);
}

#if HWY_TARGET != HWY_SCALAR

// Bytes of the rows come into the cache.
HWY_INLINE void Fetch(const NEXT_ROWS& next, size_t first, size_t cb) {
    constexpr size_t kCacheLine = 64;
    for (int32_t k = 0; k < next.nRows; ++k)
        for (size_t x = 0; x < cb; x += kCacheLine) hwy::Prefetch(next.arrRows[k] + first + x);
}

// The multiplication takes unsigned by signed bytes. Weights need all eight bits, so samples are made signed by taking
// 128 off; the weights of all rows sum to at most 255, so no sum leaves 16 bits, and 128 times that sum is put back.
template <size_t kPairs>
HWY_INLINE void WeighBlock(const uint8_t* const* rows, const uint32_t* pairWeights, uint32_t biasPair, size_t x,
                           uint8_t* dst) {
    const D8 d8;
    const D16 d16;
    const vec::Repartition<uint32_t, D8> du32;
    const V8 flip = vec::Set(d8, 0x80);
    V16 lower = vec::BitCast(d16, vec::Set(du32, biasPair)), upper = lower;
    for (size_t k = 0; k < kPairs; ++k) {
        const V8 weights = vec::BitCast(d8, vec::Set(du32, pairWeights[k]));
        const V8 a = vec::Xor(vec::LoadU(d8, rows[2 * k] + x), flip);
        const V8 b = vec::Xor(vec::LoadU(d8, rows[2 * k + 1] + x), flip);
        lower = vec::Add(lower, MulAddBytePairs(weights, vec::InterleaveLower(d8, a, b)));
        upper = vec::Add(upper, MulAddBytePairs(weights, vec::InterleaveUpper(d8, a, b)));
    }
    const DU16 du16;
    const auto High = [&](V16 v) HWY_ATTR { return vec::BitCast(d16, vec::ShiftRight<8>(vec::BitCast(du16, v))); };
    vec::StoreU(PackBlocks(High(lower), High(upper)), d8, dst + x);
}

template <size_t kPairs>
HWY_NOINLINE void WeighRowOf(const uint8_t* const* rowsIn, const ROW_WEIGHTS& weights, const NEXT_ROWS& next,
                             uint8_t* dst, size_t cb) {
    // Copies of its own, so that the compiler knows them to be constant while it stores.
    const uint8_t* rows[2 * kPairs];
    uint32_t pairWeights[kPairs];
    uint32_t nSumEven = 0, nSumOdd = 0;
    for (size_t k = 0; k < kPairs; ++k) {
        rows[2 * k] = rowsIn[2 * k];
        rows[2 * k + 1] = rowsIn[2 * k + 1 < static_cast<size_t>(weights.nRows) ? 2 * k + 1 : 2 * k];
        const uint8_t *even = weights.arrEven + 2 * k, *odd = weights.arrOdd + 2 * k;
        pairWeights[k] = uint32_t{even[0]} | uint32_t{even[1]} << 8 | uint32_t{odd[0]} << 16 | uint32_t{odd[1]} << 24;
        nSumEven += uint32_t{even[0]} + even[1];
        nSumOdd += uint32_t{odd[0]} + odd[1];
    }
    const uint32_t biasPair = nSumEven * 128 | (nSumOdd * 128) << 16;
    const size_t n = vec::Lanes(D8());
    size_t x = 0;
    for (; cb - x >= n; x += n) {
        Fetch(next, x, n);
        WeighBlock<kPairs>(rows, pairWeights, biasPair, x, dst);
    }
    if (x == cb) return;
    if (cb >= n && (cb - n) % 2 == 0) {  // the last vector once more over bytes that are done
        WeighBlock<kPairs>(rows, pairWeights, biasPair, cb - n, dst);
        return;
    }
    for (; x < cb; ++x) dst[x] = WeighByte(rowsIn, weights, x);
}

void WeighRowsImpl(const uint8_t* const* rows, const ROW_WEIGHTS& weights, const NEXT_ROWS& next, uint8_t* dst,
                   size_t cb) {
    switch ((weights.nRows + 1) / 2) {
        case 0: std::fill_n(dst, cb, uint8_t{0}); return;
        case 1: WeighRowOf<1>(rows, weights, next, dst, cb); return;
        case 2: WeighRowOf<2>(rows, weights, next, dst, cb); return;
        case 3: WeighRowOf<3>(rows, weights, next, dst, cb); return;
        case 4: WeighRowOf<4>(rows, weights, next, dst, cb); return;
        case 5: WeighRowOf<5>(rows, weights, next, dst, cb); return;
        default: WeighRowOf<6>(rows, weights, next, dst, cb); return;
    }
}

#else

void WeighRowsImpl(const uint8_t* const* rows, const ROW_WEIGHTS& weights, const NEXT_ROWS&, uint8_t* dst, size_t cb) {
    for (size_t x = 0; x < cb; ++x) dst[x] = WeighByte(rows, weights, x);
}

#endif

// ---- Vertical, taken apart

void WeighSplitPairs(const uint8_t* const* rows, const ROW_WEIGHTS& weights, bool lumaOdd, const SPLIT_ROWS& split,
                     size_t first, size_t end) {
    const size_t nLuma = lumaOdd ? 1 : 0, nChroma = 1 - nLuma;
    for (size_t i = first; i < end; ++i) {
        split.pFirst[i] = WeighByte(rows, weights, 4 * i + nChroma);
        split.pLuma[2 * i] = WeighByte(rows, weights, 4 * i + nLuma);
        split.pSecond[i] = WeighByte(rows, weights, 4 * i + nChroma + 2);
        split.pLuma[2 * i + 1] = WeighByte(rows, weights, 4 * i + nLuma + 2);
    }
}

#if HWY_TARGET != HWY_SCALAR

using VU16 = vec::Vec<DU16>;

// Rows up to the last with a weight: those of chroma are often fewer.
int32_t CountUsed(const uint8_t* weights, int32_t nRows) {
    while (nRows > 1 && weights[nRows - 1] == 0) --nRows;
    return nRows;
}

// The high bytes of all lanes, in memory order.
HWY_INLINE V8 HighBytes(VU16 a, VU16 b) {
    const D16 d16;
    return OrderPackedHalves(
        PackBlocks(vec::BitCast(d16, vec::ShiftRight<8>(a)), vec::BitCast(d16, vec::ShiftRight<8>(b))));
}

// The same with those of even lanes in the lower half and those of odd lanes in the upper half.
HWY_INLINE V8 HighBytesApart(VU16 a, VU16 b) {
    const D16 d16;
    const DU16 du16;
    const VU16 pairs = vec::BitCast(du16, HighBytes(a, b));
    return OrderPackedHalves(PackBlocks(vec::BitCast(d16, vec::And(pairs, vec::Set(du16, 0x00FF))),
                                        vec::BitCast(d16, vec::ShiftRight<8>(pairs))));
}

// Luma and chroma each in 16-bit lanes, where their weighted sums fit: 255 times at most 255.
template <bool kLumaOdd>
HWY_INLINE VU16 LumaOf(VU16 v) {
    return kLumaOdd ? vec::ShiftRight<8>(v) : vec::And(v, vec::Set(DU16(), 0x00FF));
}

// kLuma, kChroma: how many rows have a weight for it; 0: as the arguments say.
template <bool kLumaOdd, int32_t kLuma, int32_t kChroma>
HWY_NOINLINE void WeighSplitOf(const uint8_t* const* rowsIn, const ROW_WEIGHTS& weights, const NEXT_ROWS& next,
                               const SPLIT_ROWS& split, size_t nPairs) {
    const DU16 du16;
    const D8 d8;
    const vec::Half<D8> dHalf;
    const uint8_t* const lumaIn = kLumaOdd ? weights.arrOdd : weights.arrEven;
    const uint8_t* const chromaIn = kLumaOdd ? weights.arrEven : weights.arrOdd;
    const int32_t nLuma = kLuma ? kLuma : CountUsed(lumaIn, weights.nRows);
    const int32_t nChroma = kChroma ? kChroma : CountUsed(chromaIn, weights.nRows);
    const int32_t nRows = HWY_MAX(nLuma, nChroma);
    const uint8_t* rows[kMaxWeighedRows];
    uint16_t luma[kMaxWeighedRows], chroma[kMaxWeighedRows];
    for (int32_t k = 0; k < nRows; ++k) {
        rows[k] = rowsIn[k];
        luma[k] = lumaIn[k];
        chroma[k] = chromaIn[k];
    }
    const size_t n = vec::Lanes(d8), nPairsAtOnce = n / 2;
    if (nPairs < nPairsAtOnce) return WeighSplitPairs(rowsIn, weights, kLumaOdd, split, 0, nPairs);
    for (size_t i = 0; i < nPairs; i += nPairsAtOnce) {
        i = HWY_MIN(i, nPairs - nPairsAtOnce);  // the last vectors once more over pairs that are done
        Fetch(next, 4 * i, 2 * n);
        VU16 luma0 = vec::Zero(du16), luma1 = luma0, chroma0 = luma0, chroma1 = luma0;
        for (int32_t k = 0; k < (kLuma ? HWY_MAX(kLuma, kChroma) : nRows); ++k) {
            const VU16 a = vec::BitCast(du16, vec::LoadU(d8, rows[k] + 4 * i));
            const VU16 b = vec::BitCast(du16, vec::LoadU(d8, rows[k] + 4 * i + n));
            if (k < nLuma) {
                const VU16 weight = vec::Set(du16, luma[k]);
                luma0 = vec::Add(luma0, vec::Mul(LumaOf<kLumaOdd>(a), weight));
                luma1 = vec::Add(luma1, vec::Mul(LumaOf<kLumaOdd>(b), weight));
            }
            if (k < nChroma) {
                const VU16 weight = vec::Set(du16, chroma[k]);
                chroma0 = vec::Add(chroma0, vec::Mul(LumaOf<!kLumaOdd>(a), weight));
                chroma1 = vec::Add(chroma1, vec::Mul(LumaOf<!kLumaOdd>(b), weight));
            }
        }
        vec::StoreU(HighBytes(luma0, luma1), d8, split.pLuma + 2 * i);
        const V8 apart = HighBytesApart(chroma0, chroma1);
        vec::StoreU(vec::LowerHalf(dHalf, apart), dHalf, split.pFirst + i);
        vec::StoreU(vec::UpperHalf(dHalf, apart), dHalf, split.pSecond + i);
    }
}

template <bool kLumaOdd>
void WeighSplitBy(const uint8_t* const* rows, const ROW_WEIGHTS& weights, const NEXT_ROWS& next,
                  const SPLIT_ROWS& split, size_t nPairs) {
    const int32_t nLuma = CountUsed(kLumaOdd ? weights.arrOdd : weights.arrEven, weights.nRows);
    const int32_t nChroma = CountUsed(kLumaOdd ? weights.arrEven : weights.arrOdd, weights.nRows);
    if (nLuma == 3 && nChroma == 1) return WeighSplitOf<kLumaOdd, 3, 1>(rows, weights, next, split, nPairs);
    if (nLuma == 3 && nChroma == 3) return WeighSplitOf<kLumaOdd, 3, 3>(rows, weights, next, split, nPairs);
    if (nLuma == 5 && nChroma == 3) return WeighSplitOf<kLumaOdd, 5, 3>(rows, weights, next, split, nPairs);
    WeighSplitOf<kLumaOdd, 0, 0>(rows, weights, next, split, nPairs);
}

void WeighSplitRowsImpl(const uint8_t* const* rows, const ROW_WEIGHTS& weights, bool lumaOdd, const NEXT_ROWS& next,
                        const SPLIT_ROWS& split, size_t nPairs) {
    (lumaOdd ? WeighSplitBy<true> : WeighSplitBy<false>)(rows, weights, next, split, nPairs);
}

#else

void WeighSplitRowsImpl(const uint8_t* const* rows, const ROW_WEIGHTS& weights, bool lumaOdd, const NEXT_ROWS&,
                        const SPLIT_ROWS& split, size_t nPairs) {
    WeighSplitPairs(rows, weights, lumaOdd, split, 0, nPairs);
}

#endif

// ---- Horizontal

uint8_t RoundedSample(int32_t nSum, int32_t nShift) {
    return static_cast<uint8_t>(std::clamp((nSum + (1 << (nShift - 1))) >> nShift, 0, 255));
}

void ResampleLong(const RESAMPLE_ROW& row, const uint8_t* src, uint8_t* dst, int32_t width) {
    const auto* coefficients = reinterpret_cast<const int16_t*>(row.pBlocks);
    const int32_t nTaps = 2 * row.nPairs;
    for (int32_t x = 0; x < width; ++x, coefficients += nTaps) {
        const uint8_t* p = src + row.pStart[x];
#if HWY_TARGET != HWY_SCALAR
        const vec::CappedTag<int16_t, 16> d16;
        const vec::Rebind<uint8_t, decltype(d16)> d8;
        const vec::RepartitionToWide<decltype(d16)> d32;
        auto sum = vec::Zero(d32), rest = vec::Zero(d32);
        for (int32_t k = 0; k < nTaps; k += static_cast<int32_t>(vec::Lanes(d16)))
            sum = vec::ReorderWidenMulAccumulate(d32, vec::PromoteTo(d16, vec::LoadU(d8, p + k)),
                                                 vec::LoadU(d16, coefficients + k), sum, rest);
        const int32_t nSum = vec::GetLane(vec::SumOfLanes(d32, vec::Add(sum, rest)));
#else
        int32_t nSum = 0;
        for (int32_t k = 0; k < nTaps; ++k) nSum += p[k] * coefficients[k];
#endif
        dst[x] = RoundedSample(nSum, 14);
    }
}

// ---- Horizontal, to half and to a third

// Inner samples one by one.
void InnerSamples(const RESAMPLE_ROW& row, const uint8_t* src, uint8_t* dst) {
    const bool bBytes = row.eLayout == eResampleLayout::HalvesOfBytes;
    const int32_t nStep = SteadyStep(row.eLayout);
    for (int32_t x = row.nInner; x < row.nInnerEnd; ++x) {
        const uint8_t* p = src + nStep * x + row.nOffset;
        int32_t nSum = 0;
        for (int32_t k = 0; k < 2 * row.nPairs; ++k)
            nSum += p[k] * (bBytes ? static_cast<int32_t>(static_cast<int8_t>(row.pBlocks[k]))
                                   : static_cast<int32_t>(reinterpret_cast<const int16_t*>(row.pBlocks)[k]));
        dst[x] = RoundedSample(nSum, bBytes ? 7 : 14);
    }
}

void EndSamples(const RESAMPLE_ROW& row, const uint8_t* src, uint8_t* dst, int32_t width) {
    const int16_t* coefficients = row.pEnds;
    const int32_t* start = row.pStart;
    for (int32_t x = 0; x < width; ++x) {
        if (x == row.nInner) x = row.nInnerEnd;
        if (x >= width) return;
        const uint8_t* p = src + *start++;
        int32_t nSum = 0;
        for (int32_t k = 0; k < 2 * row.nPairs; ++k) nSum += p[k] * *coefficients++;
        dst[x] = RoundedSample(nSum, 14);
    }
}

#if HWY_TARGET != HWY_SCALAR

// Both samples of a pair lie side by side, as the multiplication takes them.
template <size_t kPairs>
HWY_INLINE V16 HalfSumsOfBytes(const uint8_t* src, const V8* factors, size_t nPairs) {
    V16 sum = vec::Set(D16(), 64);
    for (size_t k = 0; k < (kPairs ? kPairs : nPairs); ++k)
        sum = vec::Add(sum, MulAddBytePairs(vec::LoadU(D8(), src + 2 * k), factors[k]));
    return vec::ShiftRight<7>(sum);
}

template <size_t kPairs>
HWY_INLINE V32 HalfSums(const uint8_t* src, const V16* factors, size_t nPairs) {
    const D16 d16;
    const vec::Rebind<uint8_t, D16> dBytes;
    V32 sum = vec::Set(D32(), 1 << 13), rest = vec::Zero(D32());
    for (size_t k = 0; k < (kPairs ? kPairs : nPairs); ++k)
        sum = vec::ReorderWidenMulAccumulate(D32(), vec::PromoteTo(d16, vec::LoadU(dBytes, src + 2 * k)), factors[k],
                                             sum, rest);
    return vec::ShiftRight<14>(vec::RearrangeToOddPlusEven(sum, rest));
}

// Quarters that packing four vectors left block by block, in memory order.
HWY_INLINE V8 OrderPackedQuarters(V8 v) {
#if HWY_TARGET == HWY_AVX2
    return V8{_mm256_permutevar8x32_epi32(v.raw, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7))};
#elif ZR_X86_VECTORS && HWY_TARGET < HWY_AVX2
    return V8{_mm512_permutexvar_epi32(_mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15), v.raw)};
#else
    return v;
#endif
}

template <size_t kPairs>
void HalveOfBytes(const RESAMPLE_ROW& row, const uint8_t* src, uint8_t* dst) {
    const size_t n = vec::Lanes(D8()), nPairs = static_cast<size_t>(row.nPairs);
    V8 factors[kMaxSteadyPairs];
    for (size_t k = 0; k < nPairs; ++k) {
        const uint32_t nPair = row.pBlocks[2 * k] | uint32_t{row.pBlocks[2 * k + 1]} << 8;
        factors[k] = vec::BitCast(D8(), vec::Set(DU16(), static_cast<uint16_t>(nPair)));
    }
    src += row.nOffset;
    const auto nEnd = static_cast<size_t>(row.nInnerEnd);
    for (size_t x = static_cast<size_t>(row.nInner); x < nEnd; x += n) {
        x = HWY_MIN(x, nEnd - n);  // the last vector once more over samples that are done
        const V16 lower = HalfSumsOfBytes<kPairs>(src + 2 * x, factors, nPairs);
        const V16 upper = HalfSumsOfBytes<kPairs>(src + 2 * x + n, factors, nPairs);
        vec::StoreU(OrderPackedHalves(PackBlocks(lower, upper)), D8(), dst + x);
    }
}

template <size_t kPairs>
void Halve(const RESAMPLE_ROW& row, const uint8_t* src, uint8_t* dst) {
    const D16 d16;
    const size_t n = vec::Lanes(D8()), nPairs = static_cast<size_t>(row.nPairs);
    const auto* coefficients = reinterpret_cast<const int16_t*>(row.pBlocks);
    V16 factors[kMaxSteadyPairs];
    for (size_t k = 0; k < nPairs; ++k) factors[k] = SetPair(coefficients[2 * k], coefficients[2 * k + 1]);
    src += row.nOffset;
    const auto nEnd = static_cast<size_t>(row.nInnerEnd);
    for (size_t x = static_cast<size_t>(row.nInner); x < nEnd; x += n) {
        x = HWY_MIN(x, nEnd - n);
        const uint8_t* p = src + 2 * x;
        const V16 lower = vec::ReorderDemote2To(d16, HalfSums<kPairs>(p, factors, nPairs),
                                                HalfSums<kPairs>(p + n / 2, factors, nPairs));
        const V16 upper = vec::ReorderDemote2To(d16, HalfSums<kPairs>(p + n, factors, nPairs),
                                                HalfSums<kPairs>(p + n / 2 * 3, factors, nPairs));
        vec::StoreU(OrderPackedQuarters(PackBlocks(lower, upper)), D8(), dst + x);
    }
}

// Four samples to a block: its 16 source bytes hold what three pairs of taps of each take.
template <size_t kTriples>
HWY_INLINE V32 ThirdSums(const uint8_t* src, const V8* picks, const V16* factors, size_t nTriples) {
    alignas(64) static constexpr int32_t arrWindows[16] = {0, 1, 2, 3, 3, 4, 5, 6, 6, 7, 8, 9, 9, 10, 11, 12};
    const D32 d32;
    V32 sum = vec::Set(d32, 1 << 13), rest = vec::Zero(d32);
    for (size_t n = 0; n < (kTriples ? kTriples : nTriples); ++n) {
        const V32 bytes = vec::BitCast(d32, vec::LoadU(D8(), src + 6 * n));
        const V8 windows = vec::BitCast(D8(), vec::TableLookupLanes(bytes, vec::SetTableIndices(d32, arrWindows)));
        for (size_t k = 0; k < 3; ++k)
            sum = vec::ReorderWidenMulAccumulate(d32, vec::BitCast(D16(), vec::TableLookupBytesOr0(windows, picks[k])),
                                                 factors[3 * n + k], sum, rest);
    }
    return vec::ShiftRight<14>(vec::RearrangeToOddPlusEven(sum, rest));
}

template <size_t kTriples>
void TakeThird(const RESAMPLE_ROW& row, const uint8_t* src, uint8_t* dst) {
    const D16 d16;
    const size_t n = vec::Lanes(D8()), nPairs = static_cast<size_t>(row.nPairs), nTriples = nPairs / 3;
    V8 picks[3];
    for (size_t k = 0; k < 3; ++k) {
        HWY_ALIGN uint8_t arrPicks[16];
        for (size_t i = 0; i < 16; ++i)
            arrPicks[i] = static_cast<uint8_t>(i % 2 == 0 ? i / 4 * 3 + 2 * k + i / 2 % 2 : 0x80);
        picks[k] = vec::LoadDup128(D8(), arrPicks);
    }
    const auto* coefficients = reinterpret_cast<const int16_t*>(row.pBlocks);
    V16 factors[kMaxSteadyPairs];
    for (size_t k = 0; k < nPairs; ++k) factors[k] = SetPair(coefficients[2 * k], coefficients[2 * k + 1]);
    src += row.nOffset;
    const auto nEnd = static_cast<size_t>(row.nInnerEnd);
    for (size_t x = static_cast<size_t>(row.nInner); x < nEnd; x += n) {
        x = HWY_MIN(x, nEnd - n);
        const auto Sums = [&](size_t nQuarter) HWY_ATTR {
            return ThirdSums<kTriples>(src + 3 * (x + nQuarter * (n / 4)), picks, factors, nTriples);
        };
        const V16 lower = vec::ReorderDemote2To(d16, Sums(0), Sums(1));
        const V16 upper = vec::ReorderDemote2To(d16, Sums(2), Sums(3));
        vec::StoreU(OrderPackedQuarters(PackBlocks(lower, upper)), D8(), dst + x);
    }
}

void ResampleSteady(const RESAMPLE_ROW& row, const uint8_t* src, uint8_t* dst, int32_t width) {
    EndSamples(row, src, dst, width);
    if (row.nInnerEnd - row.nInner < static_cast<int32_t>(vec::Lanes(D8()))) return InnerSamples(row, src, dst);
    if (row.eLayout == eResampleLayout::Thirds) return (row.nPairs == 3 ? TakeThird<1> : TakeThird<0>)(row, src, dst);
    if (row.eLayout == eResampleLayout::HalvesOfBytes)
        return (row.nPairs == 2 ? HalveOfBytes<2> : HalveOfBytes<0>)(row, src, dst);
    switch (row.nPairs) {
        case 4: return Halve<4>(row, src, dst);
        case 6: return Halve<6>(row, src, dst);
        default: return Halve<0>(row, src, dst);
    }
}

#else

void ResampleSteady(const RESAMPLE_ROW& row, const uint8_t* src, uint8_t* dst, int32_t width) {
    EndSamples(row, src, dst, width);
    InnerSamples(row, src, dst);
}

#endif

// ---- Horizontal, to any width

#if HWY_TARGET != HWY_SCALAR

// Windows are 16 bytes; a vector of 32 takes two of them.
#undef ZR_TWO_WINDOWS
#define ZR_TWO_WINDOWS (ZR_X86_VECTORS && HWY_MAX_BYTES >= 32)
inline constexpr size_t kVectorBytes = ZR_TWO_WINDOWS ? 32 : 16;
using DW8 = vec::CappedTag<uint8_t, kVectorBytes>;
using DW16 = vec::Repartition<int16_t, DW8>;
using DW32 = vec::Repartition<int32_t, DW8>;
using VW8 = vec::Vec<DW8>;
using VW16 = vec::Vec<DW16>;

HWY_INLINE VW8 LoadWindows(const uint8_t* src, const int32_t* windows, size_t at) {
#if ZR_TWO_WINDOWS
    const vec::Half<DW8> half;
    return vec::Combine(DW8(), vec::LoadU(half, src + windows[1] + at), vec::LoadU(half, src + windows[0] + at));
#else
    return vec::LoadU(DW8(), src + windows[0] + at);
#endif
}

HWY_INLINE VW8 PackWindows(VW16 a, VW16 b) {
#if ZR_TWO_WINDOWS
    return VW8{_mm256_packus_epi16(a.raw, b.raw)};
#else
    return PackBlocks(a, b);
#endif
}

HWY_INLINE VW16 MulAddWindows(VW8 bytes, VW8 factors) {
#if ZR_TWO_WINDOWS
    return VW16{_mm256_maddubs_epi16(bytes.raw, factors.raw)};
#else
    return MulAddBytePairs(bytes, factors);
#endif
}

// One vector of Octets: 8 samples of a window, or of two.
template <size_t kPairs>
HWY_INLINE VW16 OctetSums(const uint8_t* src, const int32_t* windows, const uint8_t* block, size_t part,
                          size_t nPairs) {
    const DW8 d8;
    const VW8 picks = vec::Load(d8, block + part);
    const uint8_t* factors = block + 64 + part;
    VW16 sum = vec::Set(DW16(), 64);
    for (size_t k = 0; k < (kPairs ? kPairs : nPairs); ++k) {
        const VW8 taps = vec::TableLookupBytesOr0(LoadWindows(src, windows, 2 * k), picks);
        sum = vec::Add(sum, MulAddWindows(taps, vec::Load(d8, factors + 32 * k)));
    }
    return vec::ShiftRight<7>(sum);
}

template <size_t kPairs>
void ResampleOctets(const RESAMPLE_ROW& row, const uint8_t* src, uint8_t* dst, int32_t width) {
    const DW8 d8;
    const auto nPairs = static_cast<size_t>(row.nPairs);
    const RESAMPLE_GROUP* group = row.pGroups;
    for (int32_t x = 0; x < width; x += 16, ++group, dst += 16) {
        const uint8_t* block = row.pBlocks + group->nBlock * row.cbBlock;
#if ZR_TWO_WINDOWS
        const VW16 sums = OctetSums<kPairs>(src, group->arrWindow, block, 0, nPairs);
        if (x + 16 < width) {  // two groups fill a vector
            ++group, x += 16;
            const uint8_t* next = row.pBlocks + group->nBlock * row.cbBlock;
            const VW16 sums1 = OctetSums<kPairs>(src, group->arrWindow, next, 0, nPairs);
            const auto packed = vec::BitCast(vec::Repartition<uint64_t, DW8>(), PackWindows(sums, sums1));
            vec::StoreU(VW8{_mm256_permute4x64_epi64(packed.raw, _MM_SHUFFLE(3, 1, 2, 0))}, d8, dst);
            dst += 16;
            continue;
        }
        const VW8 packed = PackWindows(sums, sums);
        const VW8 ordered{_mm256_permute4x64_epi64(packed.raw, _MM_SHUFFLE(3, 1, 2, 0))};
        vec::StoreU(vec::LowerHalf(ordered), vec::Half<DW8>(), dst);
#else
        const VW16 sums0 = OctetSums<kPairs>(src, group->arrWindow, block, 0, nPairs);
        const VW16 sums1 = OctetSums<kPairs>(src, group->arrWindow + 1, block, 16, nPairs);
        vec::StoreU(PackWindows(sums0, sums1), d8, dst);
#endif
    }
}

// 16 samples as 16-bit sums, the four quads in the order in which packing leaves them.
template <size_t kPairs>
HWY_INLINE void QuadSums(const uint8_t* src, const int32_t* windows, const uint8_t* block, size_t part, size_t nPairs,
                         vec::Vec<DW32>& sum) {
    const DW8 d8;
    const DW16 d16;
    const DW32 d32;
    const VW8 picks = vec::Load(d8, block + part);
    const uint8_t* factors = block + 64 + part;
    sum = vec::Set(d32, 1 << 13);
    auto rest = vec::Zero(d32);
    for (size_t k = 0; k < (kPairs ? kPairs : nPairs); ++k) {
        const VW8 taps = vec::TableLookupBytesOr0(LoadWindows(src, windows, 2 * k), picks);
        sum = vec::ReorderWidenMulAccumulate(d32, vec::BitCast(d16, taps),
                                             vec::BitCast(d16, vec::Load(d8, factors + 64 * k)), sum, rest);
    }
    sum = vec::ShiftRight<14>(vec::RearrangeToOddPlusEven(sum, rest));
}

template <size_t kPairs>
HWY_INLINE VW16 QuadGroup(const RESAMPLE_ROW& row, const RESAMPLE_GROUP* group, const uint8_t* src, size_t first) {
    const auto nPairs = static_cast<size_t>(row.nPairs);
    const uint8_t* block = row.pBlocks + group->nBlock * row.cbBlock;
    vec::Vec<DW32> sum0, sum1;
    constexpr size_t kWindows = kVectorBytes / 16;
    QuadSums<kPairs>(src, group->arrWindow + first, block, first * 16, nPairs, sum0);
    QuadSums<kPairs>(src, group->arrWindow + first + kWindows, block, (first + kWindows) * 16, nPairs, sum1);
    return vec::ReorderDemote2To(DW16(), sum0, sum1);
}

template <size_t kPairs>
void ResampleQuads(const RESAMPLE_ROW& row, const uint8_t* src, uint8_t* dst, int32_t width) {
    const DW8 d8;
    const RESAMPLE_GROUP* group = row.pGroups;
#if ZR_TWO_WINDOWS
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    for (int32_t x = 0; x < width; x += 32, group += 2, dst += 32) {
        const bool bPair = x + 16 < width;
        const VW16 sums0 = QuadGroup<kPairs>(row, group, src, 0);
        const VW16 sums1 = bPair ? QuadGroup<kPairs>(row, group + 1, src, 0) : sums0;
        vec::StoreU(VW8{_mm256_permutevar8x32_epi32(PackWindows(sums0, sums1).raw, order)}, d8, dst);
    }
#else
    for (int32_t x = 0; x < width; x += 16, ++group, dst += 16) {
        const VW16 sums0 = QuadGroup<kPairs>(row, group, src, 0);
        const VW16 sums1 = QuadGroup<kPairs>(row, group, src, 2);
        vec::StoreU(PackWindows(sums0, sums1), d8, dst);
    }
#endif
}

void ResampleRowImpl(const RESAMPLE_ROW& row, const uint8_t* src, uint8_t* dst, int32_t width) {
    if (row.eLayout == eResampleLayout::Long) return ResampleLong(row, src, dst, width);
    if (SteadyStep(row.eLayout) != 0) return ResampleSteady(row, src, dst, width);
    if (row.eLayout == eResampleLayout::Octets) {
        switch (row.nPairs) {
            case 1: return ResampleOctets<1>(row, src, dst, width);
            case 2: return ResampleOctets<2>(row, src, dst, width);
            default: return ResampleOctets<0>(row, src, dst, width);
        }
    }
    switch (row.nPairs) {
        case 1: return ResampleQuads<1>(row, src, dst, width);
        case 2: return ResampleQuads<2>(row, src, dst, width);
        case 3: return ResampleQuads<3>(row, src, dst, width);
        case 4: return ResampleQuads<4>(row, src, dst, width);
        case 6: return ResampleQuads<6>(row, src, dst, width);
        default: return ResampleQuads<0>(row, src, dst, width);
    }
}

#else

// The same layouts, one sample after the other.
void ResampleRowImpl(const RESAMPLE_ROW& row, const uint8_t* src, uint8_t* dst, int32_t width) {
    if (row.eLayout == eResampleLayout::Long) return ResampleLong(row, src, dst, width);
    if (SteadyStep(row.eLayout) != 0) return ResampleSteady(row, src, dst, width);
    const bool bOctets = row.eLayout == eResampleLayout::Octets;
    const int32_t nInWindow = bOctets ? 8 : 4, nPickStep = 16 / nInWindow, nShift = bOctets ? 7 : 14;
    for (int32_t x = 0; x < width; ++x) {
        const RESAMPLE_GROUP& group = row.pGroups[x / 16];
        const uint8_t* block = row.pBlocks + group.nBlock * row.cbBlock;
        const int32_t nIn = x % 16;
        const uint8_t* p = src + group.arrWindow[nIn / nInWindow] + block[nIn * nPickStep];
        int32_t nSum = 0;
        for (int32_t k = 0; k < 2 * row.nPairs; ++k) {
            const int32_t nAt = k / 2 * 32 + nIn * 2 + k % 2;
            nSum += p[k] * (bOctets ? static_cast<int32_t>(static_cast<int8_t>(block[64 + nAt]))
                                    : static_cast<int32_t>(reinterpret_cast<const int16_t*>(block + 64)[nAt]));
        }
        dst[x] = RoundedSample(nSum, nShift);
    }
}

#endif

}  // namespace
}  // namespace zr::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zr {
HWY_EXPORT(WeighRowsImpl);
HWY_EXPORT(WeighSplitRowsImpl);
HWY_EXPORT(ResampleRowImpl);

void WeighRows(const uint8_t* const* _ppRows, const ROW_WEIGHTS& _weights, const NEXT_ROWS& _next, uint8_t* _pDst,
               size_t _cbRow) {
    HWY_DYNAMIC_DISPATCH(WeighRowsImpl)(_ppRows, _weights, _next, _pDst, _cbRow);
}
void WeighSplitRows(const uint8_t* const* _ppRows, const ROW_WEIGHTS& _weights, bool _bLumaOdd, const NEXT_ROWS& _next,
                    const SPLIT_ROWS& _split, size_t _nPairs) {
    HWY_DYNAMIC_DISPATCH(WeighSplitRowsImpl)(_ppRows, _weights, _bLumaOdd, _next, _split, _nPairs);
}
void ResampleRow(const RESAMPLE_ROW& _row, const uint8_t* _pSrc, uint8_t* _pDst, int32_t _nWidth) {
    HWY_DYNAMIC_DISPATCH(ResampleRowImpl)(_row, _pSrc, _pDst, _nWidth);
}
}  // namespace zr
#endif
