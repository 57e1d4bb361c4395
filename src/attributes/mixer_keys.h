#pragma once
// The keys of a mixer.

#include "attributes/prop_key.h"

namespace zr {

const PROPS_PROFILE& MixerProfile();

}  // namespace zr
