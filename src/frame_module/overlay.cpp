#include "frame_module/overlay.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "frame_module/overlay_engines.h"
#include "frame_module/picture_block.h"
#include "frame_module/props_line.h"
#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "video/image_convert.h"
#include "video/overlay_picture.h"
#include "video/picture.h"
#include "video/scale_rects.h"
#include "video/scaling_quality.h"

namespace zr {

namespace {

int32_t ToPixels(double _dbl) {
    if (std::isnan(_dbl)) return 0;
    constexpr double kMost = 1 << 20;  // far outside of any picture, and sums of it fit
    return static_cast<int32_t>(std::lround(std::clamp(_dbl, -kMost, kMost)));
}

int32_t FloorHalf(int32_t _n) { return _n >> 1; }
int32_t FloorEven(int32_t _n) { return _n & ~1; }

// Gives a record an aspect ratio, which a missing one is not: that would count as 16:9.
void GiveAspect(double _dblAspect, ZR_VID_PROPS* _pProps) {
    constexpr int16_t kUnit = 30000;
    const auto Part = [](double _dbl) { return static_cast<int16_t>(std::lround(std::clamp(_dbl, 1.0, 1.0 * kUnit))); };
    _pProps->nAspectX = _dblAspect < 1 ? Part(kUnit * _dblAspect) : kUnit;
    _pProps->nAspectY = _dblAspect < 1 ? kUnit : Part(kUnit / _dblAspect);
}

double AspectOf(const ZR_VID_PROPS& _props) {
    if (_props.nAspectX > 0 && _props.nAspectY > 0) return AspectValue(&_props);
    return static_cast<double>(_props.nWidth) / AbsHeight(_props.nHeight);
}

// The pictures of one overlay, and the rectangles that lie on each other.
struct LAYERS {
    PICTURE_BLOCK base, over, mask;  // mask.pBits null: none
    tagRECT overRect{}, baseRect{};
    bool bKeepFields = false;  // both are interlaced: scaled field by field

