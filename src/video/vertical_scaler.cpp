#include "video/vertical_scaler.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace zr {

namespace {

constexpr int64_t kSlicesLimit = 100 * kTicksPerMs;
std::atomic<int32_t> g_nLatePictures{0};

// Rows that make an output row, from the ratio of the heights and the filter width.
int32_t TapsOf(int32_t _nSrcRows, int32_t _nDstRows, double _dblWidth, int32_t _nDstStep, int32_t _nSrcStep) {
    if (_dblWidth == 0) return 2;
    if (_dblWidth < 0 || _nSrcRows / _nSrcStep == _nDstRows / _nDstStep) return 1;
    int32_t nTaps = 4;
    if (_nSrcRows > _nDstRows) nTaps = std::max(5, static_cast<int32_t>(_nSrcRows * 1.5 / _nDstRows + 1));
    return static_cast<int32_t>(std::clamp(std::round(nTaps * _dblWidth), 3.0, double{kMaxWeighedRows}));
}

}  // namespace

NEXT_ROWS VERTICAL_PASS::NextRows(const PLANE& _src, int32_t _y) const {
    NEXT_ROWS next;
    if (_y + 1 >= nDstRows) return next;
    const auto Last = [](const FILTER_ROW& _filter) {
        return *std::max_element(_filter.arrRow, _filter.arrRow + _filter.weights.nRows);
    };
    const int32_t nEnd = Last(FilterOf(_y + 1)) + 1;
    for (int32_t nRow = Last(FilterOf(_y)) + 1; nRow < nEnd && next.nRows < NEXT_ROWS::kMax; ++nRow)
        next.arrRows[next.nRows++] = _src.Row(nRow);
    return next;
}

HRESULT VerticalScaler::Prepare(int32_t _nSrcRows, int32_t _nDstRows, double _dblWidth, uint32_t _nFlags,
                                VERTICAL_PASS& _pass) {
    if (_nSrcRows < 1 || _nDstRows < 1 || !std::isfinite(_dblWidth)) return E_INVALIDARG;
    const uint32_t nField = _nFlags & eScale_FieldMask;
    const int32_t nDstStep = nField != eScale_Interlaced ? 1 : 2, nSrcStep = nField == eScale_Progressive ? 1 : 2;
    if (nField == eScale_Field1 || nField == eScale_Field2) _dblWidth *= _nSrcRows != _nDstRows ? 1.5 : 0.75;
    const int32_t nTaps = TapsOf(_nSrcRows, _nDstRows, _dblWidth, nDstStep, nSrcStep);
    const HRESULT hr = filter.Init_Dyn(_nSrcRows, _nDstRows, nField, nTaps, _dblWidth);
    if (Failed(hr)) return hr;
    const bool bSame =
        nTaps == 1 && _nSrcRows == _nDstRows && nDstStep == nSrcStep && (_nFlags & eScale_SwapFields) == 0;
    _pass = {_nSrcRows, _nDstRows, _nFlags, nTaps == 1, bSame, &filter};
    return hr;
}

HRESULT VerticalScaler::Scale_Dyn(const uint8_t* _pSrc, uint8_t* _pDst, int32_t _nSrcHeight, int32_t _nDstHeight,
                                  size_t _cbRow, ptrdiff_t _nSrcStride, ptrdiff_t _nDstStride, double _dblWidth,
                                  uint32_t _nFlags, bool _bThreads) {
    if (!_pSrc || !_pDst) return E_POINTER;
    const int64_t nSrcRows = std::abs(int64_t{_nSrcHeight}), nDstRows = std::abs(int64_t{_nDstHeight});
    if (nSrcRows < 1 || nDstRows < 1 || nSrcRows > kMaxPictureSide || nDstRows > kMaxPictureSide) return E_INVALIDARG;
    const auto UpwardFromLast = [](uint8_t* _p, ptrdiff_t _nStride, int32_t _nHeight, int64_t _nRows) {
        PLANE plane;
        plane.nHeight = static_cast<int32_t>(_nRows);
        plane.pTop = _nHeight < 0 ? _p + (_nRows - 1) * _nStride : _p;
        plane.nStride = _nHeight < 0 ? -_nStride : _nStride;
        return plane;
    };
    const PLANE src = UpwardFromLast(const_cast<uint8_t*>(_pSrc), _nSrcStride, _nSrcHeight, nSrcRows);
    const PLANE dst = UpwardFromLast(_pDst, _nDstStride, _nDstHeight, nDstRows);
    const auto Span = [](ptrdiff_t _nStride) { return static_cast<size_t>(std::abs(_nStride)); };
    const size_t cbRow = std::min({_cbRow, Span(_nSrcStride), Span(_nDstStride)});

    mtx.Lock();
    VERTICAL_PASS pass;
    const HRESULT hr = Prepare(src.nHeight, dst.nHeight, _dblWidth, _nFlags, pass);
    if (Succeeded(hr)) {
        RunSlices(SliceCount(_bThreads), dst.nHeight, [&](int32_t, int32_t _nFirst, int32_t _nEnd) {
            for (int32_t y = _nFirst; y < _nEnd; ++y) {
                const uint8_t* pRow = VerticalRow(pass, src, y, dst.Row(y), cbRow);
                if (pRow != dst.Row(y)) std::memcpy(dst.Row(y), pRow, cbRow);
            }
        });
    }
    mtx.Unlock();
    return Failed(hr) ? hr : S_OK;
}

const uint8_t* VerticalRow(const VERTICAL_PASS& _pass, const PLANE& _src, int32_t _y, uint8_t* _pDst, size_t _cbRow) {
    if (_pass.bCopy) return _src.Row(_pass.CopyOf(_y));
    const WEIGHED_ROWS rows(_pass, _src, _y);
    WeighRows(rows.arrRows, rows.weights, _pass.NextRows(_src, _y), _pDst, _cbRow);
    return _pDst;
}

int32_t SliceCount(bool _bThreads) { return _bThreads ? std::clamp(RowThreads(), 1, kMaxSlices) : 1; }

int32_t LatePictures() { return g_nLatePictures.load(std::memory_order_relaxed); }

void NoteSlicesTime(int64_t _rtTaken) {
    if (_rtTaken > kSlicesLimit) g_nLatePictures.fetch_add(1, std::memory_order_relaxed);
}

}  // namespace zr
