#pragma once
// Numbers at the start of a text, for all that read any: forgiving, and whatever the locale. Blanks and a sign may
// stand in front; what comes behind is left alone.

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zr {

// nUsed counts the characters up to the number's end, those in front of it too; 0: there is none.
struct INTEGER_SCAN {
    uint64_t nMagnitude = 0;  // the largest there is when 64 bits do not hold it
    bool bMinus = false;
    bool bTooLarge = false;
    size_t nUsed = 0;
};
struct DOUBLE_TEXT {
    double dblValue;
    size_t nUsed;
};

// _nBase: 2 to 36, or 0 for hexadecimal after "0x", octal after another leading 0, else decimal. Base 16 may have the
// prefix too.
INTEGER_SCAN ScanInteger(std::u16string_view _text, uint32_t _nBase);

// Decimal digits with a point, an exponent after e or d. Correctly rounded; too large is infinite, too small zero. No
// other word is a number.
DOUBLE_TEXT ReadDouble(std::u16string_view _text);

}  // namespace zr
