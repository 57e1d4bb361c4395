#include "video/scaler_filter.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <numbers>

namespace zr {

namespace {

// Source rows of one output row in the order in which they were found, the nearest first.
struct FOUND_ROWS {
    int32_t nCount = 0;
    int32_t arrRow[kMaxWeighedRows];
    double arrWeight[kMaxWeighedRows];
};

// Gaussian, or the triangle dblPeak - |x| when dblFall is 0.
struct SHAPE {
    double dblPeak, dblFall;
    double At(double _x) const {
        if (dblFall != 0) return std::exp(-_x * _x * dblFall) * dblPeak;
        return std::max(dblPeak - std::abs(_x), 0.0);
    }
};

SHAPE ShapeOf(double _dblRatio, double _dblWidth, bool _bEveryRow, double _dblTriangle) {
    if (_dblWidth <= 0) return {_dblTriangle, 0};
    double dblSigma = _dblRatio <= 1 ? _dblRatio * _dblWidth * 1.5 : _dblRatio * _dblWidth / 1.2;
    if (_bEveryRow) dblSigma /= 2;
    return {1 / (std::sqrt(2 * std::numbers::pi) * dblSigma), 1 / (2 * dblSigma * dblSigma)};
}

// Which rows may be used: those from nFirst to nLast with the parity, every one when nStep is 1.
struct CANDIDATES {
    int32_t nFirst, nLast, nStep;
    bool Has(int64_t _nRow) const {
        return _nRow >= nFirst && _nRow <= nLast && (nStep == 1 || (_nRow & 1) == (nFirst & 1));
    }
};

// Walks outward from the row nearest to the centre, first towards the centre, sides in turn.
FOUND_ROWS FindRows(double _dblCentre, const CANDIDATES& _candidates, int32_t _nTaps, double _dblUnit,
                    const SHAPE& _shape) {
    FOUND_ROWS found;
    const int64_t nNearest = std::llround(_dblCentre), nTowards = _dblCentre < static_cast<double>(nNearest) ? -1 : 1;
    const int32_t nSteps = _nTaps * _candidates.nStep * 2;
    for (int32_t k = 0; k <= nSteps && found.nCount < _nTaps; ++k) {
        const int64_t nRow = nNearest + (k & 1 ? nTowards : -nTowards) * ((k + 1) / 2);
        if (!_candidates.Has(nRow)) continue;
        found.arrRow[found.nCount] = static_cast<int32_t>(nRow);
        found.arrWeight[found.nCount++] = _shape.At((static_cast<double>(nRow) - _dblCentre) * _dblUnit);
    }
    return found;
}

// Weights of 255 in all, rounded in the order of the rows; what is missing goes to the first.
FILTER_ROW Quantise(const FOUND_ROWS& _found) {
    int32_t arrWeight[kMaxWeighedRows] = {};
    double dblSum = 0;
    for (int32_t k = 0; k < _found.nCount; ++k) dblSum += _found.arrWeight[k];
    int32_t nTotal = 0;
    for (int32_t k = 0; k < _found.nCount && dblSum > 0; ++k) {
        const auto nWeight = static_cast<int32_t>(std::lround(_found.arrWeight[k] / dblSum * 255));
        arrWeight[k] = std::min(nWeight, 255 - nTotal);
        nTotal += arrWeight[k];
    }
    arrWeight[0] += 255 - nTotal;

    FILTER_ROW row{};
    row.arrRow[0] = _found.nCount > 0 ? _found.arrRow[0] : 0;  // a source without a line of this parity: its first
    for (int32_t k = 0; k < std::max(_found.nCount, 1); ++k) {
        if (arrWeight[k] == 0) continue;
        ROW_WEIGHTS& weights = row.weights;
        row.arrRow[weights.nRows] = k > 0 ? _found.arrRow[k] : row.arrRow[0];
        weights.arrEven[weights.nRows] = weights.arrOdd[weights.nRows] = static_cast<uint8_t>(arrWeight[k]);
        ++weights.nRows;
    }
    return row;
}

// Both lists as one. The chroma filter has no more rows than the luma filter and finds them in the same order, so that
// the rows of both are those of luma.
FILTER_ROW MergeRows(const FILTER_ROW& _luma, const FILTER_ROW& _chroma, bool _bLumaOdd) {
    FILTER_ROW row = _luma;
    uint8_t(&arrLuma)[kMaxWeighedRows] = _bLumaOdd ? row.weights.arrOdd : row.weights.arrEven;
    uint8_t(&arrChroma)[kMaxWeighedRows] = _bLumaOdd ? row.weights.arrEven : row.weights.arrOdd;
    std::copy(std::begin(_luma.weights.arrEven), std::end(_luma.weights.arrEven), arrLuma);
    std::fill(std::begin(arrChroma), std::end(arrChroma), uint8_t{0});
    for (int32_t k = 0; k < _chroma.weights.nRows; ++k) {
        int32_t nAt = 0;
        while (nAt < row.weights.nRows && row.arrRow[nAt] != _chroma.arrRow[k]) ++nAt;
        if (nAt == row.weights.nRows) {
            if (nAt == kMaxWeighedRows) continue;
            row.arrRow[row.weights.nRows++] = _chroma.arrRow[k];
            arrLuma[nAt] = 0;
        }
        arrChroma[nAt] = _chroma.weights.arrEven[k];
    }
    return row;
}

}  // namespace

HRESULT VerticalFilter::Merge(const VerticalFilter& _luma, const VerticalFilter& _chroma, bool _bLumaOdd) {
    if (nMergedLuma == _luma.nGeneration && nMergedChroma == _chroma.nGeneration && bMergedLumaOdd == _bLumaOdd)
        return S_FALSE;
    nMergedLuma = nMergedChroma = 0;
    try {
        for (int32_t p = 0; p < 2; ++p) arrTables[p].resize(_luma.arrTables[p].size());
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    for (int32_t p = 0; p < 2; ++p)
        for (size_t i = 0; i < arrTables[p].size(); ++i)
            arrTables[p][i] = MergeRows(_luma.arrTables[p][i], _chroma.arrTables[p][i], _bLumaOdd);
    nMergedLuma = _luma.nGeneration;
    nMergedChroma = _chroma.nGeneration;
    bMergedLumaOdd = _bLumaOdd;
    return S_OK;
}

HRESULT VerticalFilter::Init_Dyn(int32_t _nSrcRows, int32_t _nDstRows, uint32_t _nFieldMode, int32_t _nTaps,
                                 double _dblWidth) {
    if (_nSrcRows < 1 || _nDstRows < 1) return E_INVALIDARG;
    _nTaps = std::clamp(_nTaps, 1, kMaxWeighedRows);
    if (_nSrcRows == nSrcRows && _nDstRows == nDstRows && _nFieldMode == nFieldMode && _nTaps == nTaps &&
        _dblWidth == dblWidth)
        return S_FALSE;

    const int32_t nDstStep = _nFieldMode != eScale_Interlaced ? 1 : 2;   // output rows from one of a table to the next
    const int32_t nSrcStep = _nFieldMode != eScale_Progressive ? 2 : 1;  // source rows from one of a table to the next
    const int32_t nRows = _nDstRows / nDstStep;
    const double dblRatio = static_cast<double>(_nSrcRows) / _nDstRows;
    const int32_t nLast = _nSrcRows - 1;
    // The last even line is the bound of the even field only: a progressive picture shows its last line too.
    const CANDIDATES even{0, nSrcStep == 2 ? nLast & ~1 : nLast, nSrcStep}, odd{1, nLast, nSrcStep};
    const double dblUnit = nDstStep == 1 && nSrcStep == 2 ? 2 : 1;
    const SHAPE shape = ShapeOf(dblRatio, _dblWidth, nDstStep == 1 || nSrcStep == 1, nSrcStep);
    nSrcRows = 0;  // not built
    try {
        arrTables[0].resize(static_cast<size_t>(nRows) + 1);
        arrTables[1].resize(nSrcStep == 2 ? arrTables[0].size() : 0);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    for (int32_t i = 0; i <= nRows; ++i) {
        const auto nAt = static_cast<size_t>(i);
        const double dblFirst = static_cast<double>(i) * nDstStep * dblRatio,
                     dblSecond = (nDstStep * (i + 1.0) - 1) * dblRatio;
        arrTables[0][nAt] = Quantise(FindRows(dblFirst, even, _nTaps, dblUnit, shape));
        if (nSrcStep == 2) arrTables[1][nAt] = Quantise(FindRows(dblSecond, odd, _nTaps, dblUnit, shape));
    }
    nSrcRows = _nSrcRows;
    nDstRows = _nDstRows;
    nFieldMode = _nFieldMode;
    nTaps = _nTaps;
    dblWidth = _dblWidth;
    ++nGeneration;
    return S_OK;
}

}  // namespace zr
