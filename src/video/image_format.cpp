#include "video/image_format.h"

#include <string>
#include <utility>

#include "attributes/number_text.h"
#include "attributes/xml_node.h"
#include "framework/frame_factory_access.h"
#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "platform/unknown.h"
#include "video/crop.h"
#include "video/frame_turn.h"
#include "video/mirror.h"
#include "video/picture_frame.h"
#include "video/rotate.h"

namespace zr {

namespace {

// The picture of a frame with its record. ZR_E_EMPTY: it has none.
HRESULT PictureOfFrame(IZrFrame& _frame, DESCRIBED_PICTURE& _picture, ZR_AV_PROPS& _avProps) {
    HRESULT hr = _frame.FrameAVPropsGet(&_avProps);
    if (Failed(hr)) return hr;
    _picture.props = _avProps.vidProps;
    // The full face knows where the planes are; a frame that is cut or made of views has them in several places.
    ZRF_VID_PTR planes{};
    if (const ZrPtr<IZrFFrame> pFull = QueryAs<IZrFFrame>(&_frame)) {
        hr = PlanesToRead(*pFull, &planes);
        if (Failed(hr)) return hr;
        if (planes.lpVideoPlanes[0] == 0) return ZR_E_EMPTY;
        return PictureOfPlanes(planes, _picture.props, _picture.picture);
    }
    int32_t cb = 0;
    int64_t lp = 0;
    hr = _frame.FrameVideoGetBytes(&cb, &lp);
    if (Failed(hr)) return hr;
    if (lp == 0) return ZR_E_EMPTY;
    if (cb < 0 || PictureBytes(_picture.props) > static_cast<uint64_t>(cb)) return E_INVALIDARG;
    return PictureOf(reinterpret_cast<uint8_t*>(lp), _picture.props, _picture.picture);
}

// The part of the source that is used, the way it is turned. _pFrame: in the source, out what is to be converted.
HRESULT CutAndTurn(const FRAME_CONVERT_OPTIONS& _options, ZrFrameFactory_I* _pFactory, ZrPtr<IZrFrame>* _ppFrame) {
    HRESULT hr = S_OK;
    if (!_options.svCrop.empty()) {
        ZR_AV_PROPS avProps;
        hr = (*_ppFrame)->FrameAVPropsGet(&avProps);
        if (Failed(hr)) return hr;
        // A text without numbers, or that leaves nothing, cuts nothing.
        tagRECT rect;
        if (Succeeded(CropRect(_options.svCrop, avProps.vidProps, &rect))) {
            ZrPtr<IZrFrame> pCut;
            hr = Crop(_ppFrame->Get(), rect, pCut.Out());
            if (Failed(hr)) return hr;
            *_ppFrame = std::move(pCut);
        }
    }
    const eRotate rotate = ReadRotate(_options.svRotate);
    if (rotate == eRotate::None) return S_OK;
    ZR_AV_PROPS avProps;
    hr = (*_ppFrame)->FrameAVPropsGet(&avProps);
    if (Failed(hr)) return hr;
    ZrPtr<IZrFrame> pTurned, pPacked;
    if (!CanRotate(avProps.vidProps.fccType)) {
        hr = (*_ppFrame)->FrameClone(pPacked.Out(), eZrFC_Video, eZrFCC_UYVY);
        if (Failed(hr)) return hr;
        *_ppFrame = std::move(pPacked);
    }
    hr = Rotate90(_pFactory, rotate == eRotate::Right, _ppFrame->Get(), pTurned.Out(), nullptr);
    if (Succeeded(hr)) *_ppFrame = std::move(pTurned);
    return hr;
}

// A frame that is as wanted already: a reference, or a copy when it is going to be changed.
HRESULT CloneAs(IZrFrame& _source, const ZR_VID_PROPS& _wanted, bool _bCopy, ZrPtr<IZrFrame>* _ppFrame) {
    ZrPtr<IZrFrame> pClone;
    HRESULT hr = _source.FrameClone(pClone.Out(), _bCopy ? eZrFC_Full : eZrFC_VideoRef_Audio, eZrFCC_Default);
    if (Failed(hr)) return hr;
    ZR_AV_PROPS avProps;
    hr = pClone->FrameAVPropsGet(&avProps);
    if (Failed(hr)) return hr;
    const int32_t nRowBytes = avProps.vidProps.nRowBytes;
    avProps.vidProps = _wanted;
    avProps.vidProps.nRowBytes = nRowBytes;
    hr = pClone->FrameAVPropsSet(&avProps);
    if (Succeeded(hr)) *_ppFrame = std::move(pClone);
    return hr;
}

// However its field order is written.
bool IsAsWanted(const ZR_VID_PROPS& _source, const ZR_VID_PROPS& _wanted) {
    ZR_VID_PROPS source = _source;
    if (InterlaceClass(&_source) == InterlaceClass(&_wanted)) source.eInterlace = _wanted.eInterlace;
    return SameProps(&source, &_wanted, 0);
}

// Neither a size nor a shape: the whole picture, whatever column and line its new format drops.
bool AsksForWhole(const ZR_VID_PROPS& _wanted) {
    const bool bAspect = _wanted.nAspectX > 0 && _wanted.nAspectY > 0;
    return _wanted.eVideoFormat == eZrVF_Custom && _wanted.nWidth < 1 && _wanted.nHeight == 0 && !bAspect;
}

HRESULT MirrorFrame(IZrFrame& _frame, eMirror _eMirror) {
    ZR_AV_PROPS avProps;
    int32_t cb = 0;
    int64_t lp = 0;
    HRESULT hr = _frame.FrameAVPropsGet(&avProps);
    if (Succeeded(hr)) hr = _frame.FrameVideoGetBytes(&cb, &lp);
    return Failed(hr) ? hr : MirrorPicture(reinterpret_cast<uint8_t*>(lp), avProps.vidProps, _eMirror);
}

}  // namespace

FRAME_CONVERT_OPTIONS FRAME_CONVERT_OPTIONS::Read(const AttributeLookup& _find) {
    FRAME_CONVERT_OPTIONS options;
    std::u16string_view svQuality;
    _find(u"crop", options.svCrop);
    _find(u"rotate", options.svRotate);
    _find(u"mirror", options.svMirror);
    if (_find(u"scaling_quality", svQuality)) options.nQuality = static_cast<int32_t>(ReadUInt32(svQuality));
    return options;
}

ZR_VID_PROPS CompleteWanted(const ZR_VID_PROPS& _source, const ZR_VID_PROPS& _wanted) {
    ZR_VID_PROPS props = _wanted;
    const bool bNamed = props.eVideoFormat != eZrVF_Custom;
    if (props.fccType == eZrFCC_Default || SameFamily(props.fccType, _source.fccType)) props.fccType = _source.fccType;
    if (!bNamed) {
        const bool bOwnSize = props.nWidth > 0 || props.nHeight != 0;
        if (props.nWidth < 1) props.nWidth = _source.nWidth;
        if (props.nHeight == 0) props.nHeight = _source.nHeight;
        if (props.dblRate <= 0) props.dblRate = _source.dblRate;
        if (props.eInterlace == eZrI_Default) {
            const int32_t nClass = InterlaceClass(&_source);
            props.eInterlace = nClass > 0 ? eZrI_Field1First : nClass < 0 ? eZrI_Field2First : eZrI_Progressive;
        }
        const bool bAspect = props.nAspectX > 0 && props.nAspectY > 0;
        if (!bAspect && !bOwnSize) {
            props.nAspectX = _source.nAspectX;
            props.nAspectY = _source.nAspectY;
        }
    }
    // A picture that cannot be stored bottom-up on one side only has no reason to be on the other.
    if (_wanted.nHeight == 0 && PixelFormatBottomUp(props.fccType) && !PixelFormatBottomUp(_source.fccType) && !bNamed)
        props.nHeight = -AbsHeight(props.nHeight);
    NormalizeProps(&props, false);
    if (Is420(props.fccType) && props.nHeight > 1) props.nHeight &= ~1;  // as it drops an odd last column
    if (props.nRowBytes < MinRowBytes(props.fccType, props.nWidth))
        props.nRowBytes = MinRowBytes(props.fccType, props.nWidth);
    return props;
}

HRESULT ZrImageFormat::ConvertFrame(IZrFrame* _pSource, const ZR_VID_PROPS* _pWanted, int32_t _nLevel,
                                    const XMLNodeBase* _pNode, IZrFrame** _ppFrame) {
    if (!_ppFrame) return E_POINTER;
    *_ppFrame = nullptr;
    if (!_pSource || !_pWanted) return E_POINTER;
    std::u16string strCrop, strRotate, strMirror;
    FRAME_CONVERT_OPTIONS options;
    if (_pNode) {
        try {
            if (_pNode->GetAttribute(u"crop", strCrop)) options.svCrop = strCrop;
            if (_pNode->GetAttribute(u"rotate", strRotate)) options.svRotate = strRotate;
            if (_pNode->GetAttribute(u"mirror", strMirror)) options.svMirror = strMirror;
            _pNode->GetAttribute(u"scaling_quality", options.nQuality);
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
    }
    return ConvertFrame_I(_pSource, *_pWanted, _nLevel, options, _ppFrame);
}

HRESULT ZrImageFormat::ConvertFrame_I(IZrFrame* _pSource, const ZR_VID_PROPS& _wanted, int32_t _nLevel,
                                      const FRAME_CONVERT_OPTIONS& _options, IZrFrame** _ppFrame) {
    if (!_ppFrame) return E_POINTER;
    *_ppFrame = nullptr;
    if (!_pSource) return E_POINTER;
    ZrFrameFactory_I* pFactory = nullptr;
    HRESULT hr = FrameFactory(&pFactory);
    if (Failed(hr)) return hr;
    ZrPtr<IZrFrame> pSource(_pSource), pResult;
    ZR_AV_PROPS avProps;
    hr = pSource->FrameAVPropsGet(&avProps);
    if (Failed(hr)) return hr;
    ZR_VID_PROPS wanted = _wanted;  // a picture may be turned in another format than its own
    if (wanted.fccType == eZrFCC_Default) wanted.fccType = avProps.vidProps.fccType;
    hr = CutAndTurn(_options, pFactory, &pSource);
    if (Failed(hr)) return hr;

    ZR_TIME time;
    DESCRIBED_PICTURE src, dst;
    hr = PictureOfFrame(*pSource, src, avProps);
    if (Succeeded(hr)) hr = pSource->FrameTimeGet(&time);
    if (Failed(hr)) return hr;
    dst.props = CompleteWanted(src.props, wanted);
    const eMirror mirror = ReadMirror(_options.svMirror);
    if (mirror != eMirror::None && PixelFormatPlanar(dst.props.fccType)) return E_NOTIMPL;

    if (_nLevel > 1 && IsAsWanted(src.props, dst.props)) {
        hr = CloneAs(*pSource, dst.props, mirror != eMirror::None, &pResult);
    } else {
        uint8_t* pBits = nullptr;
        avProps.vidProps = dst.props;
        if (DeinterlaceField(dst.props) != 0) avProps.vidProps.eInterlace = eZrI_Progressive;
        hr = MakePictureFrame(*pFactory, avProps, time, &pResult, &pBits);
        if (Succeeded(hr)) hr = PictureOf(pBits, dst.props, dst.picture);
        if (AsksForWhole(_wanted)) src.props.eScaleType = dst.props.eScaleType = eZrST_IgnoreAR;
        if (Succeeded(hr)) hr = ConvertPicture(src, dst, _options.nQuality, _nLevel);
    }
    if (Succeeded(hr) && mirror != eMirror::None) hr = MirrorFrame(*pResult, mirror);
    return Failed(hr) ? hr : pResult.CopyTo(_ppFrame);
}

}  // namespace zr
