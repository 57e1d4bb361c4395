#include "audio/resampler.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

#include "audio/kernels/sample_row.h"

namespace zr {
namespace {

constexpr size_t kLead = kResampleTaps - 1;  // samples before the newest one that a result needs
constexpr uint32_t kMostExactPhases = 1024;  // above, the weights are taken between places of a table of as many
constexpr double kNoOffset = 1e-9;           // phases

}  // namespace

HRESULT IPPResampler32f::Init(int32_t _nInRate, int32_t _nOutRate, int32_t _nTaps, int32_t _nBufferSamples) try {
    if (_nInRate <= 0 || _nOutRate <= 0 || _nTaps != kTaps || _nBufferSamples < 0) return E_FAIL;
    const size_t nRoom = 2 * kResampleTaps + static_cast<size_t>(_nBufferSamples);
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
    if (bCopied) position = {static_cast<size_t>(kTaps), 0};
    nInRate = _nInRate;
    nOutRate = _nOutRate;
    nPhases = nNewPhases;
    nStep = nNewStep;
    if (bFirst) Reset();
    if (nPhases == nStep && !bFiltering) return S_OK;
    Plan(nPhases, nStep, dblPosition);
    bFiltering = true;
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
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
    const bool bExact = _nPhases <= kMostExactPhases && dblOffset == 0;
    const uint32_t nPlaces = bExact ? _nPhases : kMostExactPhases;
    pFilter = FilterFor(nPlaces, static_cast<double>(_nPhases) / _nStep);
    plan = {pFilter->arrWeights[0].arr, nPlaces, _nPhases, _nStep / _nPhases, _nStep % _nPhases, bExact, dblOffset};
    position.nPhase = nPhase;
}

void IPPResampler32f::Prepare(int32_t _nInRate, int32_t _nOutRate) {
    if (_nInRate <= 0 || _nOutRate <= 0 || _nInRate == _nOutRate) return;
    const auto nPhases = static_cast<uint32_t>(_nOutRate / std::gcd(_nInRate, _nOutRate));
    const double dblRatio = static_cast<double>(_nOutRate) / _nInRate;
    FilterFor(std::min(nPhases, kMostExactPhases), dblRatio);
    if (nPhases < kMostExactPhases) FilterFor(kMostExactPhases, dblRatio);  // after a change while it runs
}

int64_t IPPResampler32f::ResultsBefore(int64_t _nSample) const {
    return Copies() ? _nSample : ((_nSample + kTaps) * nPhases + nStep - 1) / nStep;
}

void IPPResampler32f::Reset() {
    if (arrHeld.size() < kLead) arrHeld.resize(2 * kResampleTaps);
    std::fill_n(arrHeld.begin(), kLead, 0.0f);
    nHeld = kLead;
    position = {};
    bFiltering = nPhases != nStep;
    if (bFiltering && pFilter) Plan(nPhases, nStep, 0);
}

size_t IPPResampler32f::MostFor(size_t _nSamples) const {
    return Copies() ? _nSamples : ((_nSamples + kResampleTaps) * nPhases + nStep - 1) / nStep + 1;
}

// How many results lie so that their last sample is among the _nHeld ones.
size_t IPPResampler32f::ResultsFor(size_t _nHeld) const {
    if (position.nSample + kResampleTaps > _nHeld) return 0;
    // The last possible first sample; results lie nStep phases apart.
    const uint64_t nPhasesLeft = uint64_t{_nHeld - kResampleTaps - position.nSample + 1} * nPhases - position.nPhase;
    return static_cast<size_t>((nPhasesLeft + nStep - 1) / nStep);
}

size_t IPPResampler32f::Put(const float* _pSrc, size_t _nSamples, float* _pDst) {
    if (_nSamples == 0) return 0;
    if (Copies()) {
        std::memmove(_pDst, _pSrc, _nSamples * sizeof(float));
        // The filter that may come is to know what was before.
        const size_t nKept = std::min(_nSamples, kLead);
        std::memmove(arrHeld.data(), arrHeld.data() + nKept, (kLead - nKept) * sizeof(float));
        std::memcpy(arrHeld.data() + kLead - nKept, _pSrc + _nSamples - nKept, nKept * sizeof(float));
        return _nSamples;
    }
    if (arrHeld.size() < nHeld + _nSamples) arrHeld.resize(nHeld + _nSamples);
    std::memcpy(arrHeld.data() + nHeld, _pSrc, _nSamples * sizeof(float));
    nHeld += _nSamples;
    const size_t nResults = ResultsFor(nHeld);
    ResampleRow(arrHeld.data(), _pDst, nResults, plan, position);
    const size_t nDone = std::min(position.nSample, nHeld);
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
