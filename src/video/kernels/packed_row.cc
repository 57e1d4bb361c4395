#include "video/kernels/packed_row.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "video/kernels/packed_row.cc"
#include <hwy/foreach_target.h>  // what follows is compiled once per CPU target
#include <hwy/highway.h>

#include "video/kernels/vector_ops-inl.h"
HWY_BEFORE_NAMESPACE();
namespace zr::HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR
// For formats with 3-byte pixels and 12-byte groups: one block at a time.
using DBlock = vec::FixedTag<uint8_t, 16>;
using VBlock = vec::Vec<DBlock>;

// A byte order for one group of four, repeated over a block.
HWY_INLINE V8 LoadOrder(const ByteOrder4& order) {
    HWY_ALIGN uint8_t arrOrder[16];
    for (uint8_t i = 0; i < 16; ++i) arrOrder[i] = static_cast<uint8_t>(i / 4 * 4 + order[i % 4]);
    return vec::LoadDup128(D8(), arrOrder);
}
#endif

void ReorderGroupsRowImpl(const uint8_t* src, uint8_t* dst, size_t nGroups, const ByteOrder4& order) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const V8 indices = LoadOrder(order);
    const size_t nStep = vec::Lanes(D32());
    for (; nGroups - x >= nStep; x += nStep)
        vec::StoreU(vec::TableLookupBytes(vec::LoadU(D8(), src + 4 * x), indices), D8(), dst + 4 * x);
#endif
    for (; x < nGroups; ++x) {
        uint8_t arrGroup[4];
        std::memcpy(arrGroup, src + 4 * x, 4);
        for (size_t i = 0; i < 4; ++i) dst[4 * x + i] = arrGroup[order[i]];
    }
}

void BgrToBgraRowImpl(const uint8_t* src, uint8_t* dst, size_t nPixels, uint8_t nAlpha) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    alignas(16) static constexpr uint8_t arrSpread[16] = {0, 1, 2, 0x80, 3, 4, 5, 0x80, 6, 7, 8, 0x80, 9, 10, 11, 0x80};
    const DBlock d;
    const VBlock spread = vec::Load(d, arrSpread);
    const VBlock alpha = vec::BitCast(d, vec::Set(vec::Repartition<uint32_t, DBlock>(), uint32_t{nAlpha} << 24));
    for (; nPixels - x >= 6; x += 4)  // a block is 5 pixels and a byte: the last load must not leave the row
        vec::StoreU(vec::Or(vec::TableLookupBytesOr0(vec::LoadU(d, src + 3 * x), spread), alpha), d, dst + 4 * x);
#endif
    for (; x < nPixels; ++x) {
        std::memcpy(dst + 4 * x, src + 3 * x, 3);
        dst[4 * x + 3] = nAlpha;
    }
}

void BgraToBgrRowImpl(const uint8_t* src, uint8_t* dst, size_t nPixels) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    alignas(16) static constexpr uint8_t arrClose[16] = {0,  1,  2,  4,  5,    6,    8,    9,
                                                         10, 12, 13, 14, 0x80, 0x80, 0x80, 0x80};
    const DBlock d;
    const VBlock close = vec::Load(d, arrClose);
    for (; nPixels - x >= 6; x += 4)  // the four bytes too many are written again by what follows
        vec::StoreU(vec::TableLookupBytesOr0(vec::LoadU(d, src + 4 * x), close), d, dst + 3 * x);
#endif
    for (; x < nPixels; ++x) std::memcpy(dst + 3 * x, src + 4 * x, 3);
}

void BgraToAlphaRowImpl(const uint8_t* src, uint8_t* dst, size_t nPixels) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const D32 d32;
    const vec::Rebind<uint8_t, D32> dQuarter;
    const size_t nStep = vec::Lanes(d32);
    for (; nPixels - x >= nStep; x += nStep) {
        const auto pixels = vec::BitCast(vec::RebindToUnsigned<D32>(), vec::LoadU(D8(), src + 4 * x));
        vec::StoreU(vec::DemoteTo(dQuarter, vec::BitCast(d32, vec::ShiftRight<24>(pixels))), dQuarter, dst + x);
    }
#endif
    for (; x < nPixels; ++x) dst[x] = src[4 * x + 3];
}

void FillGroupsRowImpl(uint8_t* dst, size_t nGroups, const std::array<uint8_t, 4>& group) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    int32_t nGroup;
    std::memcpy(&nGroup, group.data(), 4);
    const V8 fill = vec::BitCast(D8(), vec::Set(D32(), nGroup));
    const size_t nStep = vec::Lanes(D32());
    for (; nGroups - x >= nStep; x += nStep) vec::StoreU(fill, D8(), dst + 4 * x);
