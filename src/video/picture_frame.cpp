#include "video/picture_frame.h"

#include <utility>

#include "media/pixel_format.h"

namespace zr {

HRESULT MakePictureFrame(ZrFrameFactory_I& _factory, const ZR_AV_PROPS& _avProps, const ZR_TIME& _time,
                         ZrPtr<IZrFrame>* _ppFrame, uint8_t** _ppBits) {
    const uint64_t cb = PictureBytes(_avProps.vidProps);
    if (cb > INT32_MAX) return E_INVALIDARG;
    ZrPtr<IZrFrame> pFrame;
    HRESULT hr = _factory.FrameCreateSized(static_cast<uint32_t>(cb), 0, 0, pFrame.Out());
    if (Succeeded(hr)) hr = pFrame->FrameAVPropsSet(&_avProps);
    if (Succeeded(hr)) hr = pFrame->FrameTimeSet(&_time);
    int32_t cbBits = 0;
    int64_t lpBits = 0;
    if (Succeeded(hr)) hr = pFrame->FrameVideoGetBytes(&cbBits, &lpBits);
    if (Failed(hr)) return hr;
    *_ppBits = reinterpret_cast<uint8_t*>(lpBits);
    *_ppFrame = std::move(pFrame);
    return S_OK;
}

}  // namespace zr
