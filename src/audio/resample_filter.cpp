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
// Ratios that differ by less than the ear can hear share a filter.
constexpr double kBandSteps = 4096;
// By so much a window may be shorter than it should be. A clock that is followed then keeps the number of its taps.
constexpr double kShortest = 1 / 1.02;
constexpr double kMostNarrow = 256;               // input rate / output rate
constexpr size_t kMostWeights = size_t{1} << 16;  // of a table

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

// _dblNarrow: 1 is the input's band. Each place passes a constant as it is.
std::vector<RESAMPLE_WEIGHTS> Weights(uint32_t _nPlaces, double _dblNarrow, size_t _nTaps) {
    const double dblScale = 1 / Bessel0(kKaiserAlpha);
    const auto dblCentre = static_cast<double>(_nTaps / 2 - 1);
    const double dblHalf = std::min(kResampleHalf / _dblNarrow, static_cast<double>(_nTaps / 2));
    std::vector<RESAMPLE_WEIGHTS> arrWeights((size_t{_nPlaces} + 1) * (_nTaps / kResampleLanes));
    std::vector<double> arrPlace(_nTaps);
    for (size_t p = 0; p <= _nPlaces; ++p) {
        double dblSum = 0;
        for (size_t i = 0; i < _nTaps; ++i) {
            const double x = static_cast<double>(i) - dblCentre - static_cast<double>(p) / _nPlaces;
            const double u = x / dblHalf;
            const double dblWindow = std::fabs(u) > 1 ? 0 : Bessel0(kKaiserAlpha * std::sqrt(1 - u * u)) * dblScale;
            arrPlace[i] = Sinc(kRollOff * _dblNarrow * x) * dblWindow;
            dblSum += arrPlace[i];
        }
        for (size_t i = 0; i < _nTaps; ++i)
            arrWeights[(p * _nTaps + i) / kResampleLanes].arr[i % kResampleLanes] =
                static_cast<float>(arrPlace[i] / dblSum);
    }
    return arrWeights;
}

struct CACHE_ENTRY {
    double dblNarrow;
    ResampleFilterPtr pFilter;
    uint64_t nLastUse;
};
// Of a quarter of a megabyte at most. Each pair of rates that is in use has two.
constexpr size_t kMostKept = 64;

// Guards the list. Nothing is computed under it.
Mutex mtxCache{lock_order::kResampleFilters};
std::vector<CACHE_ENTRY> arrCache ZR_GUARDED_BY(mtxCache);
uint64_t nUses ZR_GUARDED_BY(mtxCache) = 0;

ResampleFilterPtr FindFilter(uint32_t _nPlaces, double _dblNarrow, size_t _nTaps) ZR_REQUIRES(mtxCache) {
    for (CACHE_ENTRY& entry : arrCache) {
        const ResampleFilter& filter = *entry.pFilter;
        if (filter.nPlaces != _nPlaces || entry.dblNarrow != _dblNarrow || filter.nTaps != _nTaps) continue;
        entry.nLastUse = ++nUses;
        return entry.pFilter;
    }
    return nullptr;
}

}  // namespace

size_t ResampleTaps(double _dblRatio) {
    const double dblLonger = std::max(1.0, 1 / _dblRatio);
    if (!(dblLonger <= kMostNarrow)) return 0;
    return static_cast<size_t>(std::ceil(2 * kResampleHalf * dblLonger * kShortest / kResampleLanes)) * kResampleLanes;
}

uint32_t MostResamplePlaces(size_t _nTaps) { return static_cast<uint32_t>(std::max<size_t>(kMostWeights / _nTaps, 1)); }

ResampleFilterPtr FilterFor(uint32_t _nPlaces, double _dblRatio, size_t _nTaps) {
    const double dblNarrow = kBandSteps / std::max(kBandSteps, std::round(kBandSteps / _dblRatio));
    {
        MutexLock lock(mtxCache);
        if (ResampleFilterPtr pFilter = FindFilter(_nPlaces, dblNarrow, _nTaps)) return pFilter;
    }
    const auto pNew =
        std::make_shared<const ResampleFilter>(ResampleFilter{_nPlaces, _nTaps, Weights(_nPlaces, dblNarrow, _nTaps)});
    ResampleFilterPtr pPushedOut;  // goes when the lock has been left
    MutexLock lock(mtxCache);
    // Another thread may have been faster.
    if (ResampleFilterPtr pFilter = FindFilter(_nPlaces, dblNarrow, _nTaps)) return pFilter;
    if (arrCache.size() < kMostKept) {
        arrCache.push_back({dblNarrow, pNew, ++nUses});
    } else {
        auto pOldest =
            std::min_element(arrCache.begin(), arrCache.end(),
                             [](const CACHE_ENTRY& _a, const CACHE_ENTRY& _b) { return _a.nLastUse < _b.nLastUse; });
        pPushedOut = std::move(pOldest->pFilter);
        *pOldest = {dblNarrow, pNew, ++nUses};
    }
    return pNew;
}

}  // namespace zr
