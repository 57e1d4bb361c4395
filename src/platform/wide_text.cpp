#include "platform/wide_text.h"

#include <algorithm>
#include <cassert>
#include <charconv>
#include <limits>

#include "platform/number_scan.h"

namespace zr {
namespace {

int64_t ParseInRange(std::u16string_view _text, int _nBase, size_t* _pnUsed, uint64_t _nMax) {
    const INTEGER_SCAN scan = ScanInteger(_text, static_cast<uint32_t>(_nBase));
    if (_pnUsed) *_pnUsed = scan.nUsed;
    const uint64_t nValue = std::min(scan.nMagnitude, scan.bMinus ? _nMax + 1 : _nMax);
    return static_cast<int64_t>(scan.bMinus ? 0 - nValue : nValue);
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
    const DOUBLE_TEXT number = ReadDouble(_text);
    if (_pnUsed) *_pnUsed = number.nUsed;
    constexpr double kMax = std::numeric_limits<double>::max();
    return std::clamp(number.dblValue, -kMax, kMax);
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
