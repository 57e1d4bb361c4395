#pragma once
// Where an element stands: position names, its rectangle in its parent, the fit to a picture's aspect, and the places
// that follow the sibling before. Functions of their arguments, without a tree.

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/lock.h"
#include "platform/ref_object.h"
#include "zr/records.h"

namespace zr {

// Edges in output pixels from the upper left corner, or fractions of a whole. Right and bottom lie just outside.
struct RECT_F {
    float left = 0, top = 0, right = 0, bottom = 0;

    float Width() const { return right - left; }
    float Height() const { return bottom - top; }
    bool operator==(const RECT_F&) const = default;
};

// The names of `pos` and `spos`. Bits 0 and 1 of the place in the table are horizontal: 0 centre, 1 left, 2 right,
// 3 justify; bits 2 and 3 vertical: 0 middle, 1 top, 2 bottom; bit 4 front, bit 5 back. 48 is "auto".
inline constexpr int32_t kPositionNames = 49;
std::u16string_view PositionName(int32_t _nIndex);
// All that can stand there, with the places that follow the sibling before, joined by ", ".
std::u16string PositionNamesText();

enum class eCursorPlace : uint8_t { None, NextRow, NextCol, NextH, NextV };
struct POSITION {
    uint8_t nIndex = 0;                         // in the table; a name that is not there is "center"
    eCursorPlace eCursor = eCursorPlace::None;  // a place that follows the sibling before
    bool operator==(const POSITION&) const = default;
};
// Without regard to case.
POSITION ReadPosition(std::u16string_view _name);

// Puts a rectangle of its size at its offset into a parent. Centre: the offset is that of the centres, x to the right
// and y up. Left and top, and what is justified: from that edge inward, y down; right and bottom: inward from there.
RECT_F PlaceByFlags(int32_t _nIndex, double _dblX, double _dblY, double _dblW, double _dblH, const RECT_F& _parent);

// What an element says of its place at one time: fractions of its parent.
struct PLACE_INPUT {
    double dblX = 0, dblY = 0, dblW = 1, dblH = 1;
    double dblSw = 1, dblSh = 1;  // of the picture that is seen
    POSITION position;
    bool bHasHeight = false;   // it has a height of its own: the fit changes the width
    bool bMaintainAr = false;  // it is fitted to the picture's aspect
    bool operator==(const PLACE_INPUT&) const = default;
};

// The rectangle in output pixels. _source: the picture's record, null or invalid when there is none: it is not fitted
// then. _previous: that of the sibling before, for the first one EmptyCursor(_parent).
//
// The fit takes the parent to have the shape of the output: in a group of another shape the picture is stretched to it.
RECT_F PlaceElement(const PLACE_INPUT& _input, const ZR_VID_PROPS* _pSource, const ZR_VID_PROPS& _output,
                    const RECT_F& _parent, const RECT_F& _previous);
// Where the first child begins: the parent's upper left corner.
inline RECT_F EmptyCursor(const RECT_F& _parent) { return {_parent.left, _parent.top, _parent.left, _parent.top}; }

// Display aspect; that of square pixels where the record gives none. 0: there is no picture.
double DisplayAspect(const ZR_VID_PROPS& _props);

// The part of a picture that is seen, in fractions of it; may reach outside of it.
RECT_F PlaceCrop(double _dblSx, double _dblSy, double _dblSw, double _dblSh, const POSITION& _spos);

// Left before right, top before bottom.
RECT_F Ordered(const RECT_F& _rect);

// The object "dst_rect" of an element, written by the drawing and read by hit tests: where it stands on the output, in
// fractions of the output, and the part of the picture that it shows. Any thread.
class ElementRects final : public AutoObjBase<ElementRects> {
public:
    struct RECTS {
        RECT_F dst, src{0, 0, 1, 1};
    };
    void Set(const RECTS& _rects) {
        MutexLock lock(mtx);
        rects = _rects;
    }
    RECTS Get() const {
        MutexLock lock(mtx);
        return rects;
    }

private:
    mutable Mutex mtx;  // a leaf
    RECTS rects ZR_GUARDED_BY(mtx);
};

}  // namespace zr
