#include "sources/file_line.h"

#include <algorithm>

#include "attributes/attribute_line.h"
#include "platform/wide_text.h"

namespace zr {
namespace {

// Any of the first four makes it a format of its own.
constexpr std::u16string_view arrFormatNames[] = {u"video_format", u"width",     u"height",
                                                  u"rate",         u"interlace", u"pixel_format"};
constexpr size_t kOwnNames = 4;

}  // namespace

bool NamesKey(std::u16string_view _line, std::u16string_view _name) {
    AttributeLineScanner scanner(_line);
    while (scanner.Next())
        if (EqualNoCase(scanner.Name(), _name)) return true;
    return false;
}

std::u16string CompleteFileLine(std::u16string_view _line, std::u16string_view _output) {
    const bool bOwnFormat =
        std::any_of(arrFormatNames, arrFormatNames + kOwnNames, [&](auto _name) { return NamesKey(_line, _name); });
    std::u16string line(_line);
    AttributeLineScanner scanner(_output);
    while (scanner.Next()) {
        const bool bFormat = !EqualNoCase(scanner.Name(), u"pixel_format");
        if ((bFormat && bOwnFormat) || NamesKey(_line, scanner.Name())) continue;
        ((((line += u' ') += scanner.Name()) += u"='") += scanner.Value()) += u'\'';
    }
    return line;
}

XMLNodePtr FormatOfLine(std::u16string_view _line) {
    XMLNodePtr pNode;
    AttributeLineScanner scanner(_line);
    while (scanner.Next()) {
        for (const std::u16string_view name : arrFormatNames) {
            if (!EqualNoCase(scanner.Name(), name)) continue;
            if (!pNode) pNode = CoXMLNode::Create(u"line");
            pNode->SetAttribute(name, std::u16string_view(scanner.Value()));
        }
    }
    return pNode;
}

}  // namespace zr
