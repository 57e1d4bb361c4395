#pragma once
// The modes of an audio track by name.

#include <string_view>

#include "zr/enums.h"

namespace zr {

// "disabled", "enabled", "exclusive", ...: the names of the modes, and the mode of a name or its number. Case and the
// signs between words do not count. False: it is none.
std::u16string_view TrackModeName(eZrAudioTrackMode _eMode);
bool TrackModeOfName(std::u16string_view _name, eZrAudioTrackMode* _peMode);

}  // namespace zr
