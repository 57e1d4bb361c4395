#include "attributes/xml_file.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "platform/file.h"
#include "platform/utf.h"

namespace zr {
namespace {

constexpr uint64_t kMostBytes = uint64_t{256} << 20;
constexpr char16_t kMark = 0xFEFF;

// A name is not longer than that, and has none of these in it.
bool MayBeFileName(std::u16string_view _text) {
    return !_text.empty() && _text.size() < 4096 && _text.find_first_of(u"<\n\r") == _text.npos;
}

std::u16string TextOfBytes(const std::string& _bytes) {
    const auto At = [&](size_t _i) { return static_cast<uint8_t>(_bytes[_i]); };
    if (_bytes.size() >= 2 && ((At(0) == 0xFF && At(1) == 0xFE) || (At(0) == 0xFE && At(1) == 0xFF))) {
        const bool bLittle = At(0) == 0xFF;
        std::u16string text(_bytes.size() / 2 - 1, u'\0');
        for (size_t i = 0; i < text.size(); ++i) {
            const uint8_t nFirst = At(2 * i + 2), nSecond = At(2 * i + 3);
            text[i] = static_cast<char16_t>(bLittle ? nSecond << 8 | nFirst : nFirst << 8 | nSecond);
        }
        return text;
    }
    std::string_view view(_bytes);
    if (view.starts_with("\xEF\xBB\xBF")) view.remove_prefix(3);
    return Utf16FromUtf8(view);
}

}  // namespace

void WriteXmlDocument(const XMLNodeBase& _node, bool _bHeader, std::u16string& _out) {
    if (_bHeader) _out += u"<?xml version=\"1.0\"?>\r\n";
    _node.Write(_out);
}

HRESULT SaveXmlFile(const XMLNodeBase& _node, const char16_t* _szFile, const XML_FILE_OPTIONS& _options) {
    std::u16string text;
    if (_options.bUnicode) text += kMark;
    WriteXmlDocument(_node, _options.bHeader, text);
    std::string bytes;
    if (_options.bUnicode) {
        bytes.resize(text.size() * sizeof(char16_t));
        std::memcpy(bytes.data(), text.data(), bytes.size());
    } else {
        bytes = Utf8FromUtf16(text);
    }
    return ReplaceFile(_szFile, bytes.data(), bytes.size());
}

HRESULT ReadTextFile(const char16_t* _szFile, std::u16string& _strText) {
    File file;
    uint64_t cbSize = 0;
    HRESULT hr = file.Open(_szFile, File::Access::Read);
    if (Succeeded(hr)) hr = file.Size(&cbSize);
    if (Failed(hr)) return hr;
    if (cbSize > kMostBytes) return ZR_E_INVALID_DATA;
    std::string bytes(static_cast<size_t>(cbSize), '\0');
    size_t cbRead = 0;
    hr = file.ReadAt(0, bytes.data(), bytes.size(), &cbRead);
    if (Failed(hr)) return hr;
    bytes.resize(cbRead);
    _strText = TextOfBytes(bytes);
    return S_OK;
}

HRESULT LoadXmlFile(const char16_t* _szFile, XMLNodeBase& _node) {
    std::u16string strText;
    const HRESULT hr = ReadTextFile(_szFile, strText);
    return Failed(hr) ? hr : _node.Parse(strText);
}

HRESULT LoadXmlFileOrText(std::u16string_view _xmlOrFile, XMLNodeBase& _node, bool* _pbFile) {
    if (_pbFile) *_pbFile = false;
    if (MayBeFileName(_xmlOrFile)) {
        const HRESULT hr = LoadXmlFile(std::u16string(_xmlOrFile).c_str(), _node);
        if (hr != ZR_E_NOT_FOUND_FILE) {
            if (_pbFile) *_pbFile = true;
            return hr;
        }
        if (_xmlOrFile.find(u'=') == _xmlOrFile.npos) return hr;
    }
    return _node.Parse(_xmlOrFile);
}

}  // namespace zr
