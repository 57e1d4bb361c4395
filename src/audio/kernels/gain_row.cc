#include "audio/kernels/gain_row.h"

#include <algorithm>
#include <cmath>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "audio/kernels/gain_row.cc"
#include <hwy/foreach_target.h>  // what follows is compiled once per CPU target
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace zr::HWY_NAMESPACE {
namespace {

namespace vec = hwy::HWY_NAMESPACE;

int16_t Gained(int16_t _n, float _fGain) {
    const float product = static_cast<float>(_n) * _fGain;
    const float number = std::isnan(product) ? 0.0f : product;
    return static_cast<int16_t>(std::nearbyint(std::clamp(number, -32768.0f, 32767.0f)));
}

void GainPcm16RowImpl(const int16_t* src, const float* gains, int16_t* dst, size_t n) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const vec::ScalableTag<float> d;
    const vec::Rebind<int16_t, decltype(d)> d16;
    const vec::RebindToSigned<decltype(d)> di;
    const auto least = vec::Set(d, -32768.0f), most = vec::Set(d, 32767.0f);
    for (; x + vec::Lanes(d) <= n; x += vec::Lanes(d)) {
        const auto f = vec::ConvertTo(d, vec::PromoteTo(di, vec::LoadU(d16, src + x)));
        const auto product = vec::Mul(f, vec::LoadU(d, gains + x));
        const auto number = vec::IfThenElseZero(vec::Eq(product, product), product);
        const auto limited = vec::Min(vec::Max(number, least), most);
        vec::StoreU(vec::DemoteTo(d16, vec::NearestInt(limited)), d16, dst + x);
    }
#endif
    for (; x < n; ++x) dst[x] = Gained(src[x], gains[x]);
}

void GainFloatRowImpl(const float* src, const float* gains, float* dst, size_t n) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const vec::ScalableTag<float> d;
    for (; x + vec::Lanes(d) <= n; x += vec::Lanes(d)) {
        const auto product = vec::Mul(vec::LoadU(d, src + x), vec::LoadU(d, gains + x));
        vec::StoreU(vec::IfThenElseZero(vec::Eq(product, product), product), d, dst + x);
    }
#endif
    for (; x < n; ++x) {
        const float product = src[x] * gains[x];
        dst[x] = std::isnan(product) ? 0.0f : product;
    }
}

void AddPcm16RowImpl(const int16_t* src, int16_t* dst, size_t n) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const vec::ScalableTag<int16_t> d;
    for (; x + vec::Lanes(d) <= n; x += vec::Lanes(d))
        vec::StoreU(vec::SaturatedAdd(vec::LoadU(d, dst + x), vec::LoadU(d, src + x)), d, dst + x);
#endif
    for (; x < n; ++x) dst[x] = static_cast<int16_t>(std::clamp(dst[x] + src[x], -32768, 32767));
}

void AddFloatRowImpl(const float* src, float* dst, size_t n) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const vec::ScalableTag<float> d;
    const auto least = vec::Set(d, -1.0f), most = vec::Set(d, 1.0f);
    for (; x + vec::Lanes(d) <= n; x += vec::Lanes(d)) {
        const auto sum = vec::Add(vec::LoadU(d, dst + x), vec::LoadU(d, src + x));
        const auto number = vec::IfThenElseZero(vec::Eq(sum, sum), sum);
        vec::StoreU(vec::Min(vec::Max(number, least), most), d, dst + x);
    }
#endif
    for (; x < n; ++x) {
        const float sum = dst[x] + src[x];
        dst[x] = std::isnan(sum) ? 0.0f : std::clamp(sum, -1.0f, 1.0f);
    }
}

