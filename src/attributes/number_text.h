#pragma once
// Numbers from text and to text, the way the settings files have always had them: forgiving, whatever the locale.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "attributes/tree_text.h"
#include "platform/number_scan.h"

namespace zr {

// What a leading number was. nUsed counts the characters up to its end, blanks in front of it too; 0: no number.
struct INTEGER_TEXT {
    uint64_t nValue;
    size_t nUsed;
};

// Blanks, a sign, digits. _nBase 0: "0x" makes it hexadecimal, another leading 0 octal. Above _nMax it is _nMax; a
// minus sign gives the two's complement, so that -1 and 0xFFFFFFFF are one 32-bit value.
INTEGER_TEXT ReadInteger(std::u16string_view _text, uint32_t _nBase, uint64_t _nMax = UINT64_MAX);

// 32 and 64 bits by the prefix. The signed forms are these, converted.
inline uint32_t ReadUInt32(std::u16string_view _text) {
    return static_cast<uint32_t>(ReadInteger(_text, 0, UINT32_MAX).nValue);
}

// So many digits after the point; infinite prints as the largest number, not-a-number as 0.
inline constexpr size_t kMaxFixed = 340;  // a sign, 309 digits, the point and what is behind it
std::string_view PrintFixed(double _dblValue, int _nDigits, char (&_arr)[kMaxFixed]);
void PrintFixed(double _dblValue, int _nDigits, TreeText& _out);
void PrintDecimal(int64_t _nValue, TreeText& _out);
// Upper case, with zeros in front up to _nMinDigits.
void PrintHex(uint64_t _nValue, int _nMinDigits, TreeText& _out);
// Zeros in front up to _nMinDigits.
void PrintPadded(uint32_t _nValue, int _nMinDigits, TreeText& _out);
void PrintAscii(std::string_view _text, TreeText& _out);

}  // namespace zr
