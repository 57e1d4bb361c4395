#pragma once
// A picture description as text: the keywords of its attributes and the forms in which people see it.

#include <string>
#include <string_view>

#include "zr/records.h"

namespace zr {

// Keywords of the attributes "interlace", "scale_type" and "format_3d", case ignored. Unknown text gives the first of
// the list, value 0. "3D-Auto" stands for eZr3D_Tile and "3D-Tile" for eZr3D_Auto: stored files rely on it.
eZrInterlace ParseInterlace(std::u16string_view _text);
eZrScaleType ParseScaleType(std::u16string_view _text);
eZr3DFormat Parse3DFormat(std::u16string_view _text);

// The keyword of a value; empty for a value without one. For a layout only the layout bits count.
std::u16string_view InterlaceKeyword(eZrInterlace _eInterlace);
std::u16string_view ScaleTypeKeyword(eZrScaleType _eScaleType);
std::u16string_view LayoutKeyword(eZr3DFormat _e3DFormat);

// For statistics and logs, the record as it stands: "1920(3840)x1080(HDYC)@25.000iT (16:9)". "disabled" for
// eZrVF_Disabled, empty for null and for a record that asks for nothing.
std::u16string VideoTechnicalText(const ZR_VID_PROPS* _pProps);

// For a list, after normalising a copy as a wish. Name: "HD1080-50i HDYC 1920x1080@25.00iT 16:9". _bShort:
// "HDYC 1920(3840)x1080@25.000iT 16:9". Without video "<No Video>", without a valid record "<Auto/Not Specified>",
// both "-" in the short form.
std::u16string VideoListText(const ZR_VID_PROPS* _pProps, bool _bShort);

}  // namespace zr
