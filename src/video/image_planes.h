#pragma once
// Pictures as three planes of samples, whatever their pixel format: what works on planes alone takes any picture.

#include <cstdint>

#include "video/picture.h"
#include "video/scaling_engine.h"

namespace zr {

// Up to three pointers with their strides from line to line downward, and whether the picture is stored upside down.
using ZrImagePlanes = PICTURE;

// Y, Cb and Cr, each a plane of its own: of a picture itself, or of a scratch that holds its samples.
struct ZrPlanarImage {
    ZrImagePlanes picture;    // the picture
    ZrImagePlanes planes;     // its samples as I420, Y422 or Y444
    bool bInScratch = false;  // chroma at least is a copy

    const PLANE& Plane(int32_t _n) const { return planes.arrPlanes[_n]; }  // Y, U, V
};

// Planes for a picture, with undefined content where they are in _scratch: its own where it has three; NV12 keeps its
// luma and gets chroma planes, all packed formats get 4:2:2. Good until the scratch is used again.
// kTypeNotAccepted: a format that has no such samples. E_OUTOFMEMORY: no scratch.
HRESULT MakePlanar(ZrPlanarImage& _image, const PICTURE& _picture, ScratchBuffer& _scratch);

// The planes of the picture at _pSrc, with its samples; RGB by BT.601. Codes of PictureOf and of MakePlanar.
HRESULT InitPlanar(ZrPlanarImage& _image, const uint8_t* _pSrc, const ZR_VID_PROPS& _props, ScratchBuffer& _scratch);

// Writes planes of the record's size into the picture at _pDst; nothing moves if they are its own.
// E_POINTER: no planes; E_INVALIDARG: planes of another size; codes of PictureOf and of PictureConverter::Make.
HRESULT FromPlanar(const ZrPlanarImage& _image, uint8_t* _pDst, const ZR_VID_PROPS& _props);

}  // namespace zr
