#include "attributes/attr_text.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "attributes/char_class.h"
#include "attributes/number_text.h"

namespace zr {

bool ReadBool(std::u16string_view _text) {
    if (_text == u"0" || EqualNoCase(_text, u"false")) return false;
    if (_text == u"1") return true;
    for (const std::u16string_view word : {u"true", u"yes", u"only", u"on", u"y"})
        if (EqualNoCase(_text, word)) return true;
    const auto isPositive = [&](uint32_t _nBase) {
        return static_cast<int32_t>(ReadInteger(_text, _nBase, UINT32_MAX).nValue) > 0;
    };
    return isPositive(0) || isPositive(10);
}

void PrintBool(bool _bValue, TreeText& _out) { _out.Append(_bValue ? u"true" : u"false"); }

AttrMeasure ReadMeasure(std::u16string_view _text) {
    const DOUBLE_TEXT number = ReadDouble(_text);
    const std::u16string_view unit = _text.substr(number.nUsed);
    AttrMeasure value{number.dblValue, AttrUnit::kNone};
    if (unit.starts_with(u"%"))
        value.eUnit = AttrUnit::kPercent;
    else if (unit.starts_with(u"px"))
        value.eUnit = AttrUnit::kPixels;
    else if (unit.starts_with(u"pt"))
        value.eUnit = AttrUnit::kPoints;
    return value;
}

void PrintMeasure(const AttrMeasure& _value, TreeText& _out) {
    const auto printRounded = [&](const char16_t* _szUnit) {
        const double dblRounded = std::isnan(_value.dblValue) ? 0.0 : std::round(_value.dblValue);
        PrintDecimal(static_cast<int32_t>(std::clamp(dblRounded, double{INT32_MIN}, double{INT32_MAX})), _out);
        _out.Append(_szUnit);
    };
    switch (_value.eUnit) {
        case AttrUnit::kPercent:
            PrintFixed(_value.dblValue, 3, _out);
            _out.Append(u"%");
            break;
        case AttrUnit::kPixels: printRounded(u"px"); break;
        case AttrUnit::kPoints: printRounded(u"pt"); break;
        default: PrintFixed(_value.dblValue, 2, _out);
    }
}

double ReadDoubleValue(std::u16string_view _text) {
    const DOUBLE_TEXT number = ReadDouble(_text);
    if (_text.substr(number.nUsed).starts_with(u"%")) return number.dblValue / 100;
    return number.dblValue == 0 && EqualNoCase(_text, u"true") ? 1.0 : number.dblValue;
}

void PrintDouble(double _dblValue, TreeText& _out) {
    char arr[kMaxFixed];
    std::string_view view = PrintFixed(_dblValue, 6, arr);
    while (view.ends_with('0') && view[view.size() - 2] != '.') view.remove_suffix(1);
    PrintAscii(view, _out);
}

namespace {

// -1 for what is no hexadecimal digit.
int HexDigitOf(char16_t _ch) {
    if (_ch >= u'0' && _ch <= u'9') return _ch - u'0';
    const char16_t chLower = ToLower(_ch);
    return chLower >= u'a' && chLower <= u'f' ? chLower - u'a' + 10 : -1;
}

}  // namespace

GUID ReadGuid(std::u16string_view _text) {
    uint8_t arr[16];
    size_t nBytes = 0;
    for (size_t i = 0; i + 1 < _text.size(); ++i) {
        const int nHigh = HexDigitOf(_text[i]);
        const int nLow = HexDigitOf(_text[i + 1]);
        if (nHigh < 0 || nLow < 0) continue;
        if (nBytes == 16) return {};
        arr[nBytes++] = static_cast<uint8_t>(nHigh * 16 + nLow);
        ++i;
    }
    if (nBytes != 16) return {};
    GUID id{static_cast<uint32_t>(arr[0]) << 24 | static_cast<uint32_t>(arr[1]) << 16 |
                static_cast<uint32_t>(arr[2]) << 8 | arr[3],
            static_cast<uint16_t>(arr[4] << 8 | arr[5]),
            static_cast<uint16_t>(arr[6] << 8 | arr[7]),
            {}};
    std::copy(arr + 8, arr + 16, id.Data4);
    return id;
}

void PrintGuid(const GUID& _id, TreeText& _out) {
    _out.Append(u"{");
    PrintHex(_id.Data1, 8, _out);
    _out.Append(u"-");
    PrintHex(_id.Data2, 4, _out);
    _out.Append(u"-");
    PrintHex(_id.Data3, 4, _out);
    _out.Append(u"-");
    for (size_t i = 0; i < 8; ++i) {
        if (i == 2) _out.Append(u"-");
        PrintHex(_id.Data4[i], 2, _out);
    }
    _out.Append(u"}");
}

namespace {

constexpr uint32_t CodeOf(std::u16string_view _four) {
    uint32_t nCode = 0;
    for (size_t i = 0; i < 4; ++i) nCode |= static_cast<uint32_t>(_four[i] > 0xFF ? u'?' : _four[i]) << (8 * i);
    return nCode;
}

struct CODE_NAME {
    std::u16string_view name;
    uint32_t nCode;
    bool bRead;  // also known to the reader
};

constexpr CODE_NAME arrCodeNames[] = {
    {u"ARGB32", 0x773C9AC0, true},
    {u"RGB32", 0xE436EB7E, true},
    {u"RGB24", 0xE436EB7D, true},
    {u"RGB8", 0xE436EB7A, true},
    {u"BI_RGB", 0, true},
    {u"BI_RLE8", 1, true},
    {u"BI_RLE4", 2, true},
    {u"BI_BITFIELDS", 3, true},
    {u"ARGB4444", 0x6E6415E6, true},
    {u"YUY2", CodeOf(u"YUY2"), true},
    {u"YVYU", CodeOf(u"YVYU"), true},
    {u"UYVY", CodeOf(u"UYVY"), true},
    {u"YV12", CodeOf(u"YV12"), true},
    {u"HDYC", CodeOf(u"HDYC"), true},
    {u"I420", CodeOf(u"I420"), true},
    {u"Y422", CodeOf(u"Y422"), true},
    {u"NV12", CodeOf(u"NV12"), true},
    {u"Y444", CodeOf(u"Y444"), true},
    {u"v210", CodeOf(u"v210"), true},
    {u"r210", CodeOf(u"r210"), true},
    {u"MJPG", CodeOf(u"MJPG"), true},
    {u"RGB1", 0xE436EB78, false},
    {u"RGB4", 0xE436EB79, false},
    {u"RGB565", 0xE436EB7B, false},
    {u"RGB555", 0xE436EB7C, false},
    {u"ARGB1555", 0x297C55AF, false},
};

}  // namespace

AttrFourCC ReadFourCC(std::u16string_view _text) {
    for (const CODE_NAME& entry : arrCodeNames)
        if (entry.bRead && EqualNoCase(entry.name, _text)) return {entry.nCode};
    return {_text.size() == 4 ? CodeOf(_text) : 0};
}

void PrintFourCC(AttrFourCC _code, TreeText& _out) {
    char16_t arr[4];
    for (size_t i = 0; i < 4; ++i) arr[i] = static_cast<char16_t>(_code.nCode >> (8 * i) & 0xFF);
    if (std::all_of(arr, arr + 4, [](char16_t _ch) { return _ch >= 0x20 && _ch < 0x7F; })) {
        _out.Append({arr, 4});
        return;
    }
    const auto* pEntry = std::find_if(std::begin(arrCodeNames), std::end(arrCodeNames),
                                      [&](const CODE_NAME& _entry) { return _entry.nCode == _code.nCode; });
    if (pEntry != std::end(arrCodeNames)) {
        _out.Append(pEntry->name);
        return;
    }
    _out.Append(u"0x");
    PrintHex(_code.nCode, 1, _out);
}

}  // namespace zr
