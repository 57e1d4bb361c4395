#pragma once
// Frames in other formats, by the converters of the pool.

#include "media/frame_interfaces.h"
#include "zr/records.h"
#include "zr/status.h"

namespace zr {

// A new frame with the picture of _frame in the wanted format, its time and its audio. _szPropsList: attributes of the
// conversion, may be null; without a scaling_quality it is cubic, fields apart. _szConverterID: whose filters are kept
// under that name; null or empty for a converter of the pool. Codes of ZrImageFormat::ConvertFrame.
HRESULT ConvertFrameTo(IZrFrame& _frame, const ZR_VID_PROPS& _wanted, const char16_t* _szPropsList,
                       const char16_t* _szConverterID, IZrFrame** _ppFrame);

}  // namespace zr
