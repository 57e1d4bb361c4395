#pragma once
// Colour bars with exact levels, drawn at any size.

#include <cstdint>

#include "video/fill.h"
#include "video/picture.h"

namespace zr {

enum class eTestBars {
    Eight75,    // eight full-height bars, white and colours of 75 %
    Eight100,   // the same of 100 %
    Broadcast,  // white of 100 %, colours of 75 %
    Standard,   // seven bars of 75 %, the reverse row, -I, white, +Q and the black steps
    High,       // the same for wide pictures: grey sides, ramp, black steps
};

// Whether pictures of a format are RGB; of a format that cannot be filled: false or true, it cannot be drawn either.
bool IsRgbFormat(eZrFCC _fccType);

// A colour by its parts of full scale, 0 to 1: the YCbCr codes of the format's own matrix, or RGB of full range.
FILL_COLOUR LevelColour(eZrFCC _fccType, double _dblRed, double _dblGreen, double _dblBlue);

// E_POINTER, kTypeNotAccepted: as FillColour. Edges of bars lie on whole chroma samples (v210: groups of six pixels).
HRESULT DrawTestBars(const PICTURE& _picture, eTestBars _eBars);

}  // namespace zr
