#pragma once
// Picture and sound format together, without the rest of ZR_AV_PROPS, which is two kilobytes.

#include "zr/records.h"

namespace zr {

struct AV_FORMAT {
    ZR_VID_PROPS vidProps;
    ZR_AUD_PROPS audProps;
};

// Those of a record.
inline AV_FORMAT FormatOf(const ZR_AV_PROPS& _props) { return {_props.vidProps, _props.audProps}; }

}  // namespace zr
