#pragma once
// Commands to elements: selection, and views. Who calls holds the scenes lock exclusively, but for RunViewStep.

#include <string_view>

#include "scenes/element.h"

namespace zr {

// "select" of ElementInvoke. _param: empty toggles, a bool sets, an attribute line may hold "select" and
// "multiple_select". S_FALSE: it is so already.
HRESULT SelectElement(CoElement& _element, std::u16string_view _param, double _dblTime);
// Puts back at once what selections replaced in a whole scene.
void RestoreSelections(CoElement& _scene);

// Whether an element is a view: it, or what it stands in, is of that type.
bool IsView(const CoElement& _element);
// Goes to a view by way of the views that it lists, one after another as their changes end. E_UNEXPECTED: it is in no
// scene.
HRESULT InvokeView(CoElement& _view, std::u16string_view _param, double _dblTime);
// Goes to the next view that waits, past those that nothing changes by: no change would end and call for the next. For
// the drawing, when a change has ended. False: none waits.
bool RunViewStep(CoElement& _scene);

}  // namespace zr
