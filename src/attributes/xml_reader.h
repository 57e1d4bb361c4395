#pragma once
// The reader of the text form of a tree. It takes any text: what is cut or misnested gives a tree all the same.

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

// Reads one tree; used once. The nodes, their names and texts are parts of the source that it makes of the text.
class XMLReader {
public:
    // _top: nobody else may know it. It has the name and tag it is to have when the text names none.
    XMLReader(XMLNodeBase& _top, std::u16string_view _text, const XML_READ_OPTIONS& _options);
    ~XMLReader() { pSource->ReleaseHolders(1 + nHoldsLeft); }
    XMLReader(const XMLReader&) = delete;
    XMLReader& operator=(const XMLReader&) = delete;

    HRESULT Read();
    // How much was read.
    size_t Position() const { return static_cast<size_t>(pText - pSource->Begin()); }

private:
    struct ATTRIBUTE {
        std::u16string_view name;
        std::u16string_view value;
    };

    bool ReadTopTag();
    void ReadBody();
    XML_TAG NextTag();
    bool ReadPlainTag(const char16_t* _p, XML_TAG& _tag);
    void ReadAttributeLine(std::u16string_view _attributes);
    void StoreAttributes(XMLNodeBase& _node);
    void OpenChild(const XML_TAG& _tag);
    void CloseLast();
    static bool Closes(const XMLNodeBase& _node, std::u16string_view _name);
    void AddText(XMLNodeBase& _node, const char16_t* _pEnd);
    void AddDecoded(XMLNodeBase& _node, std::u16string_view _text, bool _bKeepSpace);
    XMLNodeRef NewPart(std::u16string_view _part, bool _bText);
    char16_t* Writable(const char16_t* _p) const { return pSource->Begin() + (_p - pSource->Begin()); }
    std::u16string_view Lower(std::u16string_view _name) const;

    XMLNodeBase& top;
    TreeSource* const pSource;  // held
    uint32_t nHoldsLeft = 0;    // for nodes still to come
    const char16_t* pText;
    const char16_t* const pEnd;
    const XML_READ_OPTIONS options;
    bool bBody = true;                // the top has a body to be read
    std::vector<XMLNodeRef> arrOpen;  // from below the top down; each joins its parent when it is complete
    std::vector<ATTRIBUTE> arrFound;  // of the tag that is being read
};

}  // namespace zr
