#include "audio/kernels/sample_row.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "audio/kernels/sample_row.cc"
#include <hwy/foreach_target.h>  // what follows is compiled once per CPU target
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace zr::HWY_NAMESPACE {
namespace {

namespace vec = hwy::HWY_NAMESPACE;

// The formats, sample by sample: for the rest of a row, and for all of it where there are no vectors.

template <class T>
HWY_INLINE T LoadOne(const uint8_t* p) {
    T value;
    std::memcpy(&value, p, sizeof(T));
    return value;
}

template <int kBits>
HWY_INLINE int32_t ReadOne(const uint8_t* p) {
    if constexpr (kBits == 8)
        return static_cast<int32_t>(uint32_t{*p ^ 0x80u} << 24);
    else if constexpr (kBits == 16)
        return static_cast<int32_t>(uint32_t{LoadOne<uint16_t>(p)} << 16);
    else if constexpr (kBits == 24)
        return static_cast<int32_t>(uint32_t{p[0]} << 8 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 24);
    else
        return LoadOne<int32_t>(p);
}

// n: the upper kBits are the sample.
template <int kBits>
HWY_INLINE void WriteOne(int32_t n, uint8_t* p) {
    constexpr size_t cb = kBits == 8 ? 1 : kBits == 16 ? 2 : kBits == 32 ? 4 : 3;
    std::memcpy(p, reinterpret_cast<const uint8_t*>(&n) + 4 - cb, cb);
    if constexpr (kBits == 8) *p ^= 0x80u;
}

template <int kBits>
HWY_INLINE int32_t QuantiseOne(float f) {
    constexpr double dblFull = static_cast<double>(int64_t{1} << (kBits - 1));
    if (std::isnan(f)) return 0;
    const auto n = static_cast<int64_t>(std::nearbyint(std::clamp(double{f} * dblFull, -dblFull, dblFull - 1)));
    return static_cast<int32_t>(n * (int64_t{1} << (32 - kBits)));
}

template <int kBits>
constexpr int32_t kHalf = kBits == 32 ? 0 : static_cast<int32_t>(uint32_t{1} << ((31 - kBits) & 31));

template <int kBits>
HWY_INLINE int32_t RoundOne(int32_t n) {
    constexpr auto kMask = static_cast<int32_t>(~uint32_t{0} << (32 - kBits));
    return (std::min(n, std::numeric_limits<int32_t>::max() - kHalf<kBits>) + kHalf<kBits>)&kMask;
}

#if HWY_TARGET != HWY_SCALAR

// Three-byte samples go in blocks of four, the others in whole vectors.
template <int kBits>
constexpr bool kThreeBytes = kBits == 20 || kBits == 24;
template <int kBits>
using DF = std::conditional_t<kThreeBytes<kBits>, vec::CappedTag<float, 4>, vec::ScalableTag<float>>;
template <class D>
using DI = vec::RebindToSigned<D>;

// How many samples must be left for one vector: blocks of three-byte samples are 16 bytes of which 12 count.
template <int kBits>
HWY_INLINE size_t Needed() {
    return kThreeBytes<kBits> ? 6 : vec::Lanes(DF<kBits>());
}

template <int kBits, class D>
HWY_INLINE vec::Vec<DI<D>> Read(D, const uint8_t* p) {
    const DI<D> di;
    if constexpr (kBits == 8) {
        const vec::Rebind<uint8_t, D> d8;
        return vec::ShiftLeft<24>(vec::Xor(vec::PromoteTo(di, vec::LoadU(d8, p)), vec::Set(di, 0x80)));
    } else if constexpr (kBits == 16) {
        const vec::Rebind<int16_t, D> d16;
        return vec::ShiftLeft<16>(vec::PromoteTo(di, vec::LoadU(d16, reinterpret_cast<const int16_t*>(p))));
    } else if constexpr (kBits == 24) {
        const vec::Repartition<uint8_t, D> d8;
        HWY_ALIGN static constexpr uint8_t arrLanes[16] = {0x80, 0, 1, 2, 0x80, 3, 4,  5,
                                                           0x80, 6, 7, 8, 0x80, 9, 10, 11};
        return vec::BitCast(di, vec::TableLookupBytesOr0(vec::LoadU(d8, p), vec::Load(d8, arrLanes)));
    } else {
        return vec::LoadU(di, reinterpret_cast<const int32_t*>(p));
    }
}

template <int kBits, class D>
HWY_INLINE void Write(D, vec::Vec<DI<D>> n, uint8_t* p) {
    const DI<D> di;
    if constexpr (kBits == 8) {
        const vec::Rebind<uint8_t, D> d8;
        vec::StoreU(vec::DemoteTo(d8, vec::Add(vec::ShiftRight<24>(n), vec::Set(di, 0x80))), d8, p);
    } else if constexpr (kBits == 16) {
        const vec::Rebind<int16_t, D> d16;
        vec::StoreU(vec::DemoteTo(d16, vec::ShiftRight<16>(n)), d16, reinterpret_cast<int16_t*>(p));
    } else if constexpr (kThreeBytes<kBits>) {
        const vec::Repartition<uint8_t, D> d8;
        HWY_ALIGN static constexpr uint8_t arrLanes[16] = {1,  2,  3,  5,  6,    7,    9,    10,
                                                           11, 13, 14, 15, 0x80, 0x80, 0x80, 0x80};
        vec::StoreU(vec::TableLookupBytesOr0(vec::BitCast(d8, n), vec::Load(d8, arrLanes)), d8, p);
    } else {
        vec::StoreU(n, di, reinterpret_cast<int32_t*>(p));
    }
}

template <int kBits, class D>
HWY_INLINE vec::Vec<DI<D>> Quantise(D d, vec::Vec<D> f) {
    const DI<D> di;
    constexpr float fFull = static_cast<float>(int64_t{1} << (kBits - 1));
    // The largest float that is still in range.
    constexpr float fMost = kBits == 32 ? 2147483520.0f : fFull - 1;
    const auto scaled = vec::Mul(vec::IfThenElseZero(vec::Eq(f, f), f), vec::Set(d, fFull));
    const auto n = vec::NearestInt(vec::Min(vec::Max(scaled, vec::Set(d, -fFull)), vec::Set(d, fMost)));
    if constexpr (kBits == 32) {
        const auto over = vec::RebindMask(di, vec::Ge(scaled, vec::Set(d, fFull)));
        return vec::IfThenElse(over, vec::Set(di, std::numeric_limits<int32_t>::max()), n);
    } else {
        return vec::ShiftLeft<32 - kBits>(n);
    }
}

template <int kBits, class D>
HWY_INLINE vec::Vec<D> Round(D di, vec::Vec<D> n) {
    const auto half = vec::Set(di, kHalf<kBits>);
    const auto most = vec::Set(di, std::numeric_limits<int32_t>::max() - kHalf<kBits>);
    const auto mask = vec::Set(di, static_cast<int32_t>(~uint32_t{0} << (32 - kBits)));
    return vec::And(vec::Add(vec::Min(n, most), half), mask);
}

#endif  // HWY_TARGET != HWY_SCALAR

constexpr size_t Bytes(int nBits) { return nBits == 8 ? 1 : nBits == 16 ? 2 : nBits == 32 ? 4 : 3; }

template <int kBits>
HWY_INLINE void ToFloat(const uint8_t* src, uint8_t* dst, size_t n) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const DF<kBits> d;
    const auto scale = vec::Set(d, 0x1p-31f);
    for (; n - x >= Needed<kBits>(); x += vec::Lanes(d)) {
        const auto f = vec::Mul(vec::ConvertTo(d, Read<kBits>(d, src + x * Bytes(kBits))), scale);
        vec::StoreU(f, d, reinterpret_cast<float*>(dst + x * 4));
    }
#endif
    for (; x < n; ++x) {
        const float f = static_cast<float>(ReadOne<kBits>(src + x * Bytes(kBits))) * 0x1p-31f;
        std::memcpy(dst + x * 4, &f, 4);
    }
}

template <int kBits>
HWY_INLINE void FromFloat(const uint8_t* src, uint8_t* dst, size_t n) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const DF<kBits> d;
    for (; n - x >= Needed<kBits>(); x += vec::Lanes(d)) {
        const auto f = vec::LoadU(d, reinterpret_cast<const float*>(src + x * 4));
        Write<kBits>(d, Quantise<kBits>(d, f), dst + x * Bytes(kBits));
    }
#endif
    for (; x < n; ++x) WriteOne<kBits>(QuantiseOne<kBits>(LoadOne<float>(src + x * 4)), dst + x * Bytes(kBits));
}