#endif
    for (; x < nGroups; ++x) std::memcpy(dst + 4 * x, group.data(), 4);
}

// Groups of four bytes in the opposite order, the bytes of each reordered.
HWY_INLINE void MirrorGroups(const uint8_t* src, uint8_t* dst, size_t nGroups, const ByteOrder4& order) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const V8 indices = LoadOrder(order);
    const size_t nStep = vec::Lanes(D32());
    for (; nGroups - x >= nStep; x += nStep) {
        const V8 groups = vec::TableLookupBytes(vec::LoadU(D8(), src + 4 * x), indices);
        vec::StoreU(vec::BitCast(D8(), vec::Reverse(D32(), vec::BitCast(D32(), groups))), D8(),
                    dst + 4 * (nGroups - nStep - x));
    }
#endif
    for (; x < nGroups; ++x)
        for (size_t i = 0; i < 4; ++i) dst[4 * (nGroups - 1 - x) + i] = src[4 * x + order[i]];
}

void MirrorRow32Impl(const uint8_t* src, uint8_t* dst, size_t nPixels) {
    MirrorGroups(src, dst, nPixels, {0, 1, 2, 3});
}
void MirrorRowUyvyImpl(const uint8_t* src, uint8_t* dst, size_t nPairs) {
    MirrorGroups(src, dst, nPairs, {0, 3, 2, 1});
}
void MirrorRowYuy2Impl(const uint8_t* src, uint8_t* dst, size_t nPairs) {
    MirrorGroups(src, dst, nPairs, {2, 1, 0, 3});
}

void MirrorRow24Impl(const uint8_t* src, uint8_t* dst, size_t nPixels) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    // Five pixels of a block; its last byte is written again by what follows.
    alignas(16) static constexpr uint8_t arrMirror[16] = {13, 14, 15, 10, 11, 12, 7, 8, 9, 4, 5, 6, 1, 2, 3, 0x80};
    const DBlock d;
    const VBlock mirror = vec::Load(d, arrMirror);
    for (; nPixels - x >= 11; x += 5)
        vec::StoreU(vec::TableLookupBytesOr0(vec::LoadU(d, src + 3 * (nPixels - x) - 16), mirror), d, dst + 3 * x);
#endif
    for (; x < nPixels; ++x) std::memcpy(dst + 3 * x, src + 3 * (nPixels - 1 - x), 3);
}

// ---- v210

// The samples of a row as bytes, in the order of UYVY: kLumaFirst exchanges the bytes of each pair on the way.
template <bool kLumaFirst>
HWY_INLINE uint32_t Sample(const uint8_t* pBytes, size_t i) {
    return pBytes[kLumaFirst ? i ^ 1 : i];
}

template <bool kLumaFirst>
HWY_INLINE void PackGroup(const uint8_t* src, uint8_t* dst) {
    for (size_t nWord = 0; nWord < 4; ++nWord) {
        const uint32_t n = Sample<kLumaFirst>(src, 3 * nWord) << 2 | Sample<kLumaFirst>(src, 3 * nWord + 1) << 12 |
                           Sample<kLumaFirst>(src, 3 * nWord + 2) << 22;
        for (size_t i = 0; i < 4; ++i) dst[4 * nWord + i] = static_cast<uint8_t>(n >> (8 * i));
    }
}

template <bool kLumaFirst>
HWY_INLINE void UnpackGroup(const uint8_t* src, uint8_t* dst) {
    for (size_t i = 0; i < 12; ++i) {
        const uint8_t* p = src + i / 3 * 4;
        const uint32_t n = p[0] | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
        dst[kLumaFirst ? i ^ 1 : i] = static_cast<uint8_t>(n >> (10 * (i % 3) + 2));
    }
}

#if HWY_TARGET != HWY_SCALAR
// As many groups at a time as there are blocks; 12-byte groups are loaded and stored block by block.
#if ZR_X86_VECTORS && HWY_TARGET <= HWY_AVX2
constexpr size_t kGroups = 2;
#else
constexpr size_t kGroups = 1;
#endif
using DGroups = vec::FixedTag<uint8_t, 16 * kGroups>;
using DWords = vec::Repartition<uint32_t, DGroups>;
using VGroups = vec::Vec<DGroups>;
using VWords = vec::Vec<DWords>;

