#pragma once
// The objects of this process that give frames and let themselves be found.

#include <string_view>

#include "attributes/co_xml_node.h"
#include "zr/ptr.h"
#include "zr/unknown.h"

namespace zr {

// The object of that name: the one whose sender has it, else the first to start of those that are called so. Null:
// there is none. _object: the node with the keys of whoever asks, which say in which group it stands. _self: that one,
// which does not find itself. Objects are called: no lock is to be held. Throws std::bad_alloc.
ZrPtr<IUnknown> FindSource(const CoXMLNode& _object, IUnknown& _self, std::u16string_view _name);

}  // namespace zr
