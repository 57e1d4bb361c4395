#include <utility>

#include "frame_module/frame.h"

namespace zr {

namespace {

// A four-character code as the id of data. E_INVALIDARG: it has a zero byte.
HRESULT IDOfCode(int32_t _nDataFCC, char16_t (&_szID)[5]) {
    const auto nCode = static_cast<uint32_t>(_nDataFCC);
    for (int i = 0; i < 4; ++i) {
        _szID[i] = static_cast<char16_t>(nCode >> (8 * i) & 0xFF);
        if (_szID[i] == 0) return E_INVALIDARG;
    }
    _szID[4] = 0;
    return S_OK;
}

// 0: the id is no four characters.
int32_t CodeOfID(std::u16string_view _svID) {
    if (_svID.size() != 4) return 0;
    uint32_t nCode = 0;
    for (size_t i = 0; i < 4; ++i) {
        if (_svID[i] > 0xFF) return 0;
        nCode |= uint32_t{_svID[i]} << (8 * i);
    }
    return static_cast<int32_t>(nCode);
}

}  // namespace

HRESULT CZrFrame::FrameAVPropsGet(ZR_AV_PROPS* _pProps) { return ZrFAVPropsGet(_pProps, nullptr); }

HRESULT CZrFrame::FrameAVPropsSet(const ZR_AV_PROPS* _pProps) { return ZrFAVPropsSet(_pProps, nullptr); }

HRESULT CZrFrame::FrameTimeGet(ZR_TIME* _pTime) { return ZrFTimeGet(_pTime); }

HRESULT CZrFrame::FrameTimeSet(const ZR_TIME* _pTime) { return ZrFTimeSet(_pTime); }

HRESULT CZrFrame::FrameAudioGetBytes(int32_t* _pcbSize, int64_t* _ppbAudio) {
    return ZrFAudioGetBytes(_pcbSize, _ppbAudio);
}

HRESULT CZrFrame::FrameVideoGetBytes(int32_t* _pcbSize, int64_t* _ppbVideo) {
    return ZrFVideoGetBytes(_pcbSize, _ppbVideo);
}

HRESULT CZrFrame::FrameVideoGetHbitmap(int64_t* _pllHBitmap) { return ZrFVideoGetHbitmap(_pllHBitmap); }

HRESULT CZrFrame::FrameVideoSaveToFile(const char16_t* _bsFileName) { return ZrFVideoSaveToFile(_bsFileName); }

HRESULT CZrFrame::FrameAudioSaveToFile(const char16_t* _bsFileName, int32_t _bAppend) {
    return ZrFAudioSaveToFile(_bsFileName, _bAppend);
}

HRESULT CZrFrame::FrameDataGetByIndex(int32_t _nIndex, int32_t* _pnDataFCC, int32_t* _pcbANCData,
                                      int64_t* _ppbANCData) {
    if (!_pnDataFCC || !_pcbANCData || !_ppbANCData) return E_POINTER;
    std::u16string_view svID;
    const HRESULT hr = Data_I(_nIndex, &svID, _pcbANCData, _ppbANCData);
    *_pnDataFCC = CodeOfID(svID);
    return hr;
}

HRESULT CZrFrame::FrameDataGet(int32_t _nDataFCC, int32_t* _pcbANCData, int64_t* _ppbANCData) {
    if (!_pcbANCData || !_ppbANCData) return E_POINTER;
    *_pcbANCData = 0;
    *_ppbANCData = 0;
    char16_t szID[5];
    const HRESULT hr = IDOfCode(_nDataFCC, szID);
    return Failed(hr) ? hr : ZrFDataGet(szID, _pcbANCData, _ppbANCData);
}

HRESULT CZrFrame::FrameDataSet(int32_t _nDataFCC, int32_t _cbANCData, int64_t _pbANCData) {
    char16_t szID[5];
    const HRESULT hr = IDOfCode(_nDataFCC, szID);
    return Failed(hr) ? hr : ZrFDataSet(szID, _cbANCData, _pbANCData);
}

HRESULT CZrFrame::FrameClone(IZrFrame** _ppCloneFrame, eZrFrameClone _eCloneType, eZrFCC _fccPixelFormat) {
    if (!_ppCloneFrame) return E_POINTER;
    ZrPtr<CZrFrame> pClone;
    const HRESULT hr = Clone_I(_eCloneType, _fccPixelFormat, &pClone);
    HandOut(std::move(pClone), _ppCloneFrame);
    return hr;
}

HRESULT CZrFrame::FrameCut(int32_t _nField, const tagRECT* _pRect, IZrFrame** _ppFrameRes) {
    if (!_ppFrameRes) return E_POINTER;
    ZrPtr<CZrFrame> pCut;
    const HRESULT hr = Cut_I(_nField, _pRect, &pCut);
    HandOut(std::move(pCut), _ppFrameRes);
    return hr;
}

HRESULT CZrFrame::FrameRelease() {
    content.DropParts();
    return S_OK;
}

HRESULT CZrFrame::FrameAllGet(ZR_TIME* _pTime, ZR_AV_PROPS* _pProps, int32_t* _pcbAudio, uint8_t** _ppAudio,
                              int32_t* _pcbVideo, uint8_t** _ppVideo) {
    const HRESULT hr = _ppVideo ? OwnPicture() : S_OK;
    if (Failed(hr)) return hr;
    if (_pTime) *_pTime = content.time;
    if (_pProps) *_pProps = content.avProps;
    if (_pcbAudio) *_pcbAudio = static_cast<int32_t>(content.audio.Size());
    if (_ppAudio) *_ppAudio = content.audio.Data();
    if (_pcbVideo) *_pcbVideo = static_cast<int32_t>(content.picture.cbBits);
    if (_ppVideo) *_ppVideo = content.picture.pBits;
    return S_OK;
}

HRESULT CZrFrame::FramePictureTake(IUnknown* _pFrom) {
    const ZrPtr<IZrFrame_I> pFrom = QueryAs<IZrFrame_I>(_pFrom);
    if (!pFrom) return E_NOINTERFACE;
    const auto& from = static_cast<const CZrFrame&>(*pFrom);
    Picture picture = from.SharedPicture();
    if (picture.Empty()) return ZR_E_EMPTY;
    content.picture = std::move(picture);
    content.avProps.vidProps = from.content.avProps.vidProps;
    return S_OK;
}

HRESULT CZrFrame::FramePlanesGet(ZRF_VID_PTR* _pVideoPtr) {
    if (!_pVideoPtr) return E_POINTER;
    *_pVideoPtr = PicturePlanes(content.avProps.vidProps, SharedPicture());
    return S_OK;
}

}  // namespace zr
