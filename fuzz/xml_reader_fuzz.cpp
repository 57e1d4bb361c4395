// The reader on any text, in every mode; what it read is written, read again, cloned and taken apart.

#include <cstdlib>
#include <cstring>
#include <string>

#include "attributes/co_xml_node.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* _pData, size_t _cb) {
    using namespace zr;
    static constexpr NameKey keyId{u"id"};
    if (_cb < 1) return 0;
    const uint8_t nMode = _pData[0];
    std::u16string text((_cb - 1) / 2, u'\0');
    std::memcpy(text.data(), _pData + 1, text.size() * sizeof(char16_t));
    // Most texts are one byte a character.
    if (nMode & 1) text.assign(_pData + 1, _pData + _cb);

    XML_READ_OPTIONS options;
    options.bBodyOnly = nMode & 2;
    options.bKeepSpace = nMode & 4;
    options.bNoFold = nMode & 8;
    const XMLNodePtr p = CoXMLNode::Create(u"node", nMode & 16 ? &keyId : nullptr);
    const char16_t* pEnd = nMode & 32 ? text.c_str() + text.size() / 2 : nullptr;
    const HRESULT hr = p->Parse(text.c_str(), &pEnd, options);
    if (Failed(hr)) return 0;
    if (pEnd < text.c_str() || pEnd > text.c_str() + text.size()) std::abort();

    std::u16string written;
    p->Write(written, {.nIndent = nMode & 64 ? 0 : -1, .bTextFlow = (nMode & 128) != 0});
    const XMLNodePtr pAgain = CoXMLNode::Create(u"again", nMode & 16 ? &keyId : nullptr);
    pAgain->Parse(written.c_str());
    std::u16string writtenClone;
    p->Clone()->Write(writtenClone, {.nIndent = nMode & 64 ? 0 : -1, .bTextFlow = (nMode & 128) != 0});
    while (p->ChildCount() > 0) p->RemoveChildNode(p->ChildNodeAt(p->ChildCount() / 2).Get());
    return 0;
}
