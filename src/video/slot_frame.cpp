#include "video/slot_frame.h"

#include "framework/frame_factory_access.h"
#include "media/vid_props.h"
#include "video/weave.h"

namespace zr {
namespace {

HRESULT OneField(IZrFFrame& _frame, SlotPicture _ePicture, ZrPtr<IZrFFrame>* _ppFrame) {
    ZrPtr<IZrFFrame> pClone;
    ZR_AV_PROPS props;
    HRESULT hr = _frame.ZrFClone(pClone.Out(), eZrFC_VideoRef, eZrFCC_Default);
    if (Succeeded(hr)) hr = pClone->ZrFAVPropsGet(&props, nullptr);
    if (Failed(hr)) return hr;
    props.vidProps.eInterlace = SpreadField(_ePicture, InterlaceClass(&props.vidProps));
    props.vidProps.eVideoFormat = eZrVF_Custom;
    hr = pClone->ZrFAVPropsSet(&props, nullptr);
    if (Succeeded(hr)) *_ppFrame = std::move(pClone);
    return hr;
}

bool ShowTheSame(IZrFFrame& _a, IZrFFrame& _b) {
    ZRF_FRAME_INFO a, b;
    return Succeeded(_a.ZrFAllGet(&a)) && Succeeded(_b.ZrFAllGet(&b)) && a.llVideoID != 0 && a.llVideoID == b.llVideoID;
}

}  // namespace

eZrInterlace SpreadField(SlotPicture _ePicture, int32_t _nFields) {
    const bool bUpper = (_ePicture == SlotPicture::FirstField) == (_nFields > 0);
    return bUpper ? eZrI_DeinterlaceF1 : eZrI_DeinterlaceF2;
}

HRESULT FrameOfSlot(SlotPicture _ePicture, IZrFFrame* _pKept, IZrFFrame& _frame, int32_t _nOutputFields,
                    ZrPtr<IZrFFrame>* _ppFrame) {
    *_ppFrame = &_frame;
    if (_ePicture == SlotPicture::FirstField || _ePicture == SlotPicture::SecondField)
        return OneField(_frame, _ePicture, _ppFrame);
    if (_ePicture != SlotPicture::Woven || !_pKept || ShowTheSame(*_pKept, _frame)) return S_OK;
    ZrFrameFactory_I* pFactory = nullptr;
    ZrPtr<IZrFFrame> pWoven;
    const eZrInterlace eOrder = _nOutputFields > 0 ? eZrI_Field1First : eZrI_Field2First;
    HRESULT hr = FrameFactory(&pFactory);
    if (Succeeded(hr)) hr = WeaveFrames(*pFactory, *_pKept, _frame, eOrder, &pWoven);
    if (hr == S_OK) *_ppFrame = std::move(pWoven);
    return Failed(hr) ? hr : S_OK;
}

}  // namespace zr
