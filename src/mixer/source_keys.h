#pragma once
// What the keys of a mixer say of the objects that are its sources.

#include "attributes/co_xml_node.h"
#include "sources/co_zr_item.h"

namespace zr {

// Whether the mixer starts the item's source: always what it has opened itself, an object of the host by the key
// external.autostart. _object: the node with the mixer's keys.
bool StartsSource(const CoXMLNode& _object, const CCoZrItem& _item);

enum class SourcePlace { Waiting, Connected };
// With threads.priority_on the source's own threads get threads.priority_max while the mixer asks it for frames, and
// threads.priority_min before and after. Calls the source: no lock is to be held.
void SetSourcePriority(const CoXMLNode& _object, const CCoZrItem& _item, SourcePlace _ePlace);

}  // namespace zr
