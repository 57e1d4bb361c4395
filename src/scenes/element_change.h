#pragma once
// How the values of an element begin to change over time. Who calls holds the scenes lock, unless nobody draws it.

#include <string_view>

#include "scenes/element.h"

namespace zr {

// Changes one attribute, or with an empty name all those of an attribute line; a value with "<" is a new description
// of the whole element: see ReadElement and ReplaceElement, which it goes through. Paths set what stands in nodes
// below, at once. _dblTime: seconds, 0 at once. _dblDelay: seconds before showing or hiding begins. _pdblTotal (may be
// null): how long showing or hiding takes with all that is nested in it. _nDepth: how many elements it came down
// through. S_FALSE: the attribute has this text already. E_INVALIDARG: the description cannot be read; the element is
// as it was. Throws std::bad_alloc.
HRESULT ElementChange(CoElement& _element, std::u16string_view _name, std::u16string_view _value, double _dblTime,
                      double _dblDelay = 0, double* _pdblTotal = nullptr, int32_t _nDepth = 0);
// The attributes of a line, whatever stands in its values.
void ChangeByLine(CoElement& _element, std::u16string_view _line, double _dblTime);
// The attributes of another node. What is made from what it contains changes at once.
void ChangeTo(CoElement& _element, const CoElement& _target, double _dblTime, double _dblDelay = 0,
              double* _pdblTotal = nullptr, int32_t _nDepth = 0);

// Moves an element to the attributes of another node; goes on from the values that a change under way has reached.
// Allocation failure leaves the element at either end.
void BeginChange(CoElement& _element, const CoElement& _target, double _dblTime, double _dblDelay, double* _pdblTotal,
                 int32_t _nDepth = 0);

// A description in XML as an element that nobody knows yet. Takes no lock, and needs none: it may be long.
// E_INVALIDARG: it cannot be read.
HRESULT ReadElement(std::u16string_view _xml, const CoElement& _for, ElementPtr& _pNew);
// Puts a description in place of an element's attributes and children, and uses it up; the id stays. The tag becomes
// _type, or where that is empty the one of the description. With a time the old one is cross-faded to it. At once, what
// is there as before, by name and type, keeps what it shows.
void ReplaceElement(CoElement& _element, const ElementPtr& _pNew, std::u16string_view _type, double _dblTime = 0,
                    double _dblDelay = 0, double* _pdblTotal = nullptr);

// The element and all that it stands in are shown, or are on their way: changes come to their ends.
bool IsDrawn(const CoElement& _element);

// Drops what belongs to a change or a selection, and all run-time objects: the element is what it says.
void DropRunTimeState(CoElement& _element);

}  // namespace zr
