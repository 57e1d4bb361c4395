#pragma once
// The horizontal pass: a row of samples at another width. Tables by (source width, output width, interpolation).
//
// Output sample x stands at (x + 1/2) * ratio - 1/2 in the source, so that a picture keeps its centre. A reduction
// widens the kernel by the ratio, so that what the output cannot hold does not come back as moire. Beyond the ends of
// the row its first and last sample repeat.

#include <cstdint>
#include <vector>

#include "framework/blob_holder.h"
#include "video/kernels/scale_row.h"
#include "video/scaling_quality.h"
#include "zr/status.h"

namespace zr {

// What one output sample is made of: coefficients of 14 bits that sum to 1 << 14.
struct RESAMPLE_TAPS {
    int32_t nStart = 0;
    std::vector<int16_t> arrCoefficients;
};

// The definition of a table: nSamples lists, all of the same length. Linear reductions have coefficients of 7 bits
// (multiples of 128) where none rounds to 1, as half the bits run at twice the speed; super-sampling that enlarges is
// B-spline.
std::vector<RESAMPLE_TAPS> ResampleTaps(int32_t _nSrcWidth, int32_t _nDstWidth, eInterpolation _eMode);

class HorizontalFilter {
public:
    // Builds the tables unless they are those of the arguments already. S_FALSE: they stand. E_INVALIDARG: a width
    // below 1 or above kMaxPictureSide. E_OUTOFMEMORY: no tables.
    HRESULT Init(int32_t _nSrcWidth, int32_t _nDstWidth, eInterpolation _eMode);

    // A row is as it was.
    bool IsCopy() const { return nSrcWidth == nDstWidth; }
    // _pSrc: kResampleSlack bytes behind the row may be read. _pDst: 31 bytes behind the row may be written.
    void Run(const uint8_t* _pSrc, uint8_t* _pDst) const { ResampleRow(row, _pSrc, _pDst, nDstWidth); }

private:
    HRESULT Build(const std::vector<RESAMPLE_TAPS>& _taps, int32_t _nSrcWidth);
    HRESULT BuildSteady(const std::vector<RESAMPLE_TAPS>& _taps, int32_t _nSrcWidth);
    HRESULT BuildGroups(const std::vector<RESAMPLE_TAPS>& _taps);
    HRESULT BuildLong(const std::vector<RESAMPLE_TAPS>& _taps);

    RESAMPLE_ROW row{};
    std::vector<RESAMPLE_GROUP> arrGroups;
    std::vector<int32_t> arrStart;
    std::vector<int16_t> arrEnds;
    CBLOBHolder<CVirtualAlloc> blocks;  // page-aligned
    int32_t nSrcWidth = 0, nDstWidth = 0;
    eInterpolation eMode = eInterpolation::Nearest;
};

}  // namespace zr
