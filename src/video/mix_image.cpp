#include "video/mix_image.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "media/vid_props.h"
#include "platform/thread_pool.h"
#include "video/kernels/mix_row.h"
#include "video/picture.h"
#include "video/scale_rects.h"

namespace zr {

namespace {

size_t BytesPerPixel(eZrFCC _fccType) { return static_cast<size_t>(PixelFormatBits(_fccType)) / 8; }

// ---- The fade

bool CanFade(eZrFCC _fccType) {
    switch (_fccType) {
        case eZrFCC_UYVY:
        case eZrFCC_HDYC:
        case eZrFCC_YUY2:
        case eZrFCC_YVYU:
        case eZrFCC_RGB24:
        case eZrFCC_RGB32:
        case eZrFCC_ARGB32: return true;
        default: return false;
    }
}

}  // namespace

uint32_t MixWeight(double _dblAlpha, int32_t _nUnit) {
    const double dblAlpha = std::isnan(_dblAlpha) ? 0 : std::clamp(_dblAlpha, 0.0, 1.0);
    return static_cast<uint32_t>(std::lround(dblAlpha * _nUnit));
}

HRESULT MixImage(uint8_t* _pBase, const ZR_VID_PROPS& _baseProps, const uint8_t* _pOver, const ZR_VID_PROPS& _overProps,
                 double _dblAlpha) {
    if (!_pBase || !_pOver) return E_POINTER;
    if (!PropsValid(&_baseProps, true) || !PropsValid(&_overProps, true)) return kMixBadRecord;
    PICTURE base, over;
    if (!SameFamily(_baseProps.fccType, _overProps.fccType) || !CanFade(_overProps.fccType)) return kMixNotComparable;
    if (Failed(PictureOf(_pBase, _baseProps, base)) ||
        Failed(PictureOf(const_cast<uint8_t*>(_pOver), _overProps, over)))
        return kMixBadRecord;

    const uint32_t nWeight = MixWeight(_dblAlpha, 128);
    const auto nPixels = static_cast<size_t>(std::min(base.Width(), over.Width()));
    const size_t cbRow = nPixels * BytesPerPixel(over.fccType);
    for (int32_t y = 0; y < std::min(base.Height(), over.Height()); ++y) {
        const uint8_t* pOver = over.Packed().Row(y);
        uint8_t* pBase = base.Packed().Row(y);
        if (over.fccType == eZrFCC_ARGB32) {
            FadeOverRow128(pOver, pBase, nPixels, nWeight);
        } else if (nWeight == 128) {
            std::memcpy(pBase, pOver, cbRow);
        } else {
            Fade128Row(pOver, pBase, cbRow, nWeight);
        }
    }
    return S_OK;
}

// ---- The mix with a mask

namespace {

// One row; what it does not need it does not look at.
using MixRow = void (*)(const uint8_t* _pOver, const uint8_t* _pMask, uint8_t* _pBase, size_t _nPixels, uint32_t _nA);

template <size_t kBytesPerPixel>
void PlainRow(const uint8_t* _pOver, const uint8_t*, uint8_t* _pBase, size_t _nPixels, uint32_t _nA) {
    if (_nA >= 256)
        std::memcpy(_pBase, _pOver, _nPixels * kBytesPerPixel);
    else
        MixPlainRow(_pOver, _pBase, _nPixels * kBytesPerPixel, _nA);
}
void OverRow(const uint8_t* _pOver, const uint8_t*, uint8_t* _pBase, size_t _nPixels, uint32_t _nA) {
    MixOverRow(_pOver, _pBase, _nPixels, _nA);
}
template <eLumaAt kLumaAt>
void OffsetRow(const uint8_t* _pOver, const uint8_t* _pMask, uint8_t* _pBase, size_t _nPixels, uint32_t _nA) {
    MixMaskOffsetRow422(_pOver, _pMask, _pBase, _nPixels, _nA, kLumaAt);
}

// Null: a format that cannot be mixed.
MixRow ChooseRow(eZrFCC _fccType, bool _bMask, bool _bPremul) {
    switch (_fccType) {
        case eZrFCC_ARGB32: return OverRow;
        case eZrFCC_RGB32: return _bMask ? MixMaskPremulRow32 : PlainRow<4>;
        case eZrFCC_RGB24: return _bMask ? MixMaskPremulRow24 : PlainRow<3>;
        case eZrFCC_UYVY:
        case eZrFCC_HDYC:
            if (!_bMask) return PlainRow<2>;
            return _bPremul ? OffsetRow<eLumaAt::Odd> : MixMaskPlainRow422;
        case eZrFCC_YUY2:
            if (!_bMask) return PlainRow<2>;
            return _bPremul ? OffsetRow<eLumaAt::Even> : MixMaskPlainRow422;
        default: return nullptr;
    }
}

bool IsEmpty(const ZR_VID_PROPS& _props) { return _props.nWidth < 1 || _props.nHeight == 0; }

// The first byte of the mask on the corner of what is left of the base rectangle, null when it does not cover that.
const uint8_t* MaskCorner(const MIX_MASK& _mask, const tagRECT& _baseIn, const tagRECT& _baseRect) {
    const int64_t nLeft = int64_t{_mask.nLeft} + _baseRect.left - _baseIn.left;
    const int64_t nTop = int64_t{_mask.nTop} + _baseRect.top - _baseIn.top;
    const bool bCovers = nLeft >= 0 && nTop >= 0 && nLeft + RectWidth(_baseRect) <= _mask.nWidth &&
                         nTop + RectHeight(_baseRect) <= _mask.nHeight && std::abs(_mask.nStride) >= _mask.nWidth;
    return _mask.pMask && bCovers ? _mask.pMask + nTop * _mask.nStride + nLeft : nullptr;
}

}  // namespace

int32_t MixWorkers(int32_t _nThreads, int32_t _nRows) { return _nRows > 240 ? std::clamp(_nThreads, 1, _nRows) : 1; }

HRESULT MixImage_Mask8(uint8_t* _pBase, const ZR_VID_PROPS& _baseProps, const tagRECT* _pBaseRect,
                       const uint8_t* _pOver, const ZR_VID_PROPS& _overProps, const tagRECT* _pOverRect,
                       const MIX_MASK* _pMask, const MIX_OPTIONS& _options) {
    if (!_pBase || !_pOver) return E_POINTER;
    const MixRow row = ChooseRow(_overProps.fccType, _pMask != nullptr, _options.bPremulOverlay);
    if (!row || !SameFamily(_baseProps.fccType, _overProps.fccType)) return E_INVALIDARG;
    if (IsEmpty(_baseProps) || IsEmpty(_overProps)) return S_FALSE;
    PICTURE base, over;
    HRESULT hr = PictureOf(_pBase, _baseProps, base);
    if (Succeeded(hr)) hr = PictureOf(const_cast<uint8_t*>(_pOver), _overProps, over);
    if (Failed(hr)) return hr;

    tagRECT overRect, baseRect;
    hr = ClipRects(_overProps, _baseProps, overRect, baseRect, false, _pOverRect, _pBaseRect);
    if (hr != S_OK) return hr;
    const uint8_t* pMask = nullptr;
    if (_pMask && over.fccType != eZrFCC_ARGB32) {
        pMask = MaskCorner(*_pMask, _pBaseRect ? *_pBaseRect : tagRECT{}, baseRect);
        if (!pMask) return E_INVALIDARG;
    }

    const uint32_t nWeight = MixWeight(_options.dblAlpha, 256);
    const size_t nBytes = BytesPerPixel(over.fccType);
    auto nPixels = static_cast<size_t>(RectWidth(baseRect));
    int32_t nRows = RectHeight(baseRect);
    const int32_t nWorkers = MixWorkers(_options.nThreads, nRows);
    const auto cbRow = static_cast<ptrdiff_t>(nPixels * nBytes);
    if (nWorkers == 1 && !pMask && base.Packed().nStride == cbRow && over.Packed().nStride == cbRow) {
        nPixels *= static_cast<size_t>(nRows);  // rows without a gap are one
        nRows = 1;
    }
    const auto MixRows = [&](int32_t _nFirst, int32_t _nEnd) {
        for (int32_t y = _nFirst; y < _nEnd; ++y)
            row(over.Packed().Row(overRect.top + y) + static_cast<size_t>(overRect.left) * nBytes,
                pMask ? pMask + y * _pMask->nStride : nullptr,
                base.Packed().Row(baseRect.top + y) + static_cast<size_t>(baseRect.left) * nBytes, nPixels, nWeight);
    };
    if (nWorkers == 1)
        MixRows(0, nRows);
    else
        ParallelRows(nRows, (nRows + nWorkers - 1) / nWorkers, MixRows);
    return S_OK;
}

}  // namespace zr
