#pragma once
// A resolution chart: zone plates in the middle and in the corners, wedges of lines, a ramp above, steps of grey below.

#include "video/picture.h"

namespace zr {

// Draws into a picture of ARGB32, UYVY or HDYC. E_INVALIDARG: another format.
HRESULT DrawTestChart(const PICTURE& _picture);

}  // namespace zr
