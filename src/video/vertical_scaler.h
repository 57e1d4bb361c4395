#pragma once
// The vertical pass: output rows as weighted sums of source rows, fields kept apart.

#include <cstddef>
#include <cstdint>

#include "platform/clock.h"
#include "platform/lock.h"
#include "platform/thread_pool.h"
#include "video/picture.h"
#include "video/scaler_filter.h"

namespace zr {

// One pass between two heights: which filter row makes an output row.
struct VERTICAL_PASS {
    int32_t nSrcRows = 0, nDstRows = 0;
    uint32_t nFlags = 0;
    bool bCopy = false;  // an output row is one source row as it is
    bool bSame = false;  // and that is the row of the same number: the pass changes nothing
    const VerticalFilter* pFilter = nullptr;

    const FILTER_ROW& FilterOf(int32_t _y) const {
        _y = TableRow(_y);
        const uint32_t nField = nFlags & eScale_FieldMask;
        if (nField != eScale_Interlaced) return pFilter->Row(nField == eScale_Field2 ? 1 : 0, _y);
        return pFilter->Row((_y + (nFlags & eScale_SwapFields ? 1 : 0)) & 1, _y / 2);
    }
    // The rows that output row _y + 1 reads and _y does not, as far as they come one after the other.
    NEXT_ROWS NextRows(const PLANE& _src, int32_t _y) const;
    // With bCopy: the source row.
    int32_t CopyOf(int32_t _y) const { return bSame ? TableRow(_y) : FilterOf(_y).arrRow[0]; }

private:
    // A picture moved by one line shows the neighbour's row; the line left free repeats.
    int32_t TableRow(int32_t _y) const {
        if (nFlags & eScale_LineDown) _y = _y > 0 ? _y - 1 : 0;
        if (nFlags & eScale_LineUp) _y = _y < nDstRows - 1 ? _y + 1 : nDstRows - 1;
        return _y;
    }
};

// The scaler of one plane, with its tables.
class VerticalScaler {
public:
    // Builds the tables of a pass. _dblWidth: filter width, below 0 nearest row, 0 a triangle of two rows.
    // The pass is good until the next call. Same results as VerticalFilter::Init_Dyn.
    HRESULT Prepare(int32_t _nSrcRows, int32_t _nDstRows, double _dblWidth, uint32_t _nFlags, VERTICAL_PASS& _pass);

    // Scales rows of _cbRow bytes, of which at most as many as both strides have are written. Negative height: the rows
    // run upward from the last. _bThreads: in row bands on several threads.
    // E_POINTER: no source or destination. E_INVALIDARG: a height of 0 or above kMaxPictureSide.
    HRESULT Scale_Dyn(const uint8_t* _pSrc, uint8_t* _pDst, int32_t _nSrcHeight, int32_t _nDstHeight, size_t _cbRow,
                      ptrdiff_t _nSrcStride, ptrdiff_t _nDstStride, double _dblWidth, uint32_t _nFlags, bool _bThreads);

    const VerticalFilter& Filter() const { return filter; }

private:
    Mutex mtx;              // a leaf, against two calls of Scale_Dyn at once
    VerticalFilter filter;  // whoever calls Prepare is alone with the scaler (the engine's lock)
};

// The source rows of an output row, of a pass that does not copy.
struct WEIGHED_ROWS {
    const ROW_WEIGHTS& weights;
    const uint8_t* arrRows[kMaxWeighedRows];
    WEIGHED_ROWS(const VERTICAL_PASS& _pass, const PLANE& _src, int32_t _y) : WEIGHED_ROWS(_pass.FilterOf(_y), _src) {}

private:
    WEIGHED_ROWS(const FILTER_ROW& _filter, const PLANE& _src) : weights(_filter.weights) {
        for (int32_t k = 0; k < weights.nRows; ++k) arrRows[k] = _src.Row(_filter.arrRow[k]);
    }
};

// One output row of a pass into _pDst, or the source row itself where the pass copies: returns where the row is.
const uint8_t* VerticalRow(const VERTICAL_PASS& _pass, const PLANE& _src, int32_t _y, uint8_t* _pDst, size_t _cbRow);

void NoteSlicesTime(int64_t _rtTaken);

// Row bands on several threads: _fn(nSlice, nFirst, nEnd) for slices of the rows, each with scratch of its own. One
// slice unless _bThreads.
inline constexpr int32_t kMaxSlices = 16;
int32_t SliceCount(bool _bThreads);
template <class F>
void RunSlices(int32_t _nSlices, int32_t _nRows, const F& _fn) {
    const int64_t rtStart = _nSlices > 1 ? ClockNow() : 0;
    ParallelRows(_nSlices, 1, [&](int32_t _nFirst, int32_t _nEnd) {
        for (int32_t n = _nFirst; n < _nEnd; ++n)
            _fn(n, static_cast<int32_t>(int64_t{_nRows} * n / _nSlices),
                static_cast<int32_t>(int64_t{_nRows} * (n + 1) / _nSlices));
    });
    if (_nSlices > 1) NoteSlicesTime(ClockNow() - rtStart);
}

// A picture is handed on only when all its slices are done, however long that takes; pictures whose slices took more
// than 100 ms are counted here, all scalers together.
int32_t LatePictures();

}  // namespace zr
