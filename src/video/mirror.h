#pragma once
// Mirrors a packed picture in place.

#include <cstdint>
#include <string_view>

#include "zr/records.h"
#include "zr/status.h"

namespace zr {

enum class eMirror { None, Horz, Vert, Both };

// "horz", "vert", "both"; any other text is None.
eMirror ReadMirror(std::u16string_view _text);

// Left to right, top to bottom, or both. In 4:2:2 the chroma samples stay with their pair. After a vertical mirror of
// an interlaced picture all rows move up by one, and the last one stays twice, so that the fields keep their order.
// E_POINTER: a null buffer. E_INVALIDARG: a picture that cannot be. E_NOTIMPL: planar formats, v210. Nothing is changed
// then.
HRESULT MirrorPicture(uint8_t* _pBuffer, const ZR_VID_PROPS& _props, eMirror _eMirror);

}  // namespace zr
