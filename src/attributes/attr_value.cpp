#include "attributes/attr_value.h"

#include <algorithm>

#include "attributes/attr_text.h"
#include "attributes/char_class.h"
#include "attributes/number_text.h"

namespace zr {

namespace {

// "true" is one for every integer kind.
template <class T>
T ReadIntegerValue(std::u16string_view _text) {
    const auto nValue = static_cast<T>(ReadInteger(_text, 0, sizeof(T) == 4 ? UINT32_MAX : UINT64_MAX).nValue);
    return nValue == 0 && EqualNoCase(_text, u"true") ? 1 : nValue;
}

void PrintHexPrefixed(uint64_t _nValue, int _nDigits, TreeText& _out) {
    _out.Append(u"0x");
    PrintHex(_nValue, _nDigits, _out);
}

}  // namespace

void AttrValue::AppendText(std::u16string_view _text) {
    if (!bTextValid) PrintText();
    text.Append(_text);
    eKind = AttrKind::kText;
}

void AttrValue::ReplaceDoubleQuotes() {
    const std::u16string_view view = Text();
    if (view.find(u'"') == view.npos) return;
    char16_t* const pOwn = text.Own();
    std::replace(pOwn, pOwn + view.size(), u'"', u'\'');
    eKind = AttrKind::kText;
}

void AttrValue::PrintText() {
    text.Clear();
    switch (eKind) {
        case AttrKind::kText: break;
        case AttrKind::kBool: PrintBool(Binary<bool>(), text); break;
        case AttrKind::kInt32: PrintDecimal(Binary<int32_t>(), text); break;
        case AttrKind::kUInt32: PrintHexPrefixed(Binary<uint32_t>(), 8, text); break;
        case AttrKind::kInt64: PrintDecimal(Binary<int64_t>(), text); break;
        case AttrKind::kUInt64: PrintHexPrefixed(Binary<uint64_t>(), 16, text); break;
        case AttrKind::kMeasure: PrintMeasure(Binary<AttrMeasure>(), text); break;
        case AttrKind::kDouble: PrintDouble(Binary<double>(), text); break;
        case AttrKind::kGuid: PrintGuid(Binary<GUID>(), text); break;
        case AttrKind::kFourCC: PrintFourCC(Binary<AttrFourCC>(), text); break;
        case AttrKind::kColour: PrintColour(Binary<AttrColour>(), text); break;
        case AttrKind::kDateTime: PrintDateTime(Binary<AttrDateTime>(), text); break;
    }
    bTextValid = true;
}

void AttrValue::ReadText(AttrKind _eKind, AttrColour _default) {
    const std::u16string_view view = Text();
    const auto store = [&](auto _value) { std::memcpy(arrBinary, &_value, sizeof(_value)); };
    std::memset(arrBinary, 0, sizeof(arrBinary));
    eKind = _eKind;
    if (view.empty()) return;
    switch (_eKind) {
        case AttrKind::kText: break;
        case AttrKind::kBool: store(ReadBool(view)); break;
        case AttrKind::kInt32: store(ReadIntegerValue<int32_t>(view)); break;
        case AttrKind::kUInt32: store(ReadIntegerValue<uint32_t>(view)); break;
        case AttrKind::kInt64: store(ReadIntegerValue<int64_t>(view)); break;
        case AttrKind::kUInt64: store(ReadIntegerValue<uint64_t>(view)); break;
        case AttrKind::kMeasure: store(ReadMeasure(view)); break;
        case AttrKind::kDouble: store(ReadDoubleValue(view)); break;
        case AttrKind::kGuid: store(ReadGuid(view)); break;
        case AttrKind::kFourCC: store(ReadFourCC(view)); break;
        case AttrKind::kColour: store(ReadColour(view, _default)); break;
        case AttrKind::kDateTime: store(ReadDateTime(view)); break;
    }
}

}  // namespace zr
