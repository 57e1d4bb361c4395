#include "video/overlay_picture.h"

#include <algorithm>

#include "media/pixel_format.h"
#include "platform/thread_pool.h"
#include "video/color_convert.h"
#include "video/kernels/mix_row.h"
#include "video/kernels/over_yuv_row.h"
#include "video/kernels/packed_row.h"
#include "video/picture.h"
#include "video/scale_rects.h"

namespace zr {

namespace {

using OverRow = void (*)(const uint8_t* _pOver, uint8_t* _pBase, size_t _nPairs, uint32_t _nA);

OverRow ChooseRow(eZrFCC _fccBase) {
    switch (_fccBase) {
        case eZrFCC_UYVY: return OverBgraOnUyvyRow601;
        case eZrFCC_HDYC: return OverBgraOnUyvyRow709;
        case eZrFCC_YUY2: return OverBgraOnYuy2Row601;
        default: return nullptr;
    }
}

// A row of ARGB32 over one of RGB24.
void Over24(const uint8_t* _pOver, uint8_t* _pBase, size_t _nPixels, uint32_t _nWeight) {
    constexpr size_t kRun = 512;  // pixels that pass through the stack at a time
    alignas(64) uint8_t arrBgra[4 * kRun];
    for (size_t x = 0; x < _nPixels; x += kRun) {
        const size_t n = std::min(kRun, _nPixels - x);
        BgrToBgraRow(_pBase + 3 * x, arrBgra, n, 255);
        MixOverRow(_pOver + 4 * x, arrBgra, n, _nWeight);
        BgraToBgrRow(arrBgra, _pBase + 3 * x, n);
    }
}

// Rows of the clipped rectangles, in bands.
template <class Row>
void OverRows(const PICTURE& _over, const tagRECT& _overRect, const PICTURE& _base, const tagRECT& _baseRect,
              int32_t _nThreads, const Row& _row) {
    const ptrdiff_t nBaseLeft = ptrdiff_t{_baseRect.left} * PixelFormatBits(_base.fccType) / 8;
    const auto nPixels = static_cast<size_t>(RectWidth(_baseRect));
    const int32_t nRows = RectHeight(_baseRect), nWorkers = MixWorkers(_nThreads, nRows);
    const auto Rows = [&](int32_t _nFirst, int32_t _nEnd) {
        for (int32_t y = _nFirst; y < _nEnd; ++y)
            _row(_over.Packed().Row(_overRect.top + y) + 4 * ptrdiff_t{_overRect.left},
                 _base.Packed().Row(_baseRect.top + y) + nBaseLeft, nPixels);
    };
    if (nWorkers == 1)
        Rows(0, nRows);
    else
        ParallelRows(nRows, (nRows + nWorkers - 1) / nWorkers, Rows);
}

// The part of _rect that is inside of a picture, and what its conversion hangs on: v210 is cut between groups of six
// pixels, and chroma that is shared between lines is made of lines above and below.
tagRECT Inside(const tagRECT* _pRect, const ZR_VID_PROPS& _props) {
    tagRECT rect{0, 0, _props.nWidth, AbsHeight(_props.nHeight)};
    if (!_pRect) return rect;
    rect = {std::max(_pRect->left, 0), std::max(_pRect->top, 0), std::min(_pRect->right, rect.right),
            std::min(_pRect->bottom, rect.bottom)};
    if (_props.fccType == eZrFCC_v210) rect.left -= rect.left % 6;
    if (PixelFormatPlanar(_props.fccType) && rect.top < rect.bottom) {
        constexpr int32_t kGroup = PictureConverter::kGroupLines;
        rect.top = std::max(rect.top - rect.top % kGroup - kGroup, 0);
        rect.bottom = std::min(rect.bottom + 2 * kGroup - rect.bottom % kGroup, AbsHeight(_props.nHeight));
    }
    return rect;
}

}  // namespace

bool CanOverlay(eZrFCC _fccBase) {
    switch (_fccBase) {
        case eZrFCC_UYVY:
        case eZrFCC_HDYC:
        case eZrFCC_YUY2:
        case eZrFCC_RGB24:
        case eZrFCC_RGB32:
        case eZrFCC_ARGB32: return true;
        default: return false;
    }
}

HRESULT MixImage_Argb(uint8_t* _pBase, const ZR_VID_PROPS& _baseProps, const tagRECT* _pBaseRect, const uint8_t* _pOver,
                      const ZR_VID_PROPS& _overProps, const tagRECT* _pOverRect, const MIX_OPTIONS& _options) {
    PICTURE base, over;
    HRESULT hr = PictureOf(_pBase, _baseProps, base);
    if (Succeeded(hr)) hr = PictureOf(const_cast<uint8_t*>(_pOver), _overProps, over);
    if (Failed(hr)) return hr;
    const bool b24 = base.fccType == eZrFCC_RGB24;
    const OverRow row = ChooseRow(base.fccType);
    if (over.fccType != eZrFCC_ARGB32 || (!b24 && !row)) return E_INVALIDARG;
    tagRECT overRect, baseRect;
    hr = ClipRects(_overProps, _baseProps, overRect, baseRect, false, _pOverRect, _pBaseRect);
    if (hr != S_OK) return hr;

    const uint32_t nWeight = MixWeight(_options.dblAlpha, 256);
    if (nWeight == 0) return S_OK;
    OverRows(over, overRect, base, baseRect, _options.nThreads, [&](const uint8_t* _pO, uint8_t* _pB, size_t _n) {
        if (b24)
            Over24(_pO, _pB, _n, nWeight);
        else
            row(_pO, _pB, _n / 2, nWeight);
    });
    return S_OK;
}

HRESULT OverlayPicture(ScalingEngine& _engine, uint8_t* _pBase, const ZR_VID_PROPS& _baseProps,
                       const tagRECT* _pBaseRect, const uint8_t* _pOver, const ZR_VID_PROPS& _overProps,
                       const tagRECT* _pOverRect, const MIX_MASK* _pMask, const MIX_OPTIONS& _options) {
    if (!_pBase || !_pOver) return E_POINTER;
    if (!CanOverlay(_baseProps.fccType)) return E_INVALIDARG;
    if (SameFamily(_baseProps.fccType, _overProps.fccType))
        return MixImage_Mask8(_pBase, _baseProps, _pBaseRect, _pOver, _overProps, _pOverRect, _pMask, _options);
    if (_overProps.fccType == eZrFCC_ARGB32)
        return MixImage_Argb(_pBase, _baseProps, _pBaseRect, _pOver, _overProps, _pOverRect, _options);

    // What of the overlay is inside of it, in the base's format.
    PICTURE over;
    HRESULT hr = PictureOf(const_cast<uint8_t*>(_pOver), _overProps, over);
    if (Failed(hr)) return hr;
    const tagRECT part = Inside(_pOverRect, _overProps);
    if (part.left >= part.right || part.top >= part.bottom) return S_FALSE;
    ZR_VID_PROPS props = _overProps;
    props.eVideoFormat = eZrVF_Custom;
    props.fccType = _baseProps.fccType;
    props.nWidth = part.right - part.left;
    props.nHeight = part.bottom - part.top;
    if (PixelFormatBottomUp(props.fccType)) props.nHeight = -props.nHeight;
    if (HasChromaPairs(props.fccType) && props.nWidth % 2 != 0 && --props.nWidth == 0) return S_FALSE;
    props.nRowBytes = static_cast<int32_t>(
        ScratchRowBytes(static_cast<size_t>(props.nWidth) * static_cast<size_t>(PixelFormatBits(props.fccType)) / 8));
    uint8_t* pPart = Scratch(_engine.dstPlanes, PictureBytes(props));
    if (!pPart) return E_OUTOFMEMORY;
    hr = ColorConvert(_engine, _pOver, pPart, _overProps, props, &part, nullptr);
    if (hr != S_OK) return hr;
    tagRECT rect{0, 0, props.nWidth, AbsHeight(props.nHeight)};
    if (_pOverRect)
        rect = {_pOverRect->left - part.left, _pOverRect->top - part.top, _pOverRect->right - part.left,
                _pOverRect->bottom - part.top};
    return MixImage_Mask8(_pBase, _baseProps, _pBaseRect, pPart, props, &rect, _pMask, _options);
}

}  // namespace zr
