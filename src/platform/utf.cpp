#include "platform/utf.h"

#include <cstddef>
#include <cstdint>

namespace zr {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Takes one character off the front of _sv, which is not empty.
char32_t NextCharacter(std::string_view& _sv) {
    const auto nLead = static_cast<uint8_t>(_sv[0]);
    _sv.remove_prefix(1);
    if (nLead < 0x80) return nLead;
    if (nLead < 0xC2 || nLead > 0xF4) return kReplacement;
    int nMore = nLead < 0xE0 ? 1 : nLead < 0xF0 ? 2 : 3;
    char32_t ch = nLead & (0x3Fu >> nMore);
    // The second byte's range excludes overlong forms, surrogates and what lies above U+10FFFF.
    uint8_t nLow = nLead == 0xE0 ? 0xA0 : nLead == 0xF0 ? 0x90 : 0x80;
    uint8_t nHigh = nLead == 0xED ? 0x9F : nLead == 0xF4 ? 0x8F : 0xBF;
    for (; nMore > 0; --nMore) {
        if (_sv.empty()) return kReplacement;
        const auto nByte = static_cast<uint8_t>(_sv[0]);
        if (nByte < nLow || nByte > nHigh) return kReplacement;
        _sv.remove_prefix(1);
        ch = ch << 6 | (nByte & 0x3Fu);
        nLow = 0x80;
        nHigh = 0xBF;
    }
    return ch;
}

void AppendUtf8(std::string& _str, char32_t _ch) {
    if (_ch < 0x80) {
        _str += static_cast<char>(_ch);
        return;
    }
    const int nMore = _ch < 0x800 ? 1 : _ch < 0x10000 ? 2 : 3;
    _str += static_cast<char>((0xFF00u >> (nMore + 1)) | _ch >> (6 * nMore));
    for (int i = nMore - 1; i >= 0; --i) _str += static_cast<char>(0x80 | ((_ch >> (6 * i)) & 0x3F));
}

}  // namespace

std::u16string Utf16FromUtf8(std::string_view _sv) {
    std::u16string str;
    str.reserve(_sv.size());
    while (!_sv.empty()) {
        const char32_t ch = NextCharacter(_sv);
        if (ch < 0x10000) {
            str += static_cast<char16_t>(ch);
        } else {
            str += static_cast<char16_t>(0xD7C0 + (ch >> 10));
            str += static_cast<char16_t>(0xDC00 + (ch & 0x3FF));
        }
    }
    return str;
}

std::string Utf8FromUtf16(std::u16string_view _sv) {
    std::string str;
    str.reserve(_sv.size());
    for (size_t i = 0; i < _sv.size(); ++i) {
        char32_t ch = _sv[i];
        if (ch >= 0xD800 && ch < 0xE000) {
            const bool bPair = ch < 0xDC00 && i + 1 < _sv.size() && _sv[i + 1] >= 0xDC00 && _sv[i + 1] < 0xE000;
            ch = bPair ? 0x10000 + ((ch & 0x3FF) << 10) + (_sv[++i] & 0x3FF) : kReplacement;
        }
        AppendUtf8(str, ch);
    }
    return str;
}

}  // namespace zr
