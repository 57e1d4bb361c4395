#pragma once
// Which part of the screen each block really shows, on a grid so coarse that the answer costs nothing.

#include <array>
#include <cstdint>

#include "platform/ref_object.h"
#include "scenes/placing.h"

namespace zr {

// Coverage cells of the screen and the sum of their weights. Its owner's lock guards it.
class GLRectAuto : public AutoObjBase<GLRectAuto> {
public:
    // Whatever the size of the output.
    static constexpr int32_t kColumns = 12, kRows = 8;

    struct CELL {
        double dblWeight = 0;
        bool bThere = false;
        bool bSolid = false;  // covered all over, not only in part
    };

    void Clear();
    // The cells that a rectangle of output pixels touches, at _dblWeight where it covers all of the cell and half of
    // that at its edges. _nHeight may be negative.
    void Fill(const RECT_F& _rect, int32_t _nWidth, int32_t _nHeight, double _dblWeight);
    // Takes this map away from under those above it, which _cover sums up, and adds it to them.
    void PutUnder(GLRectAuto& _cover);
    // As the first of all: _cover is empty and gets the solid cells.
    void PutOnTop(GLRectAuto& _cover) const;

    // Nobody sees a block whose map has no cells or no weight.
    bool IsVisible() const { return nCells > 0 && dblSum > 0; }
    double Sum() const { return dblSum; }
    int32_t Count() const { return nCells; }
    const CELL& At(int32_t _nColumn, int32_t _nRow) const { return arrCells[Index(_nColumn, _nRow)]; }

private:
    static size_t Index(int32_t _nColumn, int32_t _nRow) {
        return static_cast<size_t>(_nRow) * kColumns + static_cast<size_t>(_nColumn);
    }
    void Put(CELL& _cell, double _dblWeight, bool _bSolid) {
        nCells += _cell.bThere ? 0 : 1;
        _cell = {_dblWeight, true, _bSolid};
    }
    void Erase(CELL& _cell) {
        --nCells;
        _cell = {};
    }

    std::array<CELL, kColumns * kRows> arrCells;
    int32_t nCells = 0;
    double dblSum = 0;
};

}  // namespace zr
