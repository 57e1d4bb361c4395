#pragma once
// The keys of a file source.

#include "attributes/prop_key.h"

namespace zr {

const PROPS_PROFILE& FileProfile();

}  // namespace zr
