#include "video/resize_sharpen.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "video/kernels/packed_row.h"
#include "video/kernels/planar_row.h"
#include "video/kernels/sharpen_row.h"

namespace zr {

namespace {

// ---- Rows of pixels

// Resamples a row whose pixels have 1, 3 or 4 channels: as planes of one row each. _pScratch: what RowScratchBytes
// says.
class PixelRow {
public:
    PixelRow(size_t _cbPixel, size_t _nSrcWidth, size_t _nDstWidth)
        : cbPixel(_cbPixel), nSrcWidth(_nSrcWidth), nDstWidth(_nDstWidth) {}

    size_t ScratchBytes() const {
        const size_t nWider = std::max(nSrcWidth, nDstWidth);
        return cbPixel == 1 ? ScratchRowBytes(nWider) * 2 : ScratchRowBytes(nWider) * 8 + ScratchRowBytes(4 * nWider);
    }

    void Run(const HorizontalFilter& _filter, const uint8_t* _pSrc, uint8_t* _pDst, uint8_t* _pScratch) const {
        const size_t cbChannel = ScratchRowBytes(std::max(nSrcWidth, nDstWidth));
        if (cbPixel == 1) {
            std::memcpy(_pScratch, _pSrc, nSrcWidth);  // the resampler reads beyond the row
            _filter.Run(_pScratch, _pScratch + cbChannel);
            std::memcpy(_pDst, _pScratch + cbChannel, nDstWidth);
            return;
        }
        uint8_t *pPixels = _pScratch + 8 * cbChannel, *pIn = _pScratch, *pOut = _pScratch + 4 * cbChannel;
        if (cbPixel == 3) {
            BgrToBgraRow(_pSrc, pPixels, nSrcWidth, 255);
            _pSrc = pPixels;
        }
        SplitChannels(_pSrc, pIn, pOut, cbChannel);
        for (size_t nChannel = 0; nChannel < cbPixel; ++nChannel)
            _filter.Run(pIn + nChannel * cbChannel, pOut + nChannel * cbChannel);
        JoinChannels(pOut, pIn, cbChannel, cbPixel == 3 ? pPixels : _pDst);
        if (cbPixel == 3) BgraToBgrRow(pPixels, _pDst, nDstWidth);
    }

private:
    // By way of pairs: B, R and G, A.
    void SplitChannels(const uint8_t* _pSrc, uint8_t* _pChannels, uint8_t* _pPairs, size_t _cbChannel) const {
        SplitPairsRow(_pSrc, _pPairs, _pPairs + 2 * _cbChannel, 2 * nSrcWidth);
        SplitPairsRow(_pPairs, _pChannels, _pChannels + 2 * _cbChannel, nSrcWidth);
        SplitPairsRow(_pPairs + 2 * _cbChannel, _pChannels + _cbChannel, _pChannels + 3 * _cbChannel, nSrcWidth);
    }
    void JoinChannels(const uint8_t* _pChannels, uint8_t* _pPairs, size_t _cbChannel, uint8_t* _pDst) const {
        JoinPairsRow(_pChannels, _pChannels + 2 * _cbChannel, _pPairs, nDstWidth);
        JoinPairsRow(_pChannels + _cbChannel, _pChannels + 3 * _cbChannel, _pPairs + 2 * _cbChannel, nDstWidth);
        JoinPairsRow(_pPairs, _pPairs + 2 * _cbChannel, _pDst, 2 * nDstWidth);
    }

