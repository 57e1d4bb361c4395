#include "scenes/scene_file.h"

#include <cstring>
#include <vector>

#include "platform/file.h"
#include "platform/utf.h"

namespace zr {
namespace {

constexpr uint64_t kMaxFile = uint64_t{256} << 20;
constexpr size_t kMaxPath = 4096;

std::u16string FromUtf16Bytes(const std::string& _bytes, bool _bSwap) {
    std::u16string strText((_bytes.size() - 2) / 2, u'\0');
    std::memcpy(strText.data(), _bytes.data() + 2, strText.size() * 2);
    if (_bSwap)
        for (char16_t& ch : strText) ch = static_cast<char16_t>(ch << 8 | ch >> 8);
    return strText;
}

bool IsSeparator(char16_t _ch) { return _ch == u'/' || _ch == u'\\'; }

}  // namespace

bool IsSceneFile(std::u16string_view _text) {
    if (_text.empty() || _text.size() > kMaxPath || _text.find_first_of(u"<\n") != _text.npos) return false;
    return Succeeded(File().Open(std::u16string(_text).c_str(), File::Access::Read));
}

HRESULT ReadSceneFile(const std::u16string& _strName, std::u16string& _strText) {
    File file;
    uint64_t cb = 0;
    HRESULT hr = file.Open(_strName.c_str(), File::Access::Read);
    if (Succeeded(hr)) hr = file.Size(&cb);
    if (Failed(hr)) return hr;
    if (cb > kMaxFile) return ZR_E_INVALID_DATA;
    std::string bytes(static_cast<size_t>(cb), '\0');
    size_t cbRead = 0;
    hr = file.ReadAt(0, bytes.data(), bytes.size(), &cbRead);
    if (Failed(hr)) return hr;
    bytes.resize(cbRead);
    if (bytes.starts_with("\xFF\xFE"))
        _strText = FromUtf16Bytes(bytes, false);
    else if (bytes.starts_with("\xFE\xFF"))
        _strText = FromUtf16Bytes(bytes, true);
    else
        _strText = Utf16FromUtf8(std::string_view(bytes).substr(bytes.starts_with("\xEF\xBB\xBF") ? 3 : 0));
    return S_OK;
}

HRESULT WriteSceneFile(const std::u16string& _strName, std::u16string_view _text, bool _bUtf16) {
    if (!_bUtf16) {
        const std::string bytes = Utf8FromUtf16(_text);
        return ReplaceFile(_strName.c_str(), bytes.data(), bytes.size());
    }
    std::u16string strMarked(1, u'\xFEFF');
    strMarked += _text;
    return ReplaceFile(_strName.c_str(), strMarked.data(), strMarked.size() * 2);
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
