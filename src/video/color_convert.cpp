#include "video/color_convert.h"

#include <algorithm>
#include <cstring>

#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "video/kernels/planar_row.h"
#include "video/kernels/yuv_rgb_row.h"
#include "video/sample_rows.h"
#include "video/scale_rects.h"

namespace zr {

namespace {

// Lines are worked on in runs that stay in the first-level cache: whole groups of v210.
constexpr int32_t kRun = 1920;

// ---- 4:2:0

// The line of the chroma planes that a line of the picture has its chroma from: that of two lines of the frame, or of
// two lines of its field. A cut picture without a chroma line of the field gives its nearest.
int32_t ChromaLine(const PICTURE& _picture, int32_t _y, bool _bInterlaced) {
    const int32_t nLine = _picture.nFirstLine + _y, nLines = _picture.arrPlanes[1].nHeight;
    const int32_t nStep = _bInterlaced ? 2 : 1;
    int32_t n = (_bInterlaced ? nLine / 4 * 2 + nLine % 2 : nLine / 2) - _picture.nFirstLine / 2;
    while (n < 0) n += nStep;
    while (n >= nLines) n -= nStep;
    return std::clamp(n, 0, nLines - 1);
}

// ---- Reading any format as samples of 4:2:2

// Scratch of one line's run.
struct LINE_SCRATCH {
    alignas(64) uint8_t arrCb[kRun / 2];
    alignas(64) uint8_t arrCr[kRun / 2];
};

// Chroma of _n pixels of a planar picture at half width.
SAMPLES HalfChroma(const PICTURE& _src, bool _bInterlaced, int32_t _y, int32_t _x, int32_t _n, LINE_SCRATCH& _scratch) {
    const auto nPairs = static_cast<size_t>(_n / 2);
    const PLANE *pCb = &_src.arrPlanes[1], *pCr = &_src.arrPlanes[2];
    if (_src.fccType == kFCC_Y422) return {nullptr, pCb->Row(_y) + _x / 2, pCr->Row(_y) + _x / 2};
    if (_src.fccType == kFCC_Y444) {
        HalveSamplesRow(pCb->Row(_y) + _x, _scratch.arrCb, nPairs);
        HalveSamplesRow(pCr->Row(_y) + _x, _scratch.arrCr, nPairs);
        return {nullptr, _scratch.arrCb, _scratch.arrCr};
    }
    const int32_t nLine = ChromaLine(_src, _y, _bInterlaced);
    if (_src.nPlanes == 3) return {nullptr, pCb->Row(nLine) + _x / 2, pCr->Row(nLine) + _x / 2};
    SplitPairsRow(pCb->Row(nLine) + _x, _scratch.arrCb, _scratch.arrCr, nPairs);
    return {nullptr, _scratch.arrCb, _scratch.arrCr};
}

// Where pixel _x of a packed row stands; v210: at the start of a group.
ptrdiff_t PixelBytes(eZrFCC _fccType, int32_t _x) {
    if (_fccType == eZrFCC_v210) return ptrdiff_t{_x / 6} * 16;
    return ptrdiff_t{_x} * PixelFormatBits(_fccType) / 8;
}

// Calls _fn(x, n) for runs of a line.
template <class F>
void ForRuns(int32_t _nWidth, const F& _fn) {
    for (int32_t x = 0; x < _nWidth; x += kRun) _fn(x, std::min(kRun, _nWidth - x));
}

// ---- Shapes of chroma

bool IsRgb(eZrFCC _fccType) { return _fccType == eZrFCC_RGB24 || FamilyOf(_fccType) == eZrFCC_ARGB32; }
bool IsKnownPlanar(eZrFCC _fccType) { return Is420(_fccType) || _fccType == kFCC_Y422 || _fccType == kFCC_Y444; }

// The same samples, in the same planes once Cb is put before Cr.
bool SamePlanes(eZrFCC _a, eZrFCC _b) {
    const auto Form = [](eZrFCC _fcc) { return _fcc == eZrFCC_YV12 ? eZrFCC_I420 : FamilyOf(_fcc); };
    return Form(_a) == Form(_b);
}

// Bytes of a plane's row from one plane to another, where one has chroma in pairs and the other does not.
void CopyChromaRow(const PICTURE& _src, const PICTURE& _dst, int32_t _y) {
    const auto nPairs = static_cast<size_t>(_dst.Width() / 2);
    const PLANE *pSrc = &_src.arrPlanes[1], *pDst = &_dst.arrPlanes[1];
    if (_src.nPlanes == 2)
        SplitPairsRow(pSrc[0].Row(_y), pDst[0].Row(_y), pDst[1].Row(_y), nPairs);
    else
        JoinPairsRow(pSrc[0].Row(_y), pSrc[1].Row(_y), pDst[0].Row(_y), nPairs);
}

}  // namespace

HRESULT PictureConverter::Make(eZrFCC _fccFrom, eZrFCC _fccTo, bool _bInterlaced, PictureConverter& _converter) {
    _converter = {};
    _converter.bInterlaced = _bInterlaced;
    // Different arrangements of the same 4:2:0 samples are copies too, plane by plane.
    if (SamePlanes(_fccFrom, _fccTo) || (Is420(_fccFrom) && Is420(_fccTo))) return S_OK;
    const bool bFromPlanes = PixelFormatPlanar(_fccFrom), bToPlanes = PixelFormatPlanar(_fccTo);
    if ((bFromPlanes && !IsKnownPlanar(_fccFrom)) || (bToPlanes && !IsKnownPlanar(_fccTo))) return kTypeNotAccepted;
    if (_fccFrom == kFCC_Y444 && IsRgb(_fccTo)) {
        _converter.way = eWay::FullChromaToRgb;
        return RowConverter::Make(eZrFCC_ARGB32, _fccTo, _converter.row);
    }
    if (_fccTo == kFCC_Y444 && IsRgb(_fccFrom)) {
        _converter.way = eWay::RgbToFullChroma;
        return RowConverter::Make(_fccFrom, eZrFCC_ARGB32, _converter.row);
    }
    if (bToPlanes) {
        _converter.way = eWay::ToPlanes;
        return bFromPlanes ? S_OK : RowConverter::Make(_fccFrom, eZrFCC_UYVY, _converter.row);
    }
    _converter.way = bFromPlanes ? eWay::PlanesToPacked : eWay::Packed;
    return RowConverter::Make(bFromPlanes ? eZrFCC_UYVY : _fccFrom, _fccTo, _converter.row);
}

int32_t PictureConverter::Groups(const PICTURE& _dst) {
    const int32_t nPhase = _dst.nFirstLine % kGroupLines;
    return (nPhase + _dst.Height() + kGroupLines - 1) / kGroupLines;
}

void PictureConverter::Run(const PICTURE& _src, const PICTURE& _dst, int32_t _nFirstGroup, int32_t _nEndGroup) const {
    // 4:2:0 lines that do not share their chroma with the same lines in both pictures cannot be copied by planes.
    const int32_t nPhases = bInterlaced ? 4 : 2;
    const bool bSamePhase = (_src.nFirstLine - _dst.nFirstLine) % nPhases == 0 || !Is420(_dst.fccType);
    if (way == eWay::Copy && bSamePhase) return CopyPlanes(_src, _dst, _nFirstGroup, _nEndGroup);
    if (way == eWay::ToPlanes || way == eWay::Copy) {
        for (int32_t n = _nFirstGroup; n < _nEndGroup; ++n) FillPlanes(_src, _dst, n);
        return;
    }
    const int32_t nPhase = _dst.nFirstLine % kGroupLines;
    const int32_t nFirst = std::max(_nFirstGroup * kGroupLines - nPhase, 0),
                  nEnd = std::min(_nEndGroup * kGroupLines - nPhase, _dst.Height());
    for (int32_t y = nFirst; y < nEnd; ++y) {
        switch (way) {
            case eWay::PlanesToPacked: PackLine(_src, _dst, y); break;
            case eWay::FullChromaToRgb: LineToRgb(_src, _dst, y); break;
            case eWay::RgbToFullChroma: LineFromRgb(_src, _dst, y); break;
            default: row(_src.Packed().Row(y), _dst.Packed().Row(y), static_cast<size_t>(_dst.Width())); break;
        }
    }
}

void PictureConverter::CopyPlanes(const PICTURE& _src, const PICTURE& _dst, int32_t _nFirstGroup,
                                  int32_t _nEndGroup) const {
    const int32_t nGroups = Groups(_dst);
    for (int32_t n = 0; n < _dst.nPlanes; ++n) {
        const bool bRearrange = n > 0 && _src.nPlanes != _dst.nPlanes;
        if (bRearrange && n > 1) break;  // done with the plane before
        const int32_t nRows = std::min(_dst.arrPlanes[n].nHeight, _src.arrPlanes[n].nHeight);
        const auto RowOf = [&](int32_t _nGroup) { return static_cast<int32_t>(int64_t{nRows} * _nGroup / nGroups); };
        const size_t cb = SampleBytes(_dst, n);
        for (int32_t y = RowOf(_nFirstGroup); y < RowOf(_nEndGroup); ++y) {
            if (bRearrange)
                CopyChromaRow(_src, _dst, y);
            else if (_dst.arrPlanes[n].Row(y) != _src.arrPlanes[n].Row(y))  // planes may be the picture's own
                std::memcpy(_dst.arrPlanes[n].Row(y), _src.arrPlanes[n].Row(y), cb);
        }
    }
}

// ---- Planes to a packed line

namespace {

// Chroma as it stands in the planes joined with luma in one pass. False: not that simple.
bool JoinLine(const PICTURE& _src, bool _bInterlaced, const PICTURE& _dst, int32_t _y) {
    if (!IsPacked422(_dst.fccType) || _src.fccType == kFCC_Y444) return false;
    const auto nPairs = static_cast<size_t>(_dst.Width() / 2);
    const int32_t nLine = Is420(_src.fccType) ? ChromaLine(_src, _y, _bInterlaced) : _y;
    const uint8_t *pLuma = _src.arrPlanes[0].Row(_y), *pCb = _src.arrPlanes[1].Row(nLine);
    uint8_t* pDst = _dst.Packed().Row(_y);
    if (_src.nPlanes == 3) {
        JoinPacked(_dst.fccType, {pLuma, pCb, _src.arrPlanes[2].Row(nLine)}, pDst, nPairs);
        return true;
    }
    if (_dst.fccType == eZrFCC_YVYU) return false;
    (LumaFirst(_dst.fccType) ? JoinYuy2RowNv12 : JoinUyvyRowNv12)(pLuma, pCb, pDst, nPairs);
    return true;
}

}  // namespace

void PictureConverter::PackLine(const PICTURE& _src, const PICTURE& _dst, int32_t _y) const {
    if (JoinLine(_src, bInterlaced, _dst, _y)) return;
    const bool bDirect = IsPacked422(_dst.fccType);
    ForRuns(_dst.Width(), [&](int32_t _x, int32_t _n) {
        LINE_SCRATCH scratch;
        alignas(64) uint8_t arrUyvy[2 * kRun];
        SAMPLES samples = HalfChroma(_src, bInterlaced, _y, _x, _n, scratch);
        samples.pLuma = _src.arrPlanes[0].Row(_y) + _x;
        uint8_t* pDst = _dst.Packed().Row(_y) + PixelBytes(_dst.fccType, _x);
        JoinPacked(bDirect ? _dst.fccType : eZrFCC_UYVY, samples, bDirect ? pDst : arrUyvy,
                   static_cast<size_t>(_n / 2));
        if (!bDirect) row(arrUyvy, pDst, static_cast<size_t>(_n));
    });
}

// ---- Any format to planes

namespace {

// The chroma of a group's lines, null for lines that are no part of the picture.
struct GROUP_CHROMA {
    SAMPLES arrLines[PictureConverter::kGroupLines] = {};