template <int kFrom, int kTo>
HWY_INLINE void IntToInt(const uint8_t* src, uint8_t* dst, size_t n) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    constexpr int kShort = kFrom == 32 ? kTo : kFrom;
    const DF<kShort> d;
    const DI<DF<kShort>> di;
    for (; n - x >= Needed<kShort>(); x += vec::Lanes(d))
        Write<kTo>(d, Round<kTo>(di, Read<kFrom>(d, src + x * Bytes(kFrom))), dst + x * Bytes(kTo));
#endif
    for (; x < n; ++x) WriteOne<kTo>(RoundOne<kTo>(ReadOne<kFrom>(src + x * Bytes(kFrom))), dst + x * Bytes(kTo));
}

void Pcm8ToFloatRowImpl(const uint8_t* src, uint8_t* dst, size_t n) { ToFloat<8>(src, dst, n); }
void Pcm16ToFloatRowImpl(const uint8_t* src, uint8_t* dst, size_t n) { ToFloat<16>(src, dst, n); }
void Pcm24ToFloatRowImpl(const uint8_t* src, uint8_t* dst, size_t n) { ToFloat<24>(src, dst, n); }
void Pcm32ToFloatRowImpl(const uint8_t* src, uint8_t* dst, size_t n) { ToFloat<32>(src, dst, n); }
void FloatToPcm8RowImpl(const uint8_t* src, uint8_t* dst, size_t n) { FromFloat<8>(src, dst, n); }
void FloatToPcm16RowImpl(const uint8_t* src, uint8_t* dst, size_t n) { FromFloat<16>(src, dst, n); }
void FloatToPcm20RowImpl(const uint8_t* src, uint8_t* dst, size_t n) { FromFloat<20>(src, dst, n); }
void FloatToPcm24RowImpl(const uint8_t* src, uint8_t* dst, size_t n) { FromFloat<24>(src, dst, n); }
void FloatToPcm32RowImpl(const uint8_t* src, uint8_t* dst, size_t n) { FromFloat<32>(src, dst, n); }
void Pcm8To32RowImpl(const uint8_t* src, uint8_t* dst, size_t n) { IntToInt<8, 32>(src, dst, n); }
void Pcm16To32RowImpl(const uint8_t* src, uint8_t* dst, size_t n) { IntToInt<16, 32>(src, dst, n); }
void Pcm24To32RowImpl(const uint8_t* src, uint8_t* dst, size_t n) { IntToInt<24, 32>(src, dst, n); }
void Pcm32To8RowImpl(const uint8_t* src, uint8_t* dst, size_t n) { IntToInt<32, 8>(src, dst, n); }
void Pcm32To16RowImpl(const uint8_t* src, uint8_t* dst, size_t n) { IntToInt<32, 16>(src, dst, n); }
void Pcm32To20RowImpl(const uint8_t* src, uint8_t* dst, size_t n) { IntToInt<32, 20>(src, dst, n); }
void Pcm32To24RowImpl(const uint8_t* src, uint8_t* dst, size_t n) { IntToInt<32, 24>(src, dst, n); }

}  // namespace
}  // namespace zr::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace zr {

