// What the pixel and sample engines do to frames. Operations that have no meaning on this system answer E_NOTIMPL, and
// so do those whose engine is not connected yet.

#include "frame_module/frame.h"
#include "frame_module/picture_file_frame.h"

namespace zr {

HRESULT CZrFrame::ZrFVideoGetHbitmap(int64_t* _pllHBitmap) {
    if (!_pllHBitmap) return E_POINTER;
    *_pllHBitmap = 0;
    return E_NOTIMPL;
}

HRESULT CZrFrame::ZrFVideoSaveToFile(const char16_t* _bsFileName) { return SavePictureFrame(*this, _bsFileName); }

HRESULT CZrFrame::ZrFTransition(IZrFFrame* _pFrameFrom, IZrFFrame** _ppFrameRes, double, const char16_t*,
                                const char16_t*, const char16_t*) {
    if (!_ppFrameRes) return E_POINTER;
    *_ppFrameRes = nullptr;
    return _pFrameFrom ? E_NOTIMPL : E_POINTER;
}

// Nothing runs on behind a frame's back.
HRESULT CZrFrame::ZrFWaitAsync() { return S_OK; }

HRESULT CZrFrame::ZrFPrint(const char16_t* _bsText, double, const ZRF_RECT*, eZrFTextFlags, const char16_t*) {
    return _bsText ? E_NOTIMPL : E_POINTER;
}

}  // namespace zr
