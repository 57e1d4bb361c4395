#include "video/image_format_base.h"

#include <algorithm>
#include <cstdlib>

#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "video/color_convert.h"
#include "video/copy_frame.h"
#include "video/fill.h"
#include "video/image_convert.h"
#include "video/scale_rects.h"
#include "video/scaling_quality.h"

namespace zr {

namespace {

enum eFieldMode : int32_t { eField_None = 0, eField_Both = 1, eField_Upper = 2, eField_Lower = 3 };

// How the fields of a source make a destination; _bSecond: the picture of the field that comes second.
eFieldMode FieldMode(int32_t _nSrcClass, int32_t _nDstClass, bool _bSecond) {
    if (_nSrcClass == 0) return eField_None;
    if (_nDstClass != 0) return eField_Both;
    return (_nSrcClass > 0) != _bSecond ? eField_Upper : eField_Lower;
}

uint32_t ScaleFlags(eFieldMode _eMode, const ZR_VID_PROPS& _src, const ZR_VID_PROPS& _dst) {
    if (_eMode == eField_Upper) return eScale_Field1;
    if (_eMode == eField_Lower) return eScale_Field2;
    if (_eMode == eField_None) return 0;
    const bool bOpposite = InterlaceClass(&_src) * InterlaceClass(&_dst) < 0;
    if (bOpposite) return eScale_LineUp;
    const bool bOneLine = std::abs(AbsHeight(_src.nHeight) - AbsHeight(_dst.nHeight)) == 1;
    return bOneLine ? uint32_t{eScale_LineDown} : 0;
}

// A record that gives no display aspect has square pixels.
ZR_VID_PROPS WithAspect(const ZR_VID_PROPS& _props) {
    ZR_VID_PROPS props = _props;
    if (props.nAspectX > 0 && props.nAspectY > 0) return props;
    int32_t nX = props.nWidth, nY = AbsHeight(props.nHeight);
    while (std::max(nX, nY) > INT16_MAX) {
        nX /= 2;
        nY /= 2;
    }
    props.nAspectX = static_cast<int16_t>(std::max(nX, 1));
    props.nAspectY = static_cast<int16_t>(std::max(nY, 1));
    return props;
}

// Even margins may leave one of two centred pictures up to two pixels larger, for which nothing is to be scaled.
void CutToSameSize(tagRECT& _a, tagRECT& _b) {
    const int32_t nWidth = std::min(RectWidth(_a), RectWidth(_b)), nHeight = std::min(RectHeight(_a), RectHeight(_b));
    const bool bLines = std::abs(RectHeight(_a) - RectHeight(_b)) <= 2;
    for (tagRECT* pRect : {&_a, &_b}) {
        pRect->right = pRect->left + nWidth;
        if (bLines) pRect->bottom = pRect->top + nHeight;
    }
}

void FittedRects(const ZR_VID_PROPS& _src, const ZR_VID_PROPS& _dst, tagRECT& _srcRect, tagRECT& _dstRect) {
    const ZR_VID_PROPS src = WithAspect(_src), dst = WithAspect(_dst);
    tagRECT srcFit, dstFit;
    ScaleRects(src, dst, srcFit, dstFit);
    if (ScaleTypeFor(src, dst) == eZrST_NoScale) CutToSameSize(srcFit, dstFit);
    if (Is420(_dst.fccType) && RectHeight(srcFit) == RectHeight(dstFit) + 1) --srcFit.bottom;  // an odd last line
    // Formats that share chroma between pixels need even edges too.
    if (ClipRects(_src, _dst, _srcRect, _dstRect, true, &srcFit, &dstFit) == S_OK) return;
    _srcRect = {0, 0, _src.nWidth, AbsHeight(_src.nHeight)};
    _dstRect = {0, 0, _dst.nWidth, AbsHeight(_dst.nHeight)};
}

// Black around a rectangle: bars above and below from edge to edge, bars beside it between them.
void BlackAround(const PICTURE& _picture, const tagRECT& _rect) {
    const int32_t nWidth = _picture.Width(), nHeight = _picture.Height();
    const tagRECT arrBars[] = {{0, 0, nWidth, _rect.top},
                               {0, _rect.bottom, nWidth, nHeight},
                               {0, _rect.top, _rect.left, _rect.bottom},
                               {_rect.right, _rect.top, nWidth, _rect.bottom}};
    for (const tagRECT& bar : arrBars)
        if (RectWidth(bar) > 0 && RectHeight(bar) > 0) FillColour(CutPicture(_picture, bar), kFillBlack);
}

HRESULT Described(const uint8_t* _p, const ZR_VID_PROPS& _props, DESCRIBED_PICTURE& _picture) {
    _picture.props = _props;
    return PictureOf(const_cast<uint8_t*>(_p), _props, _picture.picture);
}

// Calls _convert(picture, mode) for the destinations that there are, with the mode of each; one whose mode has been
// made already is copied.
template <class Mode, class Convert>
HRESULT ForDestinations(uint8_t* const (&&_arrDst)[3], const ZR_VID_PROPS& _dstProps, const Mode& _mode,
                        const Convert& _convert) {
    DESCRIBED_PICTURE arrMade[3];
    int32_t arrMode[3] = {-1, -1, -1};
    bool bAny = false;
    for (int32_t n = 0; n < 3; ++n) {
        if (!_arrDst[n]) continue;
        HRESULT hr = Described(_arrDst[n], _dstProps, arrMade[n]);
        if (Failed(hr)) return hr;
        const int32_t nMode = _mode(n);
        int32_t nSame = 0;
        while (nSame < n && arrMode[nSame] != nMode) ++nSame;
        hr = nSame < n ? zr::ConvertPicture(arrMade[nSame].picture, arrMade[n].picture, false, true)
                       : _convert(arrMade[n], nMode);
        if (Failed(hr)) return hr;
        arrMode[n] = nMode;
        bAny = true;
    }
    return bAny ? S_OK : E_POINTER;
}

}  // namespace

int32_t DeinterlaceField(const ZR_VID_PROPS& _props) {
    if (_props.eInterlace == eZrI_DeinterlaceF1) return 1;
    return _props.eInterlace == eZrI_DeinterlaceF2 ? 2 : 0;
}

ZrImageFormatBase::ZrImageFormatBase() {
    for (ScalingEngine& engine : arrEngines) engine.bMultiThread = true;
}

// A v210 picture is cut between groups of six pixels only: with a rectangle elsewhere it is made by way of UYVY.
template <class Convert>
HRESULT ZrImageFormatBase::ThroughUyvy_I(const DESCRIBED_PICTURE& _dst, const Convert& _convert) {
    MutexLock lock(mtxUnpacked);
    DESCRIBED_PICTURE middle{{}, _dst.props};
    middle.props.fccType = eZrFCC_UYVY;
    middle.props.nRowBytes = MinRowBytes(eZrFCC_UYVY, middle.props.nWidth);
    uint8_t* p = Scratch(unpacked, PictureBytes(middle.props));
    if (!p) return E_OUTOFMEMORY;
    HRESULT hr = PictureOf(p, middle.props, middle.picture);
    if (Succeeded(hr)) hr = _convert(middle);
    return Failed(hr) ? hr : zr::ConvertPicture(middle.picture, _dst.picture, false, true);
}

HRESULT ZrImageFormatBase::Scale_I(const DESCRIBED_PICTURE& _src, const DESCRIBED_PICTURE& _dst,
                                   eInterpolation _eQuality, int32_t _nFieldMode) {
    const auto eMode = static_cast<eFieldMode>(_nFieldMode);
    tagRECT srcRect, dstRect;
    FittedRects(_src.props, _dst.props, srcRect, dstRect);
    if (!CanCutPicture(_dst.picture, dstRect))
        return ThroughUyvy_I(
            _dst, [&](const DESCRIBED_PICTURE& _middle) { return Scale_I(_src, _middle, _eQuality, _nFieldMode); });
    const HRESULT hr =
        Img_Convert_I(arrEngines[eMode], _src.picture, _dst.picture, _src.props, _dst.props, eMode != eField_None,
                      &srcRect, &dstRect, _eQuality, 0, ScaleFlags(eMode, _src.props, _dst.props));
    if (Failed(hr)) return hr;
    BlackAround(_dst.picture, dstRect);
    return S_OK;
}

HRESULT ZrImageFormatBase::Convert2_I(const DESCRIBED_PICTURE& _src, const DESCRIBED_PICTURE& _dst,
                                      eInterpolation _eQuality) {
    tagRECT srcRect, dstRect;
    FittedRects(_src.props, _dst.props, srcRect, dstRect);
    const int32_t nSrcClass = InterlaceClass(&_src.props), nDstClass = InterlaceClass(&_dst.props);
    const bool bSameSize = RectWidth(srcRect) == RectWidth(dstRect) && RectHeight(srcRect) == RectHeight(dstRect);
    const bool bSameLines = std::abs(nSrcClass) == std::abs(nDstClass) || nSrcClass == 0;
    if (!bSameSize || !bSameLines || !CanCutPicture(_src.picture, srcRect))
        return Scale_I(_src, _dst, _eQuality, nSrcClass != 0 && nDstClass != 0 ? eField_Both : eField_None);
    if (!CanCutPicture(_dst.picture, dstRect))
        return ThroughUyvy_I(_dst,
                             [&](const DESCRIBED_PICTURE& _middle) { return Convert2_I(_src, _middle, _eQuality); });
    const HRESULT hr = CopyPictureCC(CutPicture(_src.picture, srcRect), CutPicture(_dst.picture, dstRect), nSrcClass,
                                     nDstClass, std::min(RowThreads(), 4));
    if (Failed(hr)) return hr;
    BlackAround(_dst.picture, dstRect);
    return S_OK;
}

HRESULT ZrImageFormatBase::ConvertFrame2(const uint8_t* _pSrc, uint8_t* _pDst, uint8_t* _pDstField1,
                                         uint8_t* _pDstField2, const ZR_VID_PROPS& _srcProps,
                                         const ZR_VID_PROPS& _dstProps, eInterpolation _eQuality) {
    DESCRIBED_PICTURE src;
    const HRESULT hr = Described(_pSrc, _srcProps, src);
    if (Failed(hr)) return hr;
    return ForDestinations(
        {_pDst, _pDstField1, _pDstField2}, _dstProps, [](int32_t) { return 0; },
        [&](const DESCRIBED_PICTURE& _dst, int32_t) { return Convert2_I(src, _dst, _eQuality); });
}

HRESULT ZrImageFormatBase::ConvertFrame3(const uint8_t* _pSrc, uint8_t* _pDst, uint8_t* _pDstField1,
                                         uint8_t* _pDstField2, const ZR_VID_PROPS& _srcProps,
                                         const ZR_VID_PROPS& _dstProps, eInterpolation _eQuality) {
    DESCRIBED_PICTURE src;
    const HRESULT hr = Described(_pSrc, _srcProps, src);
    if (Failed(hr)) return hr;
    const int32_t nSrcClass = InterlaceClass(&_srcProps), nDstClass = InterlaceClass(&_dstProps);
    return ForDestinations(
        {_pDst, _pDstField1, _pDstField2}, _dstProps,
        [&](int32_t _n) { return int32_t{FieldMode(nSrcClass, nDstClass, _n == 2)}; },
        [&](const DESCRIBED_PICTURE& _dst, int32_t _nMode) { return Scale_I(src, _dst, _eQuality, _nMode); });
}

HRESULT ZrImageFormatBase::ConvertPicture(const DESCRIBED_PICTURE& _src, const DESCRIBED_PICTURE& _dst,
                                          int32_t _nQuality, int32_t _nLevel) {
    const int32_t nSrcClass = InterlaceClass(&_src.props), nDstClass = InterlaceClass(&_dst.props);
    const SCALING_QUALITY quality = ScalingQuality(_nQuality, _src.props, _dst.props, _nLevel);
    const int32_t nField = DeinterlaceField(_dst.props);
    if (nField != 0 && nSrcClass != 0)
        return Scale_I(_src, _dst, quality.eMode, nField == 1 ? eField_Upper : eField_Lower);
    const bool bReduces = AbsHeight(_src.props.nHeight) > AbsHeight(_dst.props.nHeight);
    const bool bFine = static_cast<int32_t>(quality.eMode) >= static_cast<int32_t>(eInterpolation::BSpline);
    const bool bBoth = nSrcClass != 0 && nDstClass != 0;
    if (quality.bSeparateFields || (bReduces && bFine && bBoth))
        return Scale_I(_src, _dst, quality.eMode, FieldMode(nSrcClass, nDstClass, false));
    return Convert2_I(_src, _dst, quality.eMode);
}

}  // namespace zr
