#pragma once
// One picture over another of any pixel format.

#include <cstdint>

#include "video/mix_image.h"
#include "video/scaling_engine.h"
#include "zr/records.h"
#include "zr/status.h"

namespace zr {

// Lays a rectangle of an ARGB32 picture, premultiplied, over one of a picture in another packed format: RGB24, UYVY,
// HDYC, YUY2. Its colours are converted and mixed while they are in the cache, a run of pixels at a time; 4:2:2 as
// MixMaskOffset does with the alpha as mask, RGB24 as MixOver. Rectangles and result codes as of MixImage_Mask8.
HRESULT MixImage_Argb(uint8_t* _pBase, const ZR_VID_PROPS& _baseProps, const tagRECT* _pBaseRect, const uint8_t* _pOver,
                      const ZR_VID_PROPS& _overProps, const tagRECT* _pOverRect, const MIX_OPTIONS& _options);

// Whether pictures can be laid over one of this format.
bool CanOverlay(eZrFCC _fccBase);

// Lays a rectangle of one picture over a rectangle of another: ARGB32 by its alpha, what has the family of the base as
// it is, all else after a conversion into the base's format, kept in the engine's scratch. _pMask: of MixImage_Mask8.
// Codes of MixImage_Mask8; kTypeNotAccepted, E_FAIL: no way from one format to the other. E_OUTOFMEMORY.
HRESULT OverlayPicture(ScalingEngine& _engine, uint8_t* _pBase, const ZR_VID_PROPS& _baseProps,
                       const tagRECT* _pBaseRect, const uint8_t* _pOver, const ZR_VID_PROPS& _overProps,
                       const tagRECT* _pOverRect, const MIX_MASK* _pMask, const MIX_OPTIONS& _options);

}  // namespace zr
