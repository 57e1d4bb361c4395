#include "frame_module/props_line.h"

#include "attributes/attr_text.h"
#include "attributes/attribute_line.h"
#include "platform/wide_text.h"

namespace zr {

bool FindInLine(const char16_t* _szLine, std::u16string_view _svName, std::u16string_view* _psvValue) {
    if (!_szLine) return false;
    AttributeLineScanner scanner(_szLine);
    while (scanner.Next()) {
        if (scanner.IsBare() || !EqualNoCase(scanner.Name(), _svName)) continue;
        *_psvValue = scanner.Value();
        return true;
    }
    return false;
}

int32_t IntInLine(const char16_t* _szLine, std::u16string_view _svName, int32_t _nDefault) {
    std::u16string_view svValue;
    if (!FindInLine(_szLine, _svName, &svValue)) return _nDefault;
    size_t nUsed = 0;
    const int32_t n = ParseInt32(svValue, 0, &nUsed);
    return nUsed > 0 ? n : _nDefault;
}

bool BoolInLine(const char16_t* _szLine, std::u16string_view _svName, bool _bDefault) {
    std::u16string_view svValue;
    return FindInLine(_szLine, _svName, &svValue) ? ReadBool(svValue) : _bDefault;
}

}  // namespace zr
