// Any text read as every kind, printed, and read again as the same kind: the second reading gives what the first gave.

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>

#include "attributes/attr_value.h"

namespace {

using namespace zr;

template <class T>
void ReadAndPrint(const std::u16string& _text) {
    AttrValue value{_text};
    const T first = value.As<T>();
    AttrValue printed;
    printed.Set(first);
    const std::u16string text(printed.Text());
    if (text.size() > 400) std::abort();
    AttrValue again{text};
    const T second = again.As<T>();
    AttrValue printedAgain;
    printedAgain.Set(second);
    // Colours with a "#" do not read back, and measures and doubles lose digits when they print.
    if constexpr (std::is_integral_v<T> || std::is_same_v<T, GUID>)
        if (printedAgain.Text() != text) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* _pData, size_t _cb) {
    if (_cb < 1) return 0;
    std::u16string text((_cb - 1) / 2, u'\0');
    std::memcpy(text.data(), _pData + 1, text.size() * sizeof(char16_t));
    if (_pData[0] & 1) text.assign(_pData + 1, _pData + _cb);
    ReadAndPrint<bool>(text);
    ReadAndPrint<int32_t>(text);
    ReadAndPrint<uint32_t>(text);
    ReadAndPrint<int64_t>(text);
    ReadAndPrint<uint64_t>(text);
    ReadAndPrint<double>(text);
    ReadAndPrint<AttrMeasure>(text);
    ReadAndPrint<GUID>(text);
    ReadAndPrint<AttrFourCC>(text);
    ReadAndPrint<AttrColour>(text);
    ReadAndPrint<AttrDateTime>(text);
    return 0;
}
