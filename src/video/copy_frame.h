#pragma once
// Copies a whole picture with a change of pixel format at the same size. Repairs the field order.

#include <cstdint>

#include "video/picture.h"
#include "zr/records.h"
#include "zr/status.h"

namespace zr {

// Copies _pSrc to _pDst, packed formats only, the smaller of both sizes. Between interlaced pictures of opposite field
// order the picture moves by one line, and the line that is left over repeats its neighbour. _nThreads of 2 and more:
// rows are dealt out to as many workers, the caller among them, unless the bytes are only copied or the field order
// changes. E_POINTER: a null buffer. E_INVALIDARG: a picture that cannot be (see PictureOf). kTypeNotAccepted: a format
// without a row in the conversion matrix. E_FAIL: RGB to v210. Nothing is written then.
HRESULT CopyFrameCC(const uint8_t* _pSrc, uint8_t* _pDst, const ZR_VID_PROPS& _srcProps, const ZR_VID_PROPS& _dstProps,
                    int32_t _nThreads);

// The same with up to four workers.
HRESULT CopyFrameCC_Thread(const uint8_t* _pSrc, uint8_t* _pDst, const ZR_VID_PROPS& _srcProps,
                           const ZR_VID_PROPS& _dstProps);

// The same between pictures of equal size, planar ones too. The classes are those of InterlaceClass.
HRESULT CopyPictureCC(const PICTURE& _src, const PICTURE& _dst, int32_t _nSrcClass, int32_t _nDstClass,
                      int32_t _nThreads);

}  // namespace zr
