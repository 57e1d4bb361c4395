#include "frame_module/picture_convert.h"

#include <utility>

#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "video/color_convert.h"

namespace zr {

HRESULT PictureConvert(const ZR_VID_PROPS& _from, const Picture& _picture, eZrFCC _fccTo, ZR_VID_PROPS* _pProps,
                       Picture* _pConverted) {
    PICTURE src, dst;
    HRESULT hr = PictureOfPlanes(PicturePlanes(_from, _picture), _from, src);
    if (Failed(hr)) return hr;
    ZR_VID_PROPS props = _from;
    props.fccType = _fccTo;
    if (HasChromaPairs(_fccTo)) props.nWidth &= ~1;
    int32_t nLines = AbsHeight(props.nHeight);
    if (Is420(_fccTo)) nLines &= ~1;
    const bool bStaysUp = PixelFormatBottomUp(_fccTo) && PixelFormatBottomUp(_from.fccType) && _from.nHeight > 0;
    props.nHeight = PixelFormatBottomUp(_fccTo) && !bStaysUp ? -nLines : nLines;
    props.nRowBytes = MinRowBytes(_fccTo, props.nWidth);
    Picture converted;
    hr = PictureAlloc(PictureBytes(props), &converted);
    if (Succeeded(hr)) hr = PictureOf(converted.pBits, props, dst);
    if (Succeeded(hr))
        hr = ConvertPicture(CutPicture(src, {0, 0, dst.Width(), dst.Height()}), dst, InterlaceClass(&_from) != 0, true);
    if (Failed(hr)) return hr;
    *_pProps = props;
    *_pConverted = std::move(converted);
    return S_OK;
}

}  // namespace zr
