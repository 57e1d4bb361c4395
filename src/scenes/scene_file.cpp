#include "scenes/scene_file.h"

#include "platform/file.h"

namespace zr {
namespace {

constexpr size_t kMaxPath = 4096;

bool IsSeparator(char16_t _ch) { return _ch == u'/' || _ch == u'\\'; }

}  // namespace

bool IsSceneFile(std::u16string_view _text) {
    if (_text.empty() || _text.size() > kMaxPath || _text.find_first_of(u"<\n") != _text.npos) return false;
    return Succeeded(File().Open(std::u16string(_text).c_str(), File::Access::Read));
}

bool IsAbsolutePath(std::u16string_view _path) { return _path.starts_with(u'/'); }

std::u16string_view FolderOf(std::u16string_view _file) {
    const size_t n = _file.rfind(u'/');
    return n == _file.npos ? std::u16string_view() : _file.substr(0, n == 0 ? 1 : n);
}

std::u16string_view BareName(std::u16string_view _file) {
    const size_t n = _file.rfind(u'/');
    if (n != _file.npos) _file.remove_prefix(n + 1);
    const size_t nDot = _file.rfind(u'.');
    return nDot == _file.npos || nDot == 0 ? _file : _file.substr(0, nDot);
}

bool ResolvePath(std::u16string_view _folder, std::u16string_view _path, std::u16string& _strResolved) {
    _strResolved = _path;
    if (_path.empty() || IsAbsolutePath(_path) || _path.find(u"://") != _path.npos) return true;
    int nDepth = 0;
    for (size_t i = 0; i <= _path.size();) {
        size_t nEnd = i;
        while (nEnd < _path.size() && !IsSeparator(_path[nEnd])) ++nEnd;
        const std::u16string_view part = _path.substr(i, nEnd - i);
        if (part == u"..")
            --nDepth;
        else if (!part.empty() && part != u".")
            ++nDepth;
        if (nDepth < 0) return false;
        i = nEnd + 1;
    }
    if (!_folder.empty()) {
        _strResolved = _folder;
        if (!_folder.ends_with(u'/')) _strResolved += u'/';
        _strResolved += _path;
    }
    return true;
}

std::u16string_view RelativePath(std::u16string_view _folder, std::u16string_view _path) {
    if (_folder.empty() || !_path.starts_with(_folder)) return _path;
    std::u16string_view rest = _path.substr(_folder.size());
    if (!_folder.ends_with(u'/')) {
        if (!rest.starts_with(u'/')) return _path;
        rest.remove_prefix(1);
    }
    return rest.empty() || rest.starts_with(u'/') || rest.find(u"..") != rest.npos ? _path : rest;
}

}  // namespace zr
