#include "video/scale_rects.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "media/pixel_format.h"
#include "media/vid_props.h"

namespace zr {

namespace {

tagRECT WholeRect(const ZR_VID_PROPS& _props) { return {0, 0, _props.nWidth, AbsHeight(_props.nHeight)}; }

bool SameRect(const tagRECT& _a, const tagRECT& _b) {
    return _a.left == _b.left && _a.top == _b.top && _a.right == _b.right && _a.bottom == _b.bottom;
}

// Half of what is taken off _nSize when _dblPart of it stays, to an even number.
int32_t EvenMargin(int32_t _nSize, double _dblPart) {
    return (static_cast<int32_t>(std::lround(_nSize * (1 - _dblPart) / 2)) + 1) & ~1;
}

void CutWidth(tagRECT& _rect, int32_t _nMargin) {
    _rect.left += _nMargin;
    _rect.right -= _nMargin;
}
void CutHeight(tagRECT& _rect, int32_t _nMargin) {
    _rect.top += _nMargin;
    _rect.bottom -= _nMargin;
}

// The scale type when neither record gives one.
eZrScaleType AutoScaleType(const ZR_VID_PROPS& _src, const ZR_VID_PROPS& _dst) {
    const bool bNearlyAsWide =
        _src.nWidth >= 1100 && _dst.nWidth >= 1280 && std::abs(_src.nWidth - _dst.nWidth) <= 0.1 * _dst.nWidth;
    if (bNearlyAsWide && std::abs(_src.dblRate - _dst.dblRate) < 0.01) return eZrST_NoScale;
    const bool bNarrower = AspectValue(&_src) < AspectValue(&_dst);
    return bNarrower && AbsHeight(_src.nHeight) <= AbsHeight(_dst.nHeight) + 60 ? eZrST_Crop : eZrST_LetterBox;
}

// Centres without scaling. _nFactor 2: the source has every second line, an interlaced half.
void CentreRects(tagRECT& _src, tagRECT& _dst, int32_t _nFactor) {
    const int32_t nWidth = std::min(_src.right, _dst.right);
    const int32_t nLines = std::min(_src.bottom * _nFactor, _dst.bottom);
    const auto Margin = [](int32_t _nSize, int32_t _nUsed) { return ((_nSize - _nUsed) / 2 + 1) & ~1; };
    CutWidth(_src, Margin(_src.right, nWidth));
    CutWidth(_dst, Margin(_dst.right, nWidth));
    CutHeight(_src, Margin(_src.bottom, nLines / _nFactor));
    CutHeight(_dst, Margin(_dst.bottom, nLines));
}

// Crop takes from the source what letter box leaves free in the destination.
void FitRects(const ZR_VID_PROPS& _srcProps, const ZR_VID_PROPS& _dstProps, bool _bCrop, tagRECT& _src, tagRECT& _dst) {
    const double dblSrcWidth = AspectValue(&_srcProps) * _src.bottom,
                 dblDstWidth = AspectValue(&_dstProps) * _dst.bottom;
    const double dblAcross = dblDstWidth / dblSrcWidth, dblDown = static_cast<double>(_dst.bottom) / _src.bottom;
    const double dblRatio = _bCrop ? dblAcross / dblDown : dblDown / dblAcross;
    tagRECT& rect = _bCrop ? _src : _dst;
    if (dblRatio < 1)
        CutWidth(rect, EvenMargin(rect.right, dblRatio));
    else
        CutHeight(rect, EvenMargin(rect.bottom, 1 / dblRatio));
}

}  // namespace

eZrScaleType ScaleTypeFor(const ZR_VID_PROPS& _srcProps, const ZR_VID_PROPS& _dstProps) {
    if (_srcProps.eScaleType != eZrST_Default) return _srcProps.eScaleType;
    return _dstProps.eScaleType != eZrST_Default ? _dstProps.eScaleType : AutoScaleType(_srcProps, _dstProps);
}

bool ScaleRects(const ZR_VID_PROPS& _srcProps, const ZR_VID_PROPS& _dstProps, tagRECT& _srcRect, tagRECT& _dstRect) {
    const tagRECT srcWhole = WholeRect(_srcProps), dstWhole = WholeRect(_dstProps);
    _srcRect = srcWhole;
    _dstRect = dstWhole;
    if (srcWhole.right < 1 || srcWhole.bottom < 1 || dstWhole.right < 1 || dstWhole.bottom < 1) return false;
    const eZrScaleType eType = ScaleTypeFor(_srcProps, _dstProps);
    const bool bAuto = _srcProps.eScaleType == eZrST_Default && _dstProps.eScaleType == eZrST_Default;
    const bool bHalf = bAuto && srcWhole.bottom * 2 == dstWhole.bottom;
    if (eType == eZrST_Crop || eType == eZrST_LetterBox)
        FitRects(_srcProps, _dstProps, eType == eZrST_Crop, _srcRect, _dstRect);
    else if (eType != eZrST_IgnoreAR)
        CentreRects(_srcRect, _dstRect, bHalf ? 2 : 1);
    return !SameRect(_srcRect, srcWhole) || !SameRect(_dstRect, dstWhole) ||
           RectWidth(_srcRect) != RectWidth(_dstRect) || RectHeight(_srcRect) != RectHeight(_dstRect);
}

// ---- Clipping

namespace {

// One dimension of a rectangle and the size of its picture. 64-bit: the rectangles come from outside.
struct SPAN {
    int64_t nFirst, nEnd, nSize;
    int64_t Length() const { return nEnd - nFirst; }
};

int64_t RoundAway(double _n) { return std::llround(std::clamp(_n, -4e18, 4e18)); }

void MakeEven(SPAN& _span) {
    _span.nFirst += _span.nFirst & 1;
    _span.nEnd -= _span.nEnd & 1;
}

// Takes what hangs out of _span off both; _dblScale: of _other to _span.
void CutOverhang(SPAN& _span, SPAN& _other, double _dblScale) {
    if (_span.nFirst < 0) {
        _other.nFirst += RoundAway(static_cast<double>(-_span.nFirst) * _dblScale);
        _span.nFirst = 0;
    }
    if (_span.nEnd > _span.nSize) {
        _other.nEnd -= RoundAway(static_cast<double>(_span.nEnd - _span.nSize) * _dblScale);
        _span.nEnd = _span.nSize;
    }
}

// False: nothing is left.
bool ClipSpans(SPAN& _src, SPAN& _dst, bool _bKeepScale, bool _bEven) {
    if (_bEven) {
        MakeEven(_src);
        MakeEven(_dst);
    }
    if (_src.Length() < 1 || _dst.Length() < 1) return false;
    double dblScale = 1;
    if (_bKeepScale) {
        dblScale = static_cast<double>(_dst.Length()) / static_cast<double>(_src.Length());
    } else {
        const int64_t nLength = std::min(_src.Length(), _dst.Length());
        _src.nEnd = _src.nFirst + nLength;
        _dst.nEnd = _dst.nFirst + nLength;
    }
    CutOverhang(_src, _dst, dblScale);
    CutOverhang(_dst, _src, 1 / dblScale);
    // Rounding by a large scale may push the source out by a line once more.
    _src.nFirst = std::max<int64_t>(_src.nFirst, 0);
    _src.nEnd = std::min(_src.nEnd, _src.nSize);
    if (_bEven) {
        MakeEven(_src);
        MakeEven(_dst);
    }
    return _src.Length() >= 1 && _dst.Length() >= 1;
}

SPAN Across(const tagRECT& _rect, const ZR_VID_PROPS& _props) { return {_rect.left, _rect.right, _props.nWidth}; }
SPAN Down(const tagRECT& _rect, const ZR_VID_PROPS& _props) {
    return {_rect.top, _rect.bottom, AbsHeight(_props.nHeight)};
}

tagRECT RectOf(const SPAN& _across, const SPAN& _down) {
    const auto Narrow = [](int64_t _n) { return static_cast<int32_t>(_n); };
    return {Narrow(_across.nFirst), Narrow(_down.nFirst), Narrow(_across.nEnd), Narrow(_down.nEnd)};
}

}  // namespace

HRESULT ClipRects(const ZR_VID_PROPS& _srcProps, const ZR_VID_PROPS& _dstProps, tagRECT& _srcRect, tagRECT& _dstRect,
                  bool _bKeepScale, const tagRECT* _pSrcRectIn, const tagRECT* _pDstRectIn) {
    const tagRECT srcWhole = WholeRect(_srcProps), dstWhole = WholeRect(_dstProps);
    const tagRECT srcIn = _pSrcRectIn ? *_pSrcRectIn : srcWhole, dstIn = _pDstRectIn ? *_pDstRectIn : dstWhole;
    _srcRect = _dstRect = {};
    if (srcWhole.right < 1 || srcWhole.bottom < 1 || dstWhole.right < 1 || dstWhole.bottom < 1) return E_INVALIDARG;
    if (srcIn.left >= srcWhole.right || srcIn.top >= srcWhole.bottom || dstIn.left >= dstWhole.right ||
        dstIn.top >= dstWhole.bottom)
        return E_INVALIDARG;

    const bool bEven = !PixelFormatBottomUp(_srcProps.fccType) || !PixelFormatBottomUp(_dstProps.fccType);
    SPAN srcAcross = Across(srcIn, _srcProps), dstAcross = Across(dstIn, _dstProps);
    SPAN srcDown = Down(srcIn, _srcProps), dstDown = Down(dstIn, _dstProps);
    if (!ClipSpans(srcAcross, dstAcross, _bKeepScale, bEven)) return S_FALSE;
    if (!ClipSpans(srcDown, dstDown, _bKeepScale, false)) return S_FALSE;
    _srcRect = RectOf(srcAcross, srcDown);
    _dstRect = RectOf(dstAcross, dstDown);
    return S_OK;
}

}  // namespace zr
