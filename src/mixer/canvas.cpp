#include "mixer/canvas.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "frame_module/picture_block.h"
#include "framework/frame_factory_access.h"
#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "platform/thread_pool.h"
#include "video/color_convert.h"
#include "video/kernels/mix_row.h"
#include "video/mix_image.h"
#include "video/overlay_picture.h"
#include "video/scale_rects.h"

namespace zr {

namespace {

// Rows that are composed in one go; even, as fields and shared chroma want it. Their bytes stay in the second cache.
constexpr int32_t kBandRows = 16;

tagRECT Inside(const tagRECT& _rect, const ZR_VID_PROPS& _props) {
    return {std::max(_rect.left, 0), std::max(_rect.top, 0), std::min(_rect.right, _props.nWidth),
            std::min(_rect.bottom, AbsHeight(_props.nHeight))};
}
bool IsEmptyRect(const tagRECT& _rect) { return _rect.left >= _rect.right || _rect.top >= _rect.bottom; }

size_t BytesOf(eZrFCC _fccType, int32_t _nPixels) {
    return static_cast<size_t>(_nPixels) * static_cast<size_t>(PixelFormatBits(_fccType)) / 8;
}

// A frame with room for a picture, whose content is undefined.
HRESULT NewFrame(const ZR_VID_PROPS& _props, ZrPtr<IZrFFrame>* _ppFrame, uint8_t** _ppBits) {
    ZrFrameFactory_I* pFactory = nullptr;
    HRESULT hr = FrameFactory(&pFactory);
    if (Failed(hr)) return hr;
    const uint64_t cb = PictureBytes(_props);
    if (cb > INT32_MAX) return E_OUTOFMEMORY;
    ZrPtr<IZrFrame> pShort;
    hr = pFactory->FrameCreateSized(static_cast<uint32_t>(cb), 0, 0, pShort.Out());
    if (Failed(hr)) return hr;
    *_ppFrame = pShort.As<IZrFFrame>();
    ZR_AV_PROPS props;
    props.vidProps = _props;
    hr = (*_ppFrame)->ZrFAVPropsSet(&props, nullptr);
    int32_t cbBits = 0;
    int64_t pBits = 0;
    if (Succeeded(hr)) hr = (*_ppFrame)->ZrFVideoGetBytes(&cbBits, &pBits);
    *_ppBits = reinterpret_cast<uint8_t*>(pBits);
    return hr;
}

}  // namespace

ZR_VID_PROPS Canvas::LayerProps(const ZR_VID_PROPS& _output) {
    ZR_VID_PROPS props = _output;
    if (CanOverlay(props.fccType)) return props;
    props.eVideoFormat = eZrVF_Custom;
    props.eInterlace = InterlaceClass(&_output) == 0  ? eZrI_Progressive
                       : InterlaceClass(&_output) > 0 ? eZrI_Field1First
                                                      : eZrI_Field2First;
    props.fccType = eZrFCC_UYVY;
    props.nHeight = AbsHeight(props.nHeight);
    props.nRowBytes = MinRowBytes(props.fccType, props.nWidth);
    return props;
}

void Canvas::Begin(const ZR_VID_PROPS& _output) {
    arrLayers.clear();
    output = _output;
    work = LayerProps(_output);
}

void Canvas::Add(CAutoObj<BlockPicture> _pPicture, double _dblAlpha) {
    if (!_pPicture || !_pPicture->pBits) return;
    LAYER layer;
    layer.rect = Inside(_pPicture->dstRect, work);
    layer.nWeight = MixWeight(_dblAlpha, 256);
    layer.dblAlpha = _dblAlpha;
    if (IsEmptyRect(layer.rect) || layer.nWeight == 0) return;
    layer.bOpaque = layer.nWeight >= 256 && _pPicture->IsOpaque();
    layer.pPicture = std::move(_pPicture);
    arrLayers.push_back(std::move(layer));
}

void Canvas::AddBorders(const tagRECT& _rect, const BORDERS& _borders, double _dblAlpha) {
    tagRECT arrSides[4];
    if (!BorderRects(work, _rect, _borders, arrSides)) return;
    for (size_t i = 0; i < std::size(arrSides); ++i) {
        LAYER layer;
        layer.rect = arrSides[i];
        layer.colour = _borders.arrColours[i];
        layer.nWeight = BorderWeight(layer.colour, _dblAlpha);
        layer.bOpaque = layer.nWeight >= 256;
        if (!IsEmptyRect(layer.rect) && layer.nWeight > 0) arrLayers.push_back(std::move(layer));
    }
}

// Nothing shows of what is under the last layer that covers all.
void Canvas::DropCovered() {
    for (size_t i = arrLayers.size(); i-- > 1;) {
        const LAYER& layer = arrLayers[i];
        const bool bAll = layer.rect.left == 0 && layer.rect.top == 0 && layer.rect.right == work.nWidth &&
                          layer.rect.bottom == AbsHeight(work.nHeight);
        if (!layer.bOpaque || !bAll) continue;
        arrLayers.erase(arrLayers.begin(), arrLayers.begin() + static_cast<ptrdiff_t>(i));
        return;
    }
}

// Its frame is the output's picture as it is.
bool Canvas::IsWholeFrame(const LAYER& _layer) const {
    if (!_layer.bOpaque || !_layer.pPicture || !_layer.pPicture->pFrame) return false;
    const BlockPicture& picture = *_layer.pPicture;
    const ZR_VID_PROPS& props = picture.props;
    const auto IsWhole = [&](const tagRECT& _rect) {
        return _rect.left == 0 && _rect.top == 0 && _rect.right == output.nWidth &&
               _rect.bottom == AbsHeight(output.nHeight);
    };
    return props.fccType == output.fccType && props.nWidth == output.nWidth && props.nHeight == output.nHeight &&
           props.nRowBytes == output.nRowBytes && IsWhole(picture.srcRect) && IsWhole(picture.dstRect);
}

HRESULT Canvas::ReadBase(IZrFFrame* _pFrame, BASE* _pBase) {
    black = FillPattern(work.fccType, 0, kFillBlack);
    if (!_pFrame) return S_OK;
    PICTURE_BLOCK block;
    HRESULT hr = PictureBlockOf(*_pFrame, basePlanes, &block);
    if (hr == ZR_E_EMPTY) return S_OK;
    if (Failed(hr)) return hr;
    if (!SameFamily(block.props.fccType, work.fccType)) {
        ZR_VID_PROPS props = work;
        props.nWidth = block.props.nWidth;
        props.nHeight = AbsHeight(block.props.nHeight);
        props.nRowBytes = MinRowBytes(props.fccType, props.nWidth);
        uint8_t* p = Scratch(baseConverted, PictureBytes(props));
        if (!p) return E_OUTOFMEMORY;
        hr = ColorConvert(engine, block.pBits, p, block.props, props, nullptr, nullptr);
        if (Failed(hr)) return hr;
        block = {props, p};
    }
    hr = PictureOf(block.pBits, block.props, _pBase->picture);
    _pBase->bPicture = Succeeded(hr);
    return hr;
}

// What no opaque layer of these rows hides: the base, or black.
void Canvas::LayBase(const BASE& _base, const PICTURE& _target, int32_t _nFirst, int32_t _nEnd) const {
    struct SPAN {
        int32_t nFrom, nTo;
    };
    std::array<SPAN, 64> arrSpans;
    size_t nSpans = 0;
    for (const LAYER& layer : arrLayers)
        if (layer.bOpaque && layer.rect.top <= _nFirst && layer.rect.bottom >= _nEnd && nSpans < arrSpans.size())
            arrSpans[nSpans++] = {layer.rect.left, layer.rect.right};
    std::sort(arrSpans.begin(), arrSpans.begin() + nSpans,
              [](const SPAN& _a, const SPAN& _b) { return _a.nFrom < _b.nFrom; });

    const PLANE& target = _target.Packed();
    const auto Lay = [&](int32_t _nFrom, int32_t _nTo) {
        const size_t nAt = BytesOf(_target.fccType, _nFrom), cb = BytesOf(_target.fccType, _nTo - _nFrom);
        if (!_base.bPicture) {
            FillRows(black, target.Row(_nFirst) + nAt, target.nStride, cb, _nEnd - _nFirst);
            return;
        }
        // A base that is smaller than the output stands on black.
        const size_t cbBase = BytesOf(_target.fccType, std::clamp(_base.picture.Width() - _nFrom, 0, _nTo - _nFrom));
        for (int32_t y = _nFirst; y < _nEnd; ++y) {
            uint8_t* const p = target.Row(y) + nAt;
            const size_t cbCopy = y < _base.picture.Height() ? cbBase : 0;
            if (cbCopy > 0) std::memcpy(p, _base.picture.Packed().Row(y) + nAt, cbCopy);
            if (cbCopy < cb) FillRows(black, p + cbCopy, target.nStride, cb - cbCopy, 1);
        }
    };
    int32_t nAt = 0;
    for (size_t i = 0; i < nSpans; ++i) {
        if (arrSpans[i].nFrom > nAt) Lay(nAt, arrSpans[i].nFrom);
        nAt = std::max(nAt, arrSpans[i].nTo);
    }
    if (nAt < _target.Width()) Lay(nAt, _target.Width());
}

void Canvas::LayLayer(const LAYER& _layer, const PICTURE& _target, uint8_t* _pBits, int32_t _nFirst,
                      int32_t _nEnd) const {
    const tagRECT rect{_layer.rect.left, std::max(_layer.rect.top, _nFirst), _layer.rect.right,
                       std::min(_layer.rect.bottom, _nEnd)};
    if (IsEmptyRect(rect)) return;
    if (!_layer.pPicture) {
        MixColour(CutPicture(_target, rect), _layer.colour, _layer.nWeight);
        return;
    }
    const BlockPicture& picture = *_layer.pPicture;
    const int32_t nX = rect.left - picture.dstRect.left, nY = rect.top - picture.dstRect.top;
    const tagRECT src{picture.srcRect.left + nX, picture.srcRect.top + nY, picture.srcRect.left + nX + RectWidth(rect),
                      picture.srcRect.top + nY + RectHeight(rect)};
    const MIX_MASK mask = picture.bMasked ? picture.mask.Mask(nX, nY) : MIX_MASK{};
    const MIX_OPTIONS options{_layer.dblAlpha, picture.bPremultiplied, 0};
    if (SameFamily(work.fccType, picture.props.fccType))
        MixImage_Mask8(_pBits, work, &rect, picture.pBits, picture.props, &src, picture.bMasked ? &mask : nullptr,
                       options);
    else
        MixImage_Argb(_pBits, work, &rect, picture.pBits, picture.props, &src, options);
}

// The picture that lies under all rows of a band from edge to edge, its first row; the layers from *_pnNext on are
// above it. Null: there is no such.
const uint8_t* Canvas::UnderBand(const BASE& _base, int32_t _nFirst, int32_t _nEnd, size_t* _pnNext,
                                 ptrdiff_t* _pnStride) const {
    const LAYER& first = arrLayers[0];
    if (first.bOpaque && first.pPicture && first.rect.left == 0 && first.rect.right == work.nWidth &&
        first.rect.top <= _nFirst && first.rect.bottom >= _nEnd) {
        const BlockPicture& picture = *first.pPicture;
        PICTURE under;
        if (Failed(PictureOf(const_cast<uint8_t*>(picture.pBits), picture.props, under))) return nullptr;
        *_pnNext = 1;
        *_pnStride = under.Packed().nStride;
        return under.Packed().Row(picture.srcRect.top + _nFirst - picture.dstRect.top) +
               BytesOf(work.fccType, picture.srcRect.left - picture.dstRect.left);
    }
    if (!_base.bPicture || _base.picture.Width() < work.nWidth || _base.picture.Height() < _nEnd) return nullptr;
    *_pnNext = 0;
    *_pnStride = _base.picture.Packed().nStride;
    return _base.picture.Packed().Row(_nFirst);
}

// A picture and a half transparent one over it go into the target in one pass. Returns how many layers that were; 0:
// the base is not laid yet.
size_t Canvas::LayTwo(const BASE& _base, const PICTURE& _target, int32_t _nFirst, int32_t _nEnd) const {
    size_t nNext = 0;
    ptrdiff_t nStride = 0;
    const uint8_t* pUnder = UnderBand(_base, _nFirst, _nEnd, &nNext, &nStride);
    if (!pUnder || nNext >= arrLayers.size()) return 0;
    const LAYER& layer = arrLayers[nNext];
    if (!layer.pPicture || layer.bOpaque || layer.rect.top > _nFirst || layer.rect.bottom < _nEnd) return 0;
    const BlockPicture& picture = *layer.pPicture;
    PICTURE over;
    if (picture.bMasked || picture.HasAlpha() || !SameFamily(picture.props.fccType, work.fccType) ||
        Failed(PictureOf(const_cast<uint8_t*>(picture.pBits), picture.props, over)))
        return 0;
    const size_t cbLeft = BytesOf(work.fccType, layer.rect.left), cbEnd = BytesOf(work.fccType, layer.rect.right);
    const size_t cbRow = BytesOf(work.fccType, work.nWidth);
    const size_t nOver = BytesOf(work.fccType, picture.srcRect.left + layer.rect.left - picture.dstRect.left);
    for (int32_t y = _nFirst; y < _nEnd; ++y, pUnder += nStride) {
        uint8_t* const p = _target.Packed().Row(y);
        std::memcpy(p, pUnder, cbLeft);
        MixPlainRowTo(over.Packed().Row(picture.srcRect.top + y - picture.dstRect.top) + nOver, pUnder + cbLeft,
                      p + cbLeft, cbEnd - cbLeft, layer.nWeight);
        std::memcpy(p + cbEnd, pUnder + cbEnd, cbRow - cbEnd);
    }
    return nNext + 1;
}

void Canvas::DrawBand(const BASE& _base, const PICTURE& _target, uint8_t* _pBits, int32_t _nFirst,
                      int32_t _nEnd) const {
    size_t i = LayTwo(_base, _target, _nFirst, _nEnd);
    if (i == 0) LayBase(_base, _target, _nFirst, _nEnd);
    for (; i < arrLayers.size(); ++i) LayLayer(arrLayers[i], _target, _pBits, _nFirst, _nEnd);
}

HRESULT Canvas::Draw(const BASE& _base, uint8_t* _pBits, int32_t _nThreads) const {
    PICTURE target;
    const HRESULT hr = PictureOf(_pBits, work, target);
    if (Failed(hr)) return hr;
    const auto Rows = [&](int32_t _nFirst, int32_t _nEnd) {
        for (int32_t y = _nFirst; y < _nEnd; y += kBandRows)
            DrawBand(_base, target, _pBits, y, std::min(y + kBandRows, _nEnd));
    };
    const int32_t nRows = target.Height();
    const int32_t nWorkers = MixWorkers(_nThreads, nRows);
    // Bands of an even count, for the sake of fields.
    if (nWorkers == 1)
        Rows(0, nRows);
    else
        ParallelRows(
            (nRows + kBandRows - 1) / kBandRows, (nRows / kBandRows + nWorkers - 1) / nWorkers,
            [&](int32_t _nFirst, int32_t _nEnd) { Rows(_nFirst * kBandRows, std::min(_nEnd * kBandRows, nRows)); });
    return S_OK;
}

HRESULT Canvas::Compose(IZrFFrame* _pBase, int32_t _nThreads, ZrPtr<IZrFFrame>* _ppFrame) {
    _ppFrame->Reset();
    if (arrLayers.empty()) return S_FALSE;
    DropCovered();
    if (arrLayers.size() == 1 && IsWholeFrame(arrLayers[0])) {
        *_ppFrame = arrLayers[0].pPicture->pFrame;
        return S_OK;
    }
    BASE base;
    HRESULT hr = ReadBase(_pBase, &base);
    if (Failed(hr)) return hr;
    ZrPtr<IZrFFrame> pFrame;
    uint8_t* pBits = nullptr;
    hr = NewFrame(output, &pFrame, &pBits);
    if (Failed(hr)) return hr;
    const bool bDirect = work.fccType == output.fccType;
    uint8_t* const pWork = bDirect ? pBits : Scratch(composed, PictureBytes(work));
    if (!pWork) return E_OUTOFMEMORY;
    hr = Draw(base, pWork, _nThreads);
    if (Succeeded(hr) && !bDirect) {
        PICTURE from, to;
        hr = PictureOf(pWork, work, from);
        if (Succeeded(hr)) hr = PictureOf(pBits, output, to);
        if (Succeeded(hr)) hr = ConvertPicture(from, to, InterlaceClass(&output) != 0, _nThreads > 1);
    }
    if (Succeeded(hr)) *_ppFrame = std::move(pFrame);
    return hr;
}

}  // namespace zr
