#include "frame_module/picture_file_frame.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "attributes/attr_text.h"
#include "frame_module/frame_factory.h"
#include "frame_module/overlay.h"
#include "frame_module/picture_block.h"
#include "frame_module/picture_fill.h"
#include "frame_module/props_line.h"
#include "media/pixel_format.h"
#include "media/premultiply.h"
#include "media/vid_props.h"
#include "media/vid_props_attributes.h"
#include "video/color_convert.h"
#include "video/crop.h"
#include "video/frame_turn.h"
#include "video/mirror.h"
#include "video/overlay_picture.h"
#include "video/picture_file.h"

namespace zr {

namespace {

// ---- Reading

// Decodes straight into the memory of a frame.
class FrameTarget final : public PictureTarget {
public:
    explicit FrameTarget(FrameContent& _content) : content(_content) {}
    HRESULT Make(PICTURE_ROWS* _pRows) override {
        ZR_VID_PROPS props;
        props.fccType = _pRows->fccType;
        props.nWidth = _pRows->nWidth;
        props.nHeight = -_pRows->nHeight;  // top-down
        props.nRowBytes = MinRowBytes(props.fccType, props.nWidth);
        props.eInterlace = eZrI_Progressive;
        const int32_t nCommon = std::gcd(_pRows->nWidth, _pRows->nHeight);
        if (std::max(_pRows->nWidth, _pRows->nHeight) / nCommon <= INT16_MAX) {
            props.nAspectX = static_cast<int16_t>(_pRows->nWidth / nCommon);
            props.nAspectY = static_cast<int16_t>(_pRows->nHeight / nCommon);
        }
        const HRESULT hr = PictureAlloc(PictureBytes(props), &content.picture);
        if (Failed(hr)) return hr;
        content.avProps.vidProps = props;
        _pRows->pTop = content.picture.pBits;
        _pRows->nStride = props.nRowBytes;
        return S_OK;
    }

private:
    FrameContent& content;
};

HRESULT ReadFrame(const char16_t* _szFileName, bool _bPremultiplied, ZrPtr<IZrFFrame>* _ppFrame) {
    ZrPtr<CZrFrame> pFrame = CZrFrame::Make();
    if (!pFrame) return E_OUTOFMEMORY;
    FrameContent& content = pFrame->Content();
    FrameTarget target(content);
    const HRESULT hr = ReadPictureFile(_szFileName, &target);
    if (Failed(hr)) return hr;
    const ZR_VID_PROPS& props = content.avProps.vidProps;
    if (props.fccType == eZrFCC_ARGB32 && !_bPremultiplied)
        for (int32_t y = 0; y < AbsHeight(props.nHeight); ++y) {
            uint8_t* pRow = content.picture.pBits + int64_t{y} * props.nRowBytes;
            PremultiplyRow(pRow, pRow, static_cast<size_t>(props.nWidth));
        }
    *_ppFrame = std::move(pFrame);
    return S_OK;
}

// ---- What the list asks for

bool AsksForFormat(const char16_t* _szList) {
    static constexpr const char16_t* arrNames[] = {u"video_format", u"width",      u"height",       u"rate",
                                                   u"pixel_format", u"colorspace", u"aspect_ratio", u"aspect-ratio",
                                                   u"interlace",    u"scale_type", u"keep-aspect",  u"format_3d"};
    std::u16string_view svValue;
    return std::ranges::any_of(arrNames,
                               [&](const char16_t* _szName) { return FindInLine(_szList, _szName, &svValue); });
}

// The record that the list asks for, of a picture that has the record _own. E_INVALIDARG: an impossible one.
HRESULT WantedProps(const char16_t* _szList, const ZR_VID_PROPS& _own, ZR_VID_PROPS* _pWanted) {
    const int32_t nWidth = IntInLine(_szList, u"width", 0), nHeight = IntInLine(_szList, u"height", 0);
    if (nWidth < 0 || nHeight == INT32_MIN) return E_INVALIDARG;
    ZR_VID_PROPS props = _own;
    std::u16string_view svFormat;
    if (FindInLine(_szList, u"video_format", &svFormat)) {
        props = {};  // a named format says everything
        props.fccType = _own.fccType;
    } else if ((nWidth > 0) != (nHeight != 0) && _own.nWidth > 0) {
        const double dblShape = static_cast<double>(_own.nWidth) / AbsHeight(_own.nHeight);
        if (nWidth > 0) props.nHeight = -std::max(static_cast<int32_t>(std::lround(nWidth / dblShape)), 1);
        if (nHeight != 0) props.nWidth = std::max(static_cast<int32_t>(std::lround(AbsHeight(nHeight) * dblShape)), 1);
    } else if (nWidth > 0) {
        props.nAspectX = props.nAspectY = 0;  // follows from the size
    }
    ReadVidProps([&](const char16_t* _szName, std::u16string_view& _sv) { return FindInLine(_szList, _szName, &_sv); },
                 &props);
    const HRESULT hr = CompleteVidProps(&props);
    if (Succeeded(hr)) *_pWanted = props;
    return hr;
}

// One colour in a format.
HRESULT FilledFrame(const ZR_VID_PROPS& _props, AttrColour _colour, ZrPtr<CZrFrame>* _ppFrame) {
    ZrPtr<CZrFrame> pFrame = CZrFrame::Make();
    if (!pFrame) return E_OUTOFMEMORY;
    FrameContent& content = pFrame->Content();
    HRESULT hr = PictureAlloc(PictureBytes(_props), &content.picture);
    if (Succeeded(hr)) hr = PictureFill(_props, content.picture, _colour);
    if (Failed(hr)) return hr;
    content.avProps.vidProps = _props;
    *_ppFrame = std::move(pFrame);
    return S_OK;
}

// Crop, rotate, mirror.
HRESULT Turn(const char16_t* _szList, ZrPtr<IZrFFrame>* _ppFrame) {
    std::u16string_view svValue;
    HRESULT hr = S_OK;
    ZrPtr<IZrFFrame>& pFrame = *_ppFrame;
    if (FindInLine(_szList, u"crop", &svValue)) {
        ZR_AV_PROPS props;
        tagRECT rect;
        ZrPtr<IZrFFrame> pCut, pCopy;
        hr = pFrame->ZrFAVPropsGet(&props, nullptr);
        if (Succeeded(hr)) hr = CropRect(svValue, props.vidProps, &rect);
        if (Succeeded(hr)) hr = pFrame->ZrFCut(-1, &rect, pCut.Out());
        // What is left is the whole picture from now on, so the rest of the file's is not kept.
        if (Succeeded(hr)) hr = pCut->ZrFClone(pCopy.Out(), eZrFC_Video, eZrFCC_Default);
        if (Failed(hr)) return hr;
        pFrame = std::move(pCopy);
    }
    const eRotate rotate = FindInLine(_szList, u"rotate", &svValue) ? ReadRotate(svValue) : eRotate::None;
    if (rotate != eRotate::None) {
        ZrPtr<IZrFrame> pTurned;
        hr = Rotate90(&CZrFrameFactory::Shared(), rotate == eRotate::Right, pFrame.As<IZrFrame>().Get(), pTurned.Out(),
                      nullptr);
        if (Failed(hr)) return hr;
        pFrame = pTurned.As<IZrFFrame>();
    }
    const eMirror mirror = FindInLine(_szList, u"mirror", &svValue) ? ReadMirror(svValue) : eMirror::None;
    if (mirror == eMirror::None) return S_OK;
    ZRF_FRAME_INFO info;
    hr = pFrame->ZrFAllGet(&info);
    return Failed(hr) ? hr : MirrorPicture(reinterpret_cast<uint8_t*>(info.lpVideo), info.avProps.vidProps, mirror);
}

// The picture fitted into one colour of the wanted format, or of RGB32 when nothing can be laid over that.
HRESULT LayOverColour(const ZR_VID_PROPS& _wanted, AttrColour _colour, const char16_t* _szList,
                      ZrPtr<IZrFFrame>* _ppFrame) {
    ZR_VID_PROPS props = _wanted;
    if (!CanOverlay(props.fccType)) {
        props.fccType = eZrFCC_RGB32;
        props.nHeight = -AbsHeight(props.nHeight);
        props.nRowBytes = MinRowBytes(props.fccType, props.nWidth);
    }
    ZrPtr<CZrFrame> pFilled;
    HRESULT hr = FilledFrame(props, _colour, &pFilled);
    if (Failed(hr)) return hr;
    OVERLAY_PLACE place;
    place.rect = {0, 0, props.nWidth, AbsHeight(props.nHeight)};
    place.bOwnSize = false;
    place.eScale = props.eScaleType == eZrST_Default ? eZrST_LetterBox : props.eScaleType;
    hr = OverlayFrame(props, pFilled->Content().picture, **_ppFrame, nullptr, place, 1, _szList);
    if (Succeeded(hr)) *_ppFrame = std::move(pFilled);
    return hr;
}

HRESULT ConvertTo(const ZR_VID_PROPS& _wanted, const char16_t* _szList, ZrPtr<IZrFFrame>* _ppFrame) {
    char16_t szQuality[] = u"scaling_quality=  ";
    const int32_t nQuality = std::clamp(IntInLine(_szList, u"scaling_quality", 2), 0, 99);
    szQuality[16] = static_cast<char16_t>(u'0' + nQuality / 10);
    szQuality[17] = static_cast<char16_t>(u'0' + nQuality % 10);
    ZrPtr<IZrFrame> pConverted;
    const HRESULT hr = (*_ppFrame).As<IZrFrame>()->FrameConvert(&_wanted, pConverted.Out(), szQuality);
    if (Succeeded(hr)) *_ppFrame = pConverted.As<IZrFFrame>();
    return hr;
}

}  // namespace

HRESULT LoadPictureFrame(const char16_t* _szFileName, const char16_t* _szPropsList, ZrPtr<IZrFFrame>* _ppFrame) {
    if (!_szFileName) return E_POINTER;
    std::u16string_view svColour;
    const bool bColour = FindInLine(_szPropsList, u"color", &svColour);
    const AttrColour colour = bColour ? ReadColour(svColour, kBlack) : kBlack;
    ZR_VID_PROPS wanted;
    if (!*_szFileName) {
        if (!bColour) return E_INVALIDARG;
        ZR_VID_PROPS none;
        none.fccType = eZrFCC_ARGB32;
        HRESULT hr = WantedProps(_szPropsList, none, &wanted);
        ZrPtr<CZrFrame> pFilled;
        if (Succeeded(hr)) hr = FilledFrame(wanted, colour, &pFilled);
        if (Succeeded(hr)) *_ppFrame = std::move(pFilled);
        return hr;
    }
    ZrPtr<IZrFFrame> pFrame;
    HRESULT hr = ReadFrame(_szFileName, BoolInLine(_szPropsList, u"premultiplied", false), &pFrame);
    if (Succeeded(hr)) hr = Turn(_szPropsList, &pFrame);
    ZR_AV_PROPS props;
    if (Succeeded(hr)) hr = pFrame->ZrFAVPropsGet(&props, nullptr);
    if (Failed(hr)) return hr;

    wanted = props.vidProps;
    const bool bFormat = AsksForFormat(_szPropsList);
    if (bFormat) hr = WantedProps(_szPropsList, props.vidProps, &wanted);
    if (Succeeded(hr) && bColour) hr = LayOverColour(wanted, colour, _szPropsList, &pFrame);
    const bool bConvert = bColour ? !CanOverlay(wanted.fccType) : bFormat;
    if (Succeeded(hr) && bConvert) hr = ConvertTo(wanted, _szPropsList, &pFrame);
    if (Succeeded(hr)) *_ppFrame = std::move(pFrame);
    return hr;
}

// ---- Writing

namespace {

// The rows that a file is made of: the picture's own, or what they become in the scratch.
HRESULT RowsToSave(const PICTURE& _picture, bool _bInterlaced, bool _bKeepAlpha, ScratchBuffer& _scratch,
                   PICTURE_ROWS* _pRows) {
    const bool bArgb = _picture.fccType == eZrFCC_ARGB32;
    PICTURE_ROWS& rows = *_pRows;
    rows = {_picture.fccType, _picture.Width(), _picture.Height(), _picture.Packed().pTop, _picture.Packed().nStride};
    if (_picture.fccType == eZrFCC_RGB24 || _picture.fccType == eZrFCC_RGB32) return S_OK;
    if (bArgb && !_bKeepAlpha) {
        rows.fccType = eZrFCC_RGB32;  // multiplied by its alpha it lies over black already
        return S_OK;
    }
    rows.fccType = bArgb ? eZrFCC_ARGB32 : eZrFCC_RGB24;
    rows.nStride = static_cast<ptrdiff_t>(ScratchRowBytes(static_cast<size_t>(rows.nWidth) * (bArgb ? 4 : 3)));
    rows.pTop = Scratch(_scratch, static_cast<uint64_t>(rows.nStride) * static_cast<uint64_t>(rows.nHeight));
    if (!rows.pTop) return E_OUTOFMEMORY;
    if (bArgb) {
        for (int32_t y = 0; y < rows.nHeight; ++y)
            UnpremultiplyRow(_picture.Packed().Row(y), rows.pTop + y * rows.nStride, static_cast<size_t>(rows.nWidth));
        return S_OK;
    }
    PICTURE rgb;
    rgb.fccType = rows.fccType;
    rgb.nPlanes = 1;
    rgb.arrPlanes[0] = {rows.pTop, rows.nStride, rows.nWidth, rows.nHeight};
    return ConvertPicture(_picture, rgb, _bInterlaced, true);
}

}  // namespace

HRESULT SavePictureFrame(IZrFFrame& _frame, const char16_t* _szFileName) {
    if (!_szFileName) return E_POINTER;
    const ePictureType eType = PictureTypeOf(_szFileName);
    if (eType == ePictureType::Unknown) return ZR_E_NOT_SUPPORTED;
    ScratchBuffer planes, rgb;
    PICTURE_BLOCK block;
    PICTURE picture;
    PICTURE_ROWS rows;
    HRESULT hr = PictureBlockOf(_frame, planes, &block);
    if (Succeeded(hr)) hr = PictureOf(block.pBits, block.props, picture);
    if (Succeeded(hr))
        hr = RowsToSave(picture, InterlaceClass(&block.props) != 0, eType != ePictureType::Jpeg, rgb, &rows);
    return Failed(hr) ? hr : WritePictureFile(_szFileName, rows);
}

}  // namespace zr
