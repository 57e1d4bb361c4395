#include "frame_module/frame_convert.h"

#include <string_view>
#include <utility>

#include "frame_module/converter_pool.h"
#include "frame_module/frame.h"
#include "frame_module/frame_sound.h"
#include "frame_module/props_line.h"
#include "media/vid_props.h"
#include "platform/unknown.h"

namespace zr {

namespace {

// Cubic, fields apart: what a single frame is worth when nobody says anything.
constexpr int32_t kSingleFrameQuality = 14;

FRAME_CONVERT_OPTIONS OptionsInLine(const char16_t* _szLine) {
    FRAME_CONVERT_OPTIONS options =
        FRAME_CONVERT_OPTIONS::Read([&](const char16_t* _szName, std::u16string_view& _svValue) {
            return FindInLine(_szLine, _szName, &_svValue);
        });
    std::u16string_view svQuality;
    if (!FindInLine(_szLine, u"scaling_quality", &svQuality)) options.nQuality = kSingleFrameQuality;
    return options;
}

// The audio of one frame as a copy in another.
HRESULT CopyAudio(IZrFrame& _from, IZrFrame& _to) {
    const ZrPtr<IZrFFrame> pTo = QueryAs<IZrFFrame>(&_to);
    ZR_AV_PROPS avProps;
    int32_t cb = 0;
    int64_t lp = 0;
    HRESULT hr = _from.FrameAudioGetBytes(&cb, &lp);
    if (Succeeded(hr)) hr = _from.FrameAVPropsGet(&avProps);
    if (Failed(hr) || cb <= 0 || !pTo) return hr;
    return pTo->ZrFAudioSet(&avProps.audProps, cb, lp);
}

}  // namespace

HRESULT ConvertFrameTo(IZrFrame& _frame, const ZR_VID_PROPS& _wanted, const char16_t* _szPropsList,
                       const char16_t* _szConverterID, IZrFrame** _ppFrame) {
    *_ppFrame = nullptr;
    ZR_AV_PROPS avProps;
    HRESULT hr = _frame.FrameAVPropsGet(&avProps);
    if (Failed(hr)) return hr;
    const bool bNamed = _szConverterID && *_szConverterID;
    ConverterPool& pool = ConverterPool::Shared();
    CAutoObj<ZrImageFormat> pConverter = bNamed ? pool.Named(_szConverterID) : pool.Take(avProps.vidProps, _wanted);
    if (!pConverter) return E_OUTOFMEMORY;
    ZrPtr<IZrFrame> pResult;
    hr = pConverter->ConvertFrame_I(&_frame, _wanted, 0, OptionsInLine(_szPropsList), pResult.Out());
    if (!bNamed) pool.GiveBack(std::move(pConverter), avProps.vidProps, _wanted);
    if (Succeeded(hr)) hr = CopyAudio(_frame, *pResult);
    return Failed(hr) ? hr : pResult.CopyTo(_ppFrame);
}

// ---- The operations

HRESULT CZrFrame::FrameConvert(const ZR_VID_PROPS* _pVidPropsDest, IZrFrame** _ppFrameRes,
                               const char16_t* _bsPropsList) {
    if (!_ppFrameRes) return E_POINTER;
    *_ppFrameRes = nullptr;
    if (!_pVidPropsDest) return E_POINTER;
    return ConvertFrameTo(*this, *_pVidPropsDest, _bsPropsList, nullptr, _ppFrameRes);
}

HRESULT CZrFrame::ZrFConvert(const ZR_AV_PROPS* _pPropsDest, IZrFFrame** _ppFrameRes, int32_t* _pnFrameRest,
                             const char16_t* _bsPropsList, const char16_t* _bsConverterID) {
    if (!_ppFrameRes) return E_POINTER;
    *_ppFrameRes = nullptr;
    if (_pnFrameRest) *_pnFrameRest = 0;
    if (!_pPropsDest) return E_POINTER;
    ZrPtr<IZrFrame> pResult;
    const bool bVideo = !content.picture.Empty() && PropsValid(&_pPropsDest->vidProps, false);
    HRESULT hr = bVideo ? ConvertFrameTo(*this, _pPropsDest->vidProps, _bsPropsList, _bsConverterID, pResult.Out())
                        : FrameClone(pResult.Out(), eZrFC_VideoRef_Audio, eZrFCC_Default);
    if (Failed(hr)) return hr;
    const ZrPtr<IZrFFrame> pFrame = pResult.As<IZrFFrame>();
    if (content.audio.Samples() > 0 && AsksForOtherAudio(_pPropsDest->audProps, content.avProps.audProps))
        hr = ConvertSound(*pFrame, _pPropsDest->audProps, _bsConverterID);
    return Failed(hr) ? hr : pFrame.CopyTo(_ppFrameRes);
}

HRESULT CZrFrame::ZrFResize(eZrFCC _fccOutput, int32_t _nWidth, int32_t _nHeight, int32_t _nResizeField,
                            IZrFFrame** _ppFrameRes, const char16_t* _bsPropsList, const char16_t* _bsConverterID) {
    if (!_ppFrameRes) return E_POINTER;
    *_ppFrameRes = nullptr;
    if (_nWidth < 0) return E_INVALIDARG;
    if (content.picture.Empty()) return ZR_E_EMPTY;
    // A window onto the picture, so that its record can say that all of it goes to the size whatever the aspect.
    ZrPtr<CZrFrame> pWindow;
    HRESULT hr = Cut_I(_nResizeField, nullptr, &pWindow);
    if (Failed(hr)) return hr;
    ZR_VID_PROPS& source = pWindow->content.avProps.vidProps;
    source.eScaleType = eZrST_IgnoreAR;
    ZR_VID_PROPS wanted;
    wanted.fccType = _fccOutput;
    wanted.nWidth = _nWidth;
    wanted.nHeight = _nHeight;
    wanted.nAspectX = source.nAspectX;
    wanted.nAspectY = source.nAspectY;
    wanted.eScaleType = content.avProps.vidProps.eScaleType;
    ZrPtr<IZrFrame> pResult;
    hr = ConvertFrameTo(*pWindow, wanted, _bsPropsList, _bsConverterID, pResult.Out());
    if (Succeeded(hr)) hr = CopyAudio(*this, *pResult);
    return Failed(hr) ? hr : pResult.As<IZrFFrame>().CopyTo(_ppFrameRes);
}

}  // namespace zr
