#include "platform/number_scan.h"

#include <algorithm>
#include <charconv>
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

INTEGER_SCAN ScanInteger(std::u16string_view _text, uint32_t _nBase) {
    Cursor cursor(_text);
    cursor.SkipBlanks();
    INTEGER_SCAN scan;
    scan.bMinus = cursor.SkipSign();
    const bool bPrefix =
        *cursor == u'0' && (cursor.At(1) == u'x' || cursor.At(1) == u'X') && DigitValue(cursor.At(2)) < 16;
    if (_nBase == 0) _nBase = bPrefix ? 16 : *cursor == u'0' ? 8 : 10;
    if (_nBase == 16 && bPrefix) cursor.Skip(2);

    constexpr uint64_t kMax = std::numeric_limits<uint64_t>::max();
    const size_t nFirst = cursor.Position();
    for (uint32_t nDigit; (nDigit = DigitValue(*cursor)) < _nBase; cursor.Skip(1)) {
        scan.bTooLarge = scan.bTooLarge || scan.nMagnitude > (kMax - nDigit) / _nBase;
        scan.nMagnitude = scan.bTooLarge ? kMax : scan.nMagnitude * _nBase + nDigit;
    }
    if (cursor.Position() == nFirst) return {};
    scan.nUsed = cursor.Position();
    return scan;
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

}  // namespace zr
