#pragma once
// Short ways through the public faces of a node, with narrow texts.

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "attributes/co_xml_node.h"
#include "zr/attributes.h"
#include "zr/utf8.h"

namespace zr {

inline std::u16string Wide(std::string_view _text) { return ToUtf16(_text); }

// A node read from XML.
inline XMLNodePtr NodeOf(std::string_view _xml) {
    const XMLNodePtr p = CoXMLNode::Create(u"node");
    EXPECT_EQ(p->Parse(Wide(_xml).c_str()), S_OK);
    return p;
}

// A node with the attributes of a line.
inline XMLNodePtr NodeWith(std::string_view _line) { return NodeOf("<node " + std::string(_line) + "/>"); }

inline std::string XmlOf(IZrNode& _node) {
    std::string strXml;
    EXPECT_EQ(GetText([&](BSTR* _pbs) { return _node.NodeSave(_pbs); }, strXml), S_OK);
    return strXml;
}

inline std::string LineOf(IZrAttributes& _attributes) {
    std::string strLine;
    EXPECT_EQ(GetText([&](BSTR* _pbs) { return _attributes.AttributesSave(_pbs); }, strLine), S_OK);
    return strLine;
}

// An out text: what came out, "<null>" for no text.
inline std::string Shown(const Text& _text) { return _text ? _text.Utf8() : "<null>"; }

}  // namespace zr
