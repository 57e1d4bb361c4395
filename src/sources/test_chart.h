#pragma once
// A resolution chart: a zone plate amid wedges of lines, a ramp above, steps of grey below.

#include "video/picture.h"

namespace zr {

// Draws into a picture of ARGB32. E_INVALIDARG: another format.
HRESULT DrawTestChart(const PICTURE& _picture);

}  // namespace zr
