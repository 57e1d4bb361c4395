#pragma once
// Frames out of picture files and into them.

#include "frame_module/frame.h"

namespace zr {

// The frame of a picture file, of RGB24, RGB32 or ARGB32, the latter multiplied by its alpha; then what the list of
// properties asks for: "premultiplied=true": the file's colours are multiplied already. "color=...": the picture is
// laid over that colour, which also fills what a letter box leaves free. "crop", "rotate", "mirror": in this order.
// Attributes of ReadVidProps, and "scaling_quality": the format to convert to; one of width and height alone keeps the
// shape of the picture. An empty name with a color is one colour in the format that the list names.
// Codes of ReadPictureFile and of IZrFrame::FrameConvert. E_INVALIDARG: attributes that say nothing possible, or no
// name and no color.
HRESULT LoadPictureFrame(const char16_t* _szFileName, const char16_t* _szPropsList, ZrPtr<IZrFFrame>* _ppFrame);

// Writes a frame's picture into a file of the type that the extension names: with its alpha where the type has one,
// otherwise over black. ZR_E_NOT_SUPPORTED: nobody writes that type; no file is made. ZR_E_EMPTY: no picture.
// kTypeNotAccepted: a pixel format that cannot become RGB. Or the system's error.
HRESULT SavePictureFrame(IZrFFrame& _frame, const char16_t* _szFileName);

}  // namespace zr
