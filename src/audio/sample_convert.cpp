#include "audio/sample_convert.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "audio/kernels/sample_row.h"
#include "media/aud_props.h"

namespace zr {
namespace {

// The rows from and to the two formats in which everything meets; null where the format is the one.
struct ROWS {
    int32_t nBits;
    SampleRow pToFloat, pFromFloat, pTo32, pFrom32;
};
constexpr ROWS arrRows[] = {
    {8, Pcm8ToFloatRow, FloatToPcm8Row, Pcm8To32Row, Pcm32To8Row},
    {16, Pcm16ToFloatRow, FloatToPcm16Row, Pcm16To32Row, Pcm32To16Row},
    {20, Pcm24ToFloatRow, FloatToPcm20Row, Pcm24To32Row, Pcm32To20Row},
    {24, Pcm24ToFloatRow, FloatToPcm24Row, Pcm24To32Row, Pcm32To24Row},
    {32, Pcm32ToFloatRow, FloatToPcm32Row, nullptr, nullptr},
    {-32, nullptr, nullptr, FloatToPcm32Row, Pcm32ToFloatRow},
};

const ROWS* RowsOf(int32_t _nBits) {
    const auto* p = std::find_if(std::begin(arrRows), std::end(arrRows),
                                 [_nBits](const ROWS& _rows) { return _rows.nBits == _nBits; });
    return p != std::end(arrRows) ? p : nullptr;
}

}  // namespace

HRESULT ConvertSamples(int32_t _nSrcBits, const uint8_t* _pSrc, int32_t _nDstBits, uint8_t* _pDst, size_t _nSamples) {
    const ROWS* pFrom = RowsOf(_nSrcBits);
    const ROWS* pTo = RowsOf(_nDstBits);
    if (!pFrom || !pTo) return ZR_E_NOT_SUPPORTED;
    const auto cbSrc = static_cast<size_t>(AudBytesPerSample(_nSrcBits));
    const auto cbDst = static_cast<size_t>(AudBytesPerSample(_nDstBits));
    SampleRow pDirect = nullptr;
    if (_nSrcBits == -32)
        pDirect = pTo->pFromFloat;
    else if (_nDstBits == -32)
        pDirect = pFrom->pToFloat;
    else if (_nSrcBits == 32)
        pDirect = pTo->pFrom32;
    else if (_nDstBits == 32)
        pDirect = pFrom->pTo32;
    if (pDirect) {
        pDirect(_pSrc, _pDst, _nSamples);
    } else if (_nSrcBits == _nDstBits) {
        if (_nSamples > 0) std::memcpy(_pDst, _pSrc, _nSamples * cbSrc);
    } else {
        std::array<uint8_t, 4096> arrWide;  // in the first-level cache between the two rows
        for (size_t x = 0; x < _nSamples;) {
            const size_t n = std::min(_nSamples - x, arrWide.size() / 4);
            pFrom->pTo32(_pSrc + x * cbSrc, arrWide.data(), n);
            pTo->pFrom32(arrWide.data(), _pDst + x * cbDst, n);
            x += n;
        }
    }
    return S_OK;
}

void FillSilence(int32_t _nBits, uint8_t* _p, size_t _cb) {
    if (_cb > 0) std::memset(_p, SilenceByte(_nBits), _cb);
}

}  // namespace zr