    // That of a line, or of the next one of the group that the picture has, in the same field if it can be.
    const SAMPLES& At(int32_t _n, bool _bInterlaced) const {
        const int32_t arrTries[] = {_n, _bInterlaced ? _n ^ 2 : _n ^ 1, _n ^ 1, _n ^ 3, _n ^ 2};
        for (const int32_t n : arrTries)
            if (arrLines[n].pCb) return arrLines[n];
        return arrLines[_n];
    }
};

// Two lines' chroma as one line of a 4:2:0 picture.
void StoreChromaLine(const PICTURE& _dst, int32_t _nRow, int32_t _x, int32_t _n, const SAMPLES& _a, const SAMPLES& _b) {
    const auto nPairs = static_cast<size_t>(_n / 2);
    if (_dst.nPlanes == 3) {
        MeanRow(_a.pCb, _b.pCb, _dst.arrPlanes[1].Row(_nRow) + _x / 2, nPairs);
        MeanRow(_a.pCr, _b.pCr, _dst.arrPlanes[2].Row(_nRow) + _x / 2, nPairs);
        return;
    }
    LINE_SCRATCH scratch;
    MeanRow(_a.pCb, _b.pCb, scratch.arrCb, nPairs);
    MeanRow(_a.pCr, _b.pCr, scratch.arrCr, nPairs);
    JoinPairsRow(scratch.arrCb, scratch.arrCr, _dst.arrPlanes[1].Row(_nRow) + _x, nPairs);
}

// The two chroma lines of a group of four lines.
void StoreGroup420(const PICTURE& _dst, bool _bInterlaced, int32_t _nGroup, int32_t _x, int32_t _n,
                   const GROUP_CHROMA& _chroma) {
    const int32_t nFirstRow = (_dst.nFirstLine / PictureConverter::kGroupLines + _nGroup) * 2 - _dst.nFirstLine / 2;
    for (int32_t n = 0; n < 2; ++n) {
        const int32_t nRow = nFirstRow + n;
        if (nRow < 0 || nRow >= _dst.arrPlanes[1].nHeight) continue;
        const int32_t nLine = _bInterlaced ? n : 2 * n, nOther = nLine + (_bInterlaced ? 2 : 1);
        StoreChromaLine(_dst, nRow, _x, _n, _chroma.At(nLine, _bInterlaced), _chroma.At(nOther, _bInterlaced));
    }
}

}  // namespace

void PictureConverter::FillPlanes(const PICTURE& _src, const PICTURE& _dst, int32_t _nGroup) const {
    const int32_t nTop = _nGroup * kGroupLines - _dst.nFirstLine % kGroupLines;
    ForRuns(_dst.Width(), [&](int32_t _x, int32_t _n) {
        LINE_SCRATCH arrScratch[kGroupLines];
        GROUP_CHROMA chroma;
        const auto nPairs = static_cast<size_t>(_n / 2);
        for (int32_t n = 0; n < kGroupLines; ++n) {
            const int32_t y = nTop + n;
            if (y < 0 || y >= _dst.Height()) continue;
            SAMPLE_ROWS into = {_dst.arrPlanes[0].Row(y) + _x, arrScratch[n].arrCb, arrScratch[n].arrCr};
            if (_dst.fccType == kFCC_Y422) {
                into.pCb = _dst.arrPlanes[1].Row(y) + _x / 2;
                into.pCr = _dst.arrPlanes[2].Row(y) + _x / 2;
            }
            SAMPLES& samples = chroma.arrLines[n];
            samples = {into.pLuma, into.pCb, into.pCr};
            if (_src.IsPlanar()) {
                std::memcpy(into.pLuma, _src.arrPlanes[0].Row(y) + _x, static_cast<size_t>(_n));
                samples = HalfChroma(_src, bInterlaced, y, _x, _n, arrScratch[n]);
            } else if (IsPacked422(_src.fccType)) {
                SplitPacked(_src.fccType, _src.Packed().Row(y) + 2 * _x, into, nPairs);
            } else {
                alignas(64) uint8_t arrUyvy[2 * kRun];
                row(_src.Packed().Row(y) + PixelBytes(_src.fccType, _x), arrUyvy, static_cast<size_t>(_n));
                SplitPacked(eZrFCC_UYVY, arrUyvy, into, nPairs);
            }
            if (_dst.fccType == kFCC_Y444) {
                DoubleSamplesRow(samples.pCb, _dst.arrPlanes[1].Row(y) + _x, nPairs);
                DoubleSamplesRow(samples.pCr, _dst.arrPlanes[2].Row(y) + _x, nPairs);
            } else if (_dst.fccType == kFCC_Y422 && samples.pCb != into.pCb) {
                std::memcpy(into.pCb, samples.pCb, nPairs);
                std::memcpy(into.pCr, samples.pCr, nPairs);
            }
        }
        if (Is420(_dst.fccType)) StoreGroup420(_dst, bInterlaced, _nGroup, _x, _n, chroma);
    });
}

// ---- 4:4:4 and RGB, without a step through shared chroma

void PictureConverter::LineToRgb(const PICTURE& _src, const PICTURE& _dst, int32_t _y) const {
    const bool bDirect = FamilyOf(_dst.fccType) == eZrFCC_ARGB32;
    ForRuns(_dst.Width(), [&](int32_t _x, int32_t _n) {
        alignas(64) uint8_t arrBgra[4 * kRun];
        const PLANE* planes = _src.arrPlanes;
        uint8_t* pDst = _dst.Packed().Row(_y) + PixelBytes(_dst.fccType, _x);
        PlanesToBgraRow601(planes[0].Row(_y) + _x, planes[1].Row(_y) + _x, planes[2].Row(_y) + _x,
                           bDirect ? pDst : arrBgra, static_cast<size_t>(_n), 255);
        if (!bDirect) row(arrBgra, pDst, static_cast<size_t>(_n));
    });
}

void PictureConverter::LineFromRgb(const PICTURE& _src, const PICTURE& _dst, int32_t _y) const {
    const bool bDirect = FamilyOf(_src.fccType) == eZrFCC_ARGB32;
    ForRuns(_dst.Width(), [&](int32_t _x, int32_t _n) {
        alignas(64) uint8_t arrBgra[4 * kRun];
        const PLANE* planes = _dst.arrPlanes;
        const uint8_t* pSrc = _src.Packed().Row(_y) + PixelBytes(_src.fccType, _x);
        if (!bDirect) row(pSrc, arrBgra, static_cast<size_t>(_n));
        BgraToPlanesRow601(bDirect ? pSrc : arrBgra, planes[0].Row(_y) + _x, planes[1].Row(_y) + _x,
                           planes[2].Row(_y) + _x, static_cast<size_t>(_n));
    });
}

// ---- Whole pictures

HRESULT ConvertPicture(const PICTURE& _src, const PICTURE& _dst, bool _bInterlaced, bool _bThreads) {
    PictureConverter converter;
    const HRESULT hr = PictureConverter::Make(_src.fccType, _dst.fccType, _bInterlaced, converter);
    if (Failed(hr)) return hr;
    RunSlices(SliceCount(_bThreads), PictureConverter::Groups(_dst),
              [&](int32_t, int32_t _nFirst, int32_t _nEnd) { converter.Run(_src, _dst, _nFirst, _nEnd); });
    return S_OK;
}

HRESULT ColorConvert(ScalingEngine& _engine, const uint8_t* _pSrc, uint8_t* _pDst, const ZR_VID_PROPS& _srcProps,
                     const ZR_VID_PROPS& _dstProps, const tagRECT* _pSrcRect, const tagRECT* _pDstRect) {
    PICTURE src, dst;
    HRESULT hr = PictureOf(const_cast<uint8_t*>(_pSrc), _srcProps, src);
    if (Succeeded(hr)) hr = PictureOf(_pDst, _dstProps, dst);
    if (Failed(hr)) return hr;
    tagRECT srcRect, dstRect;
    hr = ClipRects(_srcProps, _dstProps, srcRect, dstRect, false, _pSrcRect, _pDstRect);
    if (hr != S_OK) return hr;
    // A v210 destination may end in the picture's last group; a source must end with it or be cut between groups.
    if (!CanCutPicture(src, srcRect) || !CanCutPicture(dst, dstRect)) return E_INVALIDARG;
    return ConvertPicture(CutPicture(src, srcRect), CutPicture(dst, dstRect), InterlaceClass(&_dstProps) != 0,
                          _engine.bMultiThread);
}

}  // namespace zr
