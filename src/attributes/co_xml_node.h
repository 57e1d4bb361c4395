#pragma once
// The plain node, as the settings and saved configurations use it.

#include "attributes/xml_node.h"

namespace zr {

class CoXMLNode;
using XMLNodePtr = ZrPtr<CoXMLNode>;

class CoXMLNode : public XMLNodeImpl<CoXMLNode, XMLNodePtr> {
protected:
    friend class XMLNodeImpl<CoXMLNode, XMLNodePtr>;
    CoXMLNode() = default;
    ~CoXMLNode() override = default;
};

}  // namespace zr
