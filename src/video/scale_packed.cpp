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

// The resampler reads a little beyond a row: what lies there in memory must be another row of the plane.
bool CanReadBeyond(const PLANE& _plane, int32_t _y) {
    const bool bLast = _plane.nStride > 0 ? _y == _plane.nHeight - 1 : _y == 0;
    return !bLast && static_cast<size_t>(_plane.nWidth) >= kResampleSlack;
}

// A row of a plane, scaled vertically: in scratch, or where it is.
const uint8_t* PlaneRow(const VERTICAL_PASS& _down, const PLANE& _plane, int32_t _y, uint8_t* _pScratch) {
    const auto cb = static_cast<size_t>(_plane.nWidth);
    const uint8_t* const pRow = VerticalRow(_down, _plane, _y, _pScratch, cb);
    if (pRow == _pScratch || CanReadBeyond(_plane, _down.CopyOf(_y))) return pRow;
    std::memcpy(_pScratch, pRow, cb);
    return _pScratch;
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

bool CanScale(const PICTURE& _picture) { return _picture.IsPlanar() || IsPacked422(_picture.fccType); }

}  // namespace

// ---- Rows into packed rows

// A packed source has both kinds of samples in one pass over its rows.
HRESULT PackedScaling::Prepare(ScalingEngine& _engine, const PICTURE& _src, eZrFCC _fccType, int32_t _nWidth,
                               int32_t _nHeight, const RESIZE_PARAMS& _params) {
    if (!CanScale(_src) || !IsPacked422(_fccType)) return E_INVALIDARG;
    src = _src;
    fccType = _fccType;
    nPairs = _nWidth / 2;
    cbIn = ScratchRowBytes(static_cast<size_t>(_src.Width()));
    cbOut = ScratchRowBytes(static_cast<size_t>(_nWidth));
    pAcross = _engine.arrAcross;
    const int32_t nChromaRows = _src.IsPlanar() ? _src.arrPlanes[1].nHeight : _src.Height();
    HRESULT hr = _engine.arrDown[0].Prepare(_src.Height(), _nHeight, _params.dblWidth, _params.nFlags, lumaDown);
    if (Succeeded(hr))
        hr = _engine.arrDown[1].Prepare(nChromaRows, _nHeight, _params.dblWidth / 2, _params.nFlags, chromaDown);
    if (Succeeded(hr) && !_src.IsPlanar() && !lumaDown.bCopy) {
        hr = _engine.packedDown.Merge(_engine.arrDown[0].Filter(), _engine.arrDown[1].Filter(),
                                      !LumaFirst(_src.fccType));
        lumaDown.pFilter = &_engine.packedDown;
    }
    if (Succeeded(hr)) hr = _engine.arrAcross[0].Init(_src.Width(), _nWidth, _params.eMode);
    if (Succeeded(hr)) hr = _engine.arrAcross[1].Init(ChromaWidth(_src), nPairs, _params.eMode);
    return Failed(hr) ? hr : S_OK;
}

// In scratch: luma and both chromas of a source row, two rows as its pairs of chroma need them, the three of the
// result. Rows of a plane that are not scaled vertically stay where they are.
SAMPLES PackedScaling::MakeSamples(int32_t _y, uint8_t* _pScratch) const {
    const SAMPLE_ROWS in = InRows(_pScratch);
    SAMPLES made{in.pLuma, in.pCb, in.pCr};
    if (!src.IsPlanar()) {
        VerticalPackedRow(lumaDown, src, _y, in);
        return made;
    }
    const PLANE* planes = src.arrPlanes;
    made.pLuma = PlaneRow(lumaDown, planes[0], _y, in.pLuma);
    if (src.nPlanes == 3) {
        made.pCb = PlaneRow(chromaDown, planes[1], _y, in.pCb);
        made.pCr = PlaneRow(chromaDown, planes[2], _y, in.pCr);
    } else {
        const auto nSrcPairs = static_cast<size_t>(src.Width() / 2);
        const uint8_t* pPairs = VerticalRow(chromaDown, planes[1], _y, _pScratch + 3 * cbIn, 2 * nSrcPairs);
        SplitPairsRow(pPairs, in.pCb, in.pCr, nSrcPairs);
    }
    return made;
}

void PackedScaling::MakeRow(int32_t _y, uint8_t* _pRow, uint8_t* _pScratch) const {
    const SAMPLES made = MakeSamples(_y, _pScratch);
    const uint8_t* arrRows[3] = {made.pLuma, made.pCb, made.pCr};
    for (size_t n = 0; n < 3; ++n) {
        const HorizontalFilter& across = pAcross[n > 0 ? 1 : 0];
        if (across.IsCopy()) continue;
        uint8_t* const pOut = _pScratch + 5 * cbIn + n * cbOut;
        across.Run(arrRows[n], pOut);
        arrRows[n] = pOut;
    }
    JoinPacked(fccType, {arrRows[0], arrRows[1], arrRows[2]}, _pRow, static_cast<size_t>(nPairs));
}

// ---- Whole pictures

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
    PackedScaling scaling;
    const HRESULT hr = scaling.Prepare(_engine, _src, _dst.fccType, _dst.Width(), _dst.Height(), _params);
    if (Failed(hr)) return hr;
    const int32_t nSlices = SliceCount(_engine.bMultiThread);
    uint8_t* pScratch = Scratch(_engine.rows, uint64_t{scaling.ScratchBytes()} * static_cast<uint64_t>(nSlices));
    if (!pScratch) return E_OUTOFMEMORY;
    RunSlices(nSlices, _dst.Height(), [&](int32_t _nSlice, int32_t _nFirst, int32_t _nEnd) {
        uint8_t* pMine = pScratch + static_cast<size_t>(_nSlice) * scaling.ScratchBytes();
        for (int32_t y = _nFirst; y < _nEnd; ++y) scaling.MakeRow(y, _dst.Packed().Row(y), pMine);
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
