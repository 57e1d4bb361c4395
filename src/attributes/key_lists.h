#pragma once
// Keys that every media object has in common: those it passes on to the objects it hosts, those that stand at the root.

#include <string_view>

#include "attributes/prop_key.h"

namespace zr {

// Keys of the preview object.
KeyNames PreviewKeyNames();
bool IsPreviewKey(std::u16string_view _strName);

// Keys of the delay line, as the delay line knows them.
KeyNames DelayKeyNames();
// The delay line's own name of "object::zrdelay...", a part of _strName; empty when it is none of its keys.
std::u16string_view DelayKeyOf(std::u16string_view _strName);

// Keys that concern the whole object.
KeyNames RootKeyNames();

}  // namespace zr
