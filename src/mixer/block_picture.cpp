#include "mixer/block_picture.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "frame_module/picture_block.h"
#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "video/image_convert.h"
#include "video/picture.h"
#include "video/scale_rects.h"
#include "video/scaling_quality.h"

namespace zr {

namespace {

bool SameGeometry(const ZR_VID_PROPS& _a, const ZR_VID_PROPS& _b) {
    return _a.fccType == _b.fccType && _a.nWidth == _b.nWidth && _a.nHeight == _b.nHeight &&
           _a.nRowBytes == _b.nRowBytes && InterlaceClass(&_a) == InterlaceClass(&_b);
}

// One direction of what is laid: a run of source pixels onto a run of output pixels.
struct RUN {
    int32_t nSrc0, nSrc1, nDst0, nDst1;
    int32_t nBlock0, nBlock1;  // of the whole block
    bool Empty() const { return nSrc0 >= nSrc1 || nDst0 >= nDst1; }
};

int32_t RoundTo(double _dbl, int32_t _nUnit) { return static_cast<int32_t>(std::lround(_dbl / _nUnit)) * _nUnit; }
int32_t FloorTo(double _dbl, int32_t _nUnit) { return static_cast<int32_t>(std::floor(_dbl / _nUnit)) * _nUnit; }
int32_t CeilTo(double _dbl, int32_t _nUnit) { return static_cast<int32_t>(std::ceil(_dbl / _nUnit)) * _nUnit; }

// _src: the crop in source pixels, _dst: in output pixels. Units: 2 where pixels share chroma or lines belong to
// fields. What the crop has outside of the source is taken off the destination in proportion.
//
// What is outside of the output is left out by whole source pixels, so that a picture that slides out of view keeps its
// scale and place to the pixel.
RUN MakeRun(double _dblSrc0, double _dblSrc1, int32_t _nSource, int32_t _nSrcUnit, double _dblDst0, double _dblDst1,
            int32_t _nOutput, int32_t _nDstUnit, bool _bCut) {
    RUN run{};
    run.nBlock0 = RoundTo(_dblDst0, _nDstUnit);
    run.nBlock1 = RoundTo(_dblDst1, _nDstUnit);
    if (_dblSrc1 <= _dblSrc0 || _dblDst1 <= _dblDst0) return run;
    const double dblScale = (_dblDst1 - _dblDst0) / (_dblSrc1 - _dblSrc0);
    const auto ToDst = [&](double _dblSrc) { return _dblDst0 + (_dblSrc - _dblSrc0) * dblScale; };
    const auto ToSrc = [&](double _dblDst) { return _dblSrc0 + (_dblDst - _dblDst0) / dblScale; };
    const double dblSrc0 = std::max(_dblSrc0, 0.0), dblSrc1 = std::min(_dblSrc1, 1.0 * _nSource);
    if (dblSrc1 <= dblSrc0) return run;
    const double dblDst0 = ToDst(dblSrc0), dblDst1 = ToDst(dblSrc1);
    const int32_t nSourceEnd = _nSource - _nSource % _nSrcUnit;
    run.nSrc0 = std::min(RoundTo(dblSrc0, _nSrcUnit), nSourceEnd - _nSrcUnit);
    run.nSrc1 = std::clamp(RoundTo(dblSrc1, _nSrcUnit), run.nSrc0 + _nSrcUnit, nSourceEnd);
    run.nDst0 = RoundTo(dblDst0, _nDstUnit);
    run.nDst1 = RoundTo(dblDst1, _nDstUnit);
    const bool bOutside = run.nDst0 < 0 || run.nDst1 > _nOutput;
    const bool bHuge = run.nDst1 - run.nDst0 > 4 * _nOutput;  // would not be worth its memory, or not fit in it
    if (!bOutside || (!_bCut && !bHuge)) return run;
    if (run.nDst1 <= 0 || run.nDst0 >= _nOutput) return RUN{0, 0, 0, 0, run.nBlock0, run.nBlock1};
    if (run.nDst0 < 0) {
        run.nSrc0 = std::clamp(FloorTo(ToSrc(0), _nSrcUnit), run.nSrc0, run.nSrc1 - _nSrcUnit);
        run.nDst0 = std::min(RoundTo(ToDst(run.nSrc0), _nDstUnit), 0);
    }
    if (run.nDst1 > _nOutput) {
        const int32_t nEnd = _nOutput - _nOutput % _nDstUnit;
        run.nSrc1 = std::clamp(CeilTo(ToSrc(_nOutput), _nSrcUnit), run.nSrc0 + _nSrcUnit, run.nSrc1);
        run.nDst1 = std::max(RoundTo(ToDst(run.nSrc1), _nDstUnit), nEnd);
    }
    // A source pixel larger than the screen.
    if (run.nDst1 - run.nDst0 > 4 * _nOutput) run.nDst0 = std::max(run.nDst0, 0);
    if (run.nDst1 - run.nDst0 > 4 * _nOutput) run.nDst1 = run.nDst0 + _nOutput - _nOutput % _nDstUnit;
    return run;
}

// How fields are treated, as when whole frames are converted.
struct FIELD_RULE {
    bool bInterlaced = false;
    uint32_t nFlags = 0;
};

FIELD_RULE FieldRule(const ZR_VID_PROPS& _src, const ZR_VID_PROPS& _output, const SCALING_QUALITY& _quality) {
    const int32_t nSrc = InterlaceClass(&_src), nDst = InterlaceClass(&_output);
    if (nSrc != 0 && nDst != 0) return {true, nSrc * nDst < 0 ? uint32_t{eScale_LineUp} : 0};
    if (nSrc != 0 && _quality.bSeparateFields)
        return {true, nSrc > 0 ? uint32_t{eScale_Field1} : uint32_t{eScale_Field2}};
    return {};
}

// The format of the copy: what can be laid over the output without a further step. With a mask an RGB output gets
// colours that are multiplied by it.
eZrFCC CopyFormat(eZrFCC _fccSource, eZrFCC _fccOutput, bool _bMask) {
    if (_fccSource == eZrFCC_ARGB32) return eZrFCC_ARGB32;
    return _bMask && PixelFormatBottomUp(_fccOutput) ? eZrFCC_ARGB32 : _fccOutput;
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

// Premultiplies ARGB32 by a mask of its size. _bOpaque: the picture's own alpha does not count.
void MultiplyByMask(const PICTURE& _picture, const MaskPlane& _mask, bool _bOpaque) {
    for (int32_t y = 0; y < _picture.Height(); ++y) {
        uint8_t* p = _picture.Packed().Row(y);
        const uint8_t* pMask = _mask.Row(y);
        for (int32_t x = 0; x < _picture.Width(); ++x, p += 4) {
            if (_bOpaque) p[3] = 255;
            for (int i = 0; i < 4; ++i) {
                const uint32_t n = p[i] * uint32_t{pMask[x]} + 128;
                p[i] = static_cast<uint8_t>((n + (n >> 8)) >> 8);
            }
        }
    }
}

HRESULT MakeCopy(const PICTURE_BLOCK& _source, const PICTURE_PLAN& _plan, bool _bMask, PICTURE_MAKER& _maker,
                 BlockPicture& _picture) {
    ZR_VID_PROPS& props = _picture.props;
    props = ZR_VID_PROPS();
    props.fccType = CopyFormat(_source.props.fccType, _plan.output.fccType, _bMask);
    props.nWidth = RectWidth(_picture.dstRect);
    const int32_t nLines = RectHeight(_picture.dstRect);
    props.nHeight = PixelFormatBottomUp(props.fccType) ? -nLines : nLines;
    props.nRowBytes = MinRowBytes(props.fccType, props.nWidth);
    props.eInterlace = InterlaceClass(&_plan.output) != 0 ? _plan.output.eInterlace : eZrI_Progressive;
    uint8_t* const pCopy = Scratch(_picture.copy, PictureBytes(props));
    if (!pCopy) return E_OUTOFMEMORY;
    const SCALING_QUALITY quality = ScalingQuality(_plan.nQuality, _source.props, props, -1);
    const FIELD_RULE rule = FieldRule(_source.props, _plan.output, quality);
    const HRESULT hr = Img_Convert(_maker.engine, _source.pBits, pCopy, _source.props, props, rule.bInterlaced,
                                   &_picture.srcRect, nullptr, quality.eMode, 0, rule.nFlags);
    if (hr != S_OK) return hr;
    _picture.pBits = pCopy;
    _picture.srcRect = {0, 0, props.nWidth, nLines};
    return S_OK;
}

// The bytes can be laid as they are: nothing to convert, and every line in its field.
bool FitsAsItIs(const PICTURE_BLOCK& _source, const PICTURE_PLAN& _plan, const BlockPicture& _picture) {
    const ZR_VID_PROPS& props = _source.props;
    if (RectWidth(_picture.srcRect) != RectWidth(_picture.dstRect)) return false;
    if (RectHeight(_picture.srcRect) != RectHeight(_picture.dstRect)) return false;
    if (props.fccType != eZrFCC_ARGB32 && !SameFamily(props.fccType, _plan.output.fccType)) return false;
    if (PixelFormatPlanar(props.fccType)) return false;
    const int32_t nSrc = InterlaceClass(&props), nDst = InterlaceClass(&_plan.output);
    return nSrc == 0 || nDst == 0 || nSrc == nDst;
}

}  // namespace

bool PICTURE_PLAN::SamePicture(const PICTURE_PLAN& _other) const {
    return dst == _other.dst && crop == _other.crop && nQuality == _other.nQuality && nMasks == _other.nMasks &&
           bHasMask == _other.bHasMask && bCut == _other.bCut && SameGeometry(output, _other.output);
}

HRESULT MakeBlockPicture(IZrFFrame& _frame, const ZRF_FRAME_INFO& _info, const PICTURE_PLAN& _plan, BlockMask& _mask,
                         PICTURE_MAKER& _maker, BlockPicture& _picture) {
    _picture.pBits = nullptr;
    _picture.bMasked = false;
    PICTURE_BLOCK source{_info.avProps.vidProps, reinterpret_cast<uint8_t*>(_info.lpVideo)};
    if (!source.pBits || !PropsValid(&source.props, true) || !PropsValid(&_plan.output, true)) return S_FALSE;
    HRESULT hr = S_OK;
    if (PixelFormatPlanar(source.props.fccType)) hr = PictureBlockOf(_frame, _maker.planes, &source);
    if (Failed(hr)) return hr;

    const int32_t nLines = AbsHeight(source.props.nHeight);
    const RECT_F dst = Ordered(_plan.dst), crop = Ordered(_plan.crop);
    const bool bSrcPairs = HasChromaPairs(source.props.fccType);
    const bool bDstPairs = HasChromaPairs(_plan.output.fccType);
    const bool bSrcFields = InterlaceClass(&source.props) != 0 || Is420(source.props.fccType);
    const bool bDstFields = InterlaceClass(&_plan.output) != 0;
    const RUN across = MakeRun(crop.left * double{1.0} * source.props.nWidth, double{crop.right} * source.props.nWidth,
                               source.props.nWidth, bSrcPairs || bDstPairs ? 2 : 1, dst.left, dst.right,
                               _plan.output.nWidth, bDstPairs || bSrcPairs ? 2 : 1, _plan.bCut);
    const RUN down =
        MakeRun(double{crop.top} * nLines, double{crop.bottom} * nLines, nLines, bSrcFields || bDstFields ? 2 : 1,
                dst.top, dst.bottom, AbsHeight(_plan.output.nHeight), bDstFields ? 2 : 1, _plan.bCut);
    _picture.blockRect = {across.nBlock0, down.nBlock0, across.nBlock1, down.nBlock1};
    if (across.Empty() || down.Empty()) return S_FALSE;
    _picture.srcRect = {across.nSrc0, down.nSrc0, across.nSrc1, down.nSrc1};
    _picture.dstRect = {across.nDst0, down.nDst0, across.nDst1, down.nDst1};

    if (_plan.bHasMask) hr = MakeMask(_plan, _picture.blockRect, _mask, _maker, _picture);
    if (Failed(hr)) return hr;
    const bool bPremultiply =
        _picture.bMasked && CopyFormat(source.props.fccType, _plan.output.fccType, true) == eZrFCC_ARGB32;
    if (!bPremultiply && FitsAsItIs(source, _plan, _picture)) {
        _picture.pFrame = &_frame;
        _picture.pBits = source.pBits;
        _picture.props = source.props;
        return S_OK;
    }
    _picture.pFrame.Reset();
    hr = MakeCopy(source, _plan, bPremultiply, _maker, _picture);
    if (hr != S_OK || !bPremultiply) return hr;
    PICTURE picture;
    hr = PictureOf(_picture.copy.Data(), _picture.props, picture);
    if (Failed(hr)) return hr;
    MultiplyByMask(picture, _picture.mask, source.props.fccType != eZrFCC_ARGB32);
    _picture.bMasked = false;
    return S_OK;
}

}  // namespace zr
