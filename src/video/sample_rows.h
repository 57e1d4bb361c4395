#pragma once
// Rows of packed 4:2:2 taken apart into samples and put together, whatever the order of bytes.

#include <cstddef>
#include <cstdint>

#include "video/kernels/planar_row.h"
#include "zr/enums.h"

namespace zr {

// One row: luma, and chroma of half the width.
struct SAMPLES {
    const uint8_t *pLuma, *pCb, *pCr;
};
struct SAMPLE_ROWS {
    uint8_t *pLuma, *pCb, *pCr;
};

constexpr bool LumaFirst(eZrFCC _fccType) { return _fccType == eZrFCC_YUY2 || _fccType == eZrFCC_YVYU; }
// UYVY, HDYC, YUY2, YVYU.
constexpr bool IsPacked422(eZrFCC _fccType) {
    return _fccType == eZrFCC_UYVY || _fccType == eZrFCC_HDYC || LumaFirst(_fccType);
}

// _fccType: one of those.
inline void SplitPacked(eZrFCC _fccType, const uint8_t* _pRow, const SAMPLE_ROWS& _rows, size_t _nPairs) {
    if (!LumaFirst(_fccType)) return SplitUyvyRow(_pRow, _rows.pLuma, _rows.pCb, _rows.pCr, _nPairs);
    const bool bCrFirst = _fccType == eZrFCC_YVYU;
    SplitYuy2Row(_pRow, _rows.pLuma, bCrFirst ? _rows.pCr : _rows.pCb, bCrFirst ? _rows.pCb : _rows.pCr, _nPairs);
}
inline void JoinPacked(eZrFCC _fccType, const SAMPLES& _rows, uint8_t* _pRow, size_t _nPairs) {
    if (!LumaFirst(_fccType)) return JoinUyvyRow(_rows.pLuma, _rows.pCb, _rows.pCr, _pRow, _nPairs);
    const bool bCrFirst = _fccType == eZrFCC_YVYU;
    JoinYuy2Row(_rows.pLuma, bCrFirst ? _rows.pCr : _rows.pCb, bCrFirst ? _rows.pCb : _rows.pCr, _pRow, _nPairs);
}

}  // namespace zr
