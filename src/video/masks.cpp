#include "video/masks.h"

#include <algorithm>
#include <cmath>

#include "media/pixel_format.h"
#include "platform/wide_text.h"
#include "video/image_convert.h"
#include "video/kernels/mix_row.h"
#include "video/kernels/packed_row.h"
#include "video/picture.h"
#include "video/picture_file.h"

namespace zr {

HRESULT MaskPlane::Resize(int32_t _nWidth, int32_t _nHeight) {
    if (_nWidth < 1 || _nWidth > kMaxPictureSide || _nHeight < 1 || _nHeight > kMaxPictureSide) return E_INVALIDARG;
    const int32_t nRow = (_nWidth + 7) & ~7;
    if (!Scratch(bytes, uint64_t{static_cast<uint32_t>(nRow)} * static_cast<uint32_t>(_nHeight))) {
        nWidth = nHeight = 0;
        nStride = 0;
        return E_OUTOFMEMORY;
    }
    nWidth = _nWidth;
    nHeight = _nHeight;
    nStride = nRow;
    return S_OK;
}

ZR_VID_PROPS MaskPlane::Props() const {
    ZR_VID_PROPS props;
    props.fccType = eZrFCC_RGB8;
    props.nWidth = nWidth;
    props.nHeight = -nHeight;  // top-down
    props.nRowBytes = static_cast<int32_t>(nStride);
    props.eInterlace = eZrI_Progressive;
    return props;
}

// ---- Shapes

namespace {

constexpr double kMargin = 8, kRadius = 32;

// What a shape covers of the line _y of the field: from centre - half to centre + half. Below 0: nothing.
double HalfWidth(eMaskShape _eShape, double _y) {
    const double dblHalf = kMaskField / 2.0 - kMargin;           // of the whole shape
    const double dblDown = std::abs(_y - kMaskField / 2.0);      // from the centre
    const double dblIntoCorner = dblDown - (dblHalf - kRadius);  // into the rows that have round corners
    if (dblDown > dblHalf || _eShape == eMaskShape::None) return -1;
    if (_eShape == eMaskShape::Circle) return std::sqrt(dblHalf * dblHalf - dblDown * dblDown);
    if (_eShape == eMaskShape::Rect || dblIntoCorner <= 0) return dblHalf;
    return dblHalf - kRadius + std::sqrt(kRadius * kRadius - dblIntoCorner * dblIntoCorner);
}

// Adds _fltShare of each pixel between two places of a row, by how much of the pixel lies between them. A pixel's share
// is added where it begins to be covered and taken off behind it: the row is summed up afterwards.
void AddSpan(float* _pSteps, double _dblLeft, double _dblRight, float _fltShare) {
    const auto AddEdge = [&](double _dblX, float _flt) {
        const auto nPixel = static_cast<size_t>(_dblX);
        const auto fltInside = static_cast<float>(1 - (_dblX - static_cast<double>(nPixel)));
        _pSteps[nPixel] += _flt * fltInside;
        _pSteps[nPixel + 1] += _flt * (1 - fltInside);
    };
    AddEdge(_dblLeft, _fltShare);
    AddEdge(_dblRight, -_fltShare);
}

}  // namespace

eMaskShape ReadMaskShape(std::u16string_view _text) {
    if (EqualNoCase(_text, u"circle")) return eMaskShape::Circle;
    if (EqualNoCase(_text, u"rect")) return eMaskShape::Rect;
    return EqualNoCase(_text, u"round_rect") ? eMaskShape::RoundRect : eMaskShape::None;
}

HRESULT DrawMaskShape(eMaskShape _eShape, MaskPlane& _plane, ScratchBuffer& _scratch) {
    constexpr int32_t kLines = 16;  // of a row, each with its exact span
    const double dblAcross = static_cast<double>(_plane.Width()) / kMaskField,
                 dblDown = static_cast<double>(kMaskField) / _plane.Height();
    const size_t nSteps = static_cast<size_t>(_plane.Width()) + 2;
    auto* pSteps = reinterpret_cast<float*>(Scratch(_scratch, nSteps * sizeof(float)));
    if (!pSteps) return E_OUTOFMEMORY;
    for (int32_t y = 0; y < _plane.Height(); ++y) {
        std::fill_n(pSteps, nSteps, 0.0f);
        for (int32_t i = 0; i < kLines; ++i) {
            const double dblHalf = HalfWidth(_eShape, (y + (i + 0.5) / kLines) * dblDown);
            if (dblHalf < 0) continue;
            AddSpan(pSteps, (kMaskField / 2.0 - dblHalf) * dblAcross, (kMaskField / 2.0 + dblHalf) * dblAcross,
                    255.0f / kLines);
        }
        float fltSum = 0;
        uint8_t* pRow = _plane.Row(y);
        for (int32_t x = 0; x < _plane.Width(); ++x) {
            fltSum += pSteps[x];
            pRow[x] = static_cast<uint8_t>(std::clamp(fltSum + 0.5f, 0.0f, 255.0f));
        }
    }
    return S_OK;
}

// ---- Files

namespace {

// Keeps the decoded picture until its luma is taken.
class MaskTarget final : public PictureTarget {
public:
    HRESULT Make(PICTURE_ROWS* _pRows) override {
        const size_t cbRow = static_cast<size_t>(_pRows->nWidth) * (_pRows->fccType == eZrFCC_RGB24 ? 3 : 4);
        if (!Scratch(bytes, uint64_t{cbRow} * static_cast<uint64_t>(_pRows->nHeight))) return E_OUTOFMEMORY;
        _pRows->pTop = bytes.Data();
        _pRows->nStride = static_cast<ptrdiff_t>(cbRow);
        rows = *_pRows;
        return S_OK;
    }
    PICTURE_ROWS rows;

private:
    ScratchBuffer bytes;
};

void LumaRow(const PICTURE_ROWS& _rows, int32_t _y, uint8_t* _pDst) {
    const int nBytes = _rows.fccType == eZrFCC_RGB24 ? 3 : 4;
    const uint8_t* p = _rows.pTop + _y * _rows.nStride;
    for (int32_t x = 0; x < _rows.nWidth; ++x, p += nBytes) {
        const int nLuma = (p[0] * 29 + p[1] * 150 + p[2] * 77 + 128) >> 8;  // weights of BT.601
        _pDst[x] = static_cast<uint8_t>(_rows.fccType == eZrFCC_ARGB32 ? Div255(nLuma * p[3]) : nLuma);
    }
}

}  // namespace

HRESULT LoadMaskFile(const char16_t* _szFileName, MaskPlane& _plane) {
    MaskTarget target;
    HRESULT hr = ReadPictureFile(_szFileName, &target);
    if (Succeeded(hr)) hr = _plane.Resize(target.rows.nWidth, target.rows.nHeight);
    if (Failed(hr)) return hr;
    for (int32_t y = 0; y < _plane.Height(); ++y) LumaRow(target.rows, y, _plane.Row(y));
    return S_OK;
}

// ---- Pictures

HRESULT ExtractMask(const uint8_t* _pSrc, const ZR_VID_PROPS& _srcProps, const tagRECT* _pRect, MaskPlane& _plane) {
    PICTURE src;
    HRESULT hr = PictureOf(const_cast<uint8_t*>(_pSrc), _srcProps, src);
    if (Failed(hr)) return hr;
    const tagRECT rect = _pRect ? *_pRect : tagRECT{0, 0, src.Width(), src.Height()};
    if (src.fccType != eZrFCC_ARGB32 || rect.left < 0 || rect.top < 0 || rect.right > src.Width() ||
        rect.bottom > src.Height() || rect.left >= rect.right || rect.top >= rect.bottom)
        return E_INVALIDARG;
    hr = _plane.Resize(rect.right - rect.left, rect.bottom - rect.top);
    if (Failed(hr)) return hr;
    for (int32_t y = 0; y < _plane.Height(); ++y)
        BgraToAlphaRow(src.Packed().Row(rect.top + y) + 4 * ptrdiff_t{rect.left}, _plane.Row(y),
                       static_cast<size_t>(_plane.Width()));
    return S_OK;
}

HRESULT ScaleMaskRect(ScalingEngine& _engine, const uint8_t* _pSrc, const ZR_VID_PROPS& _srcProps,
                      const tagRECT* _pSrcRect, MaskPlane& _dst, const tagRECT* _pDstRect, eInterpolation _eQuality) {
    if (_srcProps.fccType != eZrFCC_RGB8) return E_INVALIDARG;
    const HRESULT hr =
        Img_Convert(_engine, _pSrc, _dst.Row(0), _srcProps, _dst.Props(), false, _pSrcRect, _pDstRect, _eQuality, 0, 0);
    if (hr != S_OK) return hr;
    // The vertical pass makes 254 of 255, by which the base would shine through what is solid.
    for (int32_t y = 0; y < _dst.Height(); ++y) {
        uint8_t* pRow = _dst.Row(y);
        for (int32_t x = 0; x < _dst.Width(); ++x) pRow[x] = static_cast<uint8_t>(pRow[x] + (pRow[x] == 254));
    }
    return S_OK;
}

HRESULT ScaleMask(ScalingEngine& _engine, const MaskPlane& _src, int32_t _nWidth, int32_t _nHeight,
                  eInterpolation _eQuality, MaskPlane& _dst) {
    const HRESULT hr = _dst.Resize(_nWidth, _nHeight);
    if (Failed(hr)) return hr;
    return ScaleMaskRect(_engine, _src.Row(0), _src.Props(), nullptr, _dst, nullptr, _eQuality);
}

HRESULT MultiplyMask(MaskPlane& _plane, const MIX_MASK& _mask) {
    const bool bCovers = _mask.pMask && _mask.nLeft >= 0 && _mask.nTop >= 0 &&
                         _mask.nLeft <= _mask.nWidth - _plane.Width() && _mask.nTop <= _mask.nHeight - _plane.Height();
    if (!bCovers) return E_INVALIDARG;
    for (int32_t y = 0; y < _plane.Height(); ++y) {
        const uint8_t* pMask = _mask.pMask + (_mask.nTop + y) * _mask.nStride + _mask.nLeft;
        uint8_t* pRow = _plane.Row(y);
        for (int32_t x = 0; x < _plane.Width(); ++x) pRow[x] = static_cast<uint8_t>(Div255(pRow[x] * pMask[x]));
    }
    return S_OK;
}

}  // namespace zr
