#include "attributes/attribute_line.h"

#include <algorithm>

#include "attributes/char_class.h"
#include "attributes/xml_node.h"

namespace zr {

bool AttributeLineScanner::Next() {
    const auto skipBlanks = [&] { pText = std::find_if_not(pText, pEnd, IsBlank); };
    const auto take = [&](const char16_t* _pTo) {
        const std::u16string_view word(pText, static_cast<size_t>(_pTo - pText));
        pText = _pTo;
        return word;
    };

    skipBlanks();
    name = take(std::find_if(pText, pEnd, [](char16_t _ch) { return _ch == u'=' || IsBlank(_ch); }));
    value = {};
    skipBlanks();
    bBare = pText == pEnd || *pText != u'=';
    if (bBare) return !name.empty();

    ++pText;
    skipBlanks();
    if (pText == pEnd) return false;
    if (*pText != u'\'' && *pText != u'"') {
        value = take(std::find_if(pText, pEnd, IsBlank));
        return true;
    }
    const char16_t chQuote = *pText++;
    value = take(std::find(pText, pEnd, chQuote));
    if (pText != pEnd) ++pText;
    return true;
}

bool SetAttributeLine(XMLNodeBase& _node, std::u16string_view _line, eZrUpdateType _eUpdate, BareNames _eBare,
                      LineNames _eNames, std::vector<std::u16string>* _parrNames) {
    if (_line.empty()) return false;
    if (_eUpdate == eZrUT_ClearDest) _node.RemoveAttributes();
    bool bAny = false;
    AttributeLineScanner scanner(_line);
    while (scanner.Next()) {
        if (scanner.IsBare() && _eBare == BareNames::kDrop) continue;
        const bool bSet = _eNames == LineNames::kPaths
                              ? _node.SetAttribute(scanner.Name(), scanner.Value())
                              : _node.SetOwnAttribute(scanner.Name(), scanner.Value(), _eUpdate != eZrUT_AddNew);
        if (!bSet) continue;
        bAny = true;
        if (_parrNames) _parrNames->emplace_back(scanner.Name());
    }
    return bAny;
}

}  // namespace zr
