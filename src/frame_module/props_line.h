#pragma once
// The list of properties that frame operations take: an attribute line such as "scaling_quality=8 color=red".

#include <cstdint>
#include <string_view>

namespace zr {

// The text of an attribute in a line, names compared without case; false when it is not there. _szLine may be null.
bool FindInLine(const char16_t* _szLine, std::u16string_view _svName, std::u16string_view* _psvValue);
// Its number, or the default.
int32_t IntInLine(const char16_t* _szLine, std::u16string_view _svName, int32_t _nDefault);
bool BoolInLine(const char16_t* _szLine, std::u16string_view _svName, bool _bDefault);

}  // namespace zr
