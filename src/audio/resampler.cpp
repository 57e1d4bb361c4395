#include "audio/resampler.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

#include "audio/kernels/sample_row.h"

namespace zr {
namespace {

constexpr double kNoOffset = 1e-9;  // phases

}  // namespace

HRESULT IPPResampler32f::Init(int32_t _nInRate, int32_t _nOutRate, int32_t _nTaps, int32_t _nBufferSamples) try {
    if (_nInRate <= 0 || _nOutRate <= 0 || _nTaps != kTaps || _nBufferSamples < 0) return E_FAIL;
    const size_t nNewTaps = ResampleTaps(static_cast<double>(_nOutRate) / _nInRate);
    if (nNewTaps == 0) return E_FAIL;
    const size_t nRoom = 2 * std::max(nTaps, nNewTaps) + kSpare + static_cast<size_t>(_nBufferSamples);
    if (arrHeld.size() < nRoom) arrHeld.resize(nRoom);
    if (_nInRate == nInRate && _nOutRate == nOutRate) return S_FALSE;
    const bool bFirst = nInRate == 0;
    const bool bCopied = !bFirst && Copies();
    const auto nGreatest = static_cast<uint32_t>(std::gcd(_nInRate, _nOutRate));
    const uint32_t nNewPhases = static_cast<uint32_t>(_nOutRate) / nGreatest;
    const uint32_t nNewStep = static_cast<uint32_t>(_nInRate) / nGreatest;
    if (!bFirst && nNewPhases == nPhases && nNewStep == nStep) {
        nInRate = _nInRate;
        nOutRate = _nOutRate;
        return S_FALSE;
    }
    // The place between two samples that has been reached. After a copy the next result is that of the next sample,
    // for which the filter must know those behind it first.
    double dblPosition = 0;
    if (!bFirst && !bCopied) dblPosition = (static_cast<double>(position.nPhase) + plan.dblOffset) / nPhases;
    if (bCopied) position = {nHeld - (nTaps / 2 - 1), 0};
    nInRate = _nInRate;
    nOutRate = _nOutRate;
    nPhases = nNewPhases;
    nStep = nNewStep;
    if (bFirst) {
        Reset();
    } else if (nNewTaps > nTaps) {
        Lengthen(nNewTaps);
    }
    if (nPhases == nStep && !bFiltering) return S_OK;
    Plan(nPhases, nStep, dblPosition);
    bFiltering = true;
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

// The next result stays where it is in the sound; more samples on both sides of it go into it. Where there are no
// older ones, the oldest stands for them.
void IPPResampler32f::Lengthen(size_t _nTaps) {
    const size_t nMore = (_nTaps - nTaps) / 2;
    nTaps = _nTaps;
    const size_t nMissing = nMore - std::min(nMore, position.nSample);
    if (arrHeld.size() < nHeld + nMissing) arrHeld.resize(nHeld + nMissing);
    std::memmove(arrHeld.data() + nMissing, arrHeld.data(), nHeld * sizeof(float));
    std::fill_n(arrHeld.begin(), nMissing, arrHeld[nMissing]);
    nHeld += nMissing;
    position.nSample = position.nSample + nMissing - nMore;
}

// _dblPosition: of the next result behind its sample, 0 to 1.
void IPPResampler32f::Plan(uint32_t _nPhases, uint32_t _nStep, double _dblPosition) {
    const double dblPhase = _dblPosition * _nPhases;
    auto nPhase = static_cast<uint32_t>(dblPhase + kNoOffset);
    const double dblOffset = std::max(dblPhase - nPhase, 0.0) < kNoOffset ? 0 : dblPhase - nPhase;
    if (nPhase >= _nPhases) {
        nPhase -= _nPhases;
        ++position.nSample;
    }
    const uint32_t nMostPlaces = MostResamplePlaces(nTaps);
    const bool bExact = _nPhases <= nMostPlaces && dblOffset == 0;
    const uint32_t nPlaces = bExact ? _nPhases : nMostPlaces;
    pFilter = FilterFor(nPlaces, static_cast<double>(_nPhases) / _nStep, nTaps);
    plan = {pFilter->arrWeights[0].arr, nTaps,  nPlaces,  _nPhases, _nStep / _nPhases,
            _nStep % _nPhases,          bExact, dblOffset};
    position.nPhase = nPhase;
}

void IPPResampler32f::Prepare(int32_t _nInRate, int32_t _nOutRate) {
    if (_nInRate <= 0 || _nOutRate <= 0 || _nInRate == _nOutRate) return;
    const auto nPhases = static_cast<uint32_t>(_nOutRate / std::gcd(_nInRate, _nOutRate));
    const double dblRatio = static_cast<double>(_nOutRate) / _nInRate;
    const size_t nTaps = ResampleTaps(dblRatio);
    if (nTaps == 0) return;
    const uint32_t nMostPlaces = MostResamplePlaces(nTaps);
    FilterFor(std::min(nPhases, nMostPlaces), dblRatio, nTaps);
    if (nPhases < nMostPlaces) FilterFor(nMostPlaces, dblRatio, nTaps);  // after a change while it runs
}

int64_t IPPResampler32f::ResultsBefore(int64_t _nSample) const {
    return Copies() ? _nSample : ((_nSample + static_cast<int64_t>(nTaps / 2)) * nPhases + nStep - 1) / nStep;
}

void IPPResampler32f::Reset() {
    if (nInRate > 0) nTaps = ResampleTaps(static_cast<double>(nOutRate) / nInRate);
    nHeld = Kept();
    if (arrHeld.size() < nHeld) arrHeld.resize(nHeld);
    std::fill_n(arrHeld.begin(), nHeld, 0.0f);
    position = {kSpare, 0};
    bFiltering = nPhases != nStep;
    if (bFiltering && pFilter) Plan(nPhases, nStep, 0);
}

size_t IPPResampler32f::MostFor(size_t _nSamples) const { return Copies() ? _nSamples : ResultsFor(nHeld + _nSamples); }

// How many results lie so that their last sample is among the _nHeld ones.
size_t IPPResampler32f::ResultsFor(size_t _nHeld) const {
    if (position.nSample + nTaps > _nHeld) return 0;
    // The last possible first sample; results lie nStep phases apart.
    const uint64_t nPhasesLeft = uint64_t{_nHeld - nTaps - position.nSample + 1} * nPhases - position.nPhase;
    return static_cast<size_t>((nPhasesLeft + nStep - 1) / nStep);
}

size_t IPPResampler32f::Put(const float* _pSrc, size_t _nSamples, float* _pDst) {
    if (_nSamples == 0) return 0;
    if (Copies()) {
        std::memmove(_pDst, _pSrc, _nSamples * sizeof(float));
        // The filter that may come is to know what was before.
        const size_t nNew = std::min(_nSamples, nHeld);
        std::memmove(arrHeld.data(), arrHeld.data() + nNew, (nHeld - nNew) * sizeof(float));
        std::memcpy(arrHeld.data() + nHeld - nNew, _pSrc + _nSamples - nNew, nNew * sizeof(float));
        return _nSamples;
    }
    if (arrHeld.size() < nHeld + _nSamples) arrHeld.resize(nHeld + _nSamples);
    std::memcpy(arrHeld.data() + nHeld, _pSrc, _nSamples * sizeof(float));
    nHeld += _nSamples;
    const size_t nResults = ResultsFor(nHeld);
    ResampleRow(arrHeld.data(), _pDst, nResults, plan, position);
    const size_t nDone = std::min(position.nSample - std::min(position.nSample, kSpare), nHeld);
    std::memmove(arrHeld.data(), arrHeld.data() + nDone, (nHeld - nDone) * sizeof(float));
    nHeld -= nDone;
    position.nSample -= nDone;
    return nResults;
}

size_t IPPResampler16s::Put(const int16_t* _pSrc, size_t _nSamples, int16_t* _pDst) {
    if (inner.Copies()) std::memmove(_pDst, _pSrc, _nSamples * sizeof(int16_t));
    if (arrIn.size() < _nSamples) arrIn.resize(_nSamples);
    if (arrOut.size() < MostFor(_nSamples)) arrOut.resize(MostFor(_nSamples));
    Pcm16ToFloatRow(reinterpret_cast<const uint8_t*>(_pSrc), reinterpret_cast<uint8_t*>(arrIn.data()), _nSamples);
    const bool bCopies = inner.Copies();
    const size_t nResults = inner.Put(arrIn.data(), _nSamples, arrOut.data());
    if (!bCopies)
        FloatToPcm16Row(reinterpret_cast<const uint8_t*>(arrOut.data()), reinterpret_cast<uint8_t*>(_pDst), nResults);
    return nResults;
}

}  // namespace zr
