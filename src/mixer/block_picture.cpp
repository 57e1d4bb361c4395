#include "mixer/block_picture.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "frame_module/picture_block.h"
#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "video/color_convert.h"
#include "video/image_convert.h"
#include "video/image_format_base.h"
#include "video/picture.h"
#include "video/sample_rows.h"
#include "video/scale_rects.h"
#include "video/scaling_quality.h"

namespace zr {

namespace {

bool SameGeometry(const ZR_VID_PROPS& _a, const ZR_VID_PROPS& _b) {
    return _a.fccType == _b.fccType && _a.nWidth == _b.nWidth && _a.nHeight == _b.nHeight &&
           _a.nRowBytes == _b.nRowBytes && InterlaceClass(&_a) == InterlaceClass(&_b);
}

// One direction of what is laid: source pixels are scaled to _nMade pixels of the output, of which those from nDst0 to
// nDst1 are seen.
struct RUN {
    int32_t nSrc0 = 0, nSrc1 = 0;
    int32_t nMade0 = 0, nMade1 = 0;
    int32_t nDst0 = 0, nDst1 = 0;
    int32_t nLaid0 = 0, nLaid1 = 0;    // nDst0 to nDst1 before the output cuts them
    int32_t nBlock0 = 0, nBlock1 = 0;  // of the whole block, on which its mask lies
    bool Empty() const { return nSrc0 >= nSrc1 || nDst0 >= nDst1; }
};

int32_t RoundTo(double _dbl, int32_t _nUnit) { return static_cast<int32_t>(std::lround(_dbl / _nUnit)) * _nUnit; }

// A size rounded up, but for what is a whole one and the error of a float.
int32_t SizeOf(double _dbl, int32_t _nUnit) {
    constexpr double kError = 0.02;
    return std::max(static_cast<int32_t>(std::ceil((_dbl - kError) / _nUnit)) * _nUnit, 0);
}

// Leaves out what is outside of the output, by steps of source pixels. So a picture that slides out of view keeps its
// scale, its place to the pixel, and for most of the way its size.
void CutRun(RUN& _run, int32_t _nOutput, int32_t _nSrcUnit, int32_t _nDstUnit, int32_t _nStep) {
    const double dblScale = static_cast<double>(_run.nMade1 - _run.nMade0) / (_run.nSrc1 - _run.nSrc0);
    const auto Cut = [&](int32_t _nOutside) {
        const auto nSteps = static_cast<int32_t>(_nOutside / dblScale / _nStep);
        return std::clamp(nSteps * _nStep, 0, _run.nSrc1 - _run.nSrc0 - _nSrcUnit);
    };
    const int32_t nLeft = Cut(-_run.nMade0);
    _run.nSrc0 += nLeft;
    _run.nMade0 += RoundTo(nLeft * dblScale, _nDstUnit);
    const int32_t nOutside = _run.nMade1 - _nOutput, nRight = Cut(nOutside);
    _run.nSrc1 -= nRight;
    // No further than the edge of an output of odd width.
    _run.nMade1 -= std::min(RoundTo(nRight * dblScale, _nDstUnit), std::max(nOutside, 0) / _nDstUnit * _nDstUnit);
}

struct EXTENT {
    int32_t nSize;  // of source or output
    int32_t nUnit;  // 2 where pixels share chroma or lines belong to fields
};

// _dblSrc0 to _dblSrc1: the crop in source pixels, _dblDst0 to _dblDst1: the block in those of the output. What the
// crop has outside of the source is taken off the block in proportion.
//
// Edges are rounded, so that blocks side by side meet; the picture is made in a size of its own, which does not change
// with its place, and loses a last column or line where the edges lie closer.
RUN MakeRun(double _dblSrc0, double _dblSrc1, const EXTENT& _source, double _dblDst0, double _dblDst1,
            const EXTENT& _output, bool _bCut) {
    RUN run;
    const int32_t nUnit = _output.nUnit, nSrcUnit = _source.nUnit;
    run.nBlock0 = RoundTo(_dblDst0, nUnit);
    run.nBlock1 = run.nBlock0 + SizeOf(_dblDst1 - _dblDst0, nUnit);
    const double dblSrc0 = std::max(_dblSrc0, 0.0), dblSrc1 = std::min(_dblSrc1, 1.0 * _source.nSize);
    const int32_t nSourceEnd = _source.nSize - _source.nSize % nSrcUnit;
    if (dblSrc1 <= dblSrc0 || _dblDst1 <= _dblDst0 || nSourceEnd < nSrcUnit) return run;
    const double dblScale = (_dblDst1 - _dblDst0) / (_dblSrc1 - _dblSrc0);
    const double dblDst0 = _dblDst0 + (dblSrc0 - _dblSrc0) * dblScale;
    const double dblDst1 = _dblDst0 + (dblSrc1 - _dblSrc0) * dblScale;
    run.nSrc0 = std::min(RoundTo(dblSrc0, nSrcUnit), nSourceEnd - nSrcUnit);
    run.nSrc1 = std::clamp(RoundTo(dblSrc1, nSrcUnit), run.nSrc0 + nSrcUnit, nSourceEnd);
    run.nMade0 = run.nDst0 = RoundTo(dblDst0, nUnit);
    run.nMade1 = run.nMade0 + SizeOf(dblDst1 - dblDst0, nUnit);
    run.nDst1 = std::min(RoundTo(dblDst1, nUnit), run.nMade1);
    run.nLaid0 = run.nDst0;
    run.nLaid1 = run.nDst1;
    if (run.nDst1 <= 0 || run.nDst0 >= _output.nSize) run.nDst1 = run.nDst0;
    if (run.Empty()) return run;

    const int32_t nHuge = 4 * _output.nSize;  // would not be worth its memory, or not fit in it
    const bool bOutside = run.nMade0 < 0 || run.nMade1 > _output.nSize;
    if (bOutside && (_bCut || run.nMade1 - run.nMade0 > nHuge)) {
        constexpr int32_t kSteps = 16;
        const int32_t nStep = std::max((run.nSrc1 - run.nSrc0) / kSteps / nSrcUnit * nSrcUnit, nSrcUnit);
        CutRun(run, _output.nSize, nSrcUnit, nUnit, nStep);
        if (run.nMade1 - run.nMade0 > nHuge) CutRun(run, _output.nSize, nSrcUnit, nUnit, nSrcUnit);
        // Source pixels that are larger than the screen.
        if (run.nMade1 - run.nMade0 > nHuge) run.nMade0 = std::max(run.nMade0, 0);
        if (run.nMade1 - run.nMade0 > nHuge) run.nMade1 = run.nMade0 + SizeOf(_output.nSize, nUnit);
    }
    run.nDst0 = std::max(run.nDst0, run.nMade0);
    run.nDst1 = std::min(run.nDst1, run.nMade1);
    return run;
}

// How fields are treated, as when whole frames are converted.
struct FIELD_RULE {
    bool bInterlaced = false;
    uint32_t nFlags = 0;
};

FIELD_RULE FieldRule(const ZR_VID_PROPS& _src, const ZR_VID_PROPS& _output, const SCALING_QUALITY& _quality) {
    const int32_t nSrc = InterlaceClass(&_src), nDst = InterlaceClass(&_output);
    if (const int32_t nField = DeinterlaceField(_src); nField != 0)
        return {true, nField == 1 ? uint32_t{eScale_Field1} : uint32_t{eScale_Field2}};
    if (nSrc != 0 && nDst != 0) return {true, nSrc * nDst < 0 ? uint32_t{eScale_LineUp} : 0};
    if (nSrc != 0 && _quality.bSeparateFields)
        return {true, nSrc > 0 ? uint32_t{eScale_Field1} : uint32_t{eScale_Field2}};
    return {};
}

// RGB of odd width, of which a copy in pairs of pixels would lose the last column.
bool IsOddRgb(const ZR_VID_PROPS& _source, eZrFCC _fccOutput) {
    const bool bRgb = _source.fccType == eZrFCC_RGB24 || FamilyOf(_source.fccType) == eZrFCC_ARGB32;
    return bRgb && HasChromaPairs(_fccOutput) && _source.nWidth % 2 != 0;
}

// The format of the copy: what can be laid over the output without a further step. With a mask an RGB output gets
// colours that are multiplied by it. RGB32 stays what it is over ARGB32: its fourth byte is no alpha.
eZrFCC CopyFormat(const ZR_VID_PROPS& _source, eZrFCC _fccOutput, bool _bMask) {
    const eZrFCC fccSource = _source.fccType;
    if (fccSource == eZrFCC_ARGB32 || IsOddRgb(_source, _fccOutput)) return eZrFCC_ARGB32;
    if (_bMask && PixelFormatBottomUp(_fccOutput)) return eZrFCC_ARGB32;
    return SameFamily(fccSource, _fccOutput) ? fccSource : _fccOutput;
}

// The mask of the whole block as it lies on the picture; sizes beyond reason are stretched from a smaller one.
HRESULT PartOfMask(const BlockPicture& _picture, const tagRECT& _block, BlockMask& _mask, eInterpolation _eQuality,
                   PICTURE_MAKER& _maker, CAutoObj<MaskPlane>* _ppPlane, MIX_MASK* _pPart) {
    const int32_t nWidth = RectWidth(_block), nHeight = RectHeight(_block);
    const tagRECT& dst = _picture.dstRect;
    constexpr int32_t kMost = 8192, kStretched = 1024;
    const bool bLarge = nWidth > kMost || nHeight > kMost;
    HRESULT hr = _mask.Mask(bLarge ? kStretched : nWidth, bLarge ? kStretched : nHeight, false, _eQuality, _ppPlane);
    if (Failed(hr) || !*_ppPlane) return hr;
    if (!bLarge) {
        *_pPart = (*_ppPlane)->Mask(dst.left - _block.left, dst.top - _block.top);
        return S_OK;
    }
    hr = _maker.partMask.Resize(RectWidth(dst), RectHeight(dst));
    const auto At = [](int32_t _n, int32_t _nSize) { return static_cast<int32_t>(int64_t{_n} * kStretched / _nSize); };
    const tagRECT src{At(dst.left - _block.left, nWidth), At(dst.top - _block.top, nHeight),
                      std::max(At(dst.right - _block.left, nWidth), At(dst.left - _block.left, nWidth) + 1),
                      std::max(At(dst.bottom - _block.top, nHeight), At(dst.top - _block.top, nHeight) + 1)};
    if (Succeeded(hr))
        hr = ScaleMaskRect(_maker.maskEngine, (*_ppPlane)->Row(0), (*_ppPlane)->Props(), &src, _maker.partMask, nullptr,
                           _eQuality);
    *_pPart = _maker.partMask.Mask();
    return hr;
}

void CopyMask(const MIX_MASK& _part, MaskPlane& _plane) {
    for (int32_t y = 0; y < _plane.Height(); ++y) {
        const int32_t nRow = _part.nTop + y;
        uint8_t* pTo = _plane.Row(y);
        std::memset(pTo, 0, static_cast<size_t>(_plane.Width()));
        if (nRow < 0 || nRow >= _part.nHeight) continue;
        const int32_t nFirst = std::max(0, -_part.nLeft), nEnd = std::min(_plane.Width(), _part.nWidth - _part.nLeft);
        if (nFirst < nEnd)
            std::memcpy(pTo + nFirst, _part.pMask + nRow * _part.nStride + _part.nLeft + nFirst,
                        static_cast<size_t>(nEnd - nFirst));
    }
}

// Puts the picture's mask together from the block's and the screen's.
HRESULT MakeMask(const PICTURE_PLAN& _plan, const tagRECT& _block, BlockMask& _mask, PICTURE_MAKER& _maker,
                 BlockPicture& _picture) {
    constexpr eInterpolation eQuality = eInterpolation::Linear;
    CAutoObj<MaskPlane> pBlock, pScreen;
    MIX_MASK part;
    HRESULT hr = PartOfMask(_picture, _block, _mask, eQuality, _maker, &pBlock, &part);
    if (Succeeded(hr)) hr = _mask.Mask(_plan.output.nWidth, AbsHeight(_plan.output.nHeight), true, eQuality, &pScreen);
    _picture.bMasked = pBlock || pScreen;
    if (Failed(hr) || !_picture.bMasked) return hr;
    hr = _picture.mask.Resize(RectWidth(_picture.dstRect), RectHeight(_picture.dstRect));
    if (Failed(hr)) return hr;
    if (pBlock) CopyMask(part, _picture.mask);
    if (!pScreen) return S_OK;
    const MIX_MASK screen = pScreen->Mask(_picture.dstRect.left, _picture.dstRect.top);
    if (!pBlock) {
        CopyMask(screen, _picture.mask);
        return S_OK;
    }
    hr = _maker.partMask.Resize(_picture.mask.Width(), _picture.mask.Height());
    if (Failed(hr)) return hr;
    CopyMask(screen, _maker.partMask);
    return MultiplyMask(_picture.mask, _maker.partMask.Mask());
}

// ARGB32 that has come from a picture without alpha.
void SetOpaque(const PICTURE& _picture) {
    for (int32_t y = 0; y < _picture.Height(); ++y) {
        uint8_t* p = _picture.Packed().Row(y);
        for (int32_t x = 0; x < _picture.Width(); ++x) p[4 * x + 3] = 255;
    }
}

// Premultiplies ARGB32 by a mask of its size.
void MultiplyByMask(const PICTURE& _picture, const MaskPlane& _mask) {
    for (int32_t y = 0; y < _picture.Height(); ++y) {
        uint8_t* p = _picture.Packed().Row(y);
        const uint8_t* pMask = _mask.Row(y);
        for (int32_t x = 0; x < _picture.Width(); ++x, p += 4) {
            for (int i = 0; i < 4; ++i) {
                const uint32_t n = p[i] * uint32_t{pMask[x]} + 128;
                p[i] = static_cast<uint8_t>((n + (n >> 8)) >> 8);
            }
        }
    }
}

// The record of the copy, and how it is scaled.
struct COPY_PLAN {
    ZR_VID_PROPS props;
    SCALING_QUALITY quality;
    FIELD_RULE rule;
};

COPY_PLAN PlanCopy(const ZR_VID_PROPS& _source, const tagSIZE& _made, const PICTURE_PLAN& _plan, bool _bMask) {
    COPY_PLAN copy;
    ZR_VID_PROPS& props = copy.props;
    props.fccType = CopyFormat(_source, _plan.output.fccType, _bMask);
    props.nWidth = _made.cx;
    const int32_t nLines = _made.cy;
    props.nHeight = PixelFormatBottomUp(props.fccType) ? -nLines : nLines;
    props.nRowBytes = MinRowBytes(props.fccType, props.nWidth);
    props.eInterlace = InterlaceClass(&_plan.output) != 0 ? _plan.output.eInterlace : eZrI_Progressive;
    copy.quality = ScalingQuality(_plan.nQuality, _source, props, -1);
    copy.rule = FieldRule(_source, _plan.output, copy.quality);
    return copy;
}

// _srcRect becomes a picture.
HRESULT MakeCopy(const FRAME_PICTURE& _source, const tagRECT& _srcRect, const COPY_PLAN& _copy, PICTURE_MAKER& _maker,
                 BlockPicture& _picture) {
    _picture.props = _copy.props;
    uint8_t* const pCopy = Scratch(_picture.copy, PictureBytes(_copy.props));
    if (!pCopy) return E_OUTOFMEMORY;
    PICTURE copy;
    HRESULT hr = PictureOf(pCopy, _copy.props, copy);
    if (Succeeded(hr))
        hr = Img_Convert_I(_maker.engine, _source.picture, copy, _source.props, _copy.props, _copy.rule.bInterlaced,
                           &_srcRect, nullptr, _copy.quality.eMode, 0, _copy.rule.nFlags);
    if (hr == S_OK) _picture.pBits = pCopy;
    return hr;
}

// The same as rows that are still to be made. ZR_E_RETRY: it is not by rows that this picture is made.
HRESULT PrepareRows(const FRAME_PICTURE& _source, const tagRECT& _srcRect, const COPY_PLAN& _copy, IZrFFrame& _frame,
                    BlockPicture& _picture) {
    ROWS_TO_MAKE& rows = *_picture.pRows;
    const HRESULT hr = Img_PrepareRows(rows.engine, _source.picture, _source.props, _copy.props, _copy.rule.bInterlaced,
                                       _srcRect, _copy.quality.eMode, _copy.rule.nFlags, rows.scaling);
    if (hr != S_OK) return ZR_E_RETRY;
    _picture.props = _copy.props;
    rows.rtMade.store(0, std::memory_order_relaxed);
    rows.pSource = &_frame;
    return S_OK;
}

// The bytes can be laid as they are: nothing to convert, and every line in its field.
bool FitsAsItIs(const FRAME_PICTURE& _source, const tagRECT& _srcRect, const tagSIZE& _made,
                const PICTURE_PLAN& _plan) {
    const ZR_VID_PROPS& props = _source.props;
    if (RectWidth(_srcRect) != _made.cx || RectHeight(_srcRect) != _made.cy) return false;
    if (props.fccType != eZrFCC_ARGB32 && !SameFamily(props.fccType, _plan.output.fccType)) return false;
    if (PixelFormatPlanar(props.fccType) || DeinterlaceField(props) != 0) return false;
    const int32_t nSrc = InterlaceClass(&props), nDst = InterlaceClass(&_plan.output);
    return nSrc == 0 || nDst == 0 || nSrc == nDst;
}

}  // namespace

bool PICTURE_PLAN::SamePicture(const PICTURE_PLAN& _other) const {
    return dst == _other.dst && crop == _other.crop && nQuality == _other.nQuality && nMasks == _other.nMasks &&
           nField == _other.nField && bHasMask == _other.bHasMask && bCut == _other.bCut &&
           SameGeometry(output, _other.output);
}

HRESULT MakeBlockPicture(IZrFFrame& _frame, const ZRF_FRAME_INFO& _info, const PICTURE_PLAN& _plan, BlockMask& _mask,
                         eMake _eMake, PICTURE_MAKER& _maker, BlockPicture& _picture) {
    _picture.pBits = nullptr;
    _picture.bMasked = _picture.bPremultiplied = false;
    if (_eMake == eMake::Rows && !_picture.pRows) _picture.pRows = std::make_unique<ROWS_TO_MAKE>();
    if (_picture.pRows) _picture.pRows->pSource.Reset();
    if (_eMake != eMake::Whole && _plan.bHasMask) return ZR_E_RETRY;
    FRAME_PICTURE source{_info.avProps.vidProps, {}};
    if (_info.lpVideo == 0 || !PropsValid(&source.props, true) || !PropsValid(&_plan.output, true)) return S_FALSE;
    if (_eMake == eMake::Reference && PixelFormatPlanar(source.props.fccType)) return ZR_E_RETRY;
    HRESULT hr = PictureOfFrame(_frame, &source);
    if (Failed(hr)) return hr;

    const int32_t nLines = AbsHeight(source.props.nHeight);
    const RECT_F dst = Ordered(_plan.dst), crop = Ordered(_plan.crop);
    const bool bSrcPairs = HasChromaPairs(source.props.fccType);
    const bool bDstPairs = HasChromaPairs(_plan.output.fccType);
    const bool bSrcFields =
        InterlaceClass(&source.props) != 0 || DeinterlaceField(source.props) != 0 || Is420(source.props.fccType);
    const bool bDstFields = InterlaceClass(&_plan.output) != 0;
    // What stays RGB until it is laid has no pairs; all else changes between RGB and shared chroma by pairs.
    const bool bPairs = bSrcPairs || bDstPairs;
    const bool bOddRgb = IsOddRgb(source.props, _plan.output.fccType);
    const EXTENT srcAcross{source.props.nWidth, bPairs && source.props.fccType != eZrFCC_ARGB32 && !bOddRgb ? 2 : 1};
    const EXTENT dstAcross{_plan.output.nWidth, bPairs ? 2 : 1};
    const EXTENT srcDown{nLines, bSrcFields ? 2 : 1};
    const EXTENT dstDown{AbsHeight(_plan.output.nHeight), bDstFields ? 2 : 1};
    const RUN across = MakeRun(double{crop.left} * source.props.nWidth, double{crop.right} * source.props.nWidth,
                               srcAcross, dst.left, dst.right, dstAcross, _plan.bCut);
    const RUN down = MakeRun(double{crop.top} * nLines, double{crop.bottom} * nLines, srcDown, dst.top, dst.bottom,
                             dstDown, _plan.bCut);
    if (across.Empty() || down.Empty()) return S_FALSE;
    const tagRECT block{across.nBlock0, down.nBlock0, across.nBlock1, down.nBlock1};
    const tagRECT srcRect{across.nSrc0, down.nSrc0, across.nSrc1, down.nSrc1};
    const tagSIZE made{across.nMade1 - across.nMade0, down.nMade1 - down.nMade0};
    _picture.dstRect = {across.nDst0, down.nDst0, across.nDst1, down.nDst1};
    _picture.laidRect = {across.nLaid0, down.nLaid0, across.nLaid1, down.nLaid1};
    // The part of what is made that is seen.
    const int32_t nX = across.nDst0 - across.nMade0, nY = down.nDst0 - down.nMade0;
    _picture.srcRect = {nX, nY, nX + across.nDst1 - across.nDst0, nY + down.nDst1 - down.nDst0};

    if (_plan.bHasMask) hr = MakeMask(_plan, block, _mask, _maker, _picture);
    if (Failed(hr)) return hr;
    const bool bPremultiply = _picture.bMasked && CopyFormat(source.props, _plan.output.fccType, true) == eZrFCC_ARGB32;
    if (!bPremultiply && FitsAsItIs(source, srcRect, made, _plan)) {
        _picture.pFrame = &_frame;
        _picture.pBits = reinterpret_cast<const uint8_t*>(_info.lpVideo);
        _picture.props = source.props;
        const tagRECT& seen = _picture.srcRect;
        _picture.srcRect = {srcRect.left + seen.left, srcRect.top + seen.top, srcRect.left + seen.right,
                            srcRect.top + seen.bottom};
        return S_OK;
    }
    _picture.pFrame.Reset();
    if (_eMake == eMake::Reference) return ZR_E_RETRY;
    const COPY_PLAN copy = PlanCopy(source.props, made, _plan, bPremultiply);
    if (_eMake == eMake::Rows) return PrepareRows(source, srcRect, copy, _frame, _picture);
    hr = MakeCopy(source, srcRect, copy, _maker, _picture);
    const bool bSetAlpha = source.props.fccType != eZrFCC_ARGB32 && (bPremultiply || bOddRgb);
    if (hr != S_OK || !(bPremultiply || bSetAlpha)) return hr;
    PICTURE picture;
    hr = PictureOf(_picture.copy.Data(), _picture.props, picture);
    if (Failed(hr)) return hr;
    picture = CutPicture(picture, _picture.srcRect);
    if (bSetAlpha) SetOpaque(picture);
    if (bPremultiply) MultiplyByMask(picture, _picture.mask);
    _picture.bMasked = false;
    return S_OK;
}

HRESULT TakeApart(const BlockPicture& _picture, const ZR_VID_PROPS& _output, BlockPicture& _apart) {
    if (!_picture.HasAlpha() || !IsPacked422(_output.fccType)) return S_FALSE;
    PICTURE whole, colours;
    HRESULT hr = PictureOf(const_cast<uint8_t*>(_picture.pBits), _picture.props, whole);
    if (Failed(hr)) return hr;
    _apart.pBits = nullptr;
    _apart.pFrame.Reset();
    if (_apart.pRows) _apart.pRows->pSource.Reset();
    ZR_VID_PROPS& props = _apart.props;
    props = _output;
    props.eVideoFormat = eZrVF_Custom;
    props.nWidth = RectWidth(_picture.srcRect);
    props.nHeight = RectHeight(_picture.srcRect);
    props.nRowBytes = MinRowBytes(props.fccType, props.nWidth);
    uint8_t* const pBits = Scratch(_apart.copy, PictureBytes(props));
    if (!pBits) return E_OUTOFMEMORY;
    hr = PictureOf(pBits, props, colours);
    if (Succeeded(hr)) hr = ConvertPicture(CutPicture(whole, _picture.srcRect), colours, false, false);
    if (Succeeded(hr)) hr = ExtractMask(_picture.pBits, _picture.props, &_picture.srcRect, _apart.mask);
    if (Failed(hr)) return hr;
    _apart.srcRect = {0, 0, props.nWidth, props.nHeight};
    _apart.dstRect = _picture.dstRect;
    _apart.laidRect = _picture.laidRect;
    _apart.bMasked = _apart.bPremultiplied = true;
    _apart.pBits = pBits;
    return S_OK;
}

}  // namespace zr
