#include "video/copy_frame.h"

#include <algorithm>
#include <cstring>

#include "media/vid_props.h"
#include "platform/thread_pool.h"
#include "video/picture.h"
#include "video/row_converter.h"

namespace zr {

namespace {

// How far the picture moves down when its field order changes: 1, 0 or -1 lines.
int32_t LinesDown(const ZR_VID_PROPS& _srcProps, const ZR_VID_PROPS& _dstProps) {
    const int32_t nSrc = InterlaceClass(&_srcProps), nDst = InterlaceClass(&_dstProps);
    if (nSrc == 0 || nDst == 0 || nSrc == nDst) return 0;
    return nSrc < nDst ? 1 : -1;
}

}  // namespace

HRESULT CopyFrameCC(const uint8_t* _pSrc, uint8_t* _pDst, const ZR_VID_PROPS& _srcProps, const ZR_VID_PROPS& _dstProps,
                    int32_t _nThreads) {
    PICTURE src, dst;
    HRESULT hr = PictureOf(const_cast<uint8_t*>(_pSrc), _srcProps, src);
    if (Succeeded(hr)) hr = PictureOf(_pDst, _dstProps, dst);
    if (Failed(hr)) return hr;
    RowConverter converter;
    hr = RowConverter::Make(src.fccType, dst.fccType, converter);
    if (Failed(hr)) return hr;

    const int32_t nDown = LinesDown(_srcProps, _dstProps);
    const int32_t nSrcFirst = nDown < 0 ? 1 : 0, nDstFirst = nDown > 0 ? 1 : 0;
    const int32_t nRows = std::min(src.Height(), dst.Height()) - (nDown != 0 ? 1 : 0);
    const auto nPixels = static_cast<size_t>(std::min(src.Width(), dst.Width()));
    const PLANE &from = src.Packed(), &to = dst.Packed();

    const bool bSplit = _nThreads >= 2 && nDown == 0 && !SameFamily(src.fccType, dst.fccType);
    const int32_t nWorkers = bSplit ? std::min(_nThreads, std::max(nRows, 1)) : 1;
    // Every worker takes each nWorkers-th row, so that all touch both fields evenly.
    ParallelRows(nWorkers, 1, [&](int32_t _nFirstWorker, int32_t _nEndWorker) {
        for (int32_t nWorker = _nFirstWorker; nWorker < _nEndWorker; ++nWorker)
            for (int32_t y = nWorker; y < nRows; y += nWorkers)
                converter(from.Row(y + nSrcFirst), to.Row(y + nDstFirst), nPixels);
    });

    const size_t cbRow = static_cast<size_t>(std::abs(to.nStride));
    if (nDown > 0 && nRows > 0) std::memcpy(to.Row(0), to.Row(1), std::min(cbRow, PlaneRowBytes(dst, 0)));
    if (nDown < 0 && nRows > 0) std::memcpy(to.Row(nRows), to.Row(nRows - 1), std::min(cbRow, PlaneRowBytes(dst, 0)));
    return S_OK;
}

HRESULT CopyFrameCC_Thread(const uint8_t* _pSrc, uint8_t* _pDst, const ZR_VID_PROPS& _srcProps,
                           const ZR_VID_PROPS& _dstProps) {
    return CopyFrameCC(_pSrc, _pDst, _srcProps, _dstProps, std::min(RowThreads(), 4));
}

}  // namespace zr