HWY_INLINE VGroups LoadGroups12(const uint8_t* p) {
#if ZR_X86_VECTORS && HWY_TARGET <= HWY_AVX2
    return vec::Combine(DGroups(), vec::LoadU(DBlock(), p + 12), vec::LoadU(DBlock(), p));
#else
    return vec::LoadU(DGroups(), p);
#endif
}

HWY_INLINE void StoreGroups12(VGroups v, uint8_t* p) {
#if ZR_X86_VECTORS && HWY_TARGET <= HWY_AVX2
    vec::StoreU(vec::LowerHalf(DBlock(), v), DBlock(), p);
    vec::StoreU(vec::UpperHalf(DBlock(), v), DBlock(), p + 12);
#else
    vec::StoreU(v, DGroups(), p);
#endif
}

template <bool kLumaFirst>
HWY_INLINE size_t PackVectors(const uint8_t* src, uint8_t* dst, size_t nGroups) {
    alignas(16) static constexpr uint8_t arrUyvy[16] = {0, 1, 2, 0x80, 3, 4, 5, 0x80, 6, 7, 8, 0x80, 9, 10, 11, 0x80};
    alignas(16) static constexpr uint8_t arrYuy2[16] = {1, 0, 3, 0x80, 2, 5, 4, 0x80, 7, 6, 9, 0x80, 8, 11, 10, 0x80};
    const DWords d;
    const VGroups spread = vec::LoadDup128(DGroups(), kLumaFirst ? arrYuy2 : arrUyvy);
    size_t x = 0;
    for (; nGroups - x > kGroups; x += kGroups) {  // a load takes four bytes too many
        const VWords n = vec::BitCast(d, vec::TableLookupBytesOr0(LoadGroups12(src + 12 * x), spread));
        const VWords n0 = vec::ShiftLeft<2>(vec::And(n, vec::Set(d, 0x0000FFu)));
        const VWords n1 = vec::ShiftLeft<4>(vec::And(n, vec::Set(d, 0x00FF00u)));
        const VWords n2 = vec::ShiftLeft<6>(vec::And(n, vec::Set(d, 0xFF0000u)));
        vec::StoreU(vec::BitCast(DGroups(), vec::Or(vec::Or(n0, n1), n2)), DGroups(), dst + 16 * x);
    }
    return x;
}

template <bool kLumaFirst>
HWY_INLINE size_t UnpackVectors(const uint8_t* src, uint8_t* dst, size_t nGroups) {
    alignas(16) static constexpr uint8_t arrUyvy[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 0x80, 0x80, 0x80, 0x80};
    alignas(16) static constexpr uint8_t arrYuy2[16] = {1, 0, 4, 2, 6, 5, 9, 8, 12, 10, 14, 13, 0x80, 0x80, 0x80, 0x80};
    const DWords d;
    const VGroups close = vec::LoadDup128(DGroups(), kLumaFirst ? arrYuy2 : arrUyvy);
    size_t x = 0;
    for (; nGroups - x > kGroups;
         x += kGroups) {  // a store writes four bytes too many, which what follows writes again
        const VWords n = vec::BitCast(d, vec::LoadU(DGroups(), src + 16 * x));
        const VWords n0 = vec::And(vec::ShiftRight<2>(n), vec::Set(d, 0x0000FFu));
        const VWords n1 = vec::And(vec::ShiftRight<4>(n), vec::Set(d, 0x00FF00u));
        const VWords n2 = vec::And(vec::ShiftRight<6>(n), vec::Set(d, 0xFF0000u));
        const VGroups bytes = vec::BitCast(DGroups(), vec::Or(vec::Or(n0, n1), n2));
        StoreGroups12(vec::TableLookupBytesOr0(bytes, close), dst + 12 * x);
    }
    return x;
}
#endif  // HWY_TARGET != HWY_SCALAR

template <bool kLumaFirst>
HWY_INLINE void PackRow(const uint8_t* src, uint8_t* dst, size_t nPixels) {
    const size_t nGroups = nPixels / 6, nRest = nPixels % 6 / 2 * 2;
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    x = PackVectors<kLumaFirst>(src, dst, nGroups);
#endif
    for (; x < nGroups; ++x) PackGroup<kLumaFirst>(src + 12 * x, dst + 16 * x);
    if (nPixels % 6 == 0) return;
    uint8_t arrLast[12];
    for (size_t i = 0; i < 12; ++i) arrLast[i] = (i % 2 == 0) == kLumaFirst ? 16 : 128;
    std::memcpy(arrLast, src + 12 * nGroups, 2 * nRest);
    PackGroup<kLumaFirst>(arrLast, dst + 16 * nGroups);
}

