#include "video/horizontal_resampler.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <numbers>
#include <numeric>

#include "video/picture.h"

namespace zr {

namespace {

constexpr int32_t kOne = 1 << 14;

// The two-parameter cubic of Mitchell and Netravali ("Reconstruction Filters in Computer Graphics", 1988).
double CubicKernel(double _x, double _b, double _c) {
    if (_x < 1) return ((12 - 9 * _b - 6 * _c) * _x * _x * _x + (-18 + 12 * _b + 6 * _c) * _x * _x + (6 - 2 * _b)) / 6;
    if (_x < 2)
        return ((-_b - 6 * _c) * _x * _x * _x + (6 * _b + 30 * _c) * _x * _x + (-12 * _b - 48 * _c) * _x +
                (8 * _b + 24 * _c)) /
               6;
    return 0;
}

double Sinc(double _x) { return _x == 0 ? 1 : std::sin(std::numbers::pi * _x) / (std::numbers::pi * _x); }

double KernelAt(eInterpolation _eMode, double _x) {
    _x = std::abs(_x);
    switch (_eMode) {
        case eInterpolation::Cubic: return CubicKernel(_x, 0, 1);
        case eInterpolation::BSpline: return CubicKernel(_x, 1, 0);
        case eInterpolation::CatmullRom: return CubicKernel(_x, 0, 0.5);
        case eInterpolation::CubicB05C03: return CubicKernel(_x, 0.5, 0.3);
        case eInterpolation::Lanczos: return _x < 3 ? Sinc(_x) * Sinc(_x / 3) : 0;
        default: return std::max(1 - _x, 0.0);
    }
}

double KernelRadius(eInterpolation _eMode) {
    if (_eMode == eInterpolation::Linear) return 1;
    return _eMode == eInterpolation::Lanczos ? 3 : 2;
}

// Real weights of neighbouring source samples.
struct REAL_TAPS {
    int32_t nStart = 0;
    std::vector<double> arrWeights;
};

void RealTaps(int32_t _x, int32_t _nSrcWidth, double _dblRatio, eInterpolation _eMode, REAL_TAPS& _taps) {
    const double dblCentre = (_x + 0.5) * _dblRatio - 0.5;
    if (_eMode == eInterpolation::Nearest) {
        _taps.nStart = static_cast<int32_t>((_x + 0.5) * _dblRatio);
        _taps.arrWeights.assign(1, 1.0);
        return;
    }

    const bool bArea = _eMode == eInterpolation::SuperSampling;
    const double dblUnit = std::max(_dblRatio, 1.0);
    const double dblReach = bArea ? _dblRatio / 2 + 0.5 : KernelRadius(_eMode) * dblUnit;
    const auto nFirst = static_cast<int32_t>(std::floor(dblCentre - dblReach)) + 1,
               nLast = static_cast<int32_t>(std::ceil(dblCentre + dblReach)) - 1;
    _taps.nStart = std::clamp(nFirst, 0, _nSrcWidth - 1);
    const int32_t nEnd = std::clamp(nLast, 0, _nSrcWidth - 1);
    _taps.arrWeights.assign(static_cast<size_t>(nEnd - _taps.nStart + 1), 0.0);
    for (int32_t k = nFirst; k <= nLast; ++k) {
        // Area: how much of sample k, which reaches half to each side, lies under the output sample.
        const double dblDistance = std::abs(k - dblCentre);
        const double dblWeight =
            bArea ? std::clamp(dblReach - dblDistance, 0.0, 1.0) : KernelAt(_eMode, dblDistance / dblUnit);
        _taps.arrWeights[static_cast<size_t>(std::clamp(k, _taps.nStart, nEnd) - _taps.nStart)] += dblWeight;
    }
}

// A remainder and whose it is, kept between calls: a picture that is of another size each frame builds its tables each
// frame.
using RESTS = std::vector<std::pair<double, size_t>>;

// To whole steps with a sum of exactly _nOne: what rounding down leaves goes to the largest remainders.
void Quantise(const REAL_TAPS& _real, int32_t _nOne, RESTS& _arrRest, std::vector<int32_t>& _arrWhole) {
    const double dblSum = std::accumulate(_real.arrWeights.begin(), _real.arrWeights.end(), 0.0);
    const size_t n = _real.arrWeights.size();
    _arrWhole.resize(n);
    _arrRest.resize(n);
    int32_t nLeft = _nOne;
    for (size_t k = 0; k < n; ++k) {
        const double dblWhole = _real.arrWeights[k] / dblSum * _nOne;
        _arrWhole[k] = static_cast<int32_t>(std::floor(dblWhole));
        nLeft -= _arrWhole[k];
        _arrRest[k] = {-(dblWhole - std::floor(dblWhole)), k};
    }
    std::sort(_arrRest.begin(), _arrRest.end());
    for (size_t k = 0; nLeft > 0; ++k, --nLeft) ++_arrWhole[_arrRest[k % n].second];
    for (size_t k = n; nLeft < 0; ++nLeft) --_arrWhole[_arrRest[--k].second];
}

bool FitsSevenBits(const std::vector<RESAMPLE_TAPS>& _taps) {
    for (const RESAMPLE_TAPS& taps : _taps)
        for (const int16_t n : taps.arrCoefficients)
            if (n < 0 || n % 128 != 0 || n / 128 > 127) return false;
    return true;
}

// Whether all taps of each _nInWindow samples lie in windows of 16 bytes.
bool FitsWindows(const std::vector<RESAMPLE_TAPS>& _taps, size_t _nInWindow) {
    for (size_t x = 0; x < _taps.size(); x += _nInWindow)
        if (_taps[std::min(x + _nInWindow, _taps.size()) - 1].nStart - _taps[x].nStart > 14) return false;
    return true;
}

std::vector<RESAMPLE_TAPS> TapsOfBits(int32_t _nSrcWidth, int32_t _nDstWidth, eInterpolation _eMode, int32_t _nBits) {
    const double dblRatio = static_cast<double>(_nSrcWidth) / _nDstWidth;
    std::vector<RESAMPLE_TAPS> arrTaps(static_cast<size_t>(_nDstWidth));
    REAL_TAPS real;
    RESTS arrRest;
    std::vector<int32_t> arrWhole;
    size_t nMost = 0;
    for (int32_t x = 0; x < _nDstWidth; ++x) {
        RealTaps(x, _nSrcWidth, dblRatio, _eMode, real);
        Quantise(real, 1 << _nBits, arrRest, arrWhole);
        RESAMPLE_TAPS& taps = arrTaps[static_cast<size_t>(x)];
        taps.nStart = real.nStart;
        // An end without weight would only lengthen every list. Starts stay, as they must not go back from one sample
        // to the next.
        while (arrWhole.size() > 1 && arrWhole.back() == 0) arrWhole.pop_back();
        taps.arrCoefficients.reserve(arrWhole.size() + 1);
        for (const int32_t n : arrWhole) taps.arrCoefficients.push_back(static_cast<int16_t>(n * (kOne >> _nBits)));
        nMost = std::max(nMost, taps.arrCoefficients.size());
    }
    // All lists as long as the longest, moved to the left where they would leave the row.
    for (RESAMPLE_TAPS& taps : arrTaps) {
        const int32_t nStart = std::min(taps.nStart, _nSrcWidth - static_cast<int32_t>(nMost));
        taps.arrCoefficients.insert(taps.arrCoefficients.begin(), static_cast<size_t>(taps.nStart - nStart),
                                    int16_t{0});
        taps.arrCoefficients.resize(nMost, 0);
        taps.nStart = nStart;
    }
    return arrTaps;
}

}  // namespace

std::vector<RESAMPLE_TAPS> ResampleTaps(int32_t _nSrcWidth, int32_t _nDstWidth, eInterpolation _eMode) {
    if (_eMode == eInterpolation::SuperSampling && _nDstWidth > _nSrcWidth) _eMode = eInterpolation::BSpline;
    if (_eMode == eInterpolation::Linear && _nSrcWidth > _nDstWidth) {
        std::vector<RESAMPLE_TAPS> arrTaps = TapsOfBits(_nSrcWidth, _nDstWidth, _eMode, 7);
        if (FitsSevenBits(arrTaps) && FitsWindows(arrTaps, 8)) return arrTaps;
    }
    return TapsOfBits(_nSrcWidth, _nDstWidth, _eMode, 14);
}

HRESULT HorizontalFilter::Init(int32_t _nSrcWidth, int32_t _nDstWidth, eInterpolation _eMode) {
    if (_nSrcWidth < 1 || _nDstWidth < 1 || _nSrcWidth > kMaxPictureSide || _nDstWidth > kMaxPictureSide)
        return E_INVALIDARG;
    if (_nSrcWidth == nSrcWidth && _nDstWidth == nDstWidth && _eMode == eMode) return S_FALSE;
    nSrcWidth = 0;
    if (_nSrcWidth != _nDstWidth) {
        try {
            const HRESULT hr = Build(ResampleTaps(_nSrcWidth, _nDstWidth, _eMode), _nSrcWidth);
            if (Failed(hr)) return hr;
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
    }
    nSrcWidth = _nSrcWidth;
    nDstWidth = _nDstWidth;
    eMode = _eMode;
    return S_OK;
}

HRESULT HorizontalFilter::Build(const std::vector<RESAMPLE_TAPS>& _taps, int32_t _nSrcWidth) {
    row = {};
    row.nPairs = static_cast<int32_t>((_taps[0].arrCoefficients.size() + 1) / 2);
    if (const HRESULT hr = BuildSteady(_taps, _nSrcWidth); hr != S_FALSE) return hr;
    if (FitsSevenBits(_taps) && FitsWindows(_taps, 8))
        row.eLayout = eResampleLayout::Octets;
    else
        row.eLayout = FitsWindows(_taps, 4) ? eResampleLayout::Quads : eResampleLayout::Long;
    const HRESULT hr = row.eLayout == eResampleLayout::Long ? BuildLong(_taps) : BuildGroups(_taps);
    row.pGroups = arrGroups.data();
    row.pStart = arrStart.data();
    row.pBlocks = blocks.Data();
    return hr;
}

// S_FALSE: it is no reduction to half or to a third, or its coefficients are too many.
HRESULT HorizontalFilter::BuildSteady(const std::vector<RESAMPLE_TAPS>& _taps, int32_t _nSrcWidth) {
    const auto nWidth = static_cast<int32_t>(_taps.size());
    const int32_t nStep = _nSrcWidth / nWidth;
    if (_nSrcWidth % nWidth != 0 || (nStep != 2 && nStep != 3)) return S_FALSE;
    const int32_t nPairs = nStep == 3 ? (row.nPairs + 2) / 3 * 3 : row.nPairs;
    const size_t nPadded = static_cast<size_t>(nPairs) * 2;
    if (static_cast<size_t>(_nSrcWidth) < nPadded || nPairs > int32_t{kMaxSteadyPairs}) return S_FALSE;
    row.nPairs = nPairs;
    // All have as many coefficients; those without weight that fill the pairs must not lie behind the row.
    const RESAMPLE_TAPS& middle = _taps[_taps.size() / 2];
    row.nOffset = middle.nStart - nWidth / 2 * nStep;
    const auto IsInner = [&](int32_t _x) {
        const RESAMPLE_TAPS& taps = _taps[static_cast<size_t>(_x)];
        return taps.nStart == nStep * _x + row.nOffset && taps.nStart + static_cast<int32_t>(nPadded) <= _nSrcWidth &&
               taps.arrCoefficients == middle.arrCoefficients;
    };
    row.nInner = row.nInnerEnd = nWidth / 2;
    while (row.nInner > 0 && IsInner(row.nInner - 1)) --row.nInner;
    while (row.nInnerEnd < nWidth && IsInner(row.nInnerEnd)) ++row.nInnerEnd;

    const bool bBytes = nStep == 2 && FitsSevenBits(_taps);
    row.eLayout = nStep == 3 ? eResampleLayout::Thirds
                  : bBytes   ? eResampleLayout::HalvesOfBytes
                             : eResampleLayout::Halves;
    if (Failed(blocks.Resize(static_cast<uint32_t>(2 * nPadded), true, 0, -1))) return E_OUTOFMEMORY;
    for (size_t k = 0; k < middle.arrCoefficients.size(); ++k) {
        const int16_t n = middle.arrCoefficients[k];
        if (bBytes)
            blocks.Data()[k] = static_cast<uint8_t>(n / 128);
        else
            std::memcpy(blocks.Data() + 2 * k, &n, 2);
    }
    arrStart.clear();
    arrEnds.clear();
    for (int32_t x = 0; x < nWidth; ++x) {
        if (x >= row.nInner && x < row.nInnerEnd) continue;
        const RESAMPLE_TAPS& taps = _taps[static_cast<size_t>(x)];
        const int32_t nStart = std::min(taps.nStart, _nSrcWidth - static_cast<int32_t>(nPadded));
        arrStart.push_back(nStart);
        arrEnds.resize(arrEnds.size() + nPadded);
        std::copy(taps.arrCoefficients.begin(), taps.arrCoefficients.end(),
                  arrEnds.end() - static_cast<ptrdiff_t>(nPadded) + taps.nStart - nStart);
    }
    row.pStart = arrStart.data();
    row.pBlocks = blocks.Data();
    row.pEnds = arrEnds.data();
    return S_OK;
}

HRESULT HorizontalFilter::BuildGroups(const std::vector<RESAMPLE_TAPS>& _taps) {
    const bool bOctets = row.eLayout == eResampleLayout::Octets;
    const size_t nInWindow = bOctets ? 8 : 4, cbTap = bOctets ? 1 : 2, cbPair = 2 * cbTap;
    const size_t nGroups = (_taps.size() + kResampleGroup - 1) / kResampleGroup;
    row.cbBlock = 64 + static_cast<size_t>(row.nPairs) * cbPair * kResampleGroup;
    row.cbBlock = (row.cbBlock + 63) & ~size_t{63};
    arrGroups.assign(nGroups, {});
    if (Failed(blocks.Resize(static_cast<uint32_t>(nGroups * row.cbBlock)))) return E_OUTOFMEMORY;

    uint32_t nBlocks = 0;
    for (size_t g = 0; g < nGroups; ++g) {
        RESAMPLE_GROUP& group = arrGroups[g];
        uint8_t* pBlock = blocks.Data() + nBlocks * row.cbBlock;
        std::fill_n(pBlock, 64, uint8_t{0x80});
        std::fill_n(pBlock + 64, row.cbBlock - 64, uint8_t{0});
        for (size_t i = 0; i < kResampleGroup; ++i) {
            const size_t x = std::min(g * kResampleGroup + i, _taps.size() - 1);  // behind the row its last sample
            const size_t nWindow = i / nInWindow;
            if (i % nInWindow == 0) group.arrWindow[nWindow] = _taps[x].nStart;
            const auto nPick = static_cast<uint8_t>(_taps[x].nStart - group.arrWindow[nWindow]);
            for (size_t k = 0; k < 2; ++k) pBlock[(2 * i + k) * cbTap] = static_cast<uint8_t>(nPick + k);
            for (size_t k = 0; k < _taps[x].arrCoefficients.size(); ++k) {
                const int16_t nCoefficient = _taps[x].arrCoefficients[k];
                uint8_t* pAt = pBlock + 64 + k / 2 * cbPair * kResampleGroup + (2 * i + k % 2) * cbTap;
                if (bOctets)
                    *pAt = static_cast<uint8_t>(nCoefficient / 128);
                else
                    std::memcpy(pAt, &nCoefficient, 2);
            }
        }
        // Ratios of small numbers come back to the same coefficients after a few groups.
        uint32_t nSame = nBlocks;
        for (uint32_t n = nBlocks; n > 0 && n + 16 > nBlocks && nSame == nBlocks; --n)
            if (std::memcmp(blocks.Data() + (n - 1) * row.cbBlock, pBlock, row.cbBlock) == 0) nSame = n - 1;
        group.nBlock = nSame;
        if (nSame == nBlocks) ++nBlocks;
    }
    return S_OK;
}

HRESULT HorizontalFilter::BuildLong(const std::vector<RESAMPLE_TAPS>& _taps) {
    const size_t nTaps = _taps[0].arrCoefficients.size(), nPadded = (nTaps + 15) & ~size_t{15};
    const uint64_t cb = uint64_t{nPadded} * 2 * _taps.size();
    if (cb > UINT32_MAX || Failed(blocks.Resize(static_cast<uint32_t>(cb), true, 0, -1))) return E_OUTOFMEMORY;
    row.nPairs = static_cast<int32_t>(nPadded / 2);
    arrStart.resize(_taps.size());
    for (size_t x = 0; x < _taps.size(); ++x) {
        arrStart[x] = _taps[x].nStart;
        std::memcpy(blocks.Data() + x * nPadded * 2, _taps[x].arrCoefficients.data(), nTaps * 2);
    }
    return S_OK;
}

}  // namespace zr
