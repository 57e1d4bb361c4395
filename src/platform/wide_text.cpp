#include "platform/wide_text.h"

#include <algorithm>
#include <cassert>
#include <charconv>
#include <cmath>
#include <limits>

namespace zr {
namespace {

constexpr bool IsBlank(char16_t _c) { return _c == u' ' || (_c >= u'\t' && _c <= u'\r'); }
constexpr bool IsDigit(char16_t _c) { return _c >= u'0' && _c <= u'9'; }

constexpr int DigitOf(char16_t _c) {
    if (IsDigit(_c)) return _c - u'0';
    if (_c >= u'a' && _c <= u'z') return _c - u'a' + 10;
    if (_c >= u'A' && _c <= u'Z') return _c - u'A' + 10;
    return 99;
}

// The parsers walk with an index and take the end of the text for a zero character.
char16_t At(std::u16string_view _text, size_t _i) { return _i < _text.size() ? _text[_i] : u'\0'; }

struct PREFIX {
    size_t nNext;
    bool bNegative;
};

PREFIX SkipBlanksAndSign(std::u16string_view _text) {
    size_t i = 0;
    while (IsBlank(At(_text, i))) ++i;
    const bool bNegative = At(_text, i) == u'-';
    if (bNegative || At(_text, i) == u'+') ++i;
    return {i, bNegative};
}

int64_t ParseInRange(std::u16string_view _text, int _nBase, size_t* _pnUsed, uint64_t _nMax) {
    auto [i, bNegative] = SkipBlanksAndSign(_text);
    const bool bHexPrefix = At(_text, i) == u'0' && (At(_text, i + 1) | 0x20) == u'x' && DigitOf(At(_text, i + 2)) < 16;
    if (bHexPrefix && (_nBase == 0 || _nBase == 16)) {
        i += 2;
        _nBase = 16;
    } else if (_nBase == 0) {
        _nBase = At(_text, i) == u'0' ? 8 : 10;
    }
    const uint64_t nLimit = bNegative ? _nMax + 1 : _nMax;
    uint64_t nValue = 0;
    size_t nDigits = 0;
    for (; DigitOf(At(_text, i)) < _nBase; ++i, ++nDigits) {
        const auto nDigit = static_cast<uint64_t>(DigitOf(_text[i]));
        const auto nBase = static_cast<uint64_t>(_nBase);
        nValue = nValue > (nLimit - nDigit) / nBase ? nLimit : nValue * nBase + nDigit;
    }
    if (_pnUsed) *_pnUsed = nDigits ? i : 0;
    return static_cast<int64_t>(bNegative ? 0 - nValue : nValue);
}

// A number as from_chars wants it, and the power of ten of its first digit that is not 0.
struct DECIMAL {
    std::string narrow;
    int64_t nMagnitude = 0;
    size_t nEnd = 0;
    bool bDigits = false;
};

DECIMAL ScanDecimal(std::u16string_view _text, size_t _nStart) {
    DECIMAL decimal;
    size_t i = _nStart;
    bool bPoint = false;
    bool bSignificant = false;
    for (;; ++i) {
        const char16_t c = At(_text, i);
        if (c == u'.' && !bPoint) {
            bPoint = true;
        } else if (IsDigit(c)) {
            decimal.bDigits = true;
            bSignificant = bSignificant || c != u'0';
            if (!bPoint && bSignificant) ++decimal.nMagnitude;
            if (bPoint && !bSignificant) --decimal.nMagnitude;
        } else {
            break;
        }
        decimal.narrow.push_back(static_cast<char>(c));
    }
    if ((At(_text, i) | 0x20) == u'e') {
        const size_t nSign = i + 1;
        const bool bSigned = At(_text, nSign) == u'-' || At(_text, nSign) == u'+';
        size_t nUsed = 0;
        if (IsDigit(At(_text, nSign + (bSigned ? 1 : 0)))) {
            const int32_t nExponent = ParseInt32(_text.substr(nSign), 10, &nUsed);
            decimal.nMagnitude += nExponent;
            decimal.narrow += 'e';
            decimal.narrow += std::to_string(nExponent);
            i = nSign + nUsed;
        }
    }
    decimal.nEnd = i;
    return decimal;
}

constexpr char16_t LowerAscii(char16_t _c) {
    return _c >= u'A' && _c <= u'Z' ? static_cast<char16_t>(_c + (u'a' - u'A')) : _c;
}

void AppendInBase(std::u16string& _text, uint64_t _n, unsigned _nBase, int _nDigits) {
    assert(_nDigits >= 0 && _nDigits <= 20);
    char16_t arr[20];
    size_t i = std::size(arr);
    do {
        arr[--i] = u"0123456789ABCDEF"[_n % _nBase];
        _n /= _nBase;
    } while (_n != 0);
    while (std::size(arr) - i < static_cast<size_t>(_nDigits)) arr[--i] = u'0';
    _text.append(arr + i, std::size(arr) - i);
}

}  // namespace

int32_t ParseInt32(std::u16string_view _text, int _nBase, size_t* _pnUsed) {
    return static_cast<int32_t>(ParseInRange(_text, _nBase, _pnUsed, std::numeric_limits<int32_t>::max()));
}

int64_t ParseInt64(std::u16string_view _text, int _nBase, size_t* _pnUsed) {
    return ParseInRange(_text, _nBase, _pnUsed, std::numeric_limits<int64_t>::max());
}

double ParseDouble(std::u16string_view _text, size_t* _pnUsed) {
    const auto [nStart, bNegative] = SkipBlanksAndSign(_text);
    const DECIMAL decimal = ScanDecimal(_text, nStart);
    if (_pnUsed) *_pnUsed = decimal.bDigits ? decimal.nEnd : 0;
    if (!decimal.bDigits) return 0;
    double dbl = 0;
    const char* const sz = decimal.narrow.data();
    const auto [pEnd, error] = std::from_chars(sz, sz + decimal.narrow.size(), dbl);
    if (error == std::errc::result_out_of_range) dbl = decimal.nMagnitude > 0 ? std::numeric_limits<double>::max() : 0;
    return bNegative ? -dbl : dbl;
}

void AppendInt(std::u16string& _text, int64_t _n) {
    if (_n < 0) _text.push_back(u'-');
    AppendInBase(_text, _n < 0 ? 0 - static_cast<uint64_t>(_n) : static_cast<uint64_t>(_n), 10, 1);
}

void AppendPadded(std::u16string& _text, uint64_t _n, int _nDigits) { AppendInBase(_text, _n, 10, _nDigits); }

void AppendHex(std::u16string& _text, uint64_t _n, int _nDigits) { AppendInBase(_text, _n, 16, _nDigits); }

void AppendFixed(std::u16string& _text, double _dbl, int _nFractions) {
    assert(_nFractions >= 0 && _nFractions <= 17);
    char arr[1 + 309 + 1 + 17];  // sign, digits of the largest value, point, fraction
    const auto [pEnd, error] = std::to_chars(arr, arr + std::size(arr), _dbl, std::chars_format::fixed, _nFractions);
    assert(error == std::errc());
    AppendAscii(_text, {arr, static_cast<size_t>(pEnd - arr)});
}

void AppendAscii(std::u16string& _text, std::string_view _ascii) { _text.append(_ascii.begin(), _ascii.end()); }

bool EqualNoCase(std::u16string_view _a, std::u16string_view _b) {
    return std::equal(_a.begin(), _a.end(), _b.begin(), _b.end(),
                      [](char16_t _x, char16_t _y) { return LowerAscii(_x) == LowerAscii(_y); });
}

}  // namespace zr
