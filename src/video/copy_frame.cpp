#include "video/copy_frame.h"

#include <algorithm>
#include <cstring>

#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "platform/thread_pool.h"
#include "video/color_convert.h"
#include "video/row_converter.h"

namespace zr {

namespace {

// How far the picture moves down when its field order changes: 1, 0 or -1 lines.
int32_t LinesDown(int32_t _nSrcClass, int32_t _nDstClass) {
    if (_nSrcClass == 0 || _nDstClass == 0 || _nSrcClass == _nDstClass) return 0;
    return _nSrcClass < _nDstClass ? 1 : -1;
}

void CopyLine(const PICTURE& _picture, int32_t _nFrom, int32_t _nTo) {
    for (int32_t n = 0; n < _picture.nPlanes; ++n) {
        const PLANE& plane = _picture.arrPlanes[n];
        if (plane.nHeight != _picture.Height()) continue;  // a chroma line of 4:2:0 is two lines' own
        std::memcpy(plane.Row(_nTo), plane.Row(_nFrom), SampleBytes(_picture, n));
    }
}

// Every worker takes each _nWorkers-th row, so that all touch both fields evenly.
void CopyRows(const PICTURE& _src, const PICTURE& _dst, const RowConverter& _converter, int32_t _nWorkers) {
    const PLANE &from = _src.Packed(), &to = _dst.Packed();
    ParallelRows(_nWorkers, 1, [&](int32_t _nFirstWorker, int32_t _nEndWorker) {
        for (int32_t nWorker = _nFirstWorker; nWorker < _nEndWorker; ++nWorker)
            for (int32_t y = nWorker; y < to.nHeight; y += _nWorkers)
                _converter(from.Row(y), to.Row(y), static_cast<size_t>(to.nWidth));
    });
}

}  // namespace

HRESULT CopyPictureCC(const PICTURE& _src, const PICTURE& _dst, int32_t _nSrcClass, int32_t _nDstClass,
                      int32_t _nThreads) {
    RowConverter converter;
    const bool bPlanes = _src.IsPlanar() || _dst.IsPlanar();
    HRESULT hr = bPlanes ? S_OK : RowConverter::Make(_src.fccType, _dst.fccType, converter);
    if (Failed(hr)) return hr;
    const int32_t nDown = _dst.Height() > 1 ? LinesDown(_nSrcClass, _nDstClass) : 0, nWidth = _dst.Width(),
                  nRows = _dst.Height() - (nDown != 0 ? 1 : 0);
    const int32_t nSrcFirst = nDown < 0 ? 1 : 0, nDstFirst = nDown > 0 ? 1 : 0;
    const PICTURE src = CutPicture(_src, {0, nSrcFirst, nWidth, nSrcFirst + nRows});
    const PICTURE dst = CutPicture(_dst, {0, nDstFirst, nWidth, nDstFirst + nRows});
    const bool bSplit = _nThreads >= 2 && nDown == 0;
    if (bPlanes) {
        hr = ConvertPicture(src, dst, _nDstClass != 0, bSplit);
        if (Failed(hr)) return hr;
    } else {
        const bool bThreads = bSplit && !SameFamily(src.fccType, dst.fccType);
        CopyRows(src, dst, converter, bThreads ? std::min(_nThreads, nRows) : 1);
    }
    if (nDown > 0) CopyLine(_dst, 1, 0);
    if (nDown < 0) CopyLine(_dst, nRows - 1, nRows);
    return S_OK;
}

namespace {

// Packed 4:2:2 has pixels in pairs: of an odd width the last pixel is dropped.
ZR_VID_PROPS WholePairs(const ZR_VID_PROPS& _props) {
    ZR_VID_PROPS props = _props;
    if (!HasChromaPairs(props.fccType) || PixelFormatPlanar(props.fccType) || props.nWidth < 2) return props;
    if (props.nRowBytes == 0) props.nRowBytes = MinRowBytes(props.fccType, props.nWidth);
    props.nWidth &= ~1;
    return props;
}

}  // namespace

HRESULT CopyFrameCC(const uint8_t* _pSrc, uint8_t* _pDst, const ZR_VID_PROPS& _srcProps, const ZR_VID_PROPS& _dstProps,
                    int32_t _nThreads) {
    PICTURE src, dst;
    HRESULT hr = PictureOf(const_cast<uint8_t*>(_pSrc), WholePairs(_srcProps), src);
    if (Succeeded(hr)) hr = PictureOf(_pDst, WholePairs(_dstProps), dst);
    if (Failed(hr)) return hr;
    if (src.IsPlanar() || dst.IsPlanar()) return kTypeNotAccepted;
    const tagRECT both = {0, 0, std::min(src.Width(), dst.Width()), std::min(src.Height(), dst.Height())};
    return CopyPictureCC(CutPicture(src, both), CutPicture(dst, both), InterlaceClass(&_srcProps),
                         InterlaceClass(&_dstProps), _nThreads);
}

HRESULT CopyFrameCC_Thread(const uint8_t* _pSrc, uint8_t* _pDst, const ZR_VID_PROPS& _srcProps,
                           const ZR_VID_PROPS& _dstProps) {
    return CopyFrameCC(_pSrc, _pDst, _srcProps, _dstProps, std::min(RowThreads(), 4));
}

}  // namespace zr
