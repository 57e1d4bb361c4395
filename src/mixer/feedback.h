#pragma once
// Mixers that show each other, over one another as well.

#include "zr/unknown.h"

namespace zr {

// Whether a mixer has another object among its streams or beneath them. With no lock held: the mixer is asked.
bool Shows(IUnknown* _pMixer, IUnknown& _other);

}  // namespace zr
