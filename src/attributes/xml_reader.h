#pragma once
// The reader of the text form of a tree. It takes any text: what is cut or misnested gives a tree all the same.

#include <string>
#include <string_view>
#include <vector>

#include "attributes/xml_node.h"

namespace zr {

// A tag in a text, or what stands in place of one.
struct XML_TAG {
    enum class Kind {
        kNone,      // no more tags: the rest is text
        kSkipped,   // a comment or a declaration
        kNameless,  // nothing that can be used
        kOpen,
        kSelfClosed,
        kClosing,
        kCData,
    };

    Kind eKind = Kind::kNone;
    const char16_t* pBegin = nullptr;  // its "<"
    const char16_t* pBehind = nullptr;
    std::u16string_view name;        // as written
    std::u16string_view attributes;  // of CDATA its content
};

// The first tag of the text. The text has no zeros.
XML_TAG FindTag(const char16_t* _pText, const char16_t* _pEnd);

// Reads one tree; used once.
class XMLReader {
public:
    // _top: nobody else may know it. It has the name and tag it is to have when the text names none.
    XMLReader(XMLNodeBase& _top, std::u16string_view _text, const XML_READ_OPTIONS& _options);

    HRESULT Read();
    const char16_t* Position() const { return pText; }

private:
    void ReadBody();
    void ReadAttributes(XMLNodeBase& _node, std::u16string_view _attributes);
    void OpenChild(XMLNodeBase& _parent, const XML_TAG& _tag);
    void CloseLast();
    bool Closes(const XMLNodeBase& _node, std::u16string_view _name);
    void AddText(XMLNodeBase& _node, const char16_t* _pEnd);
    void AddDecoded(XMLNodeBase& _node, std::u16string_view _text, bool _bKeepSpace);
    std::u16string_view Lower(std::u16string_view _name);

    XMLNodeBase& top;
    const char16_t* pText;
    const char16_t* const pEnd;
    const XML_READ_OPTIONS options;
    std::vector<XMLNodeRef> arrOpen;  // from below the top down; each joins its parent when it is complete
    std::u16string strName;
    std::u16string strText;
};

}  // namespace zr
