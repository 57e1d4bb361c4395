#include "sources/file_line.h"

#include <algorithm>
#include <iterator>

#include "attributes/attribute_line.h"
#include "platform/wide_text.h"

namespace zr {
namespace {

constexpr std::u16string_view arrFormatNames[] = {u"video_format", u"width", u"height", u"rate"};

}  // namespace

bool NamesKey(std::u16string_view _line, std::u16string_view _name) {
    AttributeLineScanner scanner(_line);
    while (scanner.Next())
        if (EqualNoCase(scanner.Name(), _name)) return true;
    return false;
}

std::u16string CompleteFileLine(std::u16string_view _line, std::u16string_view _output) {
    const bool bOwnFormat = std::any_of(std::begin(arrFormatNames), std::end(arrFormatNames),
                                        [&](auto _name) { return NamesKey(_line, _name); });
    std::u16string line(_line);
    AttributeLineScanner scanner(_output);
    while (scanner.Next()) {
        const bool bFormat = !EqualNoCase(scanner.Name(), u"pixel_format");
        if ((bFormat && bOwnFormat) || NamesKey(_line, scanner.Name())) continue;
        ((((line += u' ') += scanner.Name()) += u"='") += scanner.Value()) += u'\'';
    }
    return line;
}

}  // namespace zr
