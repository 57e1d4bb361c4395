#pragma once
// XML with the places of everything in it, and with all that is wrong with it. The library reads what is cut or
// misnested as well as it can and says nothing; this says it.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zrmix {

// Of a character, 1 first.
struct TEXT_PLACE {
    int nLine = 1;
    int nColumn = 1;
};

struct TEXT_FAULT {
    TEXT_PLACE place;
    std::string text;
};

struct XML_ATTRIBUTE {
    std::string name;
    std::string value;  // with entities read
    TEXT_PLACE place;
    TEXT_PLACE placeOfValue;
};

struct XML_ELEMENT {
    static constexpr size_t kNone = static_cast<size_t>(-1);
    std::string name;
    TEXT_PLACE place;  // of its "<"
    std::vector<XML_ATTRIBUTE> arrAttributes;
    std::vector<size_t> arrChildren;  // positions in the document
    size_t nParent = kNone;

    const XML_ATTRIBUTE* Find(std::string_view _name) const;
    // Empty: it has none of that name.
    std::string Value(std::string_view _name) const;
};

struct XML_DOCUMENT {
    std::vector<XML_ELEMENT> arrElements;  // as they begin in the text; the first is the top
    std::vector<TEXT_FAULT> arrFaults;

    const XML_ELEMENT* Top() const { return arrElements.empty() ? nullptr : arrElements.data(); }
    // The first child of that name; null: none, or _pParent is null.
    const XML_ELEMENT* Child(const XML_ELEMENT* _pParent, std::string_view _name) const;
};

// UTF-8, or UTF-16 by its mark. Any bytes.
XML_DOCUMENT ScanXml(std::string_view _bytes);

// Names count without their case.
bool SameName(std::string_view _a, std::string_view _b);

}  // namespace zrmix
