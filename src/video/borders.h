#pragma once
// A frame of solid rectangles around a picture on the output.

#include <string_view>

#include "video/fill.h"
#include "zr/records.h"
#include "zr/status.h"

namespace zr {

// Sides in the order left, top, right, bottom.
struct BORDERS {
    int32_t arrWidths[4] = {};  // pixels; above 0 outside of the picture, below 0 inside of it
    FILL_COLOUR arrColours[4];  // alpha 0: the side is not drawn
};

// Reads the attributes borders and borders_color. Widths: whole numbers, decimal, 0x or octal. Colours: as ReadColour,
// "-1" for none, with blanks, commas, semicolons or bars between them. One value is for all sides, two for left and
// right, top and bottom; a missing fourth is 0. Without any colour all are white. S_FALSE: there is no border.
HRESULT ReadBorders(std::u16string_view _widths, std::u16string_view _colours, BORDERS* _pBorders);

// The four rectangles that DrawBorders fills, in the order of the sides; empty ones are not drawn. False: _rect is
// outside of the picture.
bool BorderRects(const ZR_VID_PROPS& _props, const tagRECT& _rect, const BORDERS& _borders, tagRECT (&_arrSides)[4]);
// How much of a side's colour is mixed, of 256.
uint32_t BorderWeight(const FILL_COLOUR& _colour, double _dblAlpha);

// Draws borders around (_rect cut to the picture), at _dblAlpha (0 to 1) times the alpha of each colour; top and bottom
// take the corners. Formats with shared chroma: columns and widths go up to even. Interlaced: rows and heights too, so
// that both fields have the same border. What lies outside of the picture is left out.
// S_FALSE: the rectangle is outside. E_POINTER, E_INVALIDARG: no such picture. kTypeNotAccepted: a format that cannot
// be filled or, at less than full alpha, mixed; nothing is drawn then.
HRESULT DrawBorders(uint8_t* _pBuffer, const ZR_VID_PROPS& _props, const tagRECT& _rect, const BORDERS& _borders,
                    double _dblAlpha);

// Fills the picture at a weight of 256 over what it shows.
HRESULT MixColour(const PICTURE& _picture, const FILL_COLOUR& _colour, uint32_t _nWeight);

}  // namespace zr
