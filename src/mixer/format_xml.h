#pragma once
// The output format of a mixer in a saved configuration: a node "format" with the attributes that a source is asked by
// ("video_format", or "width", "height", "rate", "interlace", "aspect_ratio"; "pixel_format") and "audio_channels",
// "audio_rate", "audio_bits".

#include "framework/object_format.h"
#include "scenes/element.h"

namespace zr {

// What was asked for; nothing where the choice was left to the mixer.
void SaveFormat(const ObjectFormat& _format, CoElement& _top);
// What the node says; the picture or the sound that it does not speak of stays. E_INVALIDARG: it asks for a format that
// there is not; what can be is set all the same.
HRESULT LoadFormat(const CoElement& _top, ObjectFormat& _format);

}  // namespace zr
