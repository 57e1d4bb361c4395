#include "frame_module/frame_factory.h"

#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

#include "attributes/attr_text.h"
#include "frame_module/frame.h"
#include "frame_module/frame_convert.h"
#include "frame_module/picture_file_frame.h"
#include "frame_module/picture_fill.h"
#include "frame_module/props_line.h"
#include "media/pixel_format.h"
#include "media/vid_props_attributes.h"
#include "platform/class_registry.h"
#include "zr/class_ids.h"

namespace zr {

namespace {

AttrColour ColourInLine(const char16_t* _szLine) {
    std::u16string_view svColour;
    return FindInLine(_szLine, u"color", &svColour) ? ReadColour(svColour, kBlack) : kBlack;
}

bool AsksForPicture(const ZR_VID_PROPS& _props) {
    if (_props.eVideoFormat == eZrVF_Disabled) return false;
    return _props.eVideoFormat != eZrVF_Custom || _props.nWidth != 0 || _props.nHeight != 0;
}

// Where the picture of a new frame comes from: a block in the layout of its record, planes, or neither: one colour.
struct PICTURE_SOURCE {
    const void* pBlock = nullptr;
    const ZRF_VID_PTR* pPlanes = nullptr;
    const char16_t* szPropsList = nullptr;
};

// Fills in what a caller may leave out of its planes. E_POINTER, E_INVALIDARG: they do not make the picture.
HRESULT CompletePlanes(const ZR_VID_PROPS& _props, const ZRF_VID_PTR& _own, ZRF_VID_PTR* _pPlanes) {
    for (int32_t i = 0; i < PlaneCount(_props.fccType); ++i) {
        if (_pPlanes->lpVideoPlanes[i] == 0) return E_POINTER;
        if (_pPlanes->cbVideoRowBytes[i] == 0) _pPlanes->cbVideoRowBytes[i] = std::abs(_own.cbVideoRowBytes[i]);
        const tagSIZE &given = _pPlanes->szVideoPlanes[i], &needed = _own.szVideoPlanes[i];
        if ((given.cx != 0 && given.cx < needed.cx) || (given.cy != 0 && given.cy < needed.cy)) return E_INVALIDARG;
        if (std::abs(int64_t{_pPlanes->cbVideoRowBytes[i]}) < PlaneRowBytes(_props, i)) return E_INVALIDARG;
    }
    return S_OK;
}

HRESULT MakePicture(const ZR_VID_PROPS& _wanted, const PICTURE_SOURCE& _source, FrameContent* _pContent) {
    ZR_VID_PROPS props = _wanted;
    HRESULT hr = CompleteVidProps(&props);
    if (Failed(hr)) return hr;
    Picture picture;
    hr = PictureAlloc(PictureBytes(props), &picture);
    if (Failed(hr)) return hr;
    if (_source.pPlanes) {
        const ZRF_VID_PTR own = PicturePlanes(props, picture);
        ZRF_VID_PTR planes = *_source.pPlanes;
        hr = PlaneRowBytes(props, 0) > 0 ? CompletePlanes(props, own, &planes) : ZR_E_NOT_SUPPORTED;
        if (Succeeded(hr)) CopyPlanes(props, planes, own);
    } else if (_source.pBlock) {
        std::memcpy(picture.pBits, _source.pBlock, picture.cbBits);
    } else {
        hr = PictureFill(props, picture, ColourInLine(_source.szPropsList));
    }
    if (Failed(hr)) return hr;
    _pContent->avProps.vidProps = props;
    _pContent->picture = std::move(picture);
    return S_OK;
}

HRESULT MakeFrame(const ZR_AV_PROPS* _pProps, const PICTURE_SOURCE& _source, int32_t _nSamples, const void* _pAudio,
                  ZrPtr<CZrFrame>* _ppFrame) {
    ZrPtr<CZrFrame> pFrame = CZrFrame::Make();
    if (!pFrame) return E_OUTOFMEMORY;
    HRESULT hr = S_OK;
    if (_pProps) {
        FrameContent& content = pFrame->Content();
        content.avProps = *_pProps;
        if (AsksForPicture(_pProps->vidProps)) hr = MakePicture(_pProps->vidProps, _source, &content);
        if (Succeeded(hr) && _nSamples != 0) hr = content.audio.Set(_pProps->audProps, _nSamples, _pAudio);
    }
    if (Succeeded(hr)) *_ppFrame = std::move(pFrame);
    return hr;
}

// A frame with room and zero properties.
HRESULT MakeSized(uint32_t _cbVideo, uint32_t _cbAudio, ZrPtr<CZrFrame>* _ppFrame) {
    ZrPtr<CZrFrame> pFrame = CZrFrame::Make();
    if (!pFrame) return E_OUTOFMEMORY;
    FrameContent& content = pFrame->Content();
    HRESULT hr = _cbVideo > 0 ? PictureAlloc(_cbVideo, &content.picture) : S_OK;
    if (Succeeded(hr) && _cbAudio > 0) hr = content.audio.AllocBytes(_cbAudio);
    if (Succeeded(hr)) *_ppFrame = std::move(pFrame);
    return hr;
}

// A frame over somebody else's memory.
HRESULT MakeWrapper(const ZR_VID_PROPS& _props, uint32_t _cbVideo, int64_t _lpVideo, IUnknown* _pOwner,
                    ZrPtr<CZrFrame>* _ppFrame) {
    ZrPtr<CZrFrame> pFrame = CZrFrame::Make();
    if (!pFrame) return E_OUTOFMEMORY;
    FrameContent& content = pFrame->Content();
    auto* const pVideo = reinterpret_cast<uint8_t*>(_lpVideo);
    content.picture.pBuffer = BufferPool::Shared().Wrap(pVideo, _cbVideo, _pOwner);
    if (!content.picture.pBuffer) return E_OUTOFMEMORY;
    content.picture.pBits = pVideo;
    content.picture.cbBits = _cbVideo;
    content.picture.llVideoID = NewVideoID();
    content.avProps.vidProps = _props;
    *_ppFrame = std::move(pFrame);
    return S_OK;
}

HRESULT GetFactory(const GUID* _piid, void** _ppv) { return CZrFrameFactory::Shared().QueryInterface(*_piid, _ppv); }

const ClassRegistrar registrar(kClsidZrFrameFactory, GetFactory);

}  // namespace

void LinkFrameModule() {}

CZrFrameFactory& CZrFrameFactory::Shared() {
    static CZrFrameFactory& factory = *new CZrFrameFactory;  // its own first reference is never dropped
    return factory;
}

HRESULT CZrFrameFactory::QueryInterface(const GUID& _iid, void** _ppv) {
    if (_iid != IZrFrames::kIid) return UnknownImpl::QueryInterface(_iid, _ppv);
    if (!_ppv) return E_POINTER;
    *_ppv = static_cast<IZrFrames*>(this);
    AddRef();
    return S_OK;
}

HRESULT CZrFrameFactory::FramesMakeLocal(IZrFrame* _pFrame, IZrFrame** _ppFrameLocal, int32_t) {
    // Memory of another process cannot be mapped yet, so a reference of such a frame is a copy too.
    if (!_ppFrameLocal) return E_POINTER;
    *_ppFrameLocal = nullptr;
    ZrPtr<IZrFFrame> pLocal;
    const HRESULT hr = MakeFrameLocal(_pFrame, false, &pLocal);
    if (Failed(hr)) return hr;
    *_ppFrameLocal = pLocal.As<IZrFrame>().Detach();
    return *_ppFrameLocal ? S_OK : E_NOINTERFACE;
}

HRESULT CZrFrameFactory::FramesCreate(int32_t _cbVideoSize, const char16_t* _bsProps, IZrFrame** _ppFrame) {
    if (!_ppFrame) return E_POINTER;
    *_ppFrame = nullptr;
    if (_cbVideoSize < 0) return E_INVALIDARG;
    ZrPtr<CZrFrame> pFrame;
    HRESULT hr = MakeSized(static_cast<uint32_t>(_cbVideoSize), 0, &pFrame);
    if (Failed(hr)) return hr;
    if (_bsProps && *_bsProps) {
        ZR_AV_PROPS props;
        ReadVidProps(
            [&](const char16_t* _szName, std::u16string_view& _sv) { return FindInLine(_bsProps, _szName, &_sv); },
            &props.vidProps);
        hr = pFrame->ZrFAVPropsSet(&props, nullptr);
        if (Failed(hr)) return hr;
    }
    CZrFrame::HandOut(std::move(pFrame), _ppFrame);
    return S_OK;
}

HRESULT CZrFrameFactory::FramesCreateFromMem(const ZR_VID_PROPS* _pVidProps, int64_t _pbVideo, IZrFrame** _ppFrame,
                                             const char16_t* _bsPropsList) {
    if (!_pVidProps || !_ppFrame) return E_POINTER;
    *_ppFrame = nullptr;
    if (!AsksForPicture(*_pVidProps)) return E_INVALIDARG;
    ZR_AV_PROPS props;
    props.vidProps = *_pVidProps;
    const PICTURE_SOURCE source{reinterpret_cast<const void*>(_pbVideo), nullptr, _bsPropsList};
    ZrPtr<CZrFrame> pFrame;
    const HRESULT hr = MakeFrame(&props, source, 0, nullptr, &pFrame);
    CZrFrame::HandOut(std::move(pFrame), _ppFrame);
    return hr;
}

HRESULT CZrFrameFactory::FramesCreateFromFile(const char16_t* _bsFileName, IZrFrame** _ppFrame,
                                              const char16_t* _bsPropsList) {
    if (!_ppFrame) return E_POINTER;
    *_ppFrame = nullptr;
    ZrPtr<IZrFFrame> pFrame;
    const HRESULT hr = LoadPictureFrame(_bsFileName, _bsPropsList, &pFrame);
    if (Succeeded(hr)) *_ppFrame = pFrame.As<IZrFrame>().Detach();
    return hr;
}

HRESULT CZrFrameFactory::FramesCreateFromHBITMAP(int64_t, IZrFrame** _ppFrame, const char16_t*) {
    if (!_ppFrame) return E_POINTER;
    *_ppFrame = nullptr;
    return E_NOTIMPL;
}

HRESULT CZrFrameFactory::FramesCreateFromSurface(IUnknown* _pSurface, IZrFrame** _ppFrame, const char16_t*) {
    if (!_ppFrame) return E_POINTER;
    *_ppFrame = nullptr;
    return _pSurface ? E_NOTIMPL : E_POINTER;
}

HRESULT CZrFrameFactory::FrameCreateSized(uint32_t _cbVideo, uint32_t _cbAudio, uint32_t, IZrFrame** _ppFrame) {
    if (!_ppFrame) return E_POINTER;
    ZrPtr<CZrFrame> pFrame;
    const HRESULT hr = MakeSized(_cbVideo, _cbAudio, &pFrame);
    CZrFrame::HandOut(std::move(pFrame), _ppFrame);
    return hr;
}

HRESULT CZrFrameFactory::FrameCloneEx(IUnknown* _pFrame, IZrFrame** _ppClone, eZrFrameClone _eCloneType,
                                      eZrFCC _fccPixelFormat) {
    if (!_pFrame || !_ppClone) return E_POINTER;
    *_ppClone = nullptr;
    const ZrPtr<IZrFrame> pFrame = QueryAs<IZrFrame>(_pFrame);
    return pFrame ? pFrame->FrameClone(_ppClone, _eCloneType, _fccPixelFormat) : E_NOINTERFACE;
}

HRESULT CZrFrameFactory::FrameConvertEx(IZrFrame* _pFrame, uint32_t, const ZR_VID_PROPS* _pVidProps,
                                        IZrFrame** _ppFrame, const char16_t* _bsPropsList) {
    if (!_ppFrame) return E_POINTER;
    *_ppFrame = nullptr;
    if (!_pFrame || !_pVidProps) return E_POINTER;
    return ConvertFrameTo(*_pFrame, *_pVidProps, _bsPropsList, nullptr, _ppFrame);
}

HRESULT CZrFrameFactory::ZrFFrameMakeLocal(IUnknown* _pZrFFrame, IZrFFrame** _ppFrameLocal, int32_t _bAlwaysClone) {
    if (!_ppFrameLocal) return E_POINTER;
    *_ppFrameLocal = nullptr;
    ZrPtr<IZrFFrame> pLocal;
    const HRESULT hr = MakeFrameLocal(_pZrFFrame, _bAlwaysClone != 0, &pLocal);
    *_ppFrameLocal = pLocal.Detach();
    return hr;
}

HRESULT CZrFrameFactory::ZrFFrameClone(IUnknown* _pZrFFrame, IZrFFrame** _ppFrameClone, eZrFrameClone _eCloneType,
                                       eZrFCC _fccPixelFormat) {
    if (!_pZrFFrame || !_ppFrameClone) return E_POINTER;
    *_ppFrameClone = nullptr;
    const ZrPtr<IZrFFrame> pFrame = QueryAs<IZrFFrame>(_pZrFFrame);
    return pFrame ? pFrame->ZrFClone(_ppFrameClone, _eCloneType, _fccPixelFormat) : E_NOINTERFACE;
}

HRESULT CZrFrameFactory::ZrFFrameCreateFromMem(const ZR_AV_PROPS* _pAVProps, int64_t _lpVideo, int32_t _lAudioSamples,
                                               int64_t _lpAudio, IZrFFrame** _ppFrame, const char16_t* _bsPropsList) {
    if (!_ppFrame) return E_POINTER;
    const PICTURE_SOURCE source{reinterpret_cast<const void*>(_lpVideo), nullptr, _bsPropsList};
    ZrPtr<CZrFrame> pFrame;
    const HRESULT hr = MakeFrame(_pAVProps, source, _lAudioSamples, reinterpret_cast<const void*>(_lpAudio), &pFrame);
    CZrFrame::HandOut(std::move(pFrame), _ppFrame);
    return hr;
}

HRESULT CZrFrameFactory::ZrFFrameCreateFromMemEx(const ZR_AV_PROPS* _pAVProps, const ZRF_VID_PTR* _pVideoPtr,
                                                 int32_t _lAudioSamples, int64_t _lpAudio, IZrFFrame** _ppFrame,
                                                 const char16_t* _bsPropsList) {
    if (!_ppFrame) return E_POINTER;
    const PICTURE_SOURCE source{nullptr, _pVideoPtr, _bsPropsList};
    ZrPtr<CZrFrame> pFrame;
    const HRESULT hr = MakeFrame(_pAVProps, source, _lAudioSamples, reinterpret_cast<const void*>(_lpAudio), &pFrame);
    CZrFrame::HandOut(std::move(pFrame), _ppFrame);
    return hr;
}

HRESULT CZrFrameFactory::ZrFFrameCreateFromFile(const char16_t* _bsFileName, IZrFFrame** _ppFrame,
                                                const char16_t* _bsPropsList) {
    if (!_ppFrame) return E_POINTER;
    *_ppFrame = nullptr;
    ZrPtr<IZrFFrame> pFrame;
    const HRESULT hr = LoadPictureFrame(_bsFileName, _bsPropsList, &pFrame);
    *_ppFrame = pFrame.Detach();
    return hr;
}

HRESULT CZrFrameFactory::ZrFFrameCreateFromHBITMAP(int64_t, IZrFFrame** _ppFrame, const char16_t*) {
    if (!_ppFrame) return E_POINTER;
    *_ppFrame = nullptr;
    return E_NOTIMPL;
}

HRESULT CZrFrameFactory::ZrFFrameCreateWrapper(const ZR_VID_PROPS* _pVidProps, uint32_t _cbVideo, int64_t _lpVideo,
                                               IUnknown* _pObject, IZrFFrame** _ppFrame) {
    if (!_ppFrame) return E_POINTER;
    *_ppFrame = nullptr;
    if (!_pVidProps || _lpVideo == 0 || !_pObject) return E_POINTER;
    ZR_VID_PROPS props = *_pVidProps;
    HRESULT hr = CompleteVidProps(&props);
    if (Failed(hr)) return hr;
    if (_cbVideo > BufferPool::kMaxBytes || PictureBytes(props) > _cbVideo) return E_INVALIDARG;
    ZrPtr<CZrFrame> pFrame;
    hr = MakeWrapper(props, _cbVideo, _lpVideo, _pObject, &pFrame);
    CZrFrame::HandOut(std::move(pFrame), _ppFrame);
    return hr;
}

HRESULT CZrFrameFactory::FrameCreateBorrowed(const ZR_VID_PROPS* _pVidProps, const ZRF_VID_PTR* _pPlanes,
                                             IUnknown* _pOwner, IZrFrame** _ppFrame) {
    if (!_ppFrame) return E_POINTER;
    *_ppFrame = nullptr;
    if (!_pVidProps || !_pPlanes || !_pOwner || _pPlanes->lpVideoPlanes[0] == 0) return E_POINTER;
    ZR_VID_PROPS props = *_pVidProps;
    HRESULT hr = CompleteVidProps(&props);
    if (Failed(hr)) return hr;
    ZrPtr<CZrFrame> pFrame;
    // Of the size that its copy would have, though its rows may lie further apart.
    hr = MakeWrapper(props, static_cast<uint32_t>(PictureBytes(props)), _pPlanes->lpVideoPlanes[0], _pOwner, &pFrame);
    if (Failed(hr)) return hr;
    Picture& picture = pFrame->Content().picture;
    hr = PictureSetPlanes(props, *_pPlanes, &picture);
    picture.bBorrowed = true;
    if (Succeeded(hr)) CZrFrame::HandOut(std::move(pFrame), _ppFrame);
    return hr;
}

HRESULT CZrFrameFactory::ZrFFrameCreatePlain(int32_t _cbVideoSize, IZrFFrame** _ppFrame) {
    if (!_ppFrame) return E_POINTER;
    *_ppFrame = nullptr;
    if (_cbVideoSize < 0) return E_INVALIDARG;
    ZrPtr<CZrFrame> pFrame;
    const HRESULT hr = MakeSized(static_cast<uint32_t>(_cbVideoSize), 0, &pFrame);
    CZrFrame::HandOut(std::move(pFrame), _ppFrame);
    return hr;
}

}  // namespace zr
