#pragma once
// Names, and paths: names joined by "::".

#include <algorithm>
#include <string_view>

#include "attributes/name_hash.h"

namespace zr {

// Where the first "::" stands, or npos.
constexpr size_t FindPathSeparator(std::u16string_view _path) {
    for (size_t i = 0; i + 1 < _path.size(); ++i)
        if (_path[i] == u':' && _path[i + 1] == u':') return i;
    return std::u16string_view::npos;
}

// Takes the first name off a path. False, and nothing taken, when it is the last.
constexpr bool CutPath(std::u16string_view& _path, std::u16string_view& _name) {
    const size_t i = FindPathSeparator(_path);
    if (i == _path.npos) return false;
    _name = _path.substr(0, i);
    _path.remove_prefix(i + 2);
    return true;
}

// A tag says the type up to a dot; what stands behind it is its own.
constexpr uint64_t TypeHashOf(std::u16string_view _tag) { return NameHash(_tag.substr(0, _tag.find(u'.'))); }

// XML can be written with it as a tag. Of what is not ASCII nearly all are taken for letters.
constexpr bool IsXmlName(std::u16string_view _name) {
    const auto First = [](char16_t _ch) {
        return (_ch >= u'a' && _ch <= u'z') || (_ch >= u'A' && _ch <= u'Z') || _ch == u'_' || _ch == u':' ||
               (_ch >= 0xC0 && _ch < 0xFDEF);
    };
    return !_name.empty() && First(_name[0]) && std::all_of(_name.begin(), _name.end(), [&](char16_t _ch) {
        return First(_ch) || (_ch >= u'0' && _ch <= u'9') || _ch == u'-' || _ch == u'.';
    });
}

// In a tag it is the name of one attribute, and leaves the tag to end where it does. Keys set by hosts can be anything;
// code units from 0xFDEF on are read as blanks.
constexpr bool IsXmlAttributeName(std::u16string_view _name) {
    return !_name.empty() && std::none_of(_name.begin(), _name.end(), [](char16_t _ch) {
        return _ch <= u' ' || _ch >= 0xFDEF || std::u16string_view(u"='\"<>").find(_ch) != std::u16string_view::npos;
    });
}

}  // namespace zr
