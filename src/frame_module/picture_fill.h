#pragma once
// One colour all over a picture.

#include "attributes/attr_types.h"
#include "frame_module/picture.h"
#include "platform/status.h"
#include "zr/records.h"

namespace zr {

// Opaque.
inline constexpr AttrColour kBlack{0xFF000000};

// Fills a picture that its record describes, row padding too when it is no part of another: any colour into any known
// format, YCbCr at studio level, the alpha where there is one. ZR_E_NOT_SUPPORTED: a format of unknown layout; the
// picture is then all zeros.
HRESULT PictureFill(const ZR_VID_PROPS& _props, const Picture& _picture, AttrColour _colour);

}  // namespace zr
