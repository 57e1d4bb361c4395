#include "video/row_converter.h"

#include <algorithm>

#include "media/pixel_format.h"
#include "video/kernels/packed_row.h"

namespace zr {

namespace {

void YvyuToUyvyRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels) {
    ReorderGroupsRow(_pSrc, _pDst, _nPixels / 2, kYvyuToUyvy);
}
void UyvyToYvyuRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels) {
    ReorderGroupsRow(_pSrc, _pDst, _nPixels / 2, kUyvyToYvyu);
}

size_t BytesOfSix(eZrFCC _fccType) {
    return _fccType == eZrFCC_v210 ? 16 : static_cast<size_t>(PixelFormatBits(_fccType)) * 6 / 8;
}

}  // namespace

HRESULT RowConverter::Make(eZrFCC _fccFrom, eZrFCC _fccTo, RowConverter& _converter) {
    _converter = {};
    const bool bSame = _fccFrom == _fccTo;
    const eZrFCC fccFrom = _fccFrom == eZrFCC_YVYU ? eZrFCC_UYVY : _fccFrom;
    const eZrFCC fccTo = _fccTo == eZrFCC_YVYU ? eZrFCC_UYVY : _fccTo;
    if (_fccFrom == eZrFCC_YVYU && !bSame) _converter.pBefore = YvyuToUyvyRow;
    if (_fccTo == eZrFCC_YVYU && !bSame) _converter.pAfter = UyvyToYvyuRow;
    const CONVERSION_CELL cell = ConversionCell(fccFrom, fccTo);
    if (!cell.bKnown) return kTypeNotAccepted;
    if (!cell.row) return E_FAIL;
    _converter.pCell = cell.row;
    _converter.nDstBytesOfSix = BytesOfSix(_fccTo);
    return S_OK;
}

void RowConverter::RunSteps(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels) const {
    constexpr size_t kRun = 768;  // whole groups of six; stays in the first-level cache
    alignas(64) uint8_t arrUyvy[kRun * 2];
    if (pBefore) {
        for (size_t x = 0; x < _nPixels; x += kRun) {
            const size_t nPart = std::min(kRun, _nPixels - x);
            pBefore(_pSrc + 2 * x, arrUyvy, nPart);
            pCell(arrUyvy, _pDst + x / 6 * nDstBytesOfSix, nPart);
        }
        return;
    }
    // The destination is YVYU and takes the pixels where they will stand: the reordering works in place.
    pCell(_pSrc, _pDst, _nPixels);
    pAfter(_pDst, _pDst, _nPixels);
}

}  // namespace zr
