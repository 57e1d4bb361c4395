#include "video/picture.h"

#include "video/kernels/packed_row.h"

namespace zr {

namespace {

// Chroma planes behind the luma plane.
struct CHROMA_LAYOUT {
    int32_t nPlanes;      // 1: pairs Cb, Cr; 2: one for each
    int32_t nWidthShift;  // chroma samples of a row: width >> shift
    int32_t nHeightShift;
    bool bCrFirst;
};

bool ChromaLayout(eZrFCC _fccType, CHROMA_LAYOUT& _layout) {
    switch (static_cast<uint32_t>(_fccType)) {
        case eZrFCC_I420: _layout = {2, 1, 1, false}; return true;
        case eZrFCC_YV12: _layout = {2, 1, 1, true}; return true;
        case eZrFCC_NV12: _layout = {1, 1, 1, false}; return true;
        case static_cast<uint32_t>(kFCC_Y422): _layout = {2, 1, 0, false}; return true;
        case static_cast<uint32_t>(kFCC_Y444): _layout = {2, 0, 0, false}; return true;
        default: return false;
    }
}

// What a row holds, without the padding that makes rows a multiple of some bytes; v210 is copied with its padding.
int32_t UsedRowBytes(const ZR_VID_PROPS& _props, bool _bPlanar) {
    if (_bPlanar) return _props.nWidth;
    if (_props.fccType == eZrFCC_v210) return MinRowBytes(_props.fccType, _props.nWidth);
    return (_props.nWidth * PixelFormatBits(_props.fccType) + 7) / 8;
}

void AddChroma(uint8_t* _pBehindLuma, ptrdiff_t _nLumaStride, const CHROMA_LAYOUT& _layout, PICTURE& _picture) {
    const PLANE& luma = _picture.arrPlanes[0];
    PLANE chroma;
    chroma.nWidth = _layout.nPlanes == 1 ? luma.nWidth : luma.nWidth >> _layout.nWidthShift;
    chroma.nHeight = luma.nHeight >> _layout.nHeightShift;
    chroma.nStride = _layout.nPlanes == 1 ? _nLumaStride : _nLumaStride >> _layout.nWidthShift;
    chroma.pTop = _pBehindLuma;
    _picture.nPlanes = 1 + _layout.nPlanes;
    _picture.arrPlanes[1] = _picture.arrPlanes[2] = chroma;
    if (_layout.nPlanes == 1) return;
    _picture.arrPlanes[_layout.bCrFirst ? 1 : 2].pTop += chroma.nStride * chroma.nHeight;
}

}  // namespace

eZrFCC FamilyOf(eZrFCC _fccType) {
    if (_fccType == eZrFCC_HDYC) return eZrFCC_UYVY;
    return _fccType == eZrFCC_RGB32 ? eZrFCC_ARGB32 : _fccType;
}

bool HasChromaPairs(eZrFCC _fccType) {
    switch (static_cast<uint32_t>(_fccType)) {
        case eZrFCC_UYVY:
        case eZrFCC_HDYC:
        case eZrFCC_YUY2:
        case eZrFCC_YVYU:
        case eZrFCC_v210:
        case eZrFCC_I420:
        case eZrFCC_YV12:
        case eZrFCC_NV12:
        case static_cast<uint32_t>(kFCC_Y422): return true;
        default: return false;
    }
}

HRESULT PictureOf(uint8_t* _pBuffer, const ZR_VID_PROPS& _props, PICTURE& _picture) {
    _picture = {};
    if (!_pBuffer) return E_POINTER;
    const int32_t nHeight = AbsHeight(_props.nHeight), nLeastRow = MinRowBytes(_props.fccType, _props.nWidth);
    if (_props.nWidth < 1 || _props.nWidth > kMaxPictureSide || nHeight < 1 || nHeight > kMaxPictureSide)
        return E_INVALIDARG;
    if (_props.nRowBytes < 0 || nLeastRow < 1) return E_INVALIDARG;
    CHROMA_LAYOUT layout;
    const bool bPlanar = ChromaLayout(_props.fccType, layout);
    if (HasChromaPairs(_props.fccType) && _props.nWidth % 2 != 0) return E_INVALIDARG;
    if (bPlanar && layout.nHeightShift > 0 && nHeight % 2 != 0) return E_INVALIDARG;

    if (_props.nRowBytes != 0 && _props.nRowBytes < UsedRowBytes(_props, bPlanar)) return E_INVALIDARG;

    const ptrdiff_t nStride = _props.nRowBytes != 0 ? _props.nRowBytes : nLeastRow;
    _picture.fccType = _props.fccType;
    _picture.nPlanes = 1;
    _picture.bBottomUp = PixelFormatBottomUp(_props.fccType) && _props.nHeight > 0;
    PLANE& plane = _picture.arrPlanes[0];
    plane = {_pBuffer, nStride, _props.nWidth, nHeight};
    if (_picture.bBottomUp) {
        plane.pTop += (nHeight - 1) * nStride;
        plane.nStride = -nStride;
    }
    if (bPlanar) AddChroma(_pBuffer + nStride * nHeight, nStride, layout, _picture);
    return S_OK;
}

HRESULT PictureOfPlanes(const ZRF_VID_PTR& _planes, const ZR_VID_PROPS& _props, PICTURE& _picture) {
    const HRESULT hr = PictureOf(reinterpret_cast<uint8_t*>(_planes.lpVideoPlanes[0]), _props, _picture);
    if (Failed(hr)) return hr;
    for (int32_t n = 0; n < _picture.nPlanes; ++n) {
        PLANE& plane = _picture.arrPlanes[n];
        plane.pTop = reinterpret_cast<uint8_t*>(_planes.lpVideoPlanes[n]);
        plane.nStride = _planes.cbVideoRowBytes[n];
        if (!plane.pTop) return E_POINTER;
        const auto cbStride = static_cast<size_t>(plane.nStride < 0 ? -plane.nStride : plane.nStride);
        if (cbStride < SampleBytes(_picture, n)) return E_INVALIDARG;
    }
    return S_OK;
}

size_t PlaneRowBytes(const PICTURE& _picture, int32_t _nPlane) {
    const auto nWidth = static_cast<size_t>(_picture.arrPlanes[_nPlane].nWidth);
    if (_picture.IsPlanar()) return nWidth;
    if (_picture.fccType == eZrFCC_v210) return (nWidth + 47) / 48 * 128;
    return (nWidth * static_cast<size_t>(PixelFormatBits(_picture.fccType)) + 7) / 8;
}

size_t SampleBytes(const PICTURE& _picture, int32_t _nPlane) {
    if (_picture.fccType == eZrFCC_v210) return V210GroupBytes(static_cast<size_t>(_picture.Width()));
    return PlaneRowBytes(_picture, _nPlane);
}

PICTURE CutPicture(const PICTURE& _whole, const tagRECT& _rect) {
    PICTURE part = _whole;
    part.nFirstLine += _rect.top;
    for (int32_t n = 0; n < _whole.nPlanes; ++n) {
        const PLANE& plane = _whole.arrPlanes[n];
        const int32_t nAcross = n > 0 && _whole.nPlanes == 3 && _whole.fccType != kFCC_Y444 ? 2 : 1;
        const int32_t nDown = n > 0 && Is420(_whole.fccType) ? 2 : 1;
        const int32_t nPhase = _whole.nFirstLine % nDown;  // lines of the first chroma line that are cut off already
        const int32_t nTop = (_rect.top + nPhase) / nDown, nBottom = (_rect.bottom + nPhase + nDown - 1) / nDown;
        const int32_t nWidth = _rect.right - _rect.left;
        ptrdiff_t nLeftBytes = _rect.left / nAcross;
        if (_whole.fccType == eZrFCC_v210)
            nLeftBytes = _rect.left / 6 * 16;
        else if (!_whole.IsPlanar())
            nLeftBytes = ptrdiff_t{_rect.left} * PixelFormatBits(_whole.fccType) / 8;
        part.arrPlanes[n] = {plane.Row(nTop) + nLeftBytes, plane.nStride, nWidth / nAcross, nBottom - nTop};
    }
    return part;
}

bool CanCutPicture(const PICTURE& _whole, const tagRECT& _rect) {
    if (_whole.fccType != eZrFCC_v210) return true;
    return _rect.left % 6 == 0 && (_rect.right % 6 == 0 || _rect.right == _whole.Width());
}

}  // namespace zr
