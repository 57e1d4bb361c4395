#include "video/weave.h"

#include <cstring>

#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "video/picture.h"
#include "video/picture_frame.h"

namespace zr {
namespace {

HRESULT PictureOfFrame(IZrFFrame& _frame, const ZR_VID_PROPS& _props, PICTURE& _picture) {
    ZRF_VID_PTR planes;
    const HRESULT hr = PlanesToRead(_frame, &planes);
    return Failed(hr) ? hr : PictureOfPlanes(planes, _props, _picture);
}

bool SamePictureFormat(const ZR_VID_PROPS& _a, const ZR_VID_PROPS& _b) {
    return _a.fccType == _b.fccType && _a.nWidth == _b.nWidth && AbsHeight(_a.nHeight) == AbsHeight(_b.nHeight);
}

void CopyLines(const PICTURE& _src, const PICTURE& _dst, int32_t _nFirst) {
    for (int32_t i = 0; i < _dst.nPlanes; ++i) {
        const PLANE &from = _src.arrPlanes[i], &to = _dst.arrPlanes[i];
        const size_t cb = SampleBytes(_dst, i);
        for (int32_t y = _nFirst; y < to.nHeight; y += 2) std::memcpy(to.Row(y), from.Row(y), cb);
    }
}

}  // namespace

HRESULT WeaveFrames(ZrFrameFactory_I& _factory, IZrFFrame& _first, IZrFFrame& _second, eZrInterlace _eOrder,
                    ZrPtr<IZrFFrame>* _ppWoven) {
    _ppWoven->Reset();
    ZR_AV_PROPS avProps, propsSecond;
    ZR_TIME time;
    HRESULT hr = _first.ZrFAVPropsGet(&avProps, nullptr);
    if (Succeeded(hr)) hr = _second.ZrFAVPropsGet(&propsSecond, nullptr);
    if (Succeeded(hr)) hr = _first.ZrFTimeGet(&time);
    if (Failed(hr)) return hr;
    if (!SamePictureFormat(avProps.vidProps, propsSecond.vidProps)) return S_FALSE;
    PICTURE first, second, woven;
    hr = PictureOfFrame(_first, avProps.vidProps, first);
    if (Succeeded(hr)) hr = PictureOfFrame(_second, propsSecond.vidProps, second);
    if (Failed(hr)) return hr;

    ZR_VID_PROPS& props = avProps.vidProps;
    props.eVideoFormat = eZrVF_Custom;
    props.eInterlace = _eOrder;
    props.nRowBytes = MinRowBytes(props.fccType, props.nWidth);
    avProps.audProps = {};
    ZrPtr<IZrFrame> pFrame;
    uint8_t* pBits = nullptr;
    hr = MakePictureFrame(_factory, avProps, time, &pFrame, &pBits);
    if (Succeeded(hr)) hr = PictureOf(pBits, props, woven);
    if (Failed(hr)) return hr;
    const int32_t nFirstLine = InterlaceClass(&props) < 0 ? 1 : 0;
    CopyLines(first, woven, nFirstLine);
    CopyLines(second, woven, 1 - nFirstLine);
    *_ppWoven = pFrame.As<IZrFFrame>();
    return *_ppWoven ? S_OK : E_NOINTERFACE;
}

}  // namespace zr
