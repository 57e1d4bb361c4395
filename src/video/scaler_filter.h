#pragma once
// The tables of the vertical pass: which source rows make each output row, and with what weights.

#include <cstdint>
#include <vector>

#include "video/kernels/scale_row.h"
#include "zr/status.h"

namespace zr {

// The low bits of the scaler's flags say how fields are kept apart; the others move or swap fields.
enum eScaleFlags : uint32_t {
    eScale_Interlaced = 0,  // both fields, each made of its own lines
    eScale_Field1 = 1,      // one field of an interlaced source, as a whole picture
    eScale_Field2 = 2,
    eScale_Progressive = 3,
    eScale_FieldMask = 3,
    eScale_SwapFields = 16,
    eScale_LineDown = 32,  // the picture moves by one line; the line left free repeats its neighbour
    eScale_LineUp = 64,
};

// The rows of one output row.
struct FILTER_ROW {
    int32_t arrRow[kMaxWeighedRows];
    ROW_WEIGHTS weights;  // rows without weight are left out
};

// Two tables: that of even source lines and that of odd ones when fields are kept apart; a progressive filter has all
// rows in the first. The weights of a row sum to 255.
class VerticalFilter {
public:
    // Builds the tables unless they are those of the arguments already. _dblWidth above 0: the filter width of a
    // Gaussian, else a triangle. _nTaps: rows an output row has at most, 1..kMaxWeighedRows.
    // S_FALSE: the tables stand. E_INVALIDARG: a height below 1. E_OUTOFMEMORY: no tables.
    HRESULT Init_Dyn(int32_t _nSrcRows, int32_t _nDstRows, uint32_t _nFieldMode, int32_t _nTaps, double _dblWidth);

    // The tables of packed 4:2:2 rows, whose luma and chroma bytes have filters of their own, built for the same rows.
    // _bLumaOdd: luma stands at odd places. S_FALSE: the tables stand.
    HRESULT Merge(const VerticalFilter& _luma, const VerticalFilter& _chroma, bool _bLumaOdd);

    // _nParity 0 or 1; _nIndex up to the output rows of the table.
    const FILTER_ROW& Row(int32_t _nParity, int32_t _nIndex) const {
        return arrTables[_nParity][static_cast<size_t>(_nIndex)];
    }

private:
    std::vector<FILTER_ROW> arrTables[2];
    int32_t nSrcRows = 0, nDstRows = 0, nTaps = 0;
    uint32_t nFieldMode = 0;
    double dblWidth = 0;
    uint32_t nGeneration = 0;  // changes whenever the tables do
    uint32_t nMergedLuma = 0, nMergedChroma = 0;
    bool bMergedLumaOdd = false;
};

}  // namespace zr
