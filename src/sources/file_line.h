#pragma once
// The line of parameters with which a file is opened.

#include <string>
#include <string_view>

#include "attributes/co_xml_node.h"

namespace zr {

// Whether an attribute line has the name, with or without a value.
bool NamesKey(std::u16string_view _line, std::u16string_view _name);

// _line with what of _output it leaves open. _output says what format the frames are for: as far as it is a picture's
// size and rate it goes in whole or, where _line names any of them, not at all.
std::u16string CompleteFileLine(std::u16string_view _line, std::u16string_view _output);

// The attributes of a line that say what format the frames are to have, or null without any.
XMLNodePtr FormatOfLine(std::u16string_view _line);

}  // namespace zr
