// Attribute lines of any text, in every mode, and the line that comes of the result.

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "attributes/attribute_line.h"
#include "attributes/co_xml_node.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* _pData, size_t _cb) {
    using namespace zr;
    if (_cb < 1) return 0;
    const uint8_t nMode = _pData[0];
    std::u16string line((_cb - 1) / 2, u'\0');
    std::memcpy(line.data(), _pData + 1, line.size() * sizeof(char16_t));
    if (nMode & 1) line.assign(_pData + 1, _pData + _cb);

    const XMLNodePtr p = CoXMLNode::Create(u"node");
    p->SetAttribute(u"a", 1);
    std::vector<std::u16string> names;
    const bool bAny = SetAttributeLine(*p, line, static_cast<eZrUpdateType>((nMode >> 1) % 3),
                                       nMode & 32 ? BareNames::kKeep : BareNames::kDrop,
                                       nMode & 64 ? LineNames::kPaths : LineNames::kPlain, &names);
    if (bAny != !names.empty()) std::abort();
    std::u16string out;
    p->WriteAttributes(out);
    const XMLNodePtr pAgain = CoXMLNode::Create(u"again");
    SetAttributeLine(*pAgain, out, eZrUT_Update);
    return 0;
}
