#pragma once
// The plain node, as the settings and saved configurations use it.

#include "attributes/attributes_impl.h"
#include "attributes/node_impl.h"
#include "attributes/xml_node.h"

namespace zr {

class CoXMLNode;
using XMLNodePtr = ZrPtr<CoXMLNode>;

class CoXMLNode : public XMLNodeImpl<CoXMLNode, XMLNodePtr>,
                  public IZrNodeImpl<CoXMLNode>,
                  public IZrAttributesImpl<CoXMLNode> {
public:
    HRESULT QueryInterface(const GUID& _iid, void** _ppv) override;
    uint32_t AddRef() override { return XMLNodeBase::AddRef(); }
    uint32_t Release() override { return XMLNodeBase::Release(); }

protected:
    friend class XMLNodeImpl<CoXMLNode, XMLNodePtr>;
    CoXMLNode() = default;
    ~CoXMLNode() override = default;
};

}  // namespace zr