HWY_EXPORT(Pcm8ToFloatRowImpl);
void Pcm8ToFloatRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples) {
    HWY_DYNAMIC_DISPATCH(Pcm8ToFloatRowImpl)(_pSrc, _pDst, _nSamples);
}

HWY_EXPORT(Pcm16ToFloatRowImpl);
void Pcm16ToFloatRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples) {
    HWY_DYNAMIC_DISPATCH(Pcm16ToFloatRowImpl)(_pSrc, _pDst, _nSamples);
}

HWY_EXPORT(Pcm24ToFloatRowImpl);
void Pcm24ToFloatRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples) {
    HWY_DYNAMIC_DISPATCH(Pcm24ToFloatRowImpl)(_pSrc, _pDst, _nSamples);
}

HWY_EXPORT(Pcm32ToFloatRowImpl);
void Pcm32ToFloatRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples) {
    HWY_DYNAMIC_DISPATCH(Pcm32ToFloatRowImpl)(_pSrc, _pDst, _nSamples);
}

HWY_EXPORT(FloatToPcm8RowImpl);
void FloatToPcm8Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples) {
    HWY_DYNAMIC_DISPATCH(FloatToPcm8RowImpl)(_pSrc, _pDst, _nSamples);
}

HWY_EXPORT(FloatToPcm16RowImpl);
void FloatToPcm16Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples) {
    HWY_DYNAMIC_DISPATCH(FloatToPcm16RowImpl)(_pSrc, _pDst, _nSamples);
}