// Left and right of a sample are one lane of 32 bits, so that both meet the same gain where they stand.
void AddRampStereo16RowImpl(const int16_t* src, double start, double step, int16_t* dst, size_t n) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const vec::ScalableTag<float> d;
    const vec::Half<decltype(d)> half;
    const vec::Repartition<double, decltype(d)> wide;
    const vec::RebindToSigned<decltype(d)> di;
    const vec::Repartition<int16_t, decltype(d)> d16;
    const auto least = vec::Set(d, -32768.0f), most = vec::Set(d, 32767.0f);
    const auto first = vec::Set(wide, start), steps = vec::Set(wide, step);
    const auto forward = vec::Set(wide, static_cast<double>(vec::Lanes(wide)));
    const auto gained = [&](auto _samples, auto _gains) HWY_ATTR {
        const auto product = vec::Mul(vec::ConvertTo(d, _samples), _gains);
        const auto number = vec::IfThenElseZero(vec::Eq(product, product), product);
        return vec::NearestInt(vec::Min(vec::Max(number, least), most));
    };
    auto at = vec::Iota(wide, 0.0);
    const auto nextGains = [&]() HWY_ATTR {
        const auto gains = vec::DemoteTo(half, vec::Add(first, vec::Mul(at, steps)));
        at = vec::Add(at, forward);
        return gains;
    };
    const auto low = vec::Set(di, 0xFFFF);
    for (; x + vec::Lanes(d) <= n; x += vec::Lanes(d)) {
        const auto lower = nextGains(), upper = nextGains();
        const auto gains = vec::Combine(d, upper, lower);
        const auto both = vec::BitCast(di, vec::LoadU(d16, src + 2 * x));
        const auto left = gained(vec::ShiftRight<16>(vec::ShiftLeft<16>(both)), gains);
        const auto right = gained(vec::ShiftRight<16>(both), gains);
        const auto added = vec::BitCast(d16, vec::Or(vec::ShiftLeft<16>(right), vec::And(left, low)));
        vec::StoreU(vec::SaturatedAdd(vec::LoadU(d16, dst + 2 * x), added), d16, dst + 2 * x);
    }
#endif
    for (; x < n; ++x) {
        const auto gain = static_cast<float>(start + static_cast<double>(x) * step);
        for (size_t c = 2 * x; c < 2 * x + 2; ++c)
            dst[c] = static_cast<int16_t>(std::clamp(dst[c] + Gained(src[c], gain), -32768, 32767));
    }
}

}  // namespace
}  // namespace zr::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace zr {

HWY_EXPORT(GainPcm16RowImpl);
void GainPcm16Row(const int16_t* _pSrc, const float* _pGains, int16_t* _pDst, size_t _nSamples) {
    HWY_DYNAMIC_DISPATCH(GainPcm16RowImpl)(_pSrc, _pGains, _pDst, _nSamples);
}

HWY_EXPORT(GainFloatRowImpl);
void GainFloatRow(const float* _pSrc, const float* _pGains, float* _pDst, size_t _nSamples) {
    HWY_DYNAMIC_DISPATCH(GainFloatRowImpl)(_pSrc, _pGains, _pDst, _nSamples);
}

HWY_EXPORT(AddPcm16RowImpl);
void AddPcm16Row(const int16_t* _pSrc, int16_t* _pDst, size_t _nSamples) {
    HWY_DYNAMIC_DISPATCH(AddPcm16RowImpl)(_pSrc, _pDst, _nSamples);
}

HWY_EXPORT(AddRampStereo16RowImpl);
void AddRampStereo16Row(const int16_t* _pSrc, double _dblStart, double _dblStep, int16_t* _pDst, size_t _nSamples) {
    HWY_DYNAMIC_DISPATCH(AddRampStereo16RowImpl)(_pSrc, _dblStart, _dblStep, _pDst, _nSamples);
}

HWY_EXPORT(AddFloatRowImpl);
void AddFloatRow(const float* _pSrc, float* _pDst, size_t _nSamples) {
    HWY_DYNAMIC_DISPATCH(AddFloatRowImpl)(_pSrc, _pDst, _nSamples);
}

}  // namespace zr

#endif  // HWY_ONCE
