#include "mixer/coverage.h"

#include <algorithm>
#include <cstdlib>

namespace zr {

namespace {

// Edges so near to the next cell's border count as on it.
constexpr double kAlmostOne = 0.9995;
// A cell that shows less than one step of eight bits shows nothing.
constexpr double kLeastWeight = 0.00390625;

// One direction of a rectangle on the grid: the cells that it touches, and of these the ones that it covers all over.
struct SPAN {
    int32_t nFirst, nEnd, nSolidFirst, nSolidEnd;
};

SPAN GridSpan(float _from, float _to, int32_t _nPixels, int32_t _nCells) {
    const double dblScale = static_cast<double>(_nCells) / _nPixels;
    double dblFrom = _from * dblScale, dblTo = _to * dblScale;
    if (dblTo < dblFrom) std::swap(dblFrom, dblTo);
    dblFrom = std::clamp(dblFrom, 0.0, 1.0 * _nCells);
    dblTo = std::clamp(dblTo, 0.0, 1.0 * _nCells);
    const auto Cut = [](double _dbl) { return static_cast<int32_t>(_dbl); };
    return {Cut(dblFrom), Cut(dblTo + kAlmostOne), Cut(dblFrom + kAlmostOne), Cut(dblTo)};
}

bool IsSolid(const SPAN& _span, int32_t _n) { return _n >= _span.nSolidFirst && _n < _span.nSolidEnd; }

}  // namespace

void GLRectAuto::Clear() {
    arrCells.fill({});
    nCells = 0;
    dblSum = 0;
}

void GLRectAuto::Fill(const RECT_F& _rect, int32_t _nWidth, int32_t _nHeight, double _dblWeight) {
    Clear();
    const int32_t nLines = std::abs(_nHeight);
    if (_nWidth < 1 || nLines < 1) return;
    const SPAN columns = GridSpan(_rect.left, _rect.right, _nWidth, kColumns);
    const SPAN rows = GridSpan(_rect.top, _rect.bottom, nLines, kRows);
    for (int32_t nRow = rows.nFirst; nRow < std::min(rows.nEnd, kRows); ++nRow) {
        for (int32_t nColumn = columns.nFirst; nColumn < std::min(columns.nEnd, kColumns); ++nColumn) {
            const bool bSolid = IsSolid(columns, nColumn) && IsSolid(rows, nRow);
            const double dblWeight = bSolid ? _dblWeight : _dblWeight / 2;
            Put(arrCells[Index(nColumn, nRow)], dblWeight, bSolid);
            dblSum += dblWeight;
        }
    }
}

void GLRectAuto::PutOnTop(GLRectAuto& _cover) const {
    for (size_t i = 0; i < arrCells.size(); ++i)
        if (arrCells[i].bThere && arrCells[i].bSolid) _cover.Put(_cover.arrCells[i], arrCells[i].dblWeight, true);
}

void GLRectAuto::PutUnder(GLRectAuto& _cover) {
    dblSum = 0;
    for (size_t i = 0; i < arrCells.size(); ++i) {
        CELL& cell = arrCells[i];
        CELL& above = _cover.arrCells[i];
        if (!cell.bThere) continue;
        if (!above.bThere) {
            if (cell.bSolid) _cover.Put(above, cell.dblWeight, true);
            dblSum += cell.dblWeight;
            continue;
        }
        if (above.dblWeight >= 1.0) {
            Erase(cell);
            continue;
        }
        const double dblOwn = cell.dblWeight, dblAbove = above.dblWeight;
        cell.dblWeight = dblOwn * (1 - dblAbove);
        above.dblWeight = 1 - (1 - dblOwn) * (1 - dblAbove);
        if (cell.dblWeight < kLeastWeight)
            Erase(cell);
        else
            dblSum += cell.dblWeight;
    }
}

}  // namespace zr
