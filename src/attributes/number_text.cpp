#include "attributes/number_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace zr {

INTEGER_TEXT ReadInteger(std::u16string_view _text, uint32_t _nBase, uint64_t _nMax) {
    const INTEGER_SCAN scan = ScanInteger(_text, _nBase);
    if (scan.bTooLarge || scan.nMagnitude > _nMax) return {_nMax, scan.nUsed};
    return {scan.bMinus ? (0 - scan.nMagnitude) & _nMax : scan.nMagnitude, scan.nUsed};
}

void PrintAscii(std::string_view _text, TreeText& _out) {
    char16_t arr[64];
    for (size_t i = 0; i < _text.size();) {
        size_t n = 0;
        for (; n < std::size(arr) && i < _text.size(); ++n, ++i) arr[n] = static_cast<unsigned char>(_text[i]);
        _out.Append({arr, n});
    }
}

std::string_view PrintFixed(double _dblValue, int _nDigits, char (&_arr)[kMaxFixed]) {
    constexpr double dblMax = std::numeric_limits<double>::max();
    const double dblFinite = std::isnan(_dblValue) ? 0.0 : std::clamp(_dblValue, -dblMax, dblMax);
    const auto result = std::to_chars(_arr, _arr + kMaxFixed, dblFinite, std::chars_format::fixed, _nDigits);
    return {_arr, static_cast<size_t>(result.ptr - _arr)};
}

void PrintFixed(double _dblValue, int _nDigits, TreeText& _out) {
    char arr[kMaxFixed];
    PrintAscii(PrintFixed(_dblValue, _nDigits, arr), _out);
}

void PrintDecimal(int64_t _nValue, TreeText& _out) {
    char arr[24];
    PrintAscii({arr, static_cast<size_t>(std::to_chars(arr, arr + sizeof(arr), _nValue).ptr - arr)}, _out);
}

void PrintHex(uint64_t _nValue, int _nMinDigits, TreeText& _out) {
    char arr[16];
    int n = 16;
    while (n > 0 && (_nValue != 0 || n > 16 - _nMinDigits)) {
        arr[--n] = "0123456789ABCDEF"[_nValue & 15];
        _nValue >>= 4;
    }
    PrintAscii({arr + n, static_cast<size_t>(16 - n)}, _out);
}

void PrintPadded(uint32_t _nValue, int _nMinDigits, TreeText& _out) {
    char arr[16];
    int n = 16;
    while (n > 0 && (_nValue != 0 || n > 16 - _nMinDigits)) {
        arr[--n] = static_cast<char>('0' + _nValue % 10);
        _nValue /= 10;
    }
    PrintAscii({arr + n, static_cast<size_t>(16 - n)}, _out);
}

}  // namespace zr
