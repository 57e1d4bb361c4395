#pragma once
// One channel of float samples at another rate: each result is the sum of some samples in a row, each by its weight.

#include <cstddef>
#include <cstdint>

namespace zr {

inline constexpr size_t kResampleLanes = 16;

// A fixed ratio of rates, and the weights for it. nPhases positions lie between two samples of the input.
struct RESAMPLE_PLAN {
    const float* pWeights = nullptr;  // nTaps for each place of the table, one place more than nPlaces
    size_t nTaps = 64;                // samples that a result needs: a multiple of kResampleLanes
    uint32_t nPlaces = 1;             // of the table; nPhases when bExact
    uint32_t nPhases = 1;
    uint32_t nStepWhole = 1;  // input samples from one result to the next,
    uint32_t nStepPart = 0;   // and nPhases-ths of one
    bool bExact = true;       // the table has a place for every phase; else weights lie between two places
    double dblOffset = 0;     // 0 to 1, in phases, added to all positions; 0 when bExact
};

// Where a result lies: its first sample, and nPhases-ths of a sample further.
struct RESAMPLE_POSITION {
    size_t nSample = 0;
    uint32_t nPhase = 0;
};

// _nResults samples to _pDst; _position goes on to the next one. All samples that are needed are at _pSrc.
//
// With x the samples and w the weights: s[i] = ((x[i]w[i] + x[i+16]w[i+16]) + x[i+32]w[i+32]) + ... for i < 16,
// s[i] += s[i+8] for i < 8, s[i] += s[i+4] for i < 4, and the result is (s[0]+s[2]) + (s[1]+s[3]); every product and
// sum is rounded to a float. Between places a and b of the table, w = a + (b-a)f, with f the part of the way as a
// float.
void ResampleRow(const float* _pSrc, float* _pDst, size_t _nResults, const RESAMPLE_PLAN& _plan,
                 RESAMPLE_POSITION& _position);

}  // namespace zr
