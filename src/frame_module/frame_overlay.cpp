// The operations that lay one frame over another.

#include <algorithm>
#include <utility>

#include "frame_module/frame.h"
#include "frame_module/overlay.h"

namespace zr {

namespace {

// A frame whose memory can be read here while the base is written: one that shares it comes as a copy.
HRESULT Readable(IUnknown* _pFrame, const Picture& _base, ZrPtr<IZrFFrame>* _ppFrame) {
    HRESULT hr = MakeFrameLocal(_pFrame, false, _ppFrame);
    ZRF_FRAME_INFO info;
    if (Succeeded(hr)) hr = (*_ppFrame)->ZrFAllGet(&info);
    if (Failed(hr) || info.lpVideo == 0 || _base.Empty()) return hr;
    const auto* p = reinterpret_cast<const uint8_t*>(info.lpVideo);
    if (p >= _base.pBits + _base.cbBits || p + info.cbVideo <= _base.pBits) return S_OK;
    ZrPtr<IZrFFrame> pCopy;
    hr = (*_ppFrame)->ZrFClone(pCopy.Out(), eZrFC_Video, eZrFCC_Default);
    if (Succeeded(hr)) *_ppFrame = std::move(pCopy);
    return hr;
}

int32_t FieldOfFlags(eZrFOverlayFlags _eFlags) {
    const bool bFirst = (_eFlags & eZrFOF_FirstField) != 0, bSecond = (_eFlags & eZrFOF_SecondField) != 0;
    if (bFirst == bSecond) return 0;
    return bFirst ? 1 : 2;
}

}  // namespace

HRESULT CZrFrame::Overlay_I(IUnknown* _pOverlay, IUnknown* _pMask, const OVERLAY_PLACE& _place, double _dblAlpha,
                            const char16_t* _szPropsList) {
    if (!_pOverlay) return E_POINTER;
    ZrPtr<IZrFFrame> pOver, pMask;
    HRESULT hr = OwnPicture();
    if (Succeeded(hr)) hr = Readable(_pOverlay, content.picture, &pOver);
    if (Succeeded(hr) && _pMask) hr = Readable(_pMask, content.picture, &pMask);
    if (Failed(hr)) return hr;
    hr = OverlayFrame(content.avProps.vidProps, content.picture, *pOver, pMask.Get(), _place, _dblAlpha, _szPropsList);
    if (hr == S_OK) content.picture.llVideoID = NewVideoID();
    return hr;
}

HRESULT CZrFrame::ZrFOverlay(IZrFFrame* _pFrameOverlay, IZrFFrame* _pFrameMask, int32_t _nPosX, int32_t _nPosY,
                             double _dblAlpha, const char16_t* _bsPropsList, const char16_t* _bsAudioBufferID) {
    const HRESULT hr = FrameOverlay_I(_pFrameOverlay, _pFrameMask, _nPosX, _nPosY, _dblAlpha, _bsPropsList);
    if (Failed(hr) || !_bsAudioBufferID) return hr;
    return ZrFAudioMix(_pFrameOverlay, 0, 0, 0, _bsAudioBufferID);
}

HRESULT CZrFrame::ZrFOverlayRect(IZrFFrame* _pFrameOverlay, IZrFFrame* _pFrameMask, const ZRF_RECT* _pRect,
                                 eZrFOverlayFlags _eZrFOverlayFlags, double _dblAlpha, const char16_t* _bsPropsList,
                                 const char16_t* _bsAudioBufferID) {
    OVERLAY_PLACE place;
    place.rect = RectInPixels(_pRect, content.avProps.vidProps);
    place.nField = FieldOfFlags(_eZrFOverlayFlags);
    switch (_eZrFOverlayFlags & eZrFOF_ScaleMask) {
        case eZrFOF_NoScale: break;
        case eZrFOF_LetterBox: place.eScale = eZrST_LetterBox, place.bOwnSize = false; break;
        case eZrFOF_Crop: place.eScale = eZrST_Crop, place.bOwnSize = false; break;
        case eZrFOF_NoAR: place.eScale = eZrST_IgnoreAR, place.bOwnSize = false; break;
        default: return E_INVALIDARG;
    }
    const HRESULT hr = Overlay_I(_pFrameOverlay, _pFrameMask, place, _dblAlpha, _bsPropsList);
    if (Failed(hr) || !_bsAudioBufferID) return hr;
    return ZrFAudioMix(_pFrameOverlay, 0, 0, 0, _bsAudioBufferID);
}

HRESULT CZrFrame::FrameOverlay(IZrFrame* _pFrameOver, int32_t _nPosX, int32_t _nPosY, double _dblAlpha,
                               const char16_t* _bsPropsList) {
    return FrameOverlay_I(_pFrameOver, nullptr, _nPosX, _nPosY, _dblAlpha, _bsPropsList);
}

HRESULT CZrFrame::FrameOverlay_I(IUnknown* _pOverlay, IUnknown* _pMask, int32_t _nPosX, int32_t _nPosY,
                                 double _dblAlpha, const char16_t* _szPropsList) {
    constexpr int32_t kFarOut = 1 << 20;  // beyond any picture
    OVERLAY_PLACE place;
    place.rect.left = place.rect.right = std::clamp(_nPosX, -kFarOut, kFarOut);
    place.rect.top = place.rect.bottom = std::clamp(_nPosY, -kFarOut, kFarOut);
    return Overlay_I(_pOverlay, _pMask, place, _dblAlpha, _szPropsList);
}

}  // namespace zr
