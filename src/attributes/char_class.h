#pragma once
// The classes of characters that the reader of nodes and of attribute lines knows, and comparing without case.

#include <algorithm>
#include <string_view>

namespace zr {

// What text is trimmed of. The upper range begins where it does because files are written for it.
constexpr bool IsTextTrim(char16_t _ch) { return _ch == u'\n' || _ch == u'\r' || _ch == u'\t' || _ch >= 0xFDEF; }

// What separates words in a tag and in an attribute line.
constexpr bool IsBlank(char16_t _ch) { return _ch == u' ' || IsTextTrim(_ch); }

// What ends the name of a tag.
constexpr bool IsTagNameEnd(char16_t _ch) {
    switch (_ch) {
        case 0:
        case u';':
        case u',':
        case u'<':
        case u'>':
        case u'/':
        case u'\\':
        case u'=': return true;
        default: return IsBlank(_ch);
    }
}

constexpr char16_t ToLower(char16_t _ch) {
    return _ch >= u'A' && _ch <= u'Z' ? static_cast<char16_t>(_ch + (u'a' - u'A')) : _ch;
}

// Names and keywords are plain ASCII: no other letter has a case here.
constexpr bool EqualNoCase(std::u16string_view _a, std::u16string_view _b) {
    return std::equal(_a.begin(), _a.end(), _b.begin(), _b.end(),
                      [](char16_t _x, char16_t _y) { return ToLower(_x) == ToLower(_y); });
}

}  // namespace zr