HWY_EXPORT(FloatToPcm20RowImpl);
void FloatToPcm20Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples) {
    HWY_DYNAMIC_DISPATCH(FloatToPcm20RowImpl)(_pSrc, _pDst, _nSamples);
}

HWY_EXPORT(FloatToPcm24RowImpl);
void FloatToPcm24Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples) {
    HWY_DYNAMIC_DISPATCH(FloatToPcm24RowImpl)(_pSrc, _pDst, _nSamples);
}

HWY_EXPORT(FloatToPcm32RowImpl);
void FloatToPcm32Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples) {
    HWY_DYNAMIC_DISPATCH(FloatToPcm32RowImpl)(_pSrc, _pDst, _nSamples);
}

HWY_EXPORT(Pcm8To32RowImpl);
void Pcm8To32Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples) {
    HWY_DYNAMIC_DISPATCH(Pcm8To32RowImpl)(_pSrc, _pDst, _nSamples);
}

HWY_EXPORT(Pcm16To32RowImpl);
void Pcm16To32Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples) {
    HWY_DYNAMIC_DISPATCH(Pcm16To32RowImpl)(_pSrc, _pDst, _nSamples);
}

HWY_EXPORT(Pcm24To32RowImpl);
void Pcm24To32Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples) {
    HWY_DYNAMIC_DISPATCH(Pcm24To32RowImpl)(_pSrc, _pDst, _nSamples);
}

HWY_EXPORT(Pcm32To8RowImpl);
void Pcm32To8Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples) {
    HWY_DYNAMIC_DISPATCH(Pcm32To8RowImpl)(_pSrc, _pDst, _nSamples);
}

HWY_EXPORT(Pcm32To16RowImpl);
void Pcm32To16Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples) {
    HWY_DYNAMIC_DISPATCH(Pcm32To16RowImpl)(_pSrc, _pDst, _nSamples);
}

HWY_EXPORT(Pcm32To20RowImpl);
void Pcm32To20Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples) {
    HWY_DYNAMIC_DISPATCH(Pcm32To20RowImpl)(_pSrc, _pDst, _nSamples);
}

HWY_EXPORT(Pcm32To24RowImpl);
void Pcm32To24Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples) {
    HWY_DYNAMIC_DISPATCH(Pcm32To24RowImpl)(_pSrc, _pDst, _nSamples);
}

}  // namespace zr

#endif  // HWY_ONCE
