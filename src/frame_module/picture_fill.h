#pragma once
// One colour all over a picture.

#include "attributes/attr_types.h"
#include "frame_module/picture.h"
#include "platform/status.h"
#include "zr/records.h"

namespace zr {

// Opaque.
inline constexpr AttrColour kBlack{0xFF000000};

// Fills a picture that its record describes, row padding too when it is no part of another. Black goes into every known
// format, at studio level where that has one; other colours into RGB formats only, the alpha into ARGB32.
// E_NOTIMPL: another colour in another format, which takes a conversion. ZR_E_NOT_SUPPORTED: a format of unknown
// layout; the picture is then all zeros.
HRESULT PictureFill(const ZR_VID_PROPS& _props, const Picture& _picture, AttrColour _colour);

}  // namespace zr
