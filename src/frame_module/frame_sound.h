#pragma once
// The sound of a converted frame.

#include "platform/status.h"
#include "zr/frame.h"
#include "zr/records.h"

namespace zr {

// Whether a wish, of which zeros say nothing, is another format than the one there is.
bool AsksForOtherAudio(const ZR_AUD_PROPS& _wanted, const ZR_AUD_PROPS& _own);

// Replaces a frame's sound by itself in another format. Under a name the rate conversion goes on from frame to frame;
// without one the frame stands alone between silences. VFW_E_UNSUPPORTED_AUDIO: no such conversion.
HRESULT ConvertSound(IZrFFrame& _frame, const ZR_AUD_PROPS& _wanted, const char16_t* _szConverterID);

}  // namespace zr
