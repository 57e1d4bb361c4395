#pragma once
// UTF-8 for C++ hosts: conversion, a holder of interface texts, and sentences for status codes.
//
// Nothing here fails for what a text holds: what is malformed becomes U+FFFD. Functions that return a std::string or
// make a Text throw std::bad_alloc when memory is out, and nothing else. Any thread; a Text is used by one at a time.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "zr/status.h"
#include "zr/text.h"

namespace zr {

namespace detail {

// Takes one character off the front of _text, which is not empty. Malformed bytes are taken as The Unicode Standard 3.9
// recommends: the longest start of a character that could have gone on, or else one byte, for one U+FFFD.
inline char32_t TakeUtf8(std::string_view& _text) {
    const auto nLead = static_cast<uint8_t>(_text[0]);
    _text.remove_prefix(1);
    if (nLead < 0x80) return nLead;
    if (nLead < 0xC2 || nLead > 0xF4) return 0xFFFD;
    int nMore = nLead < 0xE0 ? 1 : nLead < 0xF0 ? 2 : 3;
    char32_t ch = nLead & (0x3Fu >> nMore);
    // Narrower for the second byte: no overlong form, no surrogate, nothing above U+10FFFF.
    uint8_t nLeast = nLead == 0xE0 ? 0xA0 : nLead == 0xF0 ? 0x90 : 0x80;
    uint8_t nMost = nLead == 0xED ? 0x9F : nLead == 0xF4 ? 0x8F : 0xBF;
    for (; nMore > 0; --nMore) {
        if (_text.empty()) return 0xFFFD;
        const auto nByte = static_cast<uint8_t>(_text[0]);
        if (nByte < nLeast || nByte > nMost) return 0xFFFD;
        _text.remove_prefix(1);
        ch = ch << 6 | (nByte & 0x3Fu);
        nLeast = 0x80;
        nMost = 0xBF;
    }
    return ch;
}

// The same for UTF-16: a surrogate without its partner is taken for U+FFFD.
inline char32_t TakeUtf16(std::u16string_view& _text) {
    const char32_t ch = _text[0];
    _text.remove_prefix(1);
    if (ch < 0xD800 || ch > 0xDFFF) return ch;
    if (ch > 0xDBFF || _text.empty() || _text[0] < 0xDC00 || _text[0] > 0xDFFF) return 0xFFFD;
    const char32_t chLow = _text[0];
    _text.remove_prefix(1);
    return 0x10000 + ((ch - 0xD800) << 10) + (chLow - 0xDC00);
}

inline void AppendUtf8(std::string& _str, char32_t _ch) {
    if (_ch < 0x80) {
        _str += static_cast<char>(_ch);
        return;
    }
    const int nMore = _ch < 0x800 ? 1 : _ch < 0x10000 ? 2 : 3;
    _str += static_cast<char>((0xFF00u >> (nMore + 1) & 0xFF) | _ch >> (6 * nMore));
    for (int i = nMore - 1; i >= 0; --i) _str += static_cast<char>(0x80 | (_ch >> (6 * i) & 0x3F));
}

}  // namespace detail

// Zeros inside go along; a byte order mark stays.
inline std::u16string ToUtf16(std::string_view _text) {
    std::u16string str;
    str.reserve(_text.size());  // no byte makes more than one unit
    while (!_text.empty()) {
        const char32_t ch = detail::TakeUtf8(_text);
        if (ch < 0x10000) {
            str += static_cast<char16_t>(ch);
        } else {
            str += static_cast<char16_t>(0xD800 + ((ch - 0x10000) >> 10));
            str += static_cast<char16_t>(0xDC00 + (ch & 0x3FF));
        }
    }
    return str;
}

inline std::string ToUtf8(std::u16string_view _text) {
    std::string str;
    str.reserve(_text.size());
    while (!_text.empty()) detail::AppendUtf8(str, detail::TakeUtf16(_text));
    return str;
}

// Owns one text of an interface and frees it. An empty holder has no text at all, which is not the empty text.
class Text {
public:
    Text() = default;
    explicit Text(std::u16string_view _text) : bs(Copy(_text)) {}
    explicit Text(std::string_view _utf8) : Text(std::u16string_view(ToUtf16(_utf8))) {}
    Text(Text&& _other) noexcept : bs(std::exchange(_other.bs, nullptr)) {}
    Text& operator=(Text _other) noexcept {
        std::swap(bs, _other.bs);
        return *this;
    }
    ~Text() { SysFreeString(bs); }

