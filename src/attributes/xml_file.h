#pragma once
// XML in files.

#include <string>
#include <string_view>

#include "attributes/xml_node.h"
#include "platform/status.h"

namespace zr {

struct XML_FILE_OPTIONS {
    bool bHeader = false;   // the line that says it is XML comes first
    bool bUnicode = false;  // UTF-16 with its mark, else UTF-8
};

// Appends a node as a whole document, without a mark.
void WriteXmlDocument(const XMLNodeBase& _node, bool _bHeader, std::u16string& _out);
// Writes it to a file, in place of one that is there, at once: who reads sees the old one or the new one. What the
// system says when it cannot be written; the old one is still there then.
HRESULT SaveXmlFile(const XMLNodeBase& _node, const char16_t* _szFile, const XML_FILE_OPTIONS& _options);
// The whole of a file in UTF-8 or, with its mark, UTF-16. ZR_E_NOT_FOUND_FILE: there is none. ZR_E_INVALID_DATA: larger
// than 256 MiB.
HRESULT ReadTextFile(const char16_t* _szFile, std::u16string& _strText);
// The same as XML. E_INVALIDARG: nothing in it opens a tag.
HRESULT LoadXmlFile(const char16_t* _szFile, XMLNodeBase& _node);
// Reads the file of that name when there is one, else the text itself. _pbFile (may be null): which it was.
HRESULT LoadXmlFileOrText(std::u16string_view _xmlOrFile, XMLNodeBase& _node, bool* _pbFile = nullptr);

}  // namespace zr
