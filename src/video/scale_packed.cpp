#include "video/scale_packed.h"

#include <algorithm>
#include <cstring>

#include "video/color_convert.h"
#include "video/image_planes.h"
#include "video/kernels/planar_row.h"
#include "video/row_converter.h"
#include "video/sample_rows.h"

namespace zr {

namespace {

// Samples of a chroma row, one kind.
int32_t ChromaWidth(const PICTURE& _picture) {
    if (_picture.nPlanes == 3) return _picture.arrPlanes[1].nWidth;
    return _picture.Width() / 2;
}

// ---- Rows into packed rows

// One conversion; its rows may be made in any order and by several threads, each with scratch of its own.
struct PACKED_JOB {
    const PICTURE &src, &dst;
    VERTICAL_PASS lumaDown, chromaDown;  // packed sources: lumaDown for all bytes
    const HorizontalFilter &lumaAcross, &chromaAcross;
    size_t cbIn, cbOut;  // a scratch row of source samples; of destination samples

    size_t ScratchBytes() const { return 5 * cbIn + 3 * cbOut; }
    SAMPLE_ROWS InRows(uint8_t* _pScratch) const { return {_pScratch, _pScratch + cbIn, _pScratch + 2 * cbIn}; }
    uint8_t* Middle(uint8_t* _pScratch) const { return _pScratch + 3 * cbIn; }  // two rows: a packed one
    uint8_t* Out(uint8_t* _pScratch, int32_t _n) const {
        return _pScratch + 5 * cbIn + static_cast<size_t>(_n) * cbOut;
    }
};

// A row of a plane, scaled vertically, in scratch: the resampler reads a little beyond it.
void PlaneRowInto(const VERTICAL_PASS& _down, const PLANE& _plane, int32_t _y, uint8_t* _pDst) {
    const auto cb = static_cast<size_t>(_plane.nWidth);
    const uint8_t* pRow = VerticalRow(_down, _plane, _y, _pDst, cb);
    if (pRow != _pDst) std::memcpy(_pDst, pRow, cb);
}

// A row of packed samples, scaled vertically and taken apart.
void VerticalPackedRow(const VERTICAL_PASS& _down, const PICTURE& _src, int32_t _y, const SAMPLE_ROWS& _in) {
    const PLANE& plane = _src.Packed();
    const auto nPairs = static_cast<size_t>(_src.Width() / 2);
    if (_down.bCopy) return SplitPacked(_src.fccType, plane.Row(_down.CopyOf(_y)), _in, nPairs);
    const WEIGHED_ROWS rows(_down, plane, _y);
    const bool bCrFirst = _src.fccType == eZrFCC_YVYU;
    WeighSplitRows(rows.arrRows, rows.weights, !LumaFirst(_src.fccType), _down.NextRows(plane, _y),
                   {_in.pLuma, bCrFirst ? _in.pCr : _in.pCb, bCrFirst ? _in.pCb : _in.pCr}, nPairs);
}

void VerticalSamples(const PACKED_JOB& _job, int32_t _y, uint8_t* _pScratch) {
    const SAMPLE_ROWS in = _job.InRows(_pScratch);
    const PLANE* planes = _job.src.arrPlanes;
    const auto nPairs = static_cast<size_t>(_job.src.Width() / 2);
    if (_job.src.IsPlanar()) {
        PlaneRowInto(_job.lumaDown, planes[0], _y, in.pLuma);
        if (_job.src.nPlanes == 3) {
            PlaneRowInto(_job.chromaDown, planes[1], _y, in.pCb);
            PlaneRowInto(_job.chromaDown, planes[2], _y, in.pCr);
        } else {
            const uint8_t* pPairs = VerticalRow(_job.chromaDown, planes[1], _y, _job.Middle(_pScratch), 2 * nPairs);
            SplitPairsRow(pPairs, in.pCb, in.pCr, nPairs);
        }
        return;
    }
    VerticalPackedRow(_job.lumaDown, _job.src, _y, in);
}

void MakePackedRow(const PACKED_JOB& _job, int32_t _y, uint8_t* _pScratch) {
    VerticalSamples(_job, _y, _pScratch);
    const SAMPLE_ROWS in = _job.InRows(_pScratch);
    const uint8_t* arrRows[3] = {in.pLuma, in.pCb, in.pCr};
    for (int32_t n = 0; n < 3; ++n) {
        const HorizontalFilter& across = n > 0 ? _job.chromaAcross : _job.lumaAcross;
        if (across.IsCopy()) continue;
        across.Run(arrRows[n], _job.Out(_pScratch, n));
        arrRows[n] = _job.Out(_pScratch, n);
    }
    JoinPacked(_job.dst.fccType, {arrRows[0], arrRows[1], arrRows[2]}, _job.dst.Packed().Row(_y),
               static_cast<size_t>(_job.dst.Width() / 2));
}

// The passes of both kinds of samples. A packed source has both in one pass over its rows.
HRESULT PreparePasses(ScalingEngine& _engine, const PICTURE& _src, const PICTURE& _dst, const RESIZE_PARAMS& _params,
                      PACKED_JOB& _job) {
    const int32_t nChromaRows = _src.IsPlanar() ? _src.arrPlanes[1].nHeight : _src.Height();
    HRESULT hr =
        _engine.arrDown[0].Prepare(_src.Height(), _dst.Height(), _params.dblWidth, _params.nFlags, _job.lumaDown);
    if (Succeeded(hr))
        hr = _engine.arrDown[1].Prepare(nChromaRows, _dst.Height(), _params.dblWidth / 2, _params.nFlags,
                                        _job.chromaDown);
    if (Failed(hr) || _src.IsPlanar() || _job.lumaDown.bCopy) return hr;
    hr = _engine.packedDown.Merge(_engine.arrDown[0].Filter(), _engine.arrDown[1].Filter(), !LumaFirst(_src.fccType));
    _job.lumaDown.pFilter = &_engine.packedDown;
    return hr;
}

// ---- Whole planes

bool CanScale(const PICTURE& _picture) { return _picture.IsPlanar() || IsPacked422(_picture.fccType); }

}  // namespace

HRESULT ScalePackedRows(ScalingEngine& _engine, const PICTURE& _src, const PICTURE& _dst,
                        const RESIZE_PARAMS& _params) {
    RowConverter converter;
    HRESULT hr = RowConverter::Make(_src.fccType, _dst.fccType, converter);
    if (Failed(hr)) return hr;
    VERTICAL_PASS down;
    hr = _engine.arrDown[0].Prepare(_src.Height(), _dst.Height(), _params.dblWidth, _params.nFlags, down);
    if (Failed(hr)) return hr;
    const bool bReorder = !SameFamily(_src.fccType, _dst.fccType);
    const auto nPixels = static_cast<size_t>(_dst.Width());
    const int32_t nSlices = SliceCount(_engine.bMultiThread);
    const size_t cbSlice = ScratchRowBytes(2 * nPixels);
    uint8_t* pScratch = Scratch(_engine.rows, uint64_t{cbSlice} * static_cast<uint64_t>(nSlices));
    if (!pScratch) return E_OUTOFMEMORY;
    RunSlices(nSlices, _dst.Height(), [&](int32_t _nSlice, int32_t _nFirst, int32_t _nEnd) {
        uint8_t* pMiddle = pScratch + static_cast<size_t>(_nSlice) * cbSlice;
        for (int32_t y = _nFirst; y < _nEnd; ++y) {
            uint8_t* pDst = _dst.Packed().Row(y);
            const uint8_t* pRow = VerticalRow(down, _src.Packed(), y, bReorder ? pMiddle : pDst, 2 * nPixels);
            if (pRow != pDst) converter(pRow, pDst, nPixels);
        }
    });
    return S_OK;
}

HRESULT ScaleIntoPacked(ScalingEngine& _engine, const PICTURE& _src, const PICTURE& _dst,
                        const RESIZE_PARAMS& _params) {
    if (!CanScale(_src)) return E_INVALIDARG;
    PACKED_JOB job{_src,
                   _dst,
                   {},
                   {},
                   _engine.arrAcross[0],
                   _engine.arrAcross[1],
                   ScratchRowBytes(static_cast<size_t>(_src.Width())),
                   ScratchRowBytes(static_cast<size_t>(_dst.Width()))};
    HRESULT hr = PreparePasses(_engine, _src, _dst, _params, job);
    if (Succeeded(hr)) hr = _engine.arrAcross[0].Init(_src.Width(), _dst.Width(), _params.eMode);
    if (Succeeded(hr)) hr = _engine.arrAcross[1].Init(ChromaWidth(_src), _dst.Width() / 2, _params.eMode);
    if (Failed(hr)) return hr;
    const int32_t nSlices = SliceCount(_engine.bMultiThread);
    uint8_t* pScratch = Scratch(_engine.rows, uint64_t{job.ScratchBytes()} * static_cast<uint64_t>(nSlices));
    if (!pScratch) return E_OUTOFMEMORY;
    RunSlices(nSlices, _dst.Height(), [&](int32_t _nSlice, int32_t _nFirst, int32_t _nEnd) {
        uint8_t* pMine = pScratch + static_cast<size_t>(_nSlice) * job.ScratchBytes();
        for (int32_t y = _nFirst; y < _nEnd; ++y) MakePackedRow(job, y, pMine);
    });
    return S_OK;
}

HRESULT ScaleByPlanes(ScalingEngine& _engine, const PICTURE& _src, const PICTURE& _dst, bool _bInterlaced,
                      const RESIZE_PARAMS& _params) {
    if (!CanScale(_src) || !CanScale(_dst)) return E_INVALIDARG;
    ZrPlanarImage src, dst;
    HRESULT hr = MakePlanar(src, _src, _engine.srcPlanes);
    if (Succeeded(hr)) hr = MakePlanar(dst, _dst, _engine.dstPlanes);
    if (Succeeded(hr) && src.bInScratch) hr = ConvertPicture(_src, src.planes, _bInterlaced, _engine.bMultiThread);
    RESIZE_PARAMS params = _params;
    for (int32_t n = 0; n < 3 && Succeeded(hr); ++n) {
        hr = ResizePlane_I(_engine, src.Plane(n), dst.Plane(n), 1, n, _bInterlaced, params);
        params.dblWidth = _params.dblWidth / 2;
        params.nSharpness = 0;
    }
    if (Failed(hr) || !dst.bInScratch) return hr;
    return ConvertPicture(dst.planes, _dst, _bInterlaced, _engine.bMultiThread);
}

}  // namespace zr
