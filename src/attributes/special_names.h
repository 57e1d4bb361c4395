#pragma once
// Names that every object answers with data of the library and its process. They can be read, not set.

#include <span>
#include <string>
#include <string_view>

namespace zr {

struct SPECIAL_NAME {
    const char16_t* szName;
    std::u16string (*pfnValue)();
    const char* szHelp;
};

std::span<const SPECIAL_NAME> SpecialNames();
// The row of _strName, null when it is an ordinary name.
const SPECIAL_NAME* FindSpecialName(std::u16string_view _strName);

}  // namespace zr
