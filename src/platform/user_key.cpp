#include "platform/user_key.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <vector>

#include "platform/utf.h"

namespace zr {

namespace {

char16_t LowerAscii(char16_t _ch) { return _ch >= u'A' && _ch <= u'Z' ? static_cast<char16_t>(_ch + 32) : _ch; }

bool IsBlank(char16_t _ch) { return _ch == u' ' || _ch == u'\t' || _ch == u'\r'; }

bool IsControl(char16_t _ch) { return _ch < 0x20 || _ch == 0x7F; }

bool IsPlain(char16_t _ch) {
    return (_ch >= u'0' && _ch <= u'9') || (LowerAscii(_ch) >= u'a' && LowerAscii(_ch) <= u'z') || _ch == u'_' ||
           _ch == u'.' || _ch == u':' || _ch == u'-';
}

std::u16string_view Trimmed(std::u16string_view _sv) {
    while (!_sv.empty() && IsBlank(_sv.front())) _sv.remove_prefix(1);
    while (!_sv.empty() && IsBlank(_sv.back())) _sv.remove_suffix(1);
    return _sv;
}

std::optional<char16_t> HexUnit(std::u16string_view _sv) {
    if (_sv.size() < 4) return {};
    uint32_t nUnit = 0;
    for (const char16_t ch : _sv.substr(0, 4)) {
        const char16_t chLow = LowerAscii(ch);
        if (chLow >= u'0' && chLow <= u'9')
            nUnit = nUnit * 16 + (chLow - u'0');
        else if (chLow >= u'a' && chLow <= u'f')
            nUnit = nUnit * 16 + (chLow - u'a' + 10);
        else
            return {};
    }
    return static_cast<char16_t>(nUnit);
}

// Takes a quoted text off the front of _sv, which begins with the quote. A missing end quote is forgiven, and so is a
// backslash in front of a character that needs none.
std::u16string TakeQuoted(std::u16string_view& _sv) {
    const char16_t chQuote = _sv.front();
    std::u16string str;
    size_t i = 1;
    for (; i < _sv.size() && _sv[i] != chQuote; ++i) {
        if (_sv[i] != u'\\' || chQuote == u'\'' || i + 1 == _sv.size()) {
            str += _sv[i];
            continue;
        }
        switch (_sv[++i]) {
            case u'n': str += u'\n'; break;
            case u'r': str += u'\r'; break;
            case u't': str += u'\t'; break;
            case u'"':
            case u'\\': str += _sv[i]; break;
            case u'u':
                if (const auto chUnit = HexUnit(_sv.substr(i + 1))) {
                    str += *chUnit;
                    i += 4;
                    break;
                }
                [[fallthrough]];
            default: str += u'\\'; str += _sv[i];
        }
    }
    _sv.remove_prefix(std::min(i + 1, _sv.size()));
    return str;
}

// Takes a name off the front: a quoted one, or everything up to one of _svEnds. Nothing when there is no name.
std::optional<std::u16string> TakeName(std::u16string_view& _sv, std::u16string_view _svEnds) {
    _sv = Trimmed(_sv);
    if (!_sv.empty() && _sv.front() == u'"') {
        std::u16string strName = TakeQuoted(_sv);
        _sv = Trimmed(_sv);
        return strName;
    }
    const std::u16string_view svRaw = _sv.substr(0, _sv.find_first_of(_svEnds));
    _sv.remove_prefix(svRaw.size());
    const std::u16string_view svName = Trimmed(svRaw);
    if (svName.empty() || std::any_of(svName.begin(), svName.end(), IsControl)) return {};
    return std::u16string(svName);
}

UserValue ValueOf(std::u16string_view _sv) {
    if (!_sv.empty() && (_sv.front() == u'"' || _sv.front() == u'\'')) return TakeQuoted(_sv);
    char arrDigits[24];
    if (_sv.size() <= std::size(arrDigits)) {
        std::transform(_sv.begin(), _sv.end(), arrDigits,
                       [](char16_t _ch) { return _ch < 0x80 ? static_cast<char>(_ch) : '?'; });
        const char* const pEnd = arrDigits + _sv.size();
        int64_t nValue = 0;
        const auto [pStop, error] = std::from_chars(arrDigits, pEnd, nValue);
        if (error == std::errc()) {
            const bool bLong = pEnd - pStop == 1 && (*pStop == 'L' || *pStop == 'l');
            if (bLong || (pStop == pEnd && nValue != static_cast<int32_t>(nValue))) return nValue;
            if (pStop == pEnd) return static_cast<int32_t>(nValue);
        }
    }
    return std::u16string(_sv);
}

class Reader {
public:
    UserKey Read(std::string_view _svText) {
        if (_svText.starts_with("\xEF\xBB\xBF")) _svText.remove_prefix(3);
        while (!_svText.empty()) {
            const std::string_view svLine = _svText.substr(0, _svText.find('\n'));
            _svText.remove_prefix(std::min(svLine.size() + 1, _svText.size()));
            const std::u16string strLine = Utf16FromUtf8(svLine);
            ReadLine(Trimmed(strLine));
        }
        return std::move(root);
    }

private:
    void ReadLine(std::u16string_view _sv) {
        if (_sv.empty() || _sv.front() == u'#' || _sv.front() == u';') return;
        if (_sv.front() == u'[') {
            pKey = ReadHeader(_sv.substr(1));
            return;
        }
        if (!pKey) return;
        const auto strName = TakeName(_sv, u"=");
        if (!strName || _sv.empty() || _sv.front() != u'=') return;
        if (!pKey->mapValues.contains(*strName) && !TakeRoom()) return;
        pKey->mapValues.insert_or_assign(*strName, ValueOf(Trimmed(_sv.substr(1))));
    }

