#pragma once
// The conversions of zr/utf8.h under names that say both ends.

#include <string>
#include <string_view>

#include "zr/utf8.h"

namespace zr {

inline std::u16string Utf16FromUtf8(std::string_view _sv) { return ToUtf16(_sv); }
inline std::string Utf8FromUtf16(std::u16string_view _sv) { return ToUtf8(_sv); }

}  // namespace zr
