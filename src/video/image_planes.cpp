#include "video/image_planes.h"

#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "video/color_convert.h"

namespace zr {

HRESULT MakePlanar(ZrPlanarImage& _image, const PICTURE& _picture, ScratchBuffer& _scratch) {
    _image = {_picture, _picture, false};
    if (_picture.nPlanes == 3) return S_OK;
    const bool bPairs = _picture.nPlanes == 2;
    PICTURE& planes = _image.planes;
    planes.fccType = bPairs ? eZrFCC_I420 : kFCC_Y422;
    planes.nPlanes = 3;
    planes.bBottomUp = false;
    PictureConverter converter;
    const HRESULT hr = PictureConverter::Make(_picture.fccType, planes.fccType, false, converter);
    if (Failed(hr)) return hr;
    const int32_t nWidth = _picture.Width(), nHeight = _picture.Height(), nChromaWidth = nWidth / 2,
                  nChromaHeight = bPairs ? _picture.arrPlanes[1].nHeight : nHeight;
    const size_t cbLuma = ScratchRowBytes(static_cast<size_t>(nWidth)),
                 cbChroma = ScratchRowBytes(static_cast<size_t>(nChromaWidth));
    const uint64_t cbLumaPlane = bPairs ? 0 : uint64_t{cbLuma} * static_cast<uint64_t>(nHeight),
                   cbChromaPlane = uint64_t{cbChroma} * static_cast<uint64_t>(nChromaHeight);
    uint8_t* p = Scratch(_scratch, cbLumaPlane + 2 * cbChromaPlane);
    if (!p) return E_OUTOFMEMORY;
    _image.bInScratch = true;
    if (!bPairs) planes.arrPlanes[0] = {p, static_cast<ptrdiff_t>(cbLuma), nWidth, nHeight};
    planes.arrPlanes[1] = {p + cbLumaPlane, static_cast<ptrdiff_t>(cbChroma), nChromaWidth, nChromaHeight};
    planes.arrPlanes[2] = planes.arrPlanes[1];
    planes.arrPlanes[2].pTop += cbChromaPlane;
    return S_OK;
}

HRESULT InitPlanar(ZrPlanarImage& _image, const uint8_t* _pSrc, const ZR_VID_PROPS& _props, ScratchBuffer& _scratch) {
    PICTURE src;
    HRESULT hr = PictureOf(const_cast<uint8_t*>(_pSrc), _props, src);
    if (Succeeded(hr)) hr = MakePlanar(_image, src, _scratch);
    if (Failed(hr) || !_image.bInScratch) return hr;
    return ConvertPicture(src, _image.planes, InterlaceClass(&_props) != 0, false);
}

HRESULT FromPlanar(const ZrPlanarImage& _image, uint8_t* _pDst, const ZR_VID_PROPS& _props) {
    if (_image.planes.nPlanes != 3) return E_POINTER;
    PICTURE dst;
    const HRESULT hr = PictureOf(_pDst, _props, dst);
    if (Failed(hr)) return hr;
    if (dst.Width() != _image.planes.Width() || dst.Height() != _image.planes.Height()) return E_INVALIDARG;
    return ConvertPicture(_image.planes, dst, InterlaceClass(&_props) != 0, false);
}

}  // namespace zr
