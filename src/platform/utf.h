#pragma once
// Text between UTF-8, which files and the system speak, and UTF-16, which the library speaks.

#include <string>
#include <string_view>

namespace zr {

// Never fails: each malformed run (the longest that could have begun a character, or one byte) becomes U+FFFD.
// At most as many units as bytes. Throws std::bad_alloc.
std::u16string Utf16FromUtf8(std::string_view _sv);
// A surrogate without its partner becomes U+FFFD. Throws std::bad_alloc.
std::string Utf8FromUtf16(std::u16string_view _sv);

}  // namespace zr
