#pragma once
// What a tree says about its own nodes and attributes. A child named "attributes_info" describes either the attributes
// of the node it stands in, or at a top the kinds of nodes: a child for each tag, with the attributes of that kind
// below it. A kind may extend another by its attribute "inherit".
//
//   <attributes_info>
//     <group><show type='bool' default='true'>Show item</show></group>
//     <video inherit='group'><pos type='option' values='center, left'/></video>
//   </attributes_info>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "attributes/xml_node.h"
#include "zr/enums.h"

namespace zr {

// The description as it is seen from one node. Throws std::bad_alloc.
class Schema {
public:
    explicit Schema(XMLNodeBase& _node);

    // What is said about an attribute; no value: nothing. A path leads to the description through the nodes of the
    // description, or else through those of the tree.
    std::optional<std::u16string> Info(std::u16string_view _name, eZrInfoType _eType) const;
    // What is said about one value of an attribute: its help (empty _type), or what stands under that name. An empty
    // value is the one that the attribute has.
    std::optional<std::u16string> ValueInfo(std::u16string_view _name, std::u16string_view _value,
                                            std::u16string_view _type) const;
    // What is said about nodes of this tag: the help (empty _type), or what stands under that name.
    std::optional<std::u16string> NodeInfo(std::u16string_view _type) const;
    // The values that an attribute can be given, in order; empty for one that takes anything.
    std::vector<std::u16string> Options(std::u16string_view _name) const;

    // The entries that apply to the node: those at the parent, its own, or, when neither has any description, those of
    // its kind. A text among the first two is an entry without a name.
    std::vector<std::u16string> Entries() const;

private:
    // A node that describes an attribute, and the root that it belongs to.
    struct FOUND {
        XMLNodeRef pInfo;
        XMLNodeRef pRoot;
    };
    FOUND Find(std::u16string_view _name) const;
    static XMLNodeRef OptionsNode(const FOUND& _found);
    std::vector<XMLNodeRef> KindChain() const;

    XMLNodeBase& node;
    XMLNodeRef pOwn;     // the node's own description
    XMLNodeRef pParent;  // its parent's
    XMLNodeRef pRoot;    // the nearest one upward
    bool bUseParent;     // the node's own description does not keep the parent's away
};

}  // namespace zr
