#pragma once
// Paths: names joined by "::".

#include <string_view>

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

}  // namespace zr
