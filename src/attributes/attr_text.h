#pragma once
// How each kind of attribute value is read from text and printed. Reading never fails: what makes no sense is zero, or
// the default where there is one. Printing appends.

#include <string_view>

#include "attributes/attr_types.h"
#include "attributes/tree_text.h"

namespace zr {

// "0", "false": false; "1", "true", "yes", "only", "on", "y": true; else whether it is an integer above 0.
bool ReadBool(std::u16string_view _text);
void PrintBool(bool _bValue, TreeText& _out);

// A number with "%", "px" or "pt" directly behind it, or nothing known.
AttrMeasure ReadMeasure(std::u16string_view _text);
void PrintMeasure(const AttrMeasure& _value, TreeText& _out);

// A number; "%" directly behind it divides by 100; "true" is 1.
double ReadDoubleValue(std::u16string_view _text);
// Six digits after the point without the zeros at their end, at least one.
void PrintDouble(double _dblValue, TreeText& _out);

// Pairs of hexadecimal digits in the order of the text, whatever is between them; all zero unless there are 16.
GUID ReadGuid(std::u16string_view _text);
void PrintGuid(const GUID& _id, TreeText& _out);  // {...}

// The name of a picture format, or any four characters; else 0.
AttrFourCC ReadFourCC(std::u16string_view _text);
void PrintFourCC(AttrFourCC _code, TreeText& _out);

// A name or hexadecimal RGB, RRGGBB or AARRGGBB, an alpha in brackets behind it: "Red(128)", "F00", "80FF0000".
// Beware that most punctuation ends the text, a "#" or a point too: "#FF0000", as printed, reads as the default.
// The names that it knows, joined by ", ".
std::u16string ColourNamesText();
AttrColour ReadColour(std::u16string_view _text, AttrColour _default);
void PrintColour(AttrColour _colour, TreeText& _out);

enum class DateParts { kDateAndTime, kTimeOnly };

// The last word is the time, read from its end: seconds, minutes and hours between ":" or behind "h", "m", "s". Unless
// there are hours or a fraction it all counts sixtyfold: "90" is 90 minutes, "1:30" an hour and a half, "90.0" 90
// seconds. What is in front may be a date: "2024-05-31", "31/05/2024" or "31.05.2024".
AttrDateTime ReadDateTime(std::u16string_view _text, DateParts _eParts = DateParts::kDateAndTime);
void PrintDateTime(const AttrDateTime& _time, TreeText& _out);

}  // namespace zr
