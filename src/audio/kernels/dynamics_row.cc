#include "audio/kernels/dynamics_row.h"

#include <cmath>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "audio/kernels/dynamics_row.cc"
#include <hwy/foreach_target.h>  // what follows is compiled once per CPU target
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace zr::HWY_NAMESPACE {
namespace {

namespace vec = hwy::HWY_NAMESPACE;

// 2 / ln 2 / (2 i + 1): of the series of log2((1 + t) / (1 - t)), which |t| < 0.1716 ends within 1e-9.
constexpr float arrLog[] = {2.88539008f, 0.961796694f, 0.577078016f, 0.412198583f, 0.320598898f};
// (ln 2)^i / i!: of the series of 2^f, which |f| <= 0.5 ends within 6e-9.
constexpr float arrExp[] = {1.0f,           0.693147181f,   0.240226507f,    0.0555041087f,
                            0.00961812911f, 0.00133335581f, 0.000154035304f, 0.0000152527338f};
constexpr int32_t kRootHalfBits = 0x3F3504F3;  // float bits of sqrt(1/2)

template <class D>
HWY_INLINE void PowerStep(D d, const float* src, float* dst, float fLimit, float fExponent) {
    const vec::RebindToSigned<D> di;
    const auto x = vec::LoadU(d, src);
    const auto limit = vec::Set(d, fLimit), one = vec::Set(d, 1.0f);
    const auto above = vec::Gt(x, limit);
    const auto ratio = vec::IfThenElse(above, vec::Div(x, limit), one);
    const auto bits = vec::BitCast(di, ratio);
    const auto k = vec::ShiftRight<23>(vec::Sub(bits, vec::Set(di, kRootHalfBits)));
    const auto m = vec::BitCast(d, vec::Sub(bits, vec::ShiftLeft<23>(k)));
    const auto t = vec::Div(vec::Sub(m, one), vec::Add(m, one));
    const auto tt = vec::Mul(t, t);
    auto p = vec::Set(d, arrLog[4]);
    for (int i = 3; i >= 0; --i) p = vec::Add(vec::Mul(p, tt), vec::Set(d, arrLog[i]));
    const auto log = vec::Add(vec::ConvertTo(d, k), vec::Mul(t, p));
    const auto most = vec::Set(d, 126.0f);
    const auto y = vec::Min(vec::Max(vec::Mul(vec::Set(d, fExponent), log), vec::Neg(most)), most);
    const auto n = vec::NearestInt(y);
    const auto f = vec::Sub(y, vec::ConvertTo(d, n));
    auto q = vec::Set(d, arrExp[7]);
    for (int i = 6; i >= 0; --i) q = vec::Add(vec::Mul(q, f), vec::Set(d, arrExp[i]));
    const auto scale = vec::BitCast(d, vec::ShiftLeft<23>(vec::Add(n, vec::Set(di, 127))));
    vec::StoreU(vec::IfThenElse(above, vec::Mul(q, scale), one), d, dst);
}

template <class D>
HWY_INLINE vec::Vec<D> Number(D, vec::Vec<D> f) {
    return vec::IfThenElseZero(vec::Eq(f, f), f);
}

template <class D>
HWY_INLINE void GainStep(D d, float* p, const float* gains, float fFactor) {
    const auto one = vec::Set(d, 1.0f);
    const auto total = vec::Mul(vec::LoadU(d, gains), vec::Set(d, fFactor));
    const auto f = Number(d, vec::Mul(vec::LoadU(d, p), total));
    vec::StoreU(vec::Min(vec::Max(f, vec::Neg(one)), one), d, p);
}

void PowerAboveRowImpl(const float* src, float* dst, size_t n, float fLimit, float fExponent) {
    const vec::ScalableTag<float> d;
    const vec::CappedTag<float, 1> dOne;
    const size_t nStep = vec::Lanes(d);
    size_t x = 0;
    for (; n - x >= nStep; x += nStep) PowerStep(d, src + x, dst + x, fLimit, fExponent);
    for (; x < n; ++x) PowerStep(dOne, src + x, dst + x, fLimit, fExponent);
}

void GainLimitRowImpl(float* p, const float* gains, size_t n, float fFactor) {
    const vec::ScalableTag<float> d;
    const vec::CappedTag<float, 1> dOne;
    const size_t nStep = vec::Lanes(d);
    size_t x = 0;
    for (; n - x >= nStep; x += nStep) GainStep(d, p + x, gains + x, fFactor);
    for (; x < n; ++x) GainStep(dOne, p + x, gains + x, fFactor);
}

float PeakRowImpl(const float* src, size_t n) {
    const vec::ScalableTag<float> d;
    const size_t nStep = vec::Lanes(d);
    auto peak = vec::Zero(d);
    size_t x = 0;
    for (; n - x >= nStep; x += nStep) peak = vec::Max(peak, vec::Abs(Number(d, vec::LoadU(d, src + x))));
    float fPeak = vec::GetLane(vec::MaxOfLanes(d, peak));
    for (; x < n; ++x)
        if (std::abs(src[x]) > fPeak) fPeak = std::abs(src[x]);
    return fPeak;
}

}  // namespace
}  // namespace zr::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace zr {

HWY_EXPORT(PowerAboveRowImpl);
void PowerAboveRow(const float* _pSrc, float* _pDst, size_t _nSamples, float _fLimit, float _fExponent) {
    HWY_DYNAMIC_DISPATCH(PowerAboveRowImpl)(_pSrc, _pDst, _nSamples, _fLimit, _fExponent);
}

HWY_EXPORT(GainLimitRowImpl);
void GainLimitRow(float* _pSamples, const float* _pGains, size_t _nSamples, float _fFactor) {
    HWY_DYNAMIC_DISPATCH(GainLimitRowImpl)(_pSamples, _pGains, _nSamples, _fFactor);
}

HWY_EXPORT(PeakRowImpl);
float PeakRow(const float* _pSrc, size_t _nSamples) { return HWY_DYNAMIC_DISPATCH(PeakRowImpl)(_pSrc, _nSamples); }

}  // namespace zr

#endif  // HWY_ONCE
