#pragma once
// The picture of one frame over that of another.

#include "frame_module/picture.h"
#include "zr/frame.h"

namespace zr {

// Where an overlay goes and how it is brought to its place.
struct OVERLAY_PLACE {
    tagRECT rect{};        // on the base, in pixels; may hang out
    bool bOwnSize = true;  // not scaled: the upper left corner counts, and the rectangle cuts what is larger
    eZrScaleType eScale = eZrST_IgnoreAR;
    int32_t nField = 0;  // 1, 2: into the lines of that field of the base only
};

// A rectangle in the pixels of a picture. Relative units are shares of its size; eZrFRT_FixedCC_15x32 has 15 rows of 32
// columns, eZrFRT_FixedN has N rows, with columns as wide as the rows are high. Null: the whole picture.
tagRECT RectInPixels(const ZRF_RECT* _pRect, const ZR_VID_PROPS& _props);

// Lays the picture of _over over the one that _props and _picture describe, through _pMask (may be null): a frame of
// RGB8, or of ARGB32, whose alpha counts, of the overlay's size. _szPropsList: scaling_quality, premultiplied,
// mixing.threads. Codes of OverlayPicture and Img_Convert; ZR_E_EMPTY: a frame without a picture.
HRESULT OverlayFrame(const ZR_VID_PROPS& _props, const Picture& _picture, IZrFFrame& _over, IZrFFrame* _pMask,
                     const OVERLAY_PLACE& _place, double _dblAlpha, const char16_t* _szPropsList);

}  // namespace zr
