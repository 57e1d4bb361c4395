#pragma once
// YCbCr pictures at another size: packed rows taken apart and put together on the way, or plane by plane.
//
// All take pictures that are cut to what is to be scaled, and parameters whose flags hold the field mode already; the
// engine's lock is held. E_INVALIDARG: a format that cannot be scaled. E_OUTOFMEMORY: no scratch.

#include "video/picture.h"
#include "video/resize_sharpen.h"
#include "video/sample_rows.h"
#include "video/scaling_engine.h"

namespace zr {

// Packed to packed of equal width: whole rows, all bytes with the same weights.
HRESULT ScalePackedRows(ScalingEngine& _engine, const PICTURE& _src, const PICTURE& _dst, const RESIZE_PARAMS& _params);

// The scaling of a picture into packed rows, which are made in any order and by several threads at a time. It refers to
// the tables of the engine that has prepared it, which must do nothing else meanwhile, and to the source.
class PackedScaling {
public:
    // _fccType, _nWidth, _nHeight: of the rows, packed 4:2:2. Codes as below.
    HRESULT Prepare(ScalingEngine& _engine, const PICTURE& _src, eZrFCC _fccType, int32_t _nWidth, int32_t _nHeight,
                    const RESIZE_PARAMS& _params);
    // What each thread brings to make rows.
    size_t ScratchBytes() const { return 5 * cbIn + 3 * cbOut; }
    // Row _y of the result into _pRow: no byte beyond its width.
    void MakeRow(int32_t _y, uint8_t* _pRow, uint8_t* _pScratch) const;

private:
    SAMPLE_ROWS InRows(uint8_t* _pScratch) const { return {_pScratch, _pScratch + cbIn, _pScratch + 2 * cbIn}; }
    SAMPLES MakeSamples(int32_t _y, uint8_t* _pScratch) const;

    PICTURE src;
    eZrFCC fccType = eZrFCC_Default;
    int32_t nPairs = 0;                         // of a row of the result
    VERTICAL_PASS lumaDown, chromaDown;         // packed sources: lumaDown for all bytes
    const HorizontalFilter* pAcross = nullptr;  // luma, chroma
    size_t cbIn = 0, cbOut = 0;                 // a scratch row of source samples; of the result's
};

// Packed or planar to packed, row by row through the cache. Gives the bytes that ScaleByPlanes gives.
HRESULT ScaleIntoPacked(ScalingEngine& _engine, const PICTURE& _src, const PICTURE& _dst, const RESIZE_PARAMS& _params);

// Any to any, through whole planes; chroma with half the filter width and never sharpened.
HRESULT ScaleByPlanes(ScalingEngine& _engine, const PICTURE& _src, const PICTURE& _dst, bool _bInterlaced,
                      const RESIZE_PARAMS& _params);

}  // namespace zr
