#include "mixer/slot_frame.h"

#include "framework/frame_factory_access.h"
#include "media/vid_props.h"
#include "video/weave.h"

namespace zr {
namespace {

HRESULT OneField(IZrFFrame& _frame, bool _bFirst, ZrPtr<IZrFFrame>* _ppFrame) {
    ZrPtr<IZrFFrame> pClone;
    ZR_AV_PROPS props;
    HRESULT hr = _frame.ZrFClone(pClone.Out(), eZrFC_VideoRef, eZrFCC_Default);
    if (Succeeded(hr)) hr = pClone->ZrFAVPropsGet(&props, nullptr);
    if (Failed(hr)) return hr;
    const bool bUpper = _bFirst == (InterlaceClass(&props.vidProps) > 0);
    props.vidProps.eVideoFormat = eZrVF_Custom;
    props.vidProps.eInterlace = bUpper ? eZrI_DeinterlaceF1 : eZrI_DeinterlaceF2;
    hr = pClone->ZrFAVPropsSet(&props, nullptr);
    if (Succeeded(hr)) *_ppFrame = std::move(pClone);
    return hr;
}

bool ShowTheSame(IZrFFrame& _a, IZrFFrame& _b) {
    ZRF_FRAME_INFO a, b;
    return Succeeded(_a.ZrFAllGet(&a)) && Succeeded(_b.ZrFAllGet(&b)) && a.llVideoID != 0 && a.llVideoID == b.llVideoID;
}

}  // namespace

HRESULT FrameOfSlot(SlotPicture _ePicture, IZrFFrame* _pKept, IZrFFrame& _frame, const ZR_VID_PROPS& _output,
                    ZrPtr<IZrFFrame>* _ppFrame) {
    *_ppFrame = &_frame;
    if (_ePicture == SlotPicture::FirstField) return OneField(_frame, true, _ppFrame);
    if (_ePicture == SlotPicture::SecondField) return OneField(_frame, false, _ppFrame);
    if (_ePicture != SlotPicture::Woven || !_pKept || ShowTheSame(*_pKept, _frame)) return S_OK;
    ZrFrameFactory_I* pFactory = nullptr;
    ZrPtr<IZrFFrame> pWoven;
    const eZrInterlace eOrder = InterlaceClass(&_output) > 0 ? eZrI_Field1First : eZrI_Field2First;
    HRESULT hr = FrameFactory(&pFactory);
    if (Succeeded(hr)) hr = WeaveFrames(*pFactory, *_pKept, _frame, eOrder, &pWoven);
    if (hr == S_OK) *_ppFrame = std::move(pWoven);
    return Failed(hr) ? hr : S_OK;
}

}  // namespace zr
