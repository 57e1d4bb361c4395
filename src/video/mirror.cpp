#include "video/mirror.h"

#include <algorithm>
#include <cstring>

#include "media/vid_props.h"
#include "platform/thread_pool.h"
#include "platform/wide_text.h"
#include "video/kernels/packed_row.h"
#include "video/picture.h"

namespace zr {

namespace {

// A row kernel, and the bytes of what it moves as a whole: a pixel, or a pair of 4:2:2.
struct MIRROR_ROW {
    void (*row)(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nUnits) = nullptr;
    size_t nPixelsPerUnit = 1;
    size_t cbUnit = 4;
};

MIRROR_ROW ChooseRow(eZrFCC _fccType) {
    switch (_fccType) {
        case eZrFCC_RGB32:
        case eZrFCC_ARGB32: return {MirrorRow32, 1, 4};
        case eZrFCC_RGB24: return {MirrorRow24, 1, 3};
        case eZrFCC_UYVY:
        case eZrFCC_HDYC: return {MirrorRowUyvy, 2, 4};
        case eZrFCC_YUY2:
        case eZrFCC_YVYU: return {MirrorRowYuy2, 2, 4};
        default: return {};
    }
}

constexpr size_t kRun = 256;  // units that pass through the stack at a time
constexpr size_t kRunBytes = kRun * 4;
constexpr int32_t kLeastRows = 64;  // of a band

// Exchanges runs from both ends until they meet.
void MirrorInPlace(uint8_t* _pRow, size_t _nUnits, const MIRROR_ROW& _mirror) {
    uint8_t arrLeft[kRunBytes], arrRight[kRunBytes];
    size_t nLeft = 0, nRight = _nUnits;
    while (nRight - nLeft >= 2) {
        const size_t nRun = std::min(kRun, (nRight - nLeft) / 2), cbRun = nRun * _mirror.cbUnit;
        uint8_t* pLeft = _pRow + nLeft * _mirror.cbUnit;
        uint8_t* pRight = _pRow + (nRight - nRun) * _mirror.cbUnit;
        _mirror.row(pLeft, arrLeft, nRun);
        _mirror.row(pRight, arrRight, nRun);
        std::memcpy(pLeft, arrRight, cbRun);
        std::memcpy(pRight, arrLeft, cbRun);
        nLeft += nRun;
        nRight -= nRun;
    }
    if (nRight == nLeft) return;
    _mirror.row(_pRow + nLeft * _mirror.cbUnit, arrLeft, 1);  // the luma of a middle pair
    std::memcpy(_pRow + nLeft * _mirror.cbUnit, arrLeft, _mirror.cbUnit);
}

void SwapRows(uint8_t* _pA, uint8_t* _pB, size_t _cbRow) { std::swap_ranges(_pA, _pA + _cbRow, _pB); }

}  // namespace

eMirror ReadMirror(std::u16string_view _text) {
    if (EqualNoCase(_text, u"horz")) return eMirror::Horz;
    if (EqualNoCase(_text, u"vert")) return eMirror::Vert;
    return EqualNoCase(_text, u"both") ? eMirror::Both : eMirror::None;
}

HRESULT MirrorPicture(uint8_t* _pBuffer, const ZR_VID_PROPS& _props, eMirror _eMirror) {
    PICTURE picture;
    const HRESULT hr = PictureOf(_pBuffer, _props, picture);
    if (Failed(hr)) return hr;
    const MIRROR_ROW mirror = ChooseRow(picture.fccType);
    if (picture.IsPlanar() || !mirror.row) return E_NOTIMPL;

    const PLANE& plane = picture.Packed();
    const size_t nUnits = static_cast<size_t>(plane.nWidth) / mirror.nPixelsPerUnit, cbRow = PlaneRowBytes(picture, 0);
    if (_eMirror == eMirror::Horz || _eMirror == eMirror::Both)
        ParallelRows(plane.nHeight, kLeastRows, [&](int32_t _nFirst, int32_t _nEnd) {
            for (int32_t y = _nFirst; y < _nEnd; ++y) MirrorInPlace(plane.Row(y), nUnits, mirror);
        });
    if (_eMirror != eMirror::Vert && _eMirror != eMirror::Both) return S_OK;
    ParallelRows(plane.nHeight / 2, kLeastRows, [&](int32_t _nFirst, int32_t _nEnd) {
        for (int32_t y = _nFirst; y < _nEnd; ++y) SwapRows(plane.Row(y), plane.Row(plane.nHeight - 1 - y), cbRow);
    });
    if (InterlaceClass(&_props) == 0) return S_OK;
    // Each line has come into the other field; by one row towards the start of the memory all are back in their own.
    const auto Stored = [&](int32_t _n) { return plane.Row(picture.bBottomUp ? plane.nHeight - 1 - _n : _n); };
    for (int32_t n = 0; n + 1 < plane.nHeight; ++n) std::memcpy(Stored(n), Stored(n + 1), cbRow);
    return S_OK;
}

}  // namespace zr
