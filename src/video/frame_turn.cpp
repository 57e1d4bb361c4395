#include "video/frame_turn.h"

#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "platform/trace.h"
#include "video/copy_frame.h"
#include "video/picture.h"
#include "video/picture_frame.h"
#include "zr/ptr.h"

namespace zr {

HRESULT Rotate90(ZrFrameFactory_I* _pFactory, bool _bRight, IZrFrame* _pSource, IZrFrame** _ppFrameRes,
                 const ZR_VID_PROPS* _pWantedProps) {
    if (!_ppFrameRes) return E_POINTER;
    *_ppFrameRes = nullptr;
    if (!_pFactory || !_pSource) return E_UNEXPECTED;
    ZR_AV_PROPS avProps;
    ZR_TIME time;
    int32_t cbSrc = 0;
    int64_t lpSrc = 0;
    HRESULT hr = _pSource->FrameAVPropsGet(&avProps);
    if (Succeeded(hr)) hr = _pSource->FrameTimeGet(&time);
    if (Succeeded(hr)) hr = _pSource->FrameVideoGetBytes(&cbSrc, &lpSrc);
    if (Failed(hr)) return hr;
    const ZR_VID_PROPS srcProps = avProps.vidProps;
    if (!PropsValid(&srcProps, true) || lpSrc == 0) return kUnsupportedFrame;
    const TraceScope trace(InterlaceClass(&srcProps) != 0 ? "[Rotate90] Interlace Rotate in threads"
                                                          : "[Rotate90] Rotate in threads");

    // Turned in the source's format, then brought into the wanted one.
    const ZR_VID_PROPS wantedProps = RotatedProps(srcProps, _pWantedProps);
    const bool bConvert = !SameFamily(srcProps.fccType, wantedProps.fccType);
    avProps.vidProps = bConvert ? RotatedProps(srcProps, nullptr) : wantedProps;
    ZrPtr<IZrFrame> pTurned, pResult;
    uint8_t *pTurnedBits = nullptr, *pResultBits = nullptr;
    hr = MakePictureFrame(*_pFactory, avProps, time, &pTurned, &pTurnedBits);
    if (Succeeded(hr))
        hr = RotatePicture(reinterpret_cast<const uint8_t*>(lpSrc), srcProps, pTurnedBits, avProps.vidProps,
                           _bRight ? eRotate::Right : eRotate::Left);
    if (Failed(hr)) return hr;
    if (!bConvert) return pTurned.CopyTo(_ppFrameRes);
    const ZR_VID_PROPS turnedProps = avProps.vidProps;
    avProps.vidProps = wantedProps;
    hr = MakePictureFrame(*_pFactory, avProps, time, &pResult, &pResultBits);
    if (Succeeded(hr)) hr = CopyFrameCC_Thread(pTurnedBits, pResultBits, turnedProps, wantedProps);
    return Failed(hr) ? hr : pResult.CopyTo(_ppFrameRes);
}

}  // namespace zr
