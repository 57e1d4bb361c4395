#include "audio/resample_filter.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "framework/lock_order.h"
#include "platform/lock.h"

namespace zr {
namespace {

constexpr double kRollOff = 0.95;  // of half the lower rate
constexpr double kKaiserAlpha = 9.0;
constexpr double kHalfLength = kResampleTaps / 2;
// Ratios that differ by less than the ear can hear share a filter.
constexpr double kBandSteps = 4096;

// The modified Bessel function of order 0, by its series.
double Bessel0(double _x) {
    double dblTerm = 1, dblSum = 1;
    for (int k = 1; dblTerm > dblSum * 1e-17; ++k) {
        const double f = _x / (2 * k);
        dblTerm *= f * f;
        dblSum += dblTerm;
    }
    return dblSum;
}

double Sinc(double _x) {
    const double x = std::numbers::pi * _x;
    return std::fabs(x) < 1e-12 ? 1 : std::sin(x) / x;
}

// _dblBand: 1 is half the input's rate. Each place passes a constant as it is.
std::vector<RESAMPLE_WEIGHTS> Weights(uint32_t _nPlaces, double _dblBand) {
    const double dblScale = 1 / Bessel0(kKaiserAlpha);
    std::vector<RESAMPLE_WEIGHTS> arrWeights(size_t{_nPlaces} + 1);
    for (size_t p = 0; p <= _nPlaces; ++p) {
        double arrPlace[kResampleTaps];
        double dblSum = 0;
        for (size_t i = 0; i < kResampleTaps; ++i) {
            const double x = static_cast<double>(i) - (kHalfLength - 1) - static_cast<double>(p) / _nPlaces;
            const double u = x / kHalfLength;
            const double dblWindow = std::fabs(u) > 1 ? 0 : Bessel0(kKaiserAlpha * std::sqrt(1 - u * u)) * dblScale;
            arrPlace[i] = Sinc(_dblBand * x) * dblWindow;
            dblSum += arrPlace[i];
        }
        for (size_t i = 0; i < kResampleTaps; ++i) arrWeights[p].arr[i] = static_cast<float>(arrPlace[i] / dblSum);
    }
    return arrWeights;
}

struct CACHE_ENTRY {
    uint32_t nPlaces;
    double dblBand;
    ResampleFilterPtr pFilter;
    uint64_t nLastUse;
};
constexpr size_t kMostKept = 16;  // of a quarter of a megabyte at most

// Guards the list. Nothing is computed under it.
Mutex mtxCache{lock_order::kResampleFilters};
std::vector<CACHE_ENTRY> arrCache ZR_GUARDED_BY(mtxCache);
uint64_t nUses ZR_GUARDED_BY(mtxCache) = 0;

ResampleFilterPtr FindFilter(uint32_t _nPlaces, double _dblBand) ZR_REQUIRES(mtxCache) {
    for (CACHE_ENTRY& entry : arrCache) {
        if (entry.nPlaces != _nPlaces || entry.dblBand != _dblBand) continue;
        entry.nLastUse = ++nUses;
        return entry.pFilter;
    }
    return nullptr;
}

}  // namespace

ResampleFilterPtr FilterFor(uint32_t _nPlaces, double _dblRatio) {
    const double dblBand = kRollOff * std::min(1.0, std::round(_dblRatio * kBandSteps) / kBandSteps);
    {
        MutexLock lock(mtxCache);
        if (ResampleFilterPtr pFilter = FindFilter(_nPlaces, dblBand)) return pFilter;
    }
    const auto pNew = std::make_shared<const ResampleFilter>(ResampleFilter{_nPlaces, Weights(_nPlaces, dblBand)});
    ResampleFilterPtr pPushedOut;  // goes when the lock has been left
    MutexLock lock(mtxCache);
    if (ResampleFilterPtr pFilter = FindFilter(_nPlaces, dblBand)) return pFilter;  // another thread was faster
    if (arrCache.size() < kMostKept) {
        arrCache.push_back({_nPlaces, dblBand, pNew, ++nUses});
    } else {
        auto pOldest =
            std::min_element(arrCache.begin(), arrCache.end(),
                             [](const CACHE_ENTRY& _a, const CACHE_ENTRY& _b) { return _a.nLastUse < _b.nLastUse; });
        pPushedOut = std::move(pOldest->pFilter);
        *pOldest = {_nPlaces, dblBand, pNew, ++nUses};
    }
    return pNew;
}

}  // namespace zr
