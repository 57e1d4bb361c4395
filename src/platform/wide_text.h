#pragma once
// Numbers in and out of UTF-16 text, and comparison without case. The same on every machine: nothing here looks at the
// process's locale. No text makes a parser fail: what cannot be read is 0, what is too large is the largest value.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace zr {

// Reads a whole number from the start of _text: blanks, a sign, digits. _nBase: 10, 16, or 0 for "0x" hexadecimal,
// a leading 0 octal, else decimal. _pnUsed (may be null): characters read, 0 when there is no number. Beyond the range
// of the result the nearest end of it is given.
int32_t ParseInt32(std::u16string_view _text, int _nBase, size_t* _pnUsed = nullptr);
int64_t ParseInt64(std::u16string_view _text, int _nBase, size_t* _pnUsed = nullptr);

// Reads a decimal fraction with an optional exponent, likewise. The result is always finite, and 0 for a text too small
// to be told from it.
double ParseDouble(std::u16string_view _text, size_t* _pnUsed = nullptr);

// Writers append to _text. Their results are those of printf in the C locale.
void AppendInt(std::u16string& _text, int64_t _n);                      // %lld
void AppendPadded(std::u16string& _text, uint64_t _n, int _nDigits);    // %0*llu, at most 20 digits
void AppendHex(std::u16string& _text, uint64_t _n, int _nDigits = 1);   // %0*llX, at most 16 digits
void AppendFixed(std::u16string& _text, double _dbl, int _nFractions);  // %.*f, at most 17 fraction digits
void AppendAscii(std::u16string& _text, std::string_view _ascii);

// Equal when the letters A to Z count as a to z. Other characters must be the same.
bool EqualNoCase(std::u16string_view _a, std::u16string_view _b);

}  // namespace zr
