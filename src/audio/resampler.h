#pragma once
// One channel from one sample rate to another.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "audio/kernels/resample_row.h"
#include "audio/resample_filter.h"
#include "platform/status.h"

namespace zr {

// Float samples. Positions are exact fractions: nothing drifts, however long it runs. A change of rates while it runs
// goes on from the same place in the sound, without a step. One thread at a time.
class IPPResampler32f {
public:
    // Half the length of the filter, in samples of the lower rate: what comes out lags behind by so much.
    static constexpr int32_t kTaps = kResampleHalf;

    // Rates in Hz. _nTaps: kTaps. _nBufferSamples: of the input that one call of Put will bring, room that is made at
    // once. S_OK: rebuilt. S_FALSE: nothing has changed. E_FAIL: there is no such filter; the output may have down to a
    // 256th of the samples.
    HRESULT Init(int32_t _nInRate, int32_t _nOutRate, int32_t _nTaps, int32_t _nBufferSamples);
    // Forgets what went through.
    void Reset();

    // Takes _nSamples and gives out all that can be said of them. Returns how many samples were written, at most
    // MostFor(_nSamples). Equal rates copy, exactly and without lag, until the rates have been others.
    // Throws std::bad_alloc where Init made no room.
    size_t Put(const float* _pSrc, size_t _nSamples, float* _pDst);
    size_t MostFor(size_t _nSamples) const;
    bool Copies() const { return nInRate == nOutRate && !bFiltering; }

    // Computes the filters that a resampler of these rates may ask for, so that Init finds them made. Any thread.
    static void Prepare(int32_t _nInRate, int32_t _nOutRate);
    // Samples of the input that a result needs, of which half come behind it.
    size_t Taps() const { return Copies() ? 0 : nTaps; }
    // How many results since Reset lie before the _nSample-th sample: the first one lies Taps() / 2 before sample 0.
    int64_t ResultsBefore(int64_t _nSample) const;

private:
    void Plan(uint32_t _nPhases, uint32_t _nStep, double _dblPosition);
    void Lengthen(size_t _nTaps);
    size_t ResultsFor(size_t _nHeld) const;
    // What stays of the samples that went by; a longer filter that comes may want them.
    size_t Kept() const { return nTaps - 1 + kSpare; }

    static constexpr size_t kSpare = 64;

    int32_t nInRate = 0, nOutRate = 0;
    uint32_t nPhases = 1, nStep = 1;  // output and input rate, reduced
    size_t nTaps = 2 * kTaps;         // until Reset they only grow, as a lag that shrinks gives more than was asked for
    bool bFiltering = false;
    ResampleFilterPtr pFilter;
    RESAMPLE_PLAN plan;
    RESAMPLE_POSITION position;  // of the next result, in arrHeld
    std::vector<float> arrHeld;  // the samples that results still need, then room for the next ones
    size_t nHeld = 0;
};

// 16-bit samples, computed in float: the sums are of 24 bits and more, and the result is rounded once.
class IPPResampler16s {
public:
    HRESULT Init(int32_t _nInRate, int32_t _nOutRate, int32_t _nTaps, int32_t _nBufferSamples) {
        return inner.Init(_nInRate, _nOutRate, _nTaps, _nBufferSamples);
    }
    void Reset() { inner.Reset(); }
    size_t Put(const int16_t* _pSrc, size_t _nSamples, int16_t* _pDst);
    size_t MostFor(size_t _nSamples) const { return inner.MostFor(_nSamples); }
    size_t Taps() const { return inner.Taps(); }
    int64_t ResultsBefore(int64_t _nSample) const { return inner.ResultsBefore(_nSample); }

private:
    IPPResampler32f inner;
    std::vector<float> arrIn, arrOut;
};

}  // namespace zr
