#include "attributes/number_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace zr {

namespace {

// The blanks that may stand before a number; more than separate words elsewhere.
bool IsNumberBlank(char16_t _ch) {
    if (_ch <= 0x20) return _ch == 0x20 || (_ch >= 0x09 && _ch <= 0x0D);
    switch (_ch) {
        case 0x85:
        case 0xA0:
        case 0x1680:
        case 0x2028:
        case 0x2029:
        case 0x202F:
        case 0x205F:
        case 0x3000: return true;
        default: return _ch >= 0x2000 && _ch <= 0x200A;
    }
}

bool IsDigit(char16_t _ch) { return _ch >= u'0' && _ch <= u'9'; }

// 36 for what is no digit in any base.
uint32_t DigitValue(char16_t _ch) {
    if (IsDigit(_ch)) return static_cast<uint32_t>(_ch - u'0');
    if (_ch >= u'a' && _ch <= u'z') return static_cast<uint32_t>(_ch - u'a' + 10);
    if (_ch >= u'A' && _ch <= u'Z') return static_cast<uint32_t>(_ch - u'A' + 10);
    return 36;
}

// A place in a text; past the end it stands on zeros.
class Cursor {
public:
    explicit Cursor(std::u16string_view _text) : text(_text) {}
    char16_t operator*() const { return At(0); }
    char16_t At(size_t _n) const { return i + _n < text.size() ? text[i + _n] : u'\0'; }
    void Skip(size_t _n) { i += _n; }
    size_t Position() const { return i; }

    void SkipBlanks() {
        while (IsNumberBlank(**this)) ++i;
    }
    bool SkipSign() {
        const bool bMinus = **this == u'-';
        if (bMinus || **this == u'+') ++i;
        return bMinus;
    }

private:
    std::u16string_view text;
    size_t i = 0;
};

// The significant digits of a number, in the form that std::from_chars reads: as many as can decide the rounding, and
// one that stands for all the rest.
class Mantissa {
public:
    void Add(char16_t _chDigit, bool _bBehindPoint) {
        if (_bBehindPoint) --nExponent;
        if (_chDigit == u'0' && nDigits == 0) return;
        if (nDigits < kMaxDigits) {
            arr[nDigits++] = static_cast<char>(_chDigit);
        } else {
            ++nExponent;
            bMore |= _chDigit != u'0';
        }
    }

    double Value(bool _bMinus, int64_t _nExponent) {
        if (nDigits == 0) return _bMinus ? -0.0 : 0.0;
        if (bMore) {
            arr[nDigits++] = '1';
            --nExponent;
        }
        // Beyond these the value is infinite or zero whatever the digits say: kMaxDigits and the range of a double.
        const int64_t nTotal = std::clamp<int64_t>(nExponent + _nExponent, -2000, 2000);
        arr[nDigits] = 'e';
        char* pEnd = std::to_chars(arr + nDigits + 1, arr + sizeof(arr), nTotal).ptr;
        double dbl = 0;
        if (std::from_chars(arr, pEnd, dbl).ec == std::errc::result_out_of_range)
            dbl = nTotal + static_cast<int64_t>(nDigits) > 0 ? std::numeric_limits<double>::infinity() : 0.0;
        return _bMinus ? -dbl : dbl;
    }

private:
    static constexpr size_t kMaxDigits = 780;  // 767 decide any double

    char arr[kMaxDigits + 16];
    size_t nDigits = 0;
    int64_t nExponent = 0;
    bool bMore = false;
};

}  // namespace

INTEGER_TEXT ReadInteger(std::u16string_view _text, uint32_t _nBase, uint64_t _nMax) {
    Cursor cursor(_text);
    cursor.SkipBlanks();
    const bool bMinus = cursor.SkipSign();
    const bool bPrefix = *cursor == u'0' && (cursor.At(1) == u'x' || cursor.At(1) == u'X');
    if (_nBase == 0) _nBase = bPrefix ? 16 : *cursor == u'0' ? 8 : 10;
    if (_nBase == 16 && bPrefix) cursor.Skip(2);

    uint64_t nValue = 0;
    bool bTooLarge = false;
    const size_t nFirst = cursor.Position();
    for (uint32_t nDigit; (nDigit = DigitValue(*cursor)) < _nBase; cursor.Skip(1)) {
        bTooLarge = bTooLarge || nValue > (_nMax - nDigit) / _nBase;
        if (!bTooLarge) nValue = nValue * _nBase + nDigit;
    }
    if (cursor.Position() == nFirst) return {0, 0};
    if (bTooLarge) return {_nMax, cursor.Position()};
    return {bMinus ? (0 - nValue) & _nMax : nValue, cursor.Position()};
}

DOUBLE_TEXT ReadDouble(std::u16string_view _text) {
    Cursor cursor(_text);
    cursor.SkipBlanks();
    const bool bMinus = cursor.SkipSign();

    Mantissa mantissa;
    bool bDigits = false;
    const auto readDigits = [&](bool _bBehindPoint) {
        for (; IsDigit(*cursor); cursor.Skip(1), bDigits = true) mantissa.Add(*cursor, _bBehindPoint);
    };
    readDigits(false);
    if (*cursor == u'.') {
        cursor.Skip(1);
        readDigits(true);
    }
    if (!bDigits) return {0, 0};

    int64_t nExponent = 0;
    if (const char16_t ch = static_cast<char16_t>(*cursor | 0x20); ch == u'e' || ch == u'd') {
        Cursor ahead = cursor;
        ahead.Skip(1);
        const bool bMinusExponent = ahead.SkipSign();
        if (IsDigit(*ahead)) {
            for (; IsDigit(*ahead); ahead.Skip(1))
                nExponent = std::min<int64_t>(nExponent * 10 + (*ahead - u'0'), int64_t{1} << 40);
            if (bMinusExponent) nExponent = -nExponent;
            cursor = ahead;
        }
    }
    return {mantissa.Value(bMinus, nExponent), cursor.Position()};
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