    bool SameSize() const {
        return RectWidth(overRect) == RectWidth(baseRect) && RectHeight(overRect) == RectHeight(baseRect);
    }
};

tagRECT Moved(const tagRECT& _rect, int32_t _nX, int32_t _nY) {
    return {_rect.left + _nX, _rect.top + _nY, _rect.right + _nX, _rect.bottom + _nY};
}

// Sets the rectangles. False: there is nothing to lay.
bool Place(const OVERLAY_PLACE& _place, double _dblOverAspect, double _dblRectAspect, LAYERS* _pLayers) {
    ZR_VID_PROPS over = _pLayers->over.props, box = _pLayers->base.props;
    const bool bEven = HasChromaPairs(box.fccType) || HasChromaPairs(over.fccType);
    tagRECT rect = _place.rect;
    if (bEven) rect.left = FloorEven(rect.left), rect.right = FloorEven(rect.right);
    if (_place.bOwnSize) {
        tagRECT whole{0, 0, over.nWidth, AbsHeight(over.nHeight)};
        if (_place.rect.right > _place.rect.left) whole.right = std::min(whole.right, RectWidth(rect));
        if (_place.rect.bottom > _place.rect.top) whole.bottom = std::min(whole.bottom, RectHeight(rect));
        _pLayers->overRect = whole;
        _pLayers->baseRect = Moved(whole, rect.left, rect.top);
        return whole.right > 0 && whole.bottom > 0;
    }
    box.nWidth = RectWidth(rect);
    box.nHeight = RectHeight(rect);
    if (box.nWidth < 1 || box.nHeight < 1) return false;
    over.eScaleType = _place.eScale;
    GiveAspect(_dblOverAspect, &over);
    GiveAspect(_dblRectAspect, &box);
    ScaleRects(over, box, _pLayers->overRect, _pLayers->baseRect);
    _pLayers->baseRect = Moved(_pLayers->baseRect, rect.left, rect.top);
    return RectWidth(_pLayers->baseRect) > 0 && RectHeight(_pLayers->baseRect) > 0;
}

// The mask as it lies on an overlay that is not scaled.
HRESULT MaskOnOverlay(const LAYERS& _layers, OverlayEngine& _engine, MIX_MASK* _pMask) {
    const PICTURE_BLOCK& block = _layers.mask;
    HRESULT hr = S_OK;
    if (block.props.fccType == eZrFCC_ARGB32) {
        hr = ExtractMask(block.pBits, block.props, nullptr, _engine.alpha);
        *_pMask = _engine.alpha.Mask(_layers.overRect.left, _layers.overRect.top);
        return hr;
    }
    PICTURE picture;
    hr = PictureOf(block.pBits, block.props, picture);
    if (Failed(hr) || picture.fccType != eZrFCC_RGB8) return Failed(hr) ? hr : E_INVALIDARG;
    *_pMask = {picture.Packed().pTop, picture.Packed().nStride, picture.Width(),
               picture.Height(),      _layers.overRect.left,    _layers.overRect.top};
    return S_OK;
}

// The mask scaled as the overlay is, the part that is seen.
HRESULT ScaledMask(const LAYERS& _layers, const tagRECT& _seen, eInterpolation _eQuality, OverlayEngine& _engine) {
    PICTURE_BLOCK block = _layers.mask;
    HRESULT hr = _engine.scaledMask.Resize(RectWidth(_seen), RectHeight(_seen));
    if (Failed(hr)) return hr;
    if (block.props.fccType == eZrFCC_ARGB32) {
        hr = ExtractMask(block.pBits, block.props, nullptr, _engine.alpha);
        if (Failed(hr)) return hr;
        block = {_engine.alpha.Props(), _engine.alpha.Row(0)};
    }
    // A mask of another size than the overlay is stretched over it.
    const auto Stretch = [](int32_t _n, int32_t _nOver, int32_t _nMask) {
        return static_cast<int32_t>(int64_t{_n} * _nMask / _nOver);
    };
    const int32_t nOverLines = AbsHeight(_layers.over.props.nHeight), nMaskLines = AbsHeight(block.props.nHeight);
    const int32_t nOverWidth = _layers.over.props.nWidth, nMaskWidth = block.props.nWidth;
    const tagRECT rect{Stretch(_layers.overRect.left, nOverWidth, nMaskWidth),
                       Stretch(_layers.overRect.top, nOverLines, nMaskLines),
                       Stretch(_layers.overRect.right, nOverWidth, nMaskWidth),
                       Stretch(_layers.overRect.bottom, nOverLines, nMaskLines)};
    const tagRECT place = Moved(_layers.baseRect, -_seen.left, -_seen.top);
    return ScaleMaskRect(_engine.maskEngine, block.pBits, block.props, &rect, _engine.scaledMask, &place, _eQuality);
}

// The format that an overlay is scaled in: what can be laid over the base without a further step.
eZrFCC ScaledFormat(const LAYERS& _layers) {
    const eZrFCC fccOver = _layers.over.props.fccType, fccBase = _layers.base.props.fccType;
    return fccOver == eZrFCC_ARGB32 || SameFamily(fccOver, fccBase) ? fccOver : fccBase;
}

HRESULT OverlayScaled(const LAYERS& _layers, const tagRECT& _seen, int32_t _nQuality, const MIX_OPTIONS& _options,
                      OverlayEngine& _engine) {
    ZR_VID_PROPS props;
    props.fccType = ScaledFormat(_layers);
    props.nWidth = RectWidth(_seen);
    props.nHeight = PixelFormatBottomUp(props.fccType) ? -RectHeight(_seen) : RectHeight(_seen);
    props.nRowBytes = MinRowBytes(props.fccType, props.nWidth);
    props.eInterlace = _layers.bKeepFields ? _layers.base.props.eInterlace : eZrI_Progressive;
    uint8_t* pScaled = Scratch(_engine.scaled, PictureBytes(props));
    if (!pScaled) return E_OUTOFMEMORY;
    const eInterpolation eMode = ScalingQuality(_nQuality, _layers.over.props, props, -1).eMode;
    const tagRECT place = Moved(_layers.baseRect, -_seen.left, -_seen.top);
    HRESULT hr = Img_Convert(_engine.picture, _layers.over.pBits, pScaled, _layers.over.props, props,
                             _layers.bKeepFields, &_layers.overRect, &place, eMode, 0, 0);
    const bool bMask = _layers.mask.pBits != nullptr;
    if (hr == S_OK && bMask) hr = ScaledMask(_layers, _seen, eMode, _engine);
    if (hr != S_OK) return hr;
    const MIX_MASK mask = bMask ? _engine.scaledMask.Mask() : MIX_MASK{};
    return OverlayPicture(_engine.picture, _layers.base.pBits, _layers.base.props, &_seen, pScaled, props, nullptr,
                          bMask ? &mask : nullptr, _options);
}

HRESULT OverlayLayers(const LAYERS& _layers, int32_t _nQuality, const MIX_OPTIONS& _options, OverlayEngine& _engine) {
    const tagRECT& rect = _layers.baseRect;
    const tagRECT seen{std::max(rect.left, 0), std::max(rect.top, 0), std::min(rect.right, _layers.base.props.nWidth),
                       std::min(rect.bottom, AbsHeight(_layers.base.props.nHeight))};
    if (seen.left >= seen.right || seen.top >= seen.bottom) return S_FALSE;
    if (!_layers.SameSize()) return OverlayScaled(_layers, seen, _nQuality, _options, _engine);
    MIX_MASK mask;
    const HRESULT hr = _layers.mask.pBits ? MaskOnOverlay(_layers, _engine, &mask) : S_OK;
    if (Failed(hr)) return hr;
    return OverlayPicture(_engine.picture, _layers.base.pBits, _layers.base.props, &rect, _layers.over.pBits,
                          _layers.over.props, &_layers.overRect, _layers.mask.pBits ? &mask : nullptr, _options);
}

// What says which tables an engine has.
uint64_t KeyOf(const ZR_VID_PROPS& _over, const OVERLAY_PLACE& _place, int32_t _nQuality) {
    uint64_t nKey = 14695981039346656037u;
    for (const int32_t n : {static_cast<int32_t>(_over.fccType), _over.nWidth, _over.nHeight, RectWidth(_place.rect),
                            RectHeight(_place.rect), _nQuality, _place.nField})
        nKey = (nKey ^ static_cast<uint32_t>(n)) * 1099511628211u;
    return nKey;
}

// A frame's field, or the frame itself.
HRESULT FieldOf(IZrFFrame& _frame, int32_t _nField, ZrPtr<IZrFFrame>* _ppField) {
    if (_nField > 0) return _frame.ZrFCut(_nField, nullptr, _ppField->Out());
    *_ppField = &_frame;
    return S_OK;
}

// The same place in one field of the base, and the field of the overlay that goes there: 0 for the whole overlay, which
// is then scaled to half its height.
OVERLAY_PLACE PlaceInField(const OVERLAY_PLACE& _place, bool _bOverInterlaced, int32_t* _pnOverField) {
    OVERLAY_PLACE place = _place;
    *_pnOverField = 0;
    if (_place.bOwnSize) {
        // Line r of the base shows line r - top of the overlay, so an odd top exchanges the fields.
        *_pnOverField = (_place.nField - 1 + _place.rect.top) & 1 ? 2 : 1;
        place.rect.top = FloorHalf(_place.rect.top + *_pnOverField - _place.nField);
        place.rect.bottom = place.rect.top + FloorHalf(RectHeight(_place.rect) + 1);
        return place;
    }
    if (_bOverInterlaced) *_pnOverField = _place.nField;
    place.rect.top = FloorHalf(_place.rect.top);
    place.rect.bottom = FloorHalf(_place.rect.bottom);
    return place;
}

}  // namespace

tagRECT RectInPixels(const ZRF_RECT* _pRect, const ZR_VID_PROPS& _props) {
    const int32_t nLines = AbsHeight(_props.nHeight);
    if (!_pRect) return {0, 0, _props.nWidth, nLines};
    double dblX = 1, dblY = 1;
    switch (_pRect->eRectType) {
        case eZrFRT_Absolute: break;
        case eZrFRT_Relative: dblX = _props.nWidth, dblY = nLines; break;
        case eZrFRT_FixedCC_15x32: dblX = _props.nWidth / 32.0, dblY = nLines / 15.0; break;
        default: dblX = dblY = static_cast<double>(nLines) / std::max<int32_t>(_pRect->eRectType, 1); break;
    }
    const auto Edge = [](double _dblAt, double _dblUnit) { return ToPixels(_dblAt * _dblUnit); };
    return {Edge(_pRect->dblPosX, dblX), Edge(_pRect->dblPosY, dblY), Edge(_pRect->dblPosX + _pRect->dblWidth, dblX),
            Edge(_pRect->dblPosY + _pRect->dblHeight, dblY)};
}

HRESULT OverlayFrame(const ZR_VID_PROPS& _props, const Picture& _picture, IZrFFrame& _over, IZrFFrame* _pMask,
                     const OVERLAY_PLACE& _place, double _dblAlpha, const char16_t* _szPropsList) {
    if (_picture.Empty() || _props.nWidth == 0) return ZR_E_EMPTY;
    ZR_AV_PROPS overAvProps;
    HRESULT hr = _over.ZrFAVPropsGet(&overAvProps, nullptr);
    if (Failed(hr)) return hr;
    const ZR_VID_PROPS& overProps = overAvProps.vidProps;
    if (overProps.nWidth < 1 || AbsHeight(overProps.nHeight) < 1) return ZR_E_EMPTY;

    const int32_t nQuality = IntInLine(_szPropsList, u"scaling_quality", 2);
    const MIX_OPTIONS options{_dblAlpha, BoolInLine(_szPropsList, u"premultiplied", false),
                              IntInLine(_szPropsList, u"mixing.threads", 0)};
    const OverlayEngines::Lease lease(KeyOf(overProps, _place, nQuality));
    if (!lease.Get()) return E_OUTOFMEMORY;
    OverlayEngine& engine = *lease.Get();

    LAYERS layers;
    OVERLAY_PLACE place = _place;
    int32_t nOverField = 0;
    Picture basePicture;
    hr = PictureCut(_props, _picture, _place.nField, nullptr, &layers.base.props, &basePicture);
    if (Failed(hr)) return hr;
    layers.base.pBits = basePicture.pBits;
    if (_place.nField > 0) place = PlaceInField(_place, InterlaceClass(&overProps) != 0, &nOverField);
    ZrPtr<IZrFFrame> pOver, pMask;
    hr = FieldOf(_over, nOverField, &pOver);
    if (Succeeded(hr)) hr = PictureBlockOf(*pOver, engine.planes, &layers.over);
    if (Succeeded(hr) && _pMask) hr = FieldOf(*_pMask, nOverField, &pMask);
    if (Succeeded(hr) && _pMask) hr = PictureBlockOf(*pMask, engine.maskPlanes, &layers.mask);
    if (Failed(hr)) return hr;
    if (MixWeight(_dblAlpha, 256) == 0) return S_OK;

    layers.bKeepFields = InterlaceClass(&layers.base.props) != 0 && InterlaceClass(&layers.over.props) != 0;
    if (layers.bKeepFields && !place.bOwnSize)
        place.rect.top = FloorEven(place.rect.top), place.rect.bottom = FloorEven(place.rect.bottom);
    const double dblRectAspect = AspectOf(_props) * RectWidth(_place.rect) / _props.nWidth * AbsHeight(_props.nHeight) /
                                 std::max(RectHeight(_place.rect), 1);
    if (!Place(place, AspectOf(overProps), dblRectAspect, &layers)) return S_FALSE;
    return OverlayLayers(layers, nQuality, options, engine);
}

}  // namespace zr