template <bool kLumaFirst>
HWY_INLINE void UnpackRow(const uint8_t* src, uint8_t* dst, size_t nPixels) {
    const size_t nGroups = nPixels / 6, nRest = nPixels % 6 / 2 * 2;
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    x = UnpackVectors<kLumaFirst>(src, dst, nGroups);
#endif
    for (; x < nGroups; ++x) UnpackGroup<kLumaFirst>(src + 16 * x, dst + 12 * x);
    if (nRest == 0) return;
    uint8_t arrLast[12];
    UnpackGroup<kLumaFirst>(src + 16 * nGroups, arrLast);
    std::memcpy(dst + 12 * nGroups, arrLast, 2 * nRest);
}

void UyvyToV210RowImpl(const uint8_t* src, uint8_t* dst, size_t nPixels) { PackRow<false>(src, dst, nPixels); }
void Yuy2ToV210RowImpl(const uint8_t* src, uint8_t* dst, size_t nPixels) { PackRow<true>(src, dst, nPixels); }
void V210ToUyvyRowImpl(const uint8_t* src, uint8_t* dst, size_t nPixels) { UnpackRow<false>(src, dst, nPixels); }
void V210ToYuy2RowImpl(const uint8_t* src, uint8_t* dst, size_t nPixels) { UnpackRow<true>(src, dst, nPixels); }

}  // namespace
}  // namespace zr::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zr {
HWY_EXPORT(ReorderGroupsRowImpl);
HWY_EXPORT(BgrToBgraRowImpl);
HWY_EXPORT(BgraToBgrRowImpl);
HWY_EXPORT(BgraToAlphaRowImpl);
HWY_EXPORT(FillGroupsRowImpl);
HWY_EXPORT(MirrorRow32Impl);
HWY_EXPORT(MirrorRow24Impl);
HWY_EXPORT(MirrorRowUyvyImpl);
HWY_EXPORT(MirrorRowYuy2Impl);
HWY_EXPORT(UyvyToV210RowImpl);
HWY_EXPORT(Yuy2ToV210RowImpl);
HWY_EXPORT(V210ToUyvyRowImpl);
HWY_EXPORT(V210ToYuy2RowImpl);

void ReorderGroupsRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nGroups, const ByteOrder4& _order) {
    HWY_DYNAMIC_DISPATCH(ReorderGroupsRowImpl)(_pSrc, _pDst, _nGroups, _order);
}
void BgrToBgraRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels, uint8_t _nAlpha) {
    HWY_DYNAMIC_DISPATCH(BgrToBgraRowImpl)(_pSrc, _pDst, _nPixels, _nAlpha);
}
void BgraToBgrRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels) {
    HWY_DYNAMIC_DISPATCH(BgraToBgrRowImpl)(_pSrc, _pDst, _nPixels);
}
void BgraToAlphaRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels) {
    HWY_DYNAMIC_DISPATCH(BgraToAlphaRowImpl)(_pSrc, _pDst, _nPixels);
}
void FillGroupsRow(uint8_t* _pDst, size_t _nGroups, const std::array<uint8_t, 4>& _group) {
    HWY_DYNAMIC_DISPATCH(FillGroupsRowImpl)(_pDst, _nGroups, _group);
}
void MirrorRow32(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels) {
    HWY_DYNAMIC_DISPATCH(MirrorRow32Impl)(_pSrc, _pDst, _nPixels);
}
void MirrorRow24(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels) {
    HWY_DYNAMIC_DISPATCH(MirrorRow24Impl)(_pSrc, _pDst, _nPixels);
}
void MirrorRowUyvy(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPairs) {
    HWY_DYNAMIC_DISPATCH(MirrorRowUyvyImpl)(_pSrc, _pDst, _nPairs);
}
void MirrorRowYuy2(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPairs) {
    HWY_DYNAMIC_DISPATCH(MirrorRowYuy2Impl)(_pSrc, _pDst, _nPairs);
}
void UyvyToV210Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels) {
    HWY_DYNAMIC_DISPATCH(UyvyToV210RowImpl)(_pSrc, _pDst, _nPixels);
}
void Yuy2ToV210Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels) {
    HWY_DYNAMIC_DISPATCH(Yuy2ToV210RowImpl)(_pSrc, _pDst, _nPixels);
}
void V210ToUyvyRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels) {
    HWY_DYNAMIC_DISPATCH(V210ToUyvyRowImpl)(_pSrc, _pDst, _nPixels);
}
void V210ToYuy2Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels) {
    HWY_DYNAMIC_DISPATCH(V210ToYuy2RowImpl)(_pSrc, _pDst, _nPixels);
}
}  // namespace zr
#endif