    size_t cbPixel, nSrcWidth, nDstWidth;
};

// ---- Sharpening

SHARPEN_KERNEL SharpenKernel(int32_t _nSharpness, bool _bRowOnly) {
    const bool bSharper = _nSharpness >= 0;
    const int32_t nCentre = bSharper ? 60 - _nSharpness : _nSharpness + 52;
    const int32_t nBeside = bSharper ? -1 : 2, nCorner = bSharper ? -1 : 1;
    if (_bRowOnly) return {nCentre, nBeside, 0, 0, bSharper ? nCentre - 2 : nCentre + 4};
    return {nCentre, nBeside, nBeside, nCorner, bSharper ? nCentre - 8 : nCentre + 12};
}

// Every _nStep-th row from _nFirst on, as a picture of its own.
PLANE FieldOf(const PLANE& _plane, int32_t _nFirst, int32_t _nStep) {
    PLANE field = _plane;
    field.pTop = _plane.Row(_nFirst);
    field.nStride = _plane.nStride * _nStep;
    field.nHeight = (_plane.nHeight - _nFirst + _nStep - 1) / _nStep;
    return field;
}

void SharpenPlane(const PLANE& _src, const PLANE& _dst, size_t _cbPixel, const SHARPEN_KERNEL& _kernel,
                  bool _bFillBorder) {
    const bool bRowOnly = _kernel.nAbove == 0;
    const size_t cbRow = static_cast<size_t>(_dst.nWidth) * _cbPixel;
    const int32_t nFirst = bRowOnly ? 0 : 1, nEnd = _dst.nHeight - 1;  // the last row is never sharpened
    for (int32_t y = 0; y < _dst.nHeight; ++y) {
        const bool bSharpen = y >= nFirst && y < nEnd && _dst.nWidth > 2;
        if (!bSharpen) {
            if (_bFillBorder) std::memcpy(_dst.Row(y), _src.Row(y), cbRow);
            continue;
        }
        const uint8_t* pRow = _src.Row(y) + _cbPixel;
        const ptrdiff_t nStep = bRowOnly ? 0 : _src.nStride;
        SharpenRow(pRow - nStep, pRow, pRow + nStep, _dst.Row(y) + _cbPixel, cbRow - 2 * _cbPixel,
                   static_cast<ptrdiff_t>(_cbPixel), _kernel);
        if (!_bFillBorder) continue;
        std::memcpy(_dst.Row(y), _src.Row(y), _cbPixel);
        std::memcpy(_dst.Row(y) + cbRow - _cbPixel, _src.Row(y) + cbRow - _cbPixel, _cbPixel);
    }
}

// ---- Both passes

// Row by row, so that what the vertical pass makes is still in the cache when the horizontal pass takes it.
HRESULT ResizeRows(ScalingEngine& _engine, const PLANE& _src, const PLANE& _dst, size_t _cbPixel,
                   const VERTICAL_PASS* _pDown, const HorizontalFilter& _across) {
    const size_t cbSrcRow = static_cast<size_t>(_src.nWidth) * _cbPixel,
                 cbDstRow = static_cast<size_t>(_dst.nWidth) * _cbPixel;
    const PixelRow pixels(_cbPixel, static_cast<size_t>(_src.nWidth), static_cast<size_t>(_dst.nWidth));
    const int32_t nSlices = SliceCount(_engine.bMultiThread);
    const size_t cbSlice = ScratchRowBytes(cbSrcRow) + pixels.ScratchBytes();
    uint8_t* pScratch = Scratch(_engine.rows, uint64_t{cbSlice} * static_cast<uint64_t>(nSlices));
    if (!pScratch) return E_OUTOFMEMORY;
    RunSlices(nSlices, _dst.nHeight, [&](int32_t _nSlice, int32_t _nFirst, int32_t _nEnd) {
        uint8_t* pMiddle = pScratch + static_cast<size_t>(_nSlice) * cbSlice;
        uint8_t* pChannels = pMiddle + ScratchRowBytes(cbSrcRow);
        for (int32_t y = _nFirst; y < _nEnd; ++y) {
            uint8_t* pInto = _across.IsCopy() ? _dst.Row(y) : pMiddle;
            const uint8_t* pRow = _pDown ? VerticalRow(*_pDown, _src, y, pInto, cbSrcRow) : _src.Row(y);
            if (!_across.IsCopy())
                pixels.Run(_across, pRow, _dst.Row(y), pChannels);
            else if (pRow != pInto)
                std::memcpy(pInto, pRow, cbDstRow);
        }
    });
    return S_OK;
}

size_t PixelBytes(eZrFCC _fccType) {
    switch (_fccType) {
        case eZrFCC_RGB8: return 1;
        case eZrFCC_RGB24: return 3;
        case eZrFCC_RGB32:
        case eZrFCC_ARGB32: return 4;
        default: return 0;
    }
}

bool GoodInfo(const RESIZE_INFO& _info, size_t _cbPixel) {
    const int64_t nHeight = std::abs(int64_t{_info.nHeight}), nStride = std::abs(int64_t{_info.nStride});
    return _info.nWidth >= 1 && _info.nWidth <= kMaxPictureSide && nHeight >= 1 && nHeight <= kMaxPictureSide &&
           nStride >= _info.nWidth * static_cast<int64_t>(_cbPixel);
}

}  // namespace

HRESULT ResizePlane_I(ScalingEngine& _engine, const PLANE& _src, const PLANE& _dst, size_t _cbPixel, int32_t _nPlane,
                      bool _bInterlaced, const RESIZE_PARAMS& _params) {
    const int32_t nSharpness = std::clamp(_params.nSharpness, -kMaxSharpness, kMaxSharpness);
    const bool bDown = _src.nHeight != _dst.nHeight || _params.nFlags != 0;
    VERTICAL_PASS down;
    HRESULT hr = S_OK;
    if (bDown)
        hr =
            _engine.arrDown[_nPlane].Prepare(_src.nHeight, _dst.nHeight, _params.dblWidth,
                                             _bInterlaced ? _params.nFlags : _params.nFlags | eScale_Progressive, down);
    if (Failed(hr)) return hr;
    HorizontalFilter& across = _engine.arrAcross[_nPlane > 0 ? 1 : 0];
    hr = across.Init(_src.nWidth, _dst.nWidth, _params.eMode);
    if (Failed(hr)) return hr;
    const VERTICAL_PASS* pDown = bDown ? &down : nullptr;
    if (nSharpness == 0) return ResizeRows(_engine, _src, _dst, _cbPixel, pDown, across);

    PLANE resized = _dst;
    resized.nStride = static_cast<ptrdiff_t>(ScratchRowBytes(static_cast<size_t>(_dst.nWidth) * _cbPixel));
    resized.pTop =
        Scratch(_engine.resized, static_cast<uint64_t>(resized.nStride) * static_cast<uint64_t>(_dst.nHeight));
    if (!resized.pTop) return E_OUTOFMEMORY;
    hr = ResizeRows(_engine, _src, resized, _cbPixel, pDown, across);
    if (Failed(hr)) return hr;
    const SHARPEN_KERNEL kernel = SharpenKernel(nSharpness, bDown);
    const int32_t nFields = _bInterlaced && !bDown && _dst.nHeight > 1 ? 2 : 1;
    for (int32_t n = 0; n < nFields; ++n)
        SharpenPlane(FieldOf(resized, n, nFields), FieldOf(_dst, n, nFields), _cbPixel, kernel, _params.bFillBorder);
    return S_OK;
}

HRESULT SEH_Resize_n_Sharp(ScalingEngine& _engine, const uint8_t* _pSrc, uint8_t* _pDst, const RESIZE_INFO& _srcInfo,
                           const RESIZE_INFO& _dstInfo, bool _bInterlaced, const RESIZE_PARAMS& _params) {
    if (!_pSrc || !_pDst) return E_POINTER;
    const size_t cbPixel = PixelBytes(_srcInfo.fccType);
    if (cbPixel == 0 || _srcInfo.fccType != _dstInfo.fccType) return E_INVALIDARG;
    if (!GoodInfo(_srcInfo, cbPixel) || !GoodInfo(_dstInfo, cbPixel)) return E_INVALIDARG;
    const auto PlaneAt = [](const uint8_t* _p, const RESIZE_INFO& _info) {
        return PLANE{const_cast<uint8_t*>(_p), _info.nStride, _info.nWidth, std::abs(_info.nHeight)};
    };
    _engine.mtx.Lock();
    const HRESULT hr =
        ResizePlane_I(_engine, PlaneAt(_pSrc, _srcInfo), PlaneAt(_pDst, _dstInfo), cbPixel, 0, _bInterlaced, _params);
    _engine.mtx.Unlock();
    return hr;
}

}  // namespace zr
