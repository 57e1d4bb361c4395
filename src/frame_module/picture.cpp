#include "frame_module/picture.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <numeric>
#include <utility>

#include "media/format_table.h"
#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "platform/module_info.h"

namespace zr {

namespace {

constexpr int32_t kMaxPlanes = 4;

// How the samples of one plane lie.
struct PLANE_LAYOUT {
    int32_t nShiftX = 0;       // the plane has 1 / 2^n of the picture's columns
    int32_t nShiftY = 0;       // and lines
    int32_t nGroupPixels = 1;  // that many samples are
    int32_t nGroupBytes = 0;   // that many bytes; 0: unknown
};

struct FORMAT_LAYOUT {
    int32_t nPlanes = 1;
    PLANE_LAYOUT arrPlanes[3];
    int32_t nAlignLeft = 1;  // a cut starts at a multiple of that many pixels
    int32_t nAlignX = 1;     // and ends at one of that many
    int32_t nAlignY = 1;
};

FORMAT_LAYOUT PackedLayout(int32_t _nGroupPixels, int32_t _nGroupBytes, int32_t _nAlignX) {
    return {1, {{0, 0, _nGroupPixels, _nGroupBytes}}, std::max(_nGroupPixels, _nAlignX), _nAlignX, 1};
}

FORMAT_LAYOUT PlanarLayout(int32_t _nShiftX, int32_t _nShiftY) {
    const PLANE_LAYOUT chroma{_nShiftX, _nShiftY, 1, 1};
    return {3, {{0, 0, 1, 1}, chroma, chroma}, 2, 2, 1 << _nShiftY};
}

FORMAT_LAYOUT LayoutOf(eZrFCC _fccType) {
    switch (static_cast<uint32_t>(_fccType)) {
        case eZrFCC_UYVY:
        case eZrFCC_HDYC:
        case eZrFCC_YUY2:
        case eZrFCC_YVYU: return PackedLayout(2, 4, 2);
        case eZrFCC_v210: return PackedLayout(6, 16, 2);
        case eZrFCC_RGB8: return PackedLayout(1, 1, 1);
        case kFCC_RGB565:
        case kFCC_RGB555:
        case kFCC_ARGB1555:
        case kFCC_ARGB4444: return PackedLayout(1, 2, 1);
        case eZrFCC_RGB24: return PackedLayout(1, 3, 1);
        case kFCC_IYU2: return PackedLayout(1, 3, 2);
        case kFCC_r210:
        case eZrFCC_RGB32:
        case eZrFCC_ARGB32: return PackedLayout(1, 4, 1);
        case eZrFCC_I420:
        case eZrFCC_YV12: return PlanarLayout(1, 1);
        case eZrFCC_NV12: return {2, {{0, 0, 1, 1}, {1, 1, 1, 2}}, 2, 2, 2};
        case kFCC_Y422: return PlanarLayout(1, 0);
        case kFCC_Y444: return PlanarLayout(0, 0);
        default: return {};
    }
}

int64_t BytesAt(const PLANE_LAYOUT& _plane, int64_t _nSample) {
    return _nSample / _plane.nGroupPixels * _plane.nGroupBytes;
}

// A part of a group at the end counts whole.
int64_t RowBytesOf(const PLANE_LAYOUT& _plane, int32_t _nWidth) {
    return BytesAt(_plane, int64_t{_nWidth >> _plane.nShiftX} + _plane.nGroupPixels - 1);
}

bool StoredBottomUp(const ZR_VID_PROPS& _props) { return _props.nHeight > 0 && PixelFormatBottomUp(_props.fccType); }

uint8_t* Pointer(int64_t _lp) { return reinterpret_cast<uint8_t*>(_lp); }
int64_t Address(const uint8_t* _p) { return reinterpret_cast<int64_t>(_p); }

struct CUT {
    int64_t nLeft, nTop, nRight, nBottom;  // lines from the top of the picture
    int32_t nField;                        // 0 both, 1, 2
};

// The rectangle brought onto the format's grid. E_INVALIDARG: it is empty or leaves the picture.
HRESULT CutOf(const ZR_VID_PROPS& _props, const FORMAT_LAYOUT& _layout, int32_t _nField, const tagRECT* _pRect,
              CUT* _pCut) {
    const int32_t nLines = AbsHeight(_props.nHeight);
    CUT cut{0, 0, _props.nWidth, nLines, std::max(_nField, 0)};
    if (cut.nField > 2) return E_INVALIDARG;
    if (_pRect) {
        const tagRECT& rect = *_pRect;
        if (rect.left < 0 || rect.top < 0 || rect.right > _props.nWidth || rect.bottom > nLines) return E_INVALIDARG;
        if (rect.left >= rect.right || rect.top >= rect.bottom) return E_INVALIDARG;
        const bool bAllColumns = rect.left == 0 && rect.right == _props.nWidth;
        const bool bAllLines = rect.top == 0 && rect.bottom == nLines;
        if (!bAllColumns) {
            cut.nLeft = rect.left - rect.left % _layout.nAlignLeft;
            cut.nRight = rect.right - rect.right % _layout.nAlignX;
        }
        if (!bAllLines) {
            cut.nTop = rect.top - rect.top % _layout.nAlignY;
            cut.nBottom = rect.bottom - rect.bottom % _layout.nAlignY;
        }
        if (cut.nLeft >= cut.nRight || cut.nTop >= cut.nBottom) return E_INVALIDARG;
    }
    if (cut.nField > 0 && (cut.nBottom - cut.nTop) / 2 < _layout.nAlignY) return E_INVALIDARG;
    *_pCut = cut;
    return S_OK;
}

// The display aspect of a rectangle, so that pixels keep their shape.
void CutAspect(const CUT& _cut, ZR_VID_PROPS* _pProps) {
    if (_pProps->nAspectX <= 0 || _pProps->nAspectY <= 0) return;
    int64_t nX = _pProps->nAspectX * (_cut.nRight - _cut.nLeft) * AbsHeight(_pProps->nHeight);
    int64_t nY = _pProps->nAspectY * (_cut.nBottom - _cut.nTop) * _pProps->nWidth;
    const int64_t nCommon = std::gcd(nX, nY);
    nX /= nCommon;
    nY /= nCommon;
    while (std::max(nX, nY) > std::numeric_limits<int16_t>::max()) {
        nX = (nX + 1) / 2;
        nY = (nY + 1) / 2;
    }
    _pProps->nAspectX = static_cast<int16_t>(nX);
    _pProps->nAspectY = static_cast<int16_t>(nY);
}

// A window is no named format any more; what the format said about it is written out.
void CutRecord(const CUT& _cut, const FORMAT_LAYOUT& _layout, ZR_VID_PROPS* _pProps) {
    const int32_t nClass = InterlaceClass(_pProps);
    if (_pProps->dblRate == 0) _pProps->dblRate = FormatRate(_pProps->eVideoFormat);
    if (nClass != 0) {
        // Cut from an odd line on, the first line belongs to the other field.
        const bool bFirst = (nClass > 0) == (_cut.nTop % 2 == 0);
        _pProps->eInterlace = bFirst ? eZrI_Field1First : eZrI_Field2First;
    }
    CutAspect(_cut, _pProps);
    int64_t nLines = _cut.nBottom - _cut.nTop;
    if (_cut.nField > 0) {
        nLines = nLines / 2 / _layout.nAlignY * _layout.nAlignY;
        _pProps->eInterlace = eZrI_Progressive;
    }
    _pProps->eVideoFormat = eZrVF_Custom;
    _pProps->nWidth = static_cast<int32_t>(_cut.nRight - _cut.nLeft);
    _pProps->nHeight = static_cast<int32_t>(_pProps->nHeight < 0 ? -nLines : nLines);
}

// The same cut out of every plane. Addresses are those of upper lines and strides are signed, so the row order is no
// matter.
void CutPlanes(const CUT& _cut, const FORMAT_LAYOUT& _layout, const ZR_VID_PROPS& _cutProps, ZRF_VID_PTR* _pPlanes) {
    for (int32_t i = 0; i < kMaxPlanes; ++i) {
        if (_pPlanes->lpVideoPlanes[i] == 0) continue;
        // Further planes of a packed format are further views of the same size.
        const PLANE_LAYOUT& plane = _layout.arrPlanes[std::min(i, _layout.nPlanes - 1)];
        int64_t nStride = _pPlanes->cbVideoRowBytes[i];
        int64_t nFirst = _cut.nTop >> plane.nShiftY;
        if (_cut.nField > 0) nFirst += _cut.nField - 1;
        _pPlanes->lpVideoPlanes[i] += nFirst * nStride + BytesAt(plane, _cut.nLeft >> plane.nShiftX);
        if (_cut.nField > 0) nStride *= 2;
        _pPlanes->cbVideoRowBytes[i] = static_cast<int32_t>(nStride);
        _pPlanes->szVideoPlanes[i] = {_cutProps.nWidth >> plane.nShiftX, AbsHeight(_cutProps.nHeight) >> plane.nShiftY};
    }
}

// The planes of a record over a block at address _lp.
ZRF_VID_PTR PlanesAt(const ZR_VID_PROPS& _props, int64_t _lp) {
    ZRF_VID_PTR planes;
    const FORMAT_LAYOUT layout = LayoutOf(_props.fccType);
    const int32_t nLines = AbsHeight(_props.nHeight);
    for (int32_t i = 0; i < layout.nPlanes; ++i) {
        const PLANE_LAYOUT& plane = layout.arrPlanes[i];
        const int32_t nStride = i == 0 ? _props.nRowBytes : (_props.nRowBytes >> plane.nShiftX) * plane.nGroupBytes;
        planes.lpVideoPlanes[i] = _lp;
        planes.szVideoPlanes[i] = {_props.nWidth >> plane.nShiftX, nLines >> plane.nShiftY};
        planes.cbVideoRowBytes[i] = nStride;
        _lp += int64_t{nStride} * planes.szVideoPlanes[i].cy;
    }
    if (_props.fccType == eZrFCC_YV12) std::swap(planes.lpVideoPlanes[1], planes.lpVideoPlanes[2]);
    if (StoredBottomUp(_props)) {
        planes.lpVideoPlanes[0] += int64_t{nLines - 1} * _props.nRowBytes;
        planes.cbVideoRowBytes[0] = -_props.nRowBytes;
    }
    return planes;
}

// The same planes so many bytes further on.
ZRF_VID_PTR Moved(ZRF_VID_PTR _planes, int64_t _nBytes) {
    for (int32_t i = 0; i < kMaxPlanes; ++i)
        if (_planes.cbVideoRowBytes[i] != 0) _planes.lpVideoPlanes[i] += _nBytes;
    return _planes;
}

// PictureDescribe over memory that has no record yet.
HRESULT DescribeMemory(const ZR_VID_PROPS& _new, uint32_t _cbBits, ZR_VID_PROPS* _pProps) {
    ZR_VID_PROPS props = _new;
    const bool bNoPicture = props.eVideoFormat == eZrVF_Disabled ||
                            (props.eVideoFormat == eZrVF_Custom && props.nWidth == 0 && props.nHeight == 0);
    if (bNoPicture) {
        props.nWidth = props.nHeight = props.nRowBytes = 0;
    } else {
        const HRESULT hr = CompleteVidProps(&props);
        if (Failed(hr)) return hr;
        if (PictureBytes(props) > _cbBits) return E_INVALIDARG;
    }
    *_pProps = props;
    return S_OK;
}

}  // namespace

int64_t NewVideoID() {
    static std::atomic<int64_t> nNext{(static_cast<int64_t>(ProcessId()) << 32) + 1};
    return nNext.fetch_add(1, std::memory_order_relaxed);
}

HRESULT PictureAlloc(uint64_t _cb, Picture* _pPicture) {
    if (_cb == 0 || _cb > BufferPool::kMaxBytes) return E_INVALIDARG;
    BufferPtr pBuffer = BufferPool::Shared().Get(_cb);
    if (!pBuffer) return E_OUTOFMEMORY;
    _pPicture->Reset();
    _pPicture->pBits = pBuffer->Data();
    _pPicture->cbBits = static_cast<uint32_t>(_cb);
    _pPicture->pBuffer = std::move(pBuffer);
    _pPicture->llVideoID = NewVideoID();
    return S_OK;
}

HRESULT CompleteVidProps(ZR_VID_PROPS* _pProps) {
    ZR_VID_PROPS props = *_pProps;
    if (props.nWidth == 0 || props.nHeight == 0 || props.fccType == eZrFCC_Default) NormalizeProps(&props, false);
    if (props.nWidth < 1 || props.nHeight == 0 || props.fccType == eZrFCC_Default) return E_INVALIDARG;
    if (!PixelFormatBottomUp(props.fccType)) props.nHeight = AbsHeight(props.nHeight);
    if (props.nRowBytes == 0) props.nRowBytes = MinRowBytes(props.fccType, props.nWidth);
    if (props.nRowBytes < 1 || props.nRowBytes < PlaneRowBytes(props, 0)) return E_INVALIDARG;
    if (PictureBytes(props) > BufferPool::kMaxBytes) return E_INVALIDARG;
    *_pProps = props;
    return S_OK;
}

HRESULT PictureDescribe(const ZR_VID_PROPS& _new, ZR_VID_PROPS* _pProps, Picture* _pPicture) {
    if (_pPicture->Empty()) {
        *_pProps = _new;
        return S_OK;
    }
    if (_pProps->nWidth == 0) return DescribeMemory(_new, _pPicture->cbBits, _pProps);

    ZR_VID_PROPS props = _new;
    const int32_t nLines = AbsHeight(_pProps->nHeight);
    if (props.fccType == eZrFCC_Default) props.fccType = _pProps->fccType;
    if (props.nWidth == 0) props.nWidth = _pProps->nWidth;
    if (props.nHeight == 0) props.nHeight = _pProps->nHeight;
    if (!PixelFormatBottomUp(props.fccType)) props.nHeight = AbsHeight(props.nHeight);
    if (props.nRowBytes == 0) props.nRowBytes = _pProps->nRowBytes;
    if (!SamePixelLayout(props.fccType, _pProps->fccType) || props.nRowBytes != _pProps->nRowBytes) return E_INVALIDARG;
    if (props.nWidth < 0 || props.nWidth > _pProps->nWidth || AbsHeight(props.nHeight) > nLines) return E_INVALIDARG;
    if (props.nWidth < _pProps->nWidth || AbsHeight(props.nHeight) < nLines) {
        const tagRECT rect{0, 0, props.nWidth, AbsHeight(props.nHeight)};
        ZR_VID_PROPS cutProps;
        Picture cut;
        const HRESULT hr = PictureCut(*_pProps, *_pPicture, 0, &rect, &cutProps, &cut);
        if (Failed(hr)) return hr;
        const int32_t nCutLines = AbsHeight(cutProps.nHeight);
        props.nWidth = cutProps.nWidth;
        props.nHeight = props.nHeight < 0 ? -nCutLines : nCutLines;
        *_pPicture = std::move(cut);
    }
    *_pProps = props;
    return S_OK;
}

int32_t PlaneCount(eZrFCC _fccType) { return LayoutOf(_fccType).nPlanes; }

int64_t PlaneRowBytes(const ZR_VID_PROPS& _props, int32_t _nPlane) {
    const FORMAT_LAYOUT layout = LayoutOf(_props.fccType);
    const int32_t nPlane = layout.nPlanes == 1 ? 0 : _nPlane;
    return nPlane < layout.nPlanes ? RowBytesOf(layout.arrPlanes[nPlane], _props.nWidth) : 0;
}

ZRF_VID_PTR PicturePlanes(const ZR_VID_PROPS& _props, const Picture& _picture) {
    if (_picture.bHasPlanes) return _picture.planes;
    if (_picture.Empty() || _props.nWidth == 0) return {};
    return PlanesAt(_props, Address(_picture.pBits));
}

HRESULT PictureSetPlanes(const ZR_VID_PROPS& _props, const ZRF_VID_PTR& _planes, Picture* _pPicture) {
    if (_pPicture->Empty() || _props.nWidth == 0) return E_INVALIDARG;
    if (PlaneRowBytes(_props, 0) == 0) return ZR_E_NOT_SUPPORTED;
    const ZRF_VID_PTR own = PicturePlanes(_props, *_pPicture);
    const int32_t nPlanes = PlaneCount(_props.fccType);
    ZRF_VID_PTR planes;
    for (int32_t i = 0; i < kMaxPlanes; ++i) {
        const ZRF_VID_PTR& from = i == 0 && _planes.lpVideoPlanes[0] == 0 ? own : _planes;
        planes.lpVideoPlanes[i] = from.lpVideoPlanes[i];
        if (planes.lpVideoPlanes[i] == 0) {
            if (i < nPlanes) return E_INVALIDARG;
            continue;
        }
        const int64_t cbRow = PlaneRowBytes(_props, i);
        if (cbRow == 0 || std::abs(int64_t{from.cbVideoRowBytes[i]}) < cbRow) return E_INVALIDARG;
        planes.cbVideoRowBytes[i] = from.cbVideoRowBytes[i];
        planes.szVideoPlanes[i] = own.szVideoPlanes[i < nPlanes ? i : 0];
    }
    _pPicture->planes = planes;
    _pPicture->bHasPlanes = true;
    return S_OK;
}

bool PlanesInBlock(const ZR_VID_PROPS& _props, const ZRF_VID_PTR& _planes, int64_t _lp, uint64_t _cb) {
    const auto cb = static_cast<int64_t>(_cb);
    for (int32_t i = 0; i < kMaxPlanes; ++i) {
        const int64_t nLines = _planes.szVideoPlanes[i].cy, nStride = _planes.cbVideoRowBytes[i];
        if (nStride == 0 || nLines < 1) continue;
        const int64_t nFirst = _planes.lpVideoPlanes[i] - _lp, nLast = nFirst + (nLines - 1) * nStride;
        if (std::min(nFirst, nLast) < 0 || std::max(nFirst, nLast) > cb - PlaneRowBytes(_props, i)) return false;
    }
    return true;
}

HRESULT PictureCut(const ZR_VID_PROPS& _props, const Picture& _picture, int32_t _nField, const tagRECT* _pRect,
                   ZR_VID_PROPS* _pCutProps, Picture* _pCut) {
    if (_picture.Empty() || _props.nWidth == 0) return ZR_E_EMPTY;
    const FORMAT_LAYOUT layout = LayoutOf(_props.fccType);
    CUT cut;
    const HRESULT hr = CutOf(_props, layout, _nField, _pRect, &cut);
    if (Failed(hr)) return hr;
    const bool bAllColumns = cut.nRight - cut.nLeft == _props.nWidth;
    const bool bAllLines = cut.nBottom - cut.nTop == AbsHeight(_props.nHeight);
    if (bAllColumns && bAllLines && cut.nField == 0) {
        *_pCutProps = _props;
        *_pCut = _picture;
        return S_OK;
    }
    if (layout.arrPlanes[0].nGroupBytes == 0) return ZR_E_NOT_SUPPORTED;
    if (cut.nField > 0 && _props.nRowBytes > std::numeric_limits<int32_t>::max() / 2) return E_INVALIDARG;

    ZR_VID_PROPS props = _props;
    CutRecord(cut, layout, &props);
    ZRF_VID_PTR planes = PicturePlanes(_props, _picture);
    CutPlanes(cut, layout, props, &planes);

    const int64_t nStride = planes.cbVideoRowBytes[0];
    const int64_t nLines = AbsHeight(props.nHeight);
    uint8_t* pBits = Pointer(planes.lpVideoPlanes[0]) + (nStride < 0 ? (nLines - 1) * nStride : 0);
    const uint8_t* pEnd = _picture.pBits + _picture.cbBits;
    props.nRowBytes = static_cast<int32_t>(nStride < 0 ? -nStride : nStride);
    *_pCut = _picture;
    _pCut->pBits = pBits;
    _pCut->cbBits = static_cast<uint32_t>(std::min(PictureBytes(props), static_cast<uint64_t>(pEnd - pBits)));
    _pCut->bPart = true;
    _pCut->bHasPlanes = _picture.bHasPlanes || layout.nPlanes > 1;
    _pCut->planes = planes;
    _pCut->llVideoID = NewVideoID();
    *_pCutProps = props;
    return S_OK;
}

bool SamePixelLayout(eZrFCC _fccA, eZrFCC _fccB) {
    const auto Canonical = [](eZrFCC _fcc) {
        if (_fcc == eZrFCC_HDYC) return eZrFCC_UYVY;
        return _fcc == eZrFCC_ARGB32 ? eZrFCC_RGB32 : _fcc;
    };
    return Canonical(_fccA) == Canonical(_fccB);
}

COPY_LAYOUT LayoutOfCopy(const ZR_VID_PROPS& _props, const Picture& _picture) {
    COPY_LAYOUT layout;
    layout.props = _props;
    const ZRF_VID_PTR from = PicturePlanes(_props, _picture);
    const int64_t lpBits = Address(_picture.pBits);
    if (!_picture.bPart && (!_picture.bHasPlanes || PlanesInBlock(_props, from, lpBits, _picture.cbBits))) {
        layout.cb = _picture.cbBits;
        layout.bWhole = true;
        layout.bHasPlanes = _picture.bHasPlanes;
        layout.planes = Moved(from, -lpBits);
        return layout;
    }
    ZR_VID_PROPS& props = layout.props;
    props.nRowBytes = MinRowBytes(props.fccType, props.nWidth);
    // A format that only its layout is known of.
    if (props.nRowBytes == 0) props.nRowBytes = static_cast<int32_t>((PlaneRowBytes(props, 0) + 3) & ~int64_t{3});
    ZRF_VID_PTR& planes = layout.planes;
    planes = PlanesAt(props, 0);
    layout.cb = PictureBytes(props);
    const int64_t cbView = static_cast<int64_t>(layout.cb);
    for (int32_t i = PlaneCount(props.fccType), nView = 1; i < kMaxPlanes; ++i) {
        if (from.cbVideoRowBytes[i] == 0) continue;
        planes.lpVideoPlanes[i] = planes.lpVideoPlanes[0] + nView++ * cbView;
        planes.cbVideoRowBytes[i] = planes.cbVideoRowBytes[0];
        planes.szVideoPlanes[i] = planes.szVideoPlanes[0];
        layout.cb += static_cast<uint64_t>(cbView);
        layout.bHasPlanes = true;
    }
    return layout;
}

HRESULT PictureMakeOwn(const ZR_VID_PROPS& _props, Picture* _pPicture) {
    if (!_pPicture->bBorrowed || _pPicture->pLent) return S_OK;
    Picture own;
    const HRESULT hr = PictureAlloc(PictureBytes(_props), &own);
    if (Failed(hr)) return hr;
    CopyPlanes(_props, PicturePlanes(_props, *_pPicture), PicturePlanes(_props, own));
    own.bBorrowed = true;
    own.pLent = _pPicture->pBuffer;
    *_pPicture = std::move(own);
    return S_OK;
}

HRESULT PictureCopy(const ZR_VID_PROPS& _from, const Picture& _picture, ZR_VID_PROPS* _pProps, Picture* _pCopy) {
    const COPY_LAYOUT layout = LayoutOfCopy(_from, _picture);
    Picture copy;
    const HRESULT hr = PictureAlloc(layout.cb, &copy);
    if (Failed(hr)) return hr;
    copy.bHasPlanes = layout.bHasPlanes;
    copy.planes = Moved(layout.planes, Address(copy.pBits));
    if (layout.bWhole)
        std::memcpy(copy.pBits, _picture.pBits, layout.cb);
    else
        CopyPlanes(layout.props, PicturePlanes(_from, _picture), copy.planes);
    *_pProps = layout.props;
    *_pCopy = std::move(copy);
    return S_OK;
}

void CopyPlanes(const ZR_VID_PROPS& _props, const ZRF_VID_PTR& _from, const ZRF_VID_PTR& _to) {
    for (int32_t i = 0; i < kMaxPlanes; ++i) {
        if (_to.cbVideoRowBytes[i] == 0) continue;
        const auto cbRow = static_cast<size_t>(PlaneRowBytes(_props, i));
        const uint8_t* pFrom = Pointer(_from.lpVideoPlanes[i]);
        uint8_t* pTo = Pointer(_to.lpVideoPlanes[i]);
        for (int32_t y = 0; y < _to.szVideoPlanes[i].cy; ++y) {
            std::memcpy(pTo, pFrom, cbRow);
            pFrom += _from.cbVideoRowBytes[i];
            pTo += _to.cbVideoRowBytes[i];
        }
    }
}

}  // namespace zr