    // For an operation that hands a text out: frees the held one first.
    BSTR* Out() {
        SysFreeString(std::exchange(bs, nullptr));
        return &bs;
    }
    // For an operation that takes a text and puts another in its place, freeing the first itself.
    BSTR* InOut() { return &bs; }
    // For an operation that takes a text; null when there is none.
    const char16_t* Get() const { return bs; }
    // Gives the text away, to be freed by SysFreeString; the holder is empty afterwards.
    [[nodiscard]] BSTR Detach() { return std::exchange(bs, nullptr); }

    // Good until the holder changes; empty when there is no text.
    std::u16string_view View() const { return {bs ? bs : u"", SysStringLen(bs)}; }
    std::string Utf8() const { return ToUtf8(View()); }
    explicit operator bool() const { return bs != nullptr; }

private:
    static BSTR Copy(std::u16string_view _text) {
        if (_text.size() > std::numeric_limits<uint32_t>::max()) throw std::bad_alloc();
        const BSTR bsCopy = SysAllocStringLen(_text.empty() ? u"" : _text.data(), static_cast<uint32_t>(_text.size()));
        if (!bsCopy) throw std::bad_alloc();
        return bsCopy;
    }

    BSTR bs = nullptr;
};

// Calls an operation that hands a text out and gives it as UTF-8; empty when it failed or gave none.
//     std::string strName;
//     HRESULT hr = GetText([&](BSTR* _pbs) { return pObject->ObjectNameGet(_pbs); }, strName);
template <class Getter>
HRESULT GetText(Getter&& _getter, std::string& _strUtf8) {
    _strUtf8.clear();
    Text text;
    const HRESULT hr = std::forward<Getter>(_getter)(text.Out());
    if (Succeeded(hr)) _strUtf8 = text.Utf8();
    return hr;
}

// What a status means, as one English sentence; for a code without a name here its number.
inline std::string StatusText(HRESULT _hr) {
    switch (_hr) {
        case S_OK: return "Done.";
        case S_FALSE: return "Nothing was done, or nothing is there.";
        case E_NOTIMPL: return "The object does not do this.";
        case E_NOINTERFACE: return "The object does not have the interface.";
        case E_POINTER: return "A pointer that is needed is null.";
        case E_ABORT: return "The operation was aborted.";
        case E_FAIL: return "The operation failed.";
        case E_UNEXPECTED: return "The object is not in a state that allows this.";
        case CLASS_E_NOAGGREGATION: return "The class cannot be part of another object.";
        case static_cast<HRESULT>(0x80040111u): return "The library has no such class.";
        case REGDB_E_CLASSNOTREG: return "Nobody has registered the class.";
        case static_cast<HRESULT>(0x80040200u):
            return "The picture format is incomplete, or there is no such connection.";
        case static_cast<HRESULT>(0x80040201u): return "There is no conversion between the two pixel formats.";
        case static_cast<HRESULT>(0x80040202u): return "The listener has none of the event interfaces.";
        case ZR_E_RETRY: return "Not now: try again.";
        case static_cast<HRESULT>(0x80040204u): return "Another sender is connected already.";
        case ZR_E_NOT_RUNNING: return "The object is not running.";
        case ZR_E_WRONG_STATE: return "The object's state forbids this.";
        case static_cast<HRESULT>(0x8004022Au): return "The two pictures do not have formats that mix.";
        case static_cast<HRESULT>(0x80040231u): return "The two objects have no way to connect.";
        case ZR_E_NOT_FOUND_FILE: return "There is no such file, stream, scene or channel.";
        case E_ACCESSDENIED: return "Access was denied.";
        case ZR_E_INVALID_DATA: return "The data contradict themselves.";
        case E_OUTOFMEMORY: return "Memory is out.";
        case ZR_E_NOT_SUPPORTED: return "This is not supported.";
        case Win32Error(80): return "The frame comes from a sender that is not connected.";
        case E_INVALIDARG: return "An argument is wrong.";
        case Win32Error(112): return "The disk is full.";
        case Win32Error(123): return "The name or the type is not allowed here.";
        case ZR_E_EXISTS: return "It exists already.";
        case Win32Error(1059): return "An element cannot be its own parent.";
        case Win32Error(1100): return "The media has ended.";
        case ZR_E_NOT_FOUND: return "There is nothing of that name.";
        case ZR_E_BAD_INDEX: return "The index is out of range.";
        case ZR_E_TIMEOUT: return "The time ran out.";
        case ZR_E_EMPTY: return "It is empty.";
        default: break;
    }
    char szCode[32];
    std::snprintf(szCode, sizeof(szCode), "Status 0x%08X.", static_cast<unsigned>(_hr));
    return szCode;
}

}  // namespace zr
