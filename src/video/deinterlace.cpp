#include "video/deinterlace.h"

#include "video/image_convert.h"

namespace zr {

int32_t DeinterlaceField(const ZR_VID_PROPS& _props) {
    if (_props.eInterlace == eZrI_DeinterlaceF1) return 1;
    return _props.eInterlace == eZrI_DeinterlaceF2 ? 2 : 0;
}

HRESULT DeinterlacePicture(ScalingEngine& _engine, const uint8_t* _pSrc, uint8_t* _pDst, const ZR_VID_PROPS& _srcProps,
                           const ZR_VID_PROPS& _dstProps, int32_t _nField, eInterpolation _eQuality) {
    if (_nField != 1 && _nField != 2) return E_INVALIDARG;
    return Img_Convert(_engine, _pSrc, _pDst, _srcProps, _dstProps, true, nullptr, nullptr, _eQuality, 0,
                       _nField == 1 ? eScale_Field1 : eScale_Field2);
}

}  // namespace zr
