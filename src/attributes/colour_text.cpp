#include <algorithm>
#include <cmath>
#include <iterator>

#include "attributes/attr_text.h"
#include "attributes/char_class.h"
#include "attributes/number_text.h"

namespace zr {

namespace {

constexpr uint32_t kRgb = 0x00FFFFFF;

struct COLOUR_NAME {
    std::u16string_view name;
    uint32_t nRgb;  // red in the low byte
};

constexpr COLOUR_NAME arrReadNames[] = {
    {u"Orange", 0x00A5FF},  {u"Grey", 0x808080},    {u"Purple", 0x800080}, {u"OrangeRed", 0x0045FF},
    {u"Green", 0x008000},   {u"Red", 0x0000FF},     {u"Aqua", 0xFFFF00},   {u"cyan", 0xFFFF00},
    {u"Lime", 0x00FF00},    {u"Silver", 0xC0C0C0},  {u"Black", 0x000000},  {u"Maroon", 0x000080},
    {u"Teal", 0x808000},    {u"Blue", 0xFF0000},    {u"Brown", 0x13458B},  {u"White", 0xFFFFFF},
    {u"Magenta", 0xFF00FF}, {u"Navy", 0x800000},    {u"Yellow", 0x00FFFF}, {u"Pink", 0x8080FF},
    {u"Olive", 0x008080},   {u"orvanta", 0x8A5406}, {u"ov", 0x8A5406},     {u"ovl", 0xB29000},
    {u"ovlight", 0xB29000},
};

constexpr COLOUR_NAME arrPrintNames[] = {
    {u"Black", 0x000000},  {u"Maroon", 0x000080}, {u"Red", 0x0000FF},    {u"OrangeRed", 0x0045FF},
    {u"Green", 0x008000},  {u"Olive", 0x008080},  {u"Orange", 0x00A5FF}, {u"Lime", 0x00FF00},
    {u"Yellow", 0x00FFFF}, {u"Brown", 0x13458B},  {u"Navy", 0x800000},   {u"Purple", 0x800080},
    {u"Teal", 0x808000},   {u"Grey", 0x808080},   {u"Pink", 0x8080FF},   {u"OV", 0x8A5406},
    {u"OVL", 0xB29000},    {u"Silver", 0xC0C0C0}, {u"Blue", 0xFF0000},   {u"Magenta", 0xFF00FF},
    {u"Aqua", 0xFFFF00},   {u"White", 0xFFFFFF},
};

uint32_t SwapRedBlue(uint32_t _n) { return (_n & 0xFF00FF00) | (_n >> 16 & 0xFF) | (_n & 0xFF) << 16; }

// 0xABC to 0xAABBCC.
uint32_t DoubleNibbles(uint32_t _n) {
    return (_n >> 8 & 0xF) * 0x110000 + (_n >> 4 & 0xF) * 0x1100 + (_n & 0xF) * 0x11;
}

uint32_t ReadAlpha(std::u16string_view _text) {
    double dblAlpha = ReadDouble(_text).dblValue;
    if (dblAlpha < 1.0) dblAlpha *= 255;
    return static_cast<uint32_t>(std::clamp(std::round(dblAlpha), 0.0, 255.0));
}

bool IsUpperHexDigit(char16_t _ch) { return (_ch >= u'0' && _ch <= u'9') || (_ch >= u'A' && _ch <= u'F'); }

// Blue, green and red as the text has them, with the alpha it may carry itself.
AttrColour ReadNumber(std::u16string_view _text, uint32_t _nAlpha, AttrColour _default) {
    char16_t arr[66] = u"0x";  // the text has at most 63 characters
    if (_text.size() >= 2 && IsUpperHexDigit(_text[0]) && IsUpperHexDigit(_text[1])) {
        std::copy(_text.begin(), _text.end(), arr + 2);
        _text = {arr, _text.size() + 2};
    }
    const INTEGER_TEXT number = ReadInteger(_text, 0, UINT32_MAX);
    if (number.nUsed == 0) return _default;
    auto nValue = static_cast<uint32_t>(number.nValue);
    if (number.nUsed < 6) nValue = DoubleNibbles(nValue);
    nValue = SwapRedBlue(nValue);
    if (_text.size() < 9) nValue = (nValue & kRgb) | _nAlpha << 24;
    return {nValue};
}

}  // namespace

std::u16string ColourNamesText() {
    std::u16string text = u"Default, Transparent";
    for (const COLOUR_NAME& entry : arrReadNames) text.append(u", ").append(entry.name);
    return text;
}

AttrColour ReadColour(std::u16string_view _text, AttrColour _default) {
    _text = _text.substr(0, 63);
    _text = _text.substr(0, _text.find_first_of(u"~!@#$%^&*-+=|\\/.,;`"));

    uint32_t nAlpha = 255;
    const size_t nBracket = _text.find(u'(');
    const bool bAlpha = nBracket != _text.npos;
    if (bAlpha) {
        nAlpha = ReadAlpha(_text.substr(nBracket + 1));
        _text = _text.substr(0, nBracket);
    }

    if (_text.empty() || EqualNoCase(_text, u"Default"))
        return bAlpha ? AttrColour{(_default.nValue & kRgb) | nAlpha << 24} : _default;
    if (EqualNoCase(_text, u"Transparent")) return {0};
    for (const COLOUR_NAME& entry : arrReadNames)
        if (EqualNoCase(_text, entry.name)) return {entry.nRgb | nAlpha << 24};
    return ReadNumber(_text, nAlpha, _default);
}

void PrintColour(AttrColour _colour, TreeText& _out) {
    const auto* pEntry =
        std::find_if(std::begin(arrPrintNames), std::end(arrPrintNames),
                     [&](const COLOUR_NAME& _entry) { return _entry.nRgb == (_colour.nValue & kRgb); });
    if (pEntry != std::end(arrPrintNames)) {
        _out.Append(pEntry->name);
    } else {
        _out.Append(u"#");
        PrintHex(SwapRedBlue(_colour.nValue) & kRgb, 6, _out);
    }
    const uint32_t nAlpha = _colour.nValue >> 24;
    if (nAlpha == 255) return;
    _out.Append(u"(");
    PrintDecimal(nAlpha, _out);
    _out.Append(u")");
}

}  // namespace zr