    // The key that "path]" names; null when that is not readable, and then the lines below it belong nowhere.
    UserKey* ReadHeader(std::u16string_view _sv) {
        UserKey* pAt = &root;
        for (size_t nDepth = 0; nDepth < kMaxUserKeyDepth; ++nDepth) {
            const auto strName = TakeName(_sv, u"\\]");
            if (!strName) return nullptr;
            auto it = pAt->mapKeys.find(*strName);
            if (it == pAt->mapKeys.end()) {
                if (!TakeRoom()) return nullptr;
                it = pAt->mapKeys.emplace(*strName, std::make_unique<UserKey>()).first;
            }
            pAt = it->second.get();
            if (_sv.empty() || _sv.front() != u'\\') return pAt;
            _sv.remove_prefix(1);
        }
        return nullptr;
    }

    bool TakeRoom() {
        if (nEntries == kMaxUserKeyEntries) return false;
        ++nEntries;
        return true;
    }

    UserKey root;
    UserKey* pKey = &root;
    size_t nEntries = 0;
};

class Writer {
public:
    // False when the tree does not fit.
    bool Write(const UserKey& _key, size_t _nDepth) {
        nEntries += _key.mapValues.size() + _key.mapKeys.size();
        if (_nDepth > kMaxUserKeyDepth || nEntries > kMaxUserKeyEntries) return false;
        // A key that only holds keys needs no line of its own.
        if (_nDepth > 0 && (!_key.mapValues.empty() || _key.mapKeys.empty())) strText += "\n[" + strPath + "]\n";
        for (const auto& [strName, value] : _key.mapValues) {
            strText += Name(strName) + " = " + Value(value) + '\n';
            if (strText.size() > kMaxUserKeyText) return false;
        }
        for (const auto& [strName, pChild] : _key.mapKeys) {
            const size_t nParent = strPath.size();
            if (nParent > 0) strPath += '\\';
            strPath += Name(strName);
            if (!Write(*pChild, _nDepth + 1)) return false;
            strPath.resize(nParent);
        }
        return strText.size() <= kMaxUserKeyText;
    }

    std::string strText;

private:
    static std::string Name(std::u16string_view _sv) {
        return !_sv.empty() && std::all_of(_sv.begin(), _sv.end(), IsPlain) ? Utf8FromUtf16(_sv) : Quoted(_sv);
    }

