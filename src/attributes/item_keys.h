#pragma once
// The keys of an item: of the place that a source has in a mixer, beside those of the source itself.

#include "attributes/prop_key.h"

namespace zr {

// Those that are registered stand at the node of a new item of a mixer. All stand at its root.
std::span<const PROP_KEY> ItemKeys();
// The one of that name that a new item has, or null.
const PROP_KEY* MadeItemKey(std::u16string_view _name);

}  // namespace zr
