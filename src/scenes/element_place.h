#pragma once
// Where elements stand on the output picture, in fractions of it from the upper left corner.

#include "scenes/element.h"
#include "scenes/placing.h"

namespace zr {

// As it was drawn last, or else as it and its parents say. Under the scenes lock.
RECT_F AbsolutePlace(CoElement& _element);
// Has the element stand there at once. E_INVALIDARG: a number that is none. S_FALSE: its parent has no size.
HRESULT SetAbsolutePlace(CoElement& _element, double _dblX, double _dblY, double _dblW, double _dblH);

// The topmost element of a scene that shows a stream at a point. Empty: none.
ElementPtr ElementAtPoint(CoElement& _scene, double _dblX, double _dblY, bool _bHiddenToo);

}  // namespace zr