    static std::string Value(const UserValue& _value) {
        if (const auto* pn = std::get_if<int32_t>(&_value)) return std::to_string(*pn);
        if (const auto* pn = std::get_if<int64_t>(&_value)) return std::to_string(*pn) + 'L';
        const auto& str = std::get<std::u16string>(_value);
        // A path reads better as it stands.
        const bool bAsItStands = str.find(u'\\') != str.npos && str.find(u'\'') == str.npos && !NeedsEscapes(str);
        return bAsItStands ? '\'' + Utf8FromUtf16(str) + '\'' : Quoted(str);
    }

    static bool IsLoneSurrogate(std::u16string_view _sv, size_t _i) {
        const auto High = [&](size_t _n) { return _n < _sv.size() && _sv[_n] >= 0xD800 && _sv[_n] < 0xDC00; };
        const auto Low = [&](size_t _n) { return _n < _sv.size() && _sv[_n] >= 0xDC00 && _sv[_n] < 0xE000; };
        return (High(_i) && !Low(_i + 1)) || (Low(_i) && (_i == 0 || !High(_i - 1)));
    }

    static bool NeedsEscapes(std::u16string_view _sv) {
        for (size_t i = 0; i < _sv.size(); ++i)
            if (IsControl(_sv[i]) || IsLoneSurrogate(_sv, i)) return true;
        return false;
    }

    static std::string Quoted(std::u16string_view _sv) {
        std::u16string str(1, u'"');
        for (size_t i = 0; i < _sv.size(); ++i) {
            const char16_t ch = _sv[i];
            switch (ch) {
                case u'\n': str += u"\\n"; break;
                case u'\r': str += u"\\r"; break;
                case u'\t': str += u"\\t"; break;
                case u'"':
                case u'\\':
                    str += u'\\';
                    str += ch;
                    break;
                default:
                    if (!IsControl(ch) && !IsLoneSurrogate(_sv, i)) {
                        str += ch;
                        break;
                    }
                    str += u"\\u";
                    for (int nShift = 12; nShift >= 0; nShift -= 4) str += u"0123456789abcdef"[(ch >> nShift) & 0xF];
            }
        }
        str += u'"';
        return Utf8FromUtf16(str);
    }

    std::string strPath;
    size_t nEntries = 0;
};

// Calls _function with each name of a path.
template <class Function>
void ForEachName(std::u16string_view _svPath, Function _function) {
    while (!_svPath.empty()) {
        const std::u16string_view svName = _svPath.substr(0, _svPath.find(u'\\'));
        _svPath.remove_prefix(std::min(svName.size() + 1, _svPath.size()));
        _function(svName);
    }
}

}  // namespace

bool UserNameLess::operator()(std::u16string_view _a, std::u16string_view _b) const {
    return std::lexicographical_compare(_a.begin(), _a.end(), _b.begin(), _b.end(),
                                        [](char16_t _x, char16_t _y) { return LowerAscii(_x) < LowerAscii(_y); });
}

UserKey* UserKey::Find(std::u16string_view _svPath) {
    UserKey* pAt = this;
    ForEachName(_svPath, [&](std::u16string_view _svName) {
        if (!pAt) return;
        const auto it = pAt->mapKeys.find(_svName);
        pAt = it == pAt->mapKeys.end() ? nullptr : it->second.get();
    });
    return pAt;
}

UserKey& UserKey::Make(std::u16string_view _svPath) {
    UserKey* pAt = this;
    ForEachName(_svPath, [&](std::u16string_view _svName) {
        auto it = pAt->mapKeys.find(_svName);
        if (it == pAt->mapKeys.end())
            it = pAt->mapKeys.emplace(std::u16string(_svName), std::make_unique<UserKey>()).first;
        pAt = it->second.get();
    });
    return *pAt;
}

UserKey ParseUserKey(std::string_view _svText) { return Reader().Read(_svText); }

HRESULT FormatUserKey(const UserKey& _key, std::string_view _svHeading, std::string& _strText) {
    Writer writer;
    while (!_svHeading.empty()) {
        const std::string_view svLine = _svHeading.substr(0, _svHeading.find('\n'));
        _svHeading.remove_prefix(std::min(svLine.size() + 1, _svHeading.size()));
        writer.strText.append("# ").append(svLine) += '\n';
    }
    if (!writer.Write(_key, 0)) return E_INVALIDARG;
    _strText = std::move(writer.strText);
    return S_OK;
}

}  // namespace zr
