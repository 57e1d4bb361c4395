#include "video/image_convert.h"

#include <algorithm>

#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "video/color_convert.h"
#include "video/resize_sharpen.h"
#include "video/sample_rows.h"
#include "video/scale_packed.h"
#include "video/scale_rects.h"

namespace zr {

namespace {

// ---- Pictures in scratch

// A packed picture in scratch, from top to bottom. Null plane: no memory.
PICTURE ScratchPicture(ScratchBuffer& _buffer, eZrFCC _fccType, int32_t _nWidth, int32_t _nHeight) {
    PICTURE picture;
    picture.fccType = _fccType;
    picture.nPlanes = 1;
    const auto nStride = static_cast<ptrdiff_t>(
        ScratchRowBytes(static_cast<size_t>(_nWidth) * static_cast<size_t>(PixelFormatBits(_fccType)) / 8));
    picture.arrPlanes[0] = {Scratch(_buffer, static_cast<uint64_t>(nStride) * static_cast<uint64_t>(_nHeight)), nStride,
                            _nWidth, _nHeight};
    return picture;
}

// ---- Change of format at equal size

HRESULT ConvertColours(const ScalingEngine& _engine, const PICTURE& _src, const PICTURE& _dst, bool _bInterlaced) {
    return ConvertPicture(_src, _dst, _bInterlaced, _engine.bMultiThread);
}

bool CanConvert(eZrFCC _fccFrom, eZrFCC _fccTo, HRESULT& _hr) {
    PictureConverter converter;
    _hr = PictureConverter::Make(_fccFrom, _fccTo, false, converter);
    return Succeeded(_hr);
}

// v210 has no bytes that could be scaled or cut anywhere: its rows become UYVY first, from their start on.
HRESULT UnpackV210(ScalingEngine& _engine, const PICTURE& _whole, tagRECT& _rect, PICTURE& _picture) {
    const PICTURE rows = CutPicture(_whole, {0, _rect.top, _rect.right, _rect.bottom});
    _picture = ScratchPicture(_engine.converted, eZrFCC_UYVY, rows.Width(), rows.Height());
    if (!_picture.Packed().pTop) return E_OUTOFMEMORY;
    _rect = {_rect.left, 0, _rect.right, _rect.bottom - _rect.top};
    return ConvertColours(_engine, rows, _picture, false);
}

// ---- The ways of scaling

double FilterWidth(eInterpolation _eMode, int32_t _nSharpness) {
    double dblWidth = 1;
    switch (_eMode) {
        case eInterpolation::Nearest: dblWidth = -1; break;
        case eInterpolation::Linear: dblWidth = 0.5; break;
        case eInterpolation::Cubic: dblWidth = 0.75; break;
        case eInterpolation::BSpline:
        case eInterpolation::CatmullRom:
        case eInterpolation::CubicB05C03:
            dblWidth = 0.8 + 0.05 * (static_cast<int32_t>(_eMode) - static_cast<int32_t>(eInterpolation::BSpline));
            break;
        default: break;
    }
    if (_nSharpness == 0) return dblWidth;
    if (dblWidth < 0) dblWidth = 0.5;
    return _nSharpness > 0 ? dblWidth / (1 + _nSharpness / 25.0) : dblWidth * (1 - _nSharpness / 25.0);
}

void CompleteParams(int32_t _nSrcWidth, int32_t _nDstWidth, bool _bInterlaced, RESIZE_PARAMS& _params) {
    _params.dblWidth = FilterWidth(_params.eMode, _params.nSharpness);
    if (_params.eMode == eInterpolation::SuperSampling && _nDstWidth > _nSrcWidth)
        _params.eMode = eInterpolation::BSpline;
    if (!_bInterlaced) _params.nFlags |= eScale_Progressive;
}

// An RGB picture, with its channels as they are.
HRESULT ScaleRgb(ScalingEngine& _engine, const PICTURE& _src, const PICTURE& _dst, bool _bInterlaced,
                 const RESIZE_PARAMS& _params) {
    const auto cbPixel = static_cast<size_t>(PixelFormatBits(_src.fccType) / 8);
    const bool bChannels =
        _src.fccType == eZrFCC_RGB8 || _src.fccType == eZrFCC_RGB24 || FamilyOf(_src.fccType) == eZrFCC_ARGB32;
    if (!bChannels) return E_INVALIDARG;
    if (SameFamily(_src.fccType, _dst.fccType))
        return ResizePlane_I(_engine, _src.Packed(), _dst.Packed(), cbPixel, 0, _bInterlaced, _params);
    HRESULT hr = S_OK;
    if (!CanConvert(_src.fccType, _dst.fccType, hr)) return hr;
    const PICTURE scaled = ScratchPicture(_engine.result, _src.fccType, _dst.Width(), _dst.Height());
    if (!scaled.Packed().pTop) return E_OUTOFMEMORY;
    hr = ResizePlane_I(_engine, _src.Packed(), scaled.Packed(), cbPixel, 0, _bInterlaced, _params);
    return Failed(hr) ? hr : ConvertColours(_engine, scaled, _dst, _bInterlaced);
}

// By rows that hang on the source alone.
bool ScalesIntoPacked(const PICTURE& _src, eZrFCC _fccDst, int32_t _nDstWidth, const RESIZE_PARAMS& _params) {
    if (!IsPacked422(_fccDst) || _params.nSharpness != 0) return false;
    return _src.IsPlanar() || (IsPacked422(_src.fccType) && _src.Width() != _nDstWidth);
}

HRESULT ScaleYuv(ScalingEngine& _engine, const PICTURE& _src, const PICTURE& _dst, bool _bInterlaced,
                 const RESIZE_PARAMS& _params) {
    if (IsPacked422(_src.fccType) && IsPacked422(_dst.fccType) && _src.Width() == _dst.Width())
        return ScalePackedRows(_engine, _src, _dst, _params);
    if (ScalesIntoPacked(_src, _dst.fccType, _dst.Width(), _params))
        return ScaleIntoPacked(_engine, _src, _dst, _params);
    return ScaleByPlanes(_engine, _src, _dst, _bInterlaced, _params);
}

// Cut pictures, neither v210 nor of equal size and untouched.
HRESULT Scale(ScalingEngine& _engine, PICTURE _src, const PICTURE& _dst, bool _bInterlaced,
              const RESIZE_PARAMS& _params) {
    if (PixelFormatBottomUp(_dst.fccType) && !SameFamily(_src.fccType, _dst.fccType)) {
        const PICTURE converted = ScratchPicture(_engine.srcPlanes, _dst.fccType, _src.Width(), _src.Height());
        if (!converted.Packed().pTop) return E_OUTOFMEMORY;
        const HRESULT hr = ConvertColours(_engine, _src, converted, _bInterlaced);
        if (Failed(hr)) return hr;
        _src = converted;
    }
    if (PixelFormatBottomUp(_src.fccType)) return ScaleRgb(_engine, _src, _dst, _bInterlaced, _params);
    return ScaleYuv(_engine, _src, _dst, _bInterlaced, _params);
}

HRESULT ScaleIntoV210(ScalingEngine& _engine, const PICTURE& _src, const PICTURE& _dst, bool _bInterlaced,
                      const RESIZE_PARAMS& _params) {
    if (PixelFormatBottomUp(_src.fccType)) return E_FAIL;
    const PICTURE scaled = ScratchPicture(_engine.result, eZrFCC_UYVY, _dst.Width(), _dst.Height());
    if (!scaled.Packed().pTop) return E_OUTOFMEMORY;
    const HRESULT hr = ScaleYuv(_engine, _src, scaled, _bInterlaced, _params);
    return Failed(hr) ? hr : ConvertColours(_engine, scaled, _dst, _bInterlaced);
}

HRESULT ConvertRects(ScalingEngine& _engine, const PICTURE& _srcWhole, const PICTURE& _dstWhole, tagRECT _srcRect,
                     const tagRECT& _dstRect, bool _bInterlaced, RESIZE_PARAMS _params) {
    if (!CanCutPicture(_dstWhole, _dstRect)) return E_INVALIDARG;
    const PICTURE dst = CutPicture(_dstWhole, _dstRect);
    PICTURE src = _srcWhole;
    const int32_t nWidth = RectWidth(_dstRect), nHeight = RectHeight(_dstRect);
    const bool bToSame = RectWidth(_srcRect) == nWidth && RectHeight(_srcRect) == nHeight && _params.nSharpness == 0 &&
                         _params.nFlags == 0;
    if (src.fccType == eZrFCC_v210 && !(bToSame && _srcRect.left % 6 == 0)) {
        const HRESULT hr = UnpackV210(_engine, _srcWhole, _srcRect, src);
        if (Failed(hr)) return hr;
    }
    src = CutPicture(src, _srcRect);
    if (bToSame) return ConvertColours(_engine, src, dst, _bInterlaced);

    CompleteParams(RectWidth(_srcRect), nWidth, _bInterlaced, _params);
    if (dst.fccType == eZrFCC_v210) return ScaleIntoV210(_engine, src, dst, _bInterlaced, _params);
    return Scale(_engine, src, dst, _bInterlaced, _params);
}

}  // namespace

HRESULT Img_PrepareRows(ScalingEngine& _engine, PICTURE _src, const ZR_VID_PROPS& _srcProps,
                        const ZR_VID_PROPS& _dstProps, bool _bInterlaced, const tagRECT& _srcRect,
                        eInterpolation _eQuality, uint32_t _nFlags, PackedScaling& _rows) {
    tagRECT srcRect, dstRect;
    const HRESULT hr = ClipRects(_srcProps, _dstProps, srcRect, dstRect, true, &_srcRect, nullptr);
    if (hr != S_OK) return hr;
    const int32_t nWidth = RectWidth(dstRect), nHeight = RectHeight(dstRect);
    RESIZE_PARAMS params;
    params.eMode = _eQuality;
    params.nFlags = _nFlags;
    const bool bSame = RectWidth(srcRect) == nWidth && RectHeight(srcRect) == nHeight && _nFlags == 0;
    const bool bWhole = nWidth == _dstProps.nWidth && nHeight == AbsHeight(_dstProps.nHeight);
    _src = CutPicture(_src, srcRect);
    if (bSame || !bWhole || _src.fccType == eZrFCC_v210) return S_FALSE;
    CompleteParams(_src.Width(), nWidth, _bInterlaced, params);
    if (!ScalesIntoPacked(_src, _dstProps.fccType, nWidth, params)) return S_FALSE;
    return _rows.Prepare(_engine, _src, _dstProps.fccType, nWidth, nHeight, params);
}

HRESULT Img_Convert_I(ScalingEngine& _engine, const PICTURE& _src, const PICTURE& _dst, const ZR_VID_PROPS& _srcProps,
                      const ZR_VID_PROPS& _dstProps, bool _bInterlaced, const tagRECT* _pSrcRect,
                      const tagRECT* _pDstRect, eInterpolation _eQuality, int32_t _nSharpness, uint32_t _nFlags) {
    tagRECT srcRect, dstRect;
    HRESULT hr = ClipRects(_srcProps, _dstProps, srcRect, dstRect, true, _pSrcRect, _pDstRect);
    if (hr != S_OK) return hr;
    RESIZE_PARAMS params;
    params.eMode = _eQuality;
    params.nFlags = _nFlags;
    params.nSharpness = std::clamp(_nSharpness, -kMaxSharpness, kMaxSharpness);
    params.bFillBorder = true;
    _engine.mtx.Lock();
    hr = ConvertRects(_engine, _src, _dst, srcRect, dstRect, _bInterlaced, params);
    _engine.mtx.Unlock();
    return hr;
}

HRESULT Img_Convert(ScalingEngine& _engine, const uint8_t* _pSrc, uint8_t* _pDst, const ZR_VID_PROPS& _srcProps,
                    const ZR_VID_PROPS& _dstProps, bool _bInterlaced, const tagRECT* _pSrcRect,
                    const tagRECT* _pDstRect, eInterpolation _eQuality, int32_t _nSharpness, uint32_t _nFlags) {
    PICTURE src, dst;
    HRESULT hr = PictureOf(const_cast<uint8_t*>(_pSrc), _srcProps, src);
    if (Succeeded(hr)) hr = PictureOf(_pDst, _dstProps, dst);
    if (Failed(hr)) return hr;
    return Img_Convert_I(_engine, src, dst, _srcProps, _dstProps, _bInterlaced, _pSrcRect, _pDstRect, _eQuality,
                         _nSharpness, _nFlags);
}

}  // namespace zr
