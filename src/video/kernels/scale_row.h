#pragma once
// Rows of the scaler: the weighted sum of whole rows (vertical), and the resampling of one row (horizontal). The scalar
// formulas below are the definition; every vector path gives the same bytes.

#include <cstddef>
#include <cstdint>

namespace zr {

// ---- Vertical

// Rows with their weights, 0..255 with a sum of at most 255; one weight for the bytes at even places of a row, another
// for those at odd ones, as packed 4:2:2 has luma in one of them and chroma in the other.
inline constexpr int32_t kMaxWeighedRows = 12;
struct ROW_WEIGHTS {
    int32_t nRows = 0;
    uint8_t arrEven[kMaxWeighedRows] = {};  // 0 behind nRows
    uint8_t arrOdd[kMaxWeighedRows] = {};
};

// dst[i] = (sum over rows of row[i] * weight) >> 8, weight by the parity of i. _cbRow is even unless both weights of
// every row are equal. The destination is none of the rows. _next: rows as long that the next output row needs besides;
// they come into the cache on the way, which halves the time of pictures from cold memory.
struct NEXT_ROWS {
    static constexpr int32_t kMax = 4;
    int32_t nRows = 0;
    const uint8_t* arrRows[kMax];
};
void WeighRows(const uint8_t* const* _ppRows, const ROW_WEIGHTS& _weights, const NEXT_ROWS& _next, uint8_t* _pDst,
               size_t _cbRow);

// The same of packed 4:2:2 rows, taken apart on the way: luma, and both chromas in their order in memory. _bLumaOdd:
// luma stands at odd places. No row is read beyond its 4 * _nPairs bytes; the destinations are none of the rows.
struct SPLIT_ROWS {
    uint8_t *pLuma, *pFirst, *pSecond;
};
void WeighSplitRows(const uint8_t* const* _ppRows, const ROW_WEIGHTS& _weights, bool _bLumaOdd, const NEXT_ROWS& _next,
                    const SPLIT_ROWS& _split, size_t _nPairs);

// ---- Horizontal

// Each output sample x is a weighted sum of nTaps neighbouring source samples from arrStart[x] on:
//     clamp((sum of src[arrStart[x] + k] * coefficient[x][k] + half) >> nShift), half = 1 << (nShift - 1)
// The coefficients of a sample sum to 1 << nShift. They are laid out for the vector path in groups of 16 samples;
// groups with the same coefficients share a block. A reduction to half or to a third is steady and needs no groups: its
// coefficients are the same all along.
inline constexpr int32_t kResampleGroup = 16;

enum class eResampleLayout {
    Octets,  // 7-bit coefficients in bytes, [pair of taps][sample][2]; a window of 16 source bytes serves 8 samples
    Quads,   // 14-bit coefficients, [pair of taps][sample][2]; a window serves 4 samples
    Long,    // 14-bit coefficients, [sample][tap], taps a multiple of 16: for reductions whose windows are too wide
    HalvesOfBytes,  // every second sample with the same 7-bit coefficients, in bytes, but for the row's ends
    Halves,         // the same with 14-bit coefficients
    Thirds,         // every third sample with the same 14-bit coefficients, pairs of taps a multiple of three
};

// Source samples from one output sample to the next of a steady layout; 0: it is another.
constexpr int32_t SteadyStep(eResampleLayout _eLayout) {
    switch (_eLayout) {
        case eResampleLayout::HalvesOfBytes:
        case eResampleLayout::Halves: return 2;
        case eResampleLayout::Thirds: return 3;
        default: return 0;
    }
}
inline constexpr size_t kMaxSteadyPairs = 9;

struct RESAMPLE_GROUP {
    int32_t arrWindow[4];  // first source byte of each window; Octets use the first two
    uint32_t nBlock;       // index of the block
};

// What a row needs. Blocks are cbBlock bytes apart and 64-byte aligned: for Octets and Quads first the 64 bytes that
// pick the taps out of the windows (byte numbers within a window; 0x80 gives zero), then the coefficients.
struct RESAMPLE_ROW {
    eResampleLayout eLayout;
    int32_t nPairs;  // pairs of taps; in Long: taps / 2
    const RESAMPLE_GROUP* pGroups;
    const uint8_t* pBlocks;
    size_t cbBlock;
    const int32_t* pStart;  // Long: of each sample; steady: of each at the ends

    // Steady: samples x from nInner to nInnerEnd take 2 * nPairs source samples from step * x + nOffset on, by the
    // coefficients in pBlocks. The others, from left to right, have lists of 2 * nPairs 14-bit coefficients in pEnds.
    int32_t nInner, nInnerEnd, nOffset;
    const int16_t* pEnds;
};

// _nWidth output samples. Up to kResampleSlack bytes behind the last source sample are read, none of them counts; up to
// 31 behind the last output sample are written.
inline constexpr size_t kResampleSlack = 48;
void ResampleRow(const RESAMPLE_ROW& _row, const uint8_t* _pSrc, uint8_t* _pDst, int32_t _nWidth);

}  // namespace zr
