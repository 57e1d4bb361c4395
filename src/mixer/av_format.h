#pragma once
// Picture and sound format together, without the rest of ZR_AV_PROPS, which is two kilobytes.

#include "zr/records.h"

namespace zr {

struct AV_FORMAT {
    ZR_VID_PROPS vidProps;
    ZR_AUD_PROPS audProps;
};

}  // namespace zr
