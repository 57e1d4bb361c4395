#include "mixer/canvas.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <utility>

#include "frame_module/picture_block.h"
#include "framework/frame_factory_access.h"
#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "platform/clock.h"
#include "platform/thread_pool.h"
#include "video/color_convert.h"
#include "video/kernels/mix_row.h"
#include "video/mix_image.h"
#include "video/overlay_picture.h"
#include "video/scale_rects.h"
#include "video/vertical_scaler.h"

namespace zr {

namespace {

// Rows that are composed in one go; even, as fields and shared chroma want it. Their bytes stay in the second cache.
constexpr int32_t kBandRows = 16;
// That a thread takes at a time. Where rows are made it is a quarter of 1080 lines, as rows of a source are fetched
// ahead from one band to the next.
constexpr int32_t kBandsAtOnce = 2, kBandsMadeAtOnce = 17;

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

// Rows _nTop to _nTop + _nRows of a picture that has to be made, from _p on.
void MakeRows(const BlockPicture& _picture, int32_t _nTop, int32_t _nRows, uint8_t* _p, ptrdiff_t _nStride,
              uint8_t* _pScratch) {
    const int64_t rtBegin = ClockNow();
    for (int32_t y = 0; y < _nRows; ++y) _picture.pRows->scaling.MakeRow(_nTop + y, _p + y * _nStride, _pScratch);
    _picture.pRows->rtMade.fetch_add(ClockNow() - rtBegin, std::memory_order_relaxed);
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
    if (!_pPicture || !_pPicture->IsSeen()) return;
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
    FRAME_PICTURE from;
    HRESULT hr = PictureOfFrame(*_pFrame, &from);
    if (hr == ZR_E_EMPTY) return S_OK;
    if (Failed(hr)) return hr;
    _pBase->picture = from.picture;
    if (!SameFamily(from.props.fccType, work.fccType)) {
        ZR_VID_PROPS props = work;
        props.nWidth = from.props.nWidth;
        props.nHeight = AbsHeight(from.props.nHeight);
        props.nRowBytes = MinRowBytes(props.fccType, props.nWidth);
        uint8_t* p = Scratch(baseConverted, PictureBytes(props));
        if (!p) return E_OUTOFMEMORY;
        hr = PictureOf(p, props, _pBase->picture);
        if (Succeeded(hr)) hr = ConvertPicture(from.picture, _pBase->picture, InterlaceClass(&props) != 0, false);
    }
    _pBase->bPicture = Succeeded(hr);
    return hr;
}

// What no opaque layer of these rows hides: the base, or black.
void Canvas::LayBase(const BASE& _base, const PICTURE& _target, const BAND& _band) const {
    const int32_t nFirst = _band.nFirst, nEnd = _band.nEnd;
    struct SPAN {
        int32_t nFrom, nTo;
    };
    std::array<SPAN, 64> arrSpans;
    size_t nSpans = 0;
    for (const LAYER& layer : arrLayers)
        if (layer.bOpaque && layer.rect.top <= nFirst && layer.rect.bottom >= nEnd && nSpans < arrSpans.size())
            arrSpans[nSpans++] = {layer.rect.left, layer.rect.right};
    std::sort(arrSpans.begin(), arrSpans.begin() + nSpans,
              [](const SPAN& _a, const SPAN& _b) { return _a.nFrom < _b.nFrom; });

    const PLANE& target = _target.Packed();
    const auto Lay = [&](int32_t _nFrom, int32_t _nTo) {
        const size_t nAt = BytesOf(_target.fccType, _nFrom), cb = BytesOf(_target.fccType, _nTo - _nFrom);
        if (!_base.bPicture) {
            FillRows(black, target.Row(nFirst) + nAt, target.nStride, cb, nEnd - nFirst);
            return;
        }
        // A base that is smaller than the output stands on black.
        const size_t cbBase = BytesOf(_target.fccType, std::clamp(_base.picture.Width() - _nFrom, 0, _nTo - _nFrom));
        for (int32_t y = nFirst; y < nEnd; ++y) {
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

// Rows _nTop to _nTop + _nRows of a picture: where they lie, or made in scratch.
Canvas::PART Canvas::PartOf(const BlockPicture& _picture, int32_t _nTop, int32_t _nRows, const BAND& _band) const {
    PART part{_picture.pBits, _picture.props, _nTop};
    if (!_picture.HasRows()) return part;
    uint8_t* p = _band.pScratch + cbRowsStart;
    part.pBits = p;
    part.props.nHeight = _nRows;
    part.nTop = 0;
    MakeRows(_picture, _nTop, _nRows, p, part.props.nRowBytes, _band.pScratch);
    return part;
}

void Canvas::LayLayer(const LAYER& _layer, const PICTURE& _target, uint8_t* _pBits, const BAND& _band) const {
    const tagRECT rect{_layer.rect.left, std::max(_layer.rect.top, _band.nFirst), _layer.rect.right,
                       std::min(_layer.rect.bottom, _band.nEnd)};
    if (IsEmptyRect(rect)) return;
    if (!_layer.pPicture) {
        MixColour(CutPicture(_target, rect), _layer.colour, _layer.nWeight);
        return;
    }
    const BlockPicture& picture = *_layer.pPicture;
    const int32_t nX = rect.left - picture.dstRect.left, nY = rect.top - picture.dstRect.top;
    const int32_t nLeft = picture.srcRect.left + nX, nTop = picture.srcRect.top + nY;
    if (_layer.bOpaque && picture.HasRows() && RectWidth(rect) == picture.props.nWidth) {
        const PLANE& target = _target.Packed();
        MakeRows(picture, nTop, RectHeight(rect), target.Row(rect.top) + BytesOf(work.fccType, rect.left),
                 target.nStride, _band.pScratch);
        return;
    }
    const PART part = PartOf(picture, nTop, RectHeight(rect), _band);
    const tagRECT src{nLeft, part.nTop, nLeft + RectWidth(rect), part.nTop + RectHeight(rect)};
    const MIX_MASK mask = picture.bMasked ? picture.mask.Mask(nX, nY) : MIX_MASK{};
    const MIX_OPTIONS options{_layer.dblAlpha, picture.bPremultiplied, 0};
    if (SameFamily(work.fccType, picture.props.fccType))
        MixImage_Mask8(_pBits, work, &rect, part.pBits, part.props, &src, picture.bMasked ? &mask : nullptr, options);
    else
        MixImage_Argb(_pBits, work, &rect, part.pBits, part.props, &src, options);
}

// The picture that lies under all rows of a band from edge to edge, its first row; the layers from *_pnNext on are
// above it. Null: there is no such.
const uint8_t* Canvas::UnderBand(const BASE& _base, const BAND& _band, size_t* _pnNext, ptrdiff_t* _pnStride) const {
    const LAYER& first = arrLayers[0];
    if (first.bOpaque && first.pPicture && first.rect.left == 0 && first.rect.right == work.nWidth &&
        first.rect.top <= _band.nFirst && first.rect.bottom >= _band.nEnd) {
        const BlockPicture& picture = *first.pPicture;
        PICTURE under;
        if (picture.HasRows() || Failed(PictureOf(const_cast<uint8_t*>(picture.pBits), picture.props, under)))
            return nullptr;
        *_pnNext = 1;
        *_pnStride = under.Packed().nStride;
        return under.Packed().Row(picture.srcRect.top + _band.nFirst - picture.dstRect.top) +
               BytesOf(work.fccType, picture.srcRect.left - picture.dstRect.left);
    }
    if (!_base.bPicture || _base.picture.Width() < work.nWidth || _base.picture.Height() < _band.nEnd) return nullptr;
    *_pnNext = 0;
    *_pnStride = _base.picture.Packed().nStride;
    return _base.picture.Packed().Row(_band.nFirst);
}

// A picture and a half transparent one that is as wide go into the target in one pass. Returns how many layers that
// were; 0: the base is not laid yet. Where the upper one is narrower the base is copied first, in one go: that is
// faster than what lies beside it, row by row.
size_t Canvas::LayTwo(const BASE& _base, const PICTURE& _target, const BAND& _band) const {
    size_t nNext = 0;
    ptrdiff_t nStride = 0;
    const uint8_t* pUnder = UnderBand(_base, _band, &nNext, &nStride);
    if (!pUnder || nNext >= arrLayers.size()) return 0;
    const LAYER& layer = arrLayers[nNext];
    if (!layer.pPicture || layer.bOpaque || layer.rect.top > _band.nFirst || layer.rect.bottom < _band.nEnd ||
        layer.rect.left > 0 || layer.rect.right < work.nWidth)
        return 0;
    const BlockPicture& picture = *layer.pPicture;
    if (picture.bMasked || picture.HasAlpha() || !SameFamily(picture.props.fccType, work.fccType)) return 0;
    const int32_t nRows = _band.nEnd - _band.nFirst;
    const PART part = PartOf(picture, picture.srcRect.top + _band.nFirst - picture.dstRect.top, nRows, _band);
    PICTURE over;
    if (Failed(PictureOf(const_cast<uint8_t*>(part.pBits), part.props, over))) return 0;
    const PLANE &from = over.Packed(), &to = _target.Packed();
    const size_t cbRow = BytesOf(work.fccType, work.nWidth);
    const size_t nOver = BytesOf(work.fccType, picture.srcRect.left - picture.dstRect.left);
    const auto nGapless = static_cast<ptrdiff_t>(cbRow);
    const bool bOneRow = from.nStride == nGapless && to.nStride == nGapless && nStride == nGapless;
    const int32_t nRuns = bOneRow ? 1 : nRows;
    for (int32_t y = 0; y < nRuns; ++y, pUnder += nStride)
        MixPlainRowTo(from.Row(part.nTop + y) + nOver, pUnder, to.Row(_band.nFirst + y),
                      cbRow * static_cast<size_t>(nRows / nRuns), layer.nWeight);
    return nNext + 1;
}

void Canvas::DrawBand(const BASE& _base, const PICTURE& _target, uint8_t* _pBits, const BAND& _band) const {
    size_t i = LayTwo(_base, _target, _band);
    if (i == 0) LayBase(_base, _target, _band);
    for (; i < arrLayers.size(); ++i) LayLayer(arrLayers[i], _target, _pBits, _band);
}

// Pictures that are still to be made are made on all processors, as they are when they are made before.
HRESULT Canvas::Draw(const BASE& _base, uint8_t* _pBits, int32_t _nThreads) {
    PICTURE target;
    const HRESULT hr = PictureOf(_pBits, work, target);
    if (Failed(hr)) return hr;
    size_t cbBand = 0;
    bool bMakes = false;
    cbRowsStart = 0;
    for (const LAYER& layer : arrLayers) {
        if (!layer.pPicture || !layer.pPicture->HasRows()) continue;
        bMakes = true;
        cbRowsStart = std::max(cbRowsStart, (layer.pPicture->pRows->scaling.ScratchBytes() + 63) & ~size_t{63});
        cbBand = std::max(cbBand, size_t{kBandRows} * static_cast<size_t>(layer.pPicture->props.nRowBytes));
    }
    const int32_t nRows = target.Height(), nBands = (nRows + kBandRows - 1) / kBandRows;
    const int32_t nWorkers = MixWorkers(bMakes ? RowThreads() : _nThreads, nRows);
    const int32_t nSlices = std::min(nWorkers, kMaxSlices);
    const size_t cbSlice = (cbRowsStart + cbBand + 63) & ~size_t{63};
    uint8_t* const pScratch = Scratch(rows, uint64_t{cbSlice} * static_cast<uint64_t>(nSlices));
    if (!pScratch && cbSlice > 0) return E_OUTOFMEMORY;
    // Every thread takes bands until there are no more: one that is woken late, or has to share its processor, takes
    // fewer.
    std::atomic<int32_t> nNext{0};
    const int32_t nAtOnce = bMakes ? kBandsMadeAtOnce : kBandsAtOnce;
    RunSlices(nSlices, nSlices, [&](int32_t _nSlice, int32_t, int32_t) {
        uint8_t* const pMine = pScratch + static_cast<size_t>(_nSlice) * cbSlice;
        for (;;) {
            const int32_t nFirst = nNext.fetch_add(nAtOnce, std::memory_order_relaxed);
            if (nFirst >= nBands) return;
            for (int32_t n = nFirst; n < std::min(nFirst + nAtOnce, nBands); ++n)
                DrawBand(_base, target, _pBits, {n * kBandRows, std::min((n + 1) * kBandRows, nRows), pMine});
        }
    });
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
