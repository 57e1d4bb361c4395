#pragma once
// The attribute line, "a=1 b='two words' c=\"x\"": the text form of a set of attributes and the parameter syntax of
// public calls. Anything can be read: what makes no sense gives odd attributes, never an error.

#include <string>
#include <string_view>
#include <vector>

#include "zr/enums.h"

namespace zr {

class XMLNodeBase;

// Takes a line apart, item by item. Values have no escapes; an open quote runs to the end of the line.
class AttributeLineScanner {
public:
    explicit AttributeLineScanner(std::u16string_view _line) : pText(_line.data()), pEnd(pText + _line.size()) {}

    // The next item, whose views are parts of the line. False at the end; a name with "=" as the line's last word
    // is no item.
    bool Next();

    std::u16string_view Name() const { return name; }  // empty for " =x"
    std::u16string_view Value() const { return value; }
    bool IsBare() const { return bBare; }  // no "=" behind the name

private:
    const char16_t* pText;
    const char16_t* pEnd;
    std::u16string_view name;
    std::u16string_view value;
    bool bBare = false;
};

enum class BareNames { kDrop, kKeep };    // a name without "=": nothing, or an attribute with no text
enum class LineNames { kPlain, kPaths };  // names as they stand, or paths whose nodes are made

// Sets the attributes of a line on a node. An empty line changes nothing; else eZrUT_ClearDest removes all present
// attributes first. Present values are kept under eZrUT_AddNew, but never with kPaths, which always overwrites.
// _parrNames (may be null): receives the names that were set. Returns whether any was. Throws std::bad_alloc.
bool SetAttributeLine(XMLNodeBase& _node, std::u16string_view _line, eZrUpdateType _eUpdate,
                      BareNames _eBare = BareNames::kDrop, LineNames _eNames = LineNames::kPlain,
                      std::vector<std::u16string>* _parrNames = nullptr);

}  // namespace zr
