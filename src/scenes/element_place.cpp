#include "scenes/element_place.h"

#include <cmath>
#include <vector>

#include "scenes/animated_value.h"
#include "scenes/element_names.h"

namespace zr {
namespace {

using namespace element;

constexpr RECT_F kWhole{0, 0, 1, 1};

bool DrawnPlace(const CoElement& _element, RECT_F& _rect) {
    const auto pRects = _element.ObjectAs<CAutoObj<ElementRects>>(kDstRect);
    if (pRects) _rect = pRects->Get().dst;
    return static_cast<bool>(pRects);
}

POSITION PositionOf(const CoElement& _element) {
    return ReadPosition(_element.AttributeOr(u"pos", std::u16string_view(u"center")));
}

RECT_F PlaceIn(CoElement& _element, const RECT_F& _parent) {
    const ElementValues values(_element, -1, {});
    return PlaceByFlags(PositionOf(_element).nIndex, values[eTimed::X] * static_cast<double>(_parent.Width()),
                        values[eTimed::Y] * static_cast<double>(_parent.Height()),
                        values[eTimed::W] * static_cast<double>(_parent.Width()),
                        values[eTimed::H] * static_cast<double>(_parent.Height()), _parent);
}

}  // namespace

RECT_F AbsolutePlace(CoElement& _element) {
    // Up to the first that has been drawn, or the scene, then down again.
    std::vector<ElementPtr> arrDown;
    RECT_F rect = kWhole;
    for (ElementPtr p(&_element); p && p->HasParent() && !DrawnPlace(*p, rect); p = p->Parent()) arrDown.push_back(p);
    for (size_t i = arrDown.size(); i-- > 0;) rect = PlaceIn(*arrDown[i], rect);
    return rect;
}

HRESULT SetAbsolutePlace(CoElement& _element, double _dblX, double _dblY, double _dblW, double _dblH) {
    for (const double dbl : {_dblX, _dblY, _dblW, _dblH})
        if (!std::isfinite(dbl)) return E_INVALIDARG;
    const ElementPtr pParent = _element.Parent();
    const RECT_F parent = pParent ? AbsolutePlace(*pParent) : kWhole;
    const double dblParentW = static_cast<double>(parent.Width()), dblParentH = static_cast<double>(parent.Height());
    if (dblParentW == 0 || dblParentH == 0) return S_FALSE;
    const int32_t nIndex = PositionOf(_element).nIndex;
    // From where it would stand without an offset; the vertical one goes up from the middle, and from an edge inward.
    const RECT_F zero = PlaceByFlags(nIndex, 0, 0, _dblW, _dblH, parent);
    const double dblRight = _dblX - static_cast<double>(zero.left), dblDown = _dblY - static_cast<double>(zero.top);
    const bool bFromRight = (nIndex & 3) == 2;
    const bool bDownward = (nIndex & 12) == 4 || (nIndex & 12) == 12;
    _element.SetAttribute(u"x", (bFromRight ? -dblRight : dblRight) / dblParentW);
    _element.SetAttribute(u"y", (bDownward ? dblDown : -dblDown) / dblParentH);
    _element.SetAttribute(u"w", _dblW / dblParentW);
    _element.SetAttribute(u"h", _dblH / dblParentH);
    return S_OK;
}

ElementPtr ElementAtPoint(CoElement& _scene, double _dblX, double _dblY, bool _bHiddenToo) {
    const auto fX = static_cast<float>(_dblX), fY = static_cast<float>(_dblY);
    ElementPtr pHit;
    std::vector<ElementPtr> arrWaiting{ElementPtr(&_scene)};
    while (!arrWaiting.empty()) {
        const ElementPtr p = std::move(arrWaiting.back());
        arrWaiting.pop_back();
        RECT_F rect;
        if (DrawnPlace(*p, rect)) {
            rect = Ordered(rect);
            const bool bInside = fX >= rect.left && fX <= rect.right && fY >= rect.top && fY <= rect.bottom;
            if (bInside && p->Object(kVideoBlock) && (_bHiddenToo || p->AttributeOr(kShow.text, true))) pHit = p;
        }
        for (size_t i = p->ChildCount(); i-- > 0;)
            if (ElementPtr pChild = p->ChildAt(i); pChild && !pChild->IsText()) arrWaiting.push_back(std::move(pChild));
    }
    return pHit;
}

}  // namespace zr
