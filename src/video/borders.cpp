#include "video/borders.h"

#include <algorithm>
#include <iterator>

#include "attributes/attr_text.h"
#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "video/conversion_matrix.h"
#include "video/kernels/mix_row.h"
#include "video/mix_image.h"
#include "video/number_list.h"

namespace zr {

namespace {

constexpr size_t kSides = 4;

// One value for all, two for across and down; a missing fourth stays as it is.
template <class T>
void Spread(T* _p, size_t _nCount) {
    if (_nCount == 1) _p[1] = _p[2] = _p[3] = _p[0];
    if (_nCount == 2) _p[2] = _p[0], _p[3] = _p[1];
}

size_t ReadColours(std::u16string_view _text, FILL_COLOUR* _pColours) {
    constexpr std::u16string_view svBetween = u" \t,;|";
    constexpr AttrColour white{0xFFFFFFFF};
    size_t nCount = 0;
    while (nCount < kSides) {
        const size_t nStart = _text.find_first_not_of(svBetween);
        if (nStart == std::u16string_view::npos) break;
        _text.remove_prefix(nStart);
        const std::u16string_view word = _text.substr(0, _text.find_first_of(svBetween));
        _text.remove_prefix(word.size());
        _pColours[nCount++] = FILL_COLOUR::Of(word == u"-1" ? AttrColour{0} : ReadColour(word, white));
    }
    return nCount;
}

int64_t EvenUp(int64_t _n) { return _n + (_n & 1); }

// The places of one dimension from outside to inside to inside to outside.
struct EDGES {
    int64_t nOuter0, nInner0, nInner1, nOuter1;
};

EDGES EdgesOf(int64_t _nFirst, int64_t _nEnd, int64_t _nBefore, int64_t _nBehind, bool _bEven) {
    const auto Round = [&](int64_t _n) { return _bEven ? (_n < 0 ? -EvenUp(-_n) : EvenUp(_n)) : _n; };
    const int64_t nFirst = Round(_nFirst), nEnd = Round(_nEnd);
    const int64_t nBefore = Round(_nBefore), nBehind = Round(_nBehind);
    return {nFirst - std::max<int64_t>(nBefore, 0), nFirst - std::min<int64_t>(nBefore, 0),
            nEnd + std::min<int64_t>(nBehind, 0), nEnd + std::max<int64_t>(nBehind, 0)};
}

// Empty when nothing of it is inside.
tagRECT CutToPicture(int64_t _nLeft, int64_t _nTop, int64_t _nRight, int64_t _nBottom, const ZR_VID_PROPS& _props) {
    const int32_t nWidth = _props.nWidth, nHeight = AbsHeight(_props.nHeight);
    const auto Inside = [](int64_t _n, int32_t _nSize) {
        return static_cast<int32_t>(std::clamp<int64_t>(_n, 0, _nSize));
    };
    return {Inside(_nLeft, nWidth), Inside(_nTop, nHeight), Inside(_nRight, nWidth), Inside(_nBottom, nHeight)};
}

bool CanMix(eZrFCC _fccType) {
    // Formats whose bytes are samples.
    return _fccType != eZrFCC_v210 && _fccType != kFCC_r210 && _fccType != kFCC_RGB565 && _fccType != kFCC_RGB555;
}

}  // namespace

uint32_t BorderWeight(const FILL_COLOUR& _colour, double _dblAlpha) {
    return MixWeight(std::min(_dblAlpha, 1.0) * _colour.nAlpha / 255.0, 256);
}

bool BorderRects(const ZR_VID_PROPS& _props, const tagRECT& _rect, const BORDERS& _borders, tagRECT (&_arrSides)[4]) {
    const tagRECT rect = CutToPicture(_rect.left, _rect.top, _rect.right, _rect.bottom, _props);
    if (rect.left >= rect.right || rect.top >= rect.bottom) return false;
    const int32_t* pWidths = _borders.arrWidths;
    const EDGES across = EdgesOf(rect.left, rect.right, pWidths[0], pWidths[2], !PixelFormatBottomUp(_props.fccType));
    const EDGES down = EdgesOf(rect.top, rect.bottom, pWidths[1], pWidths[3], InterlaceClass(&_props) != 0);
    _arrSides[0] = CutToPicture(across.nOuter0, down.nInner0, across.nInner0, down.nInner1, _props);
    _arrSides[1] = CutToPicture(across.nOuter0, down.nOuter0, across.nOuter1, down.nInner0, _props);
    _arrSides[2] = CutToPicture(across.nInner1, down.nInner0, across.nOuter1, down.nInner1, _props);
    _arrSides[3] = CutToPicture(across.nOuter0, down.nInner1, across.nOuter1, down.nOuter1, _props);
    return true;
}

HRESULT ReadBorders(std::u16string_view _widths, std::u16string_view _colours, BORDERS* _pBorders) {
    *_pBorders = {};
    Spread(_pBorders->arrWidths, ReadNumberList(_widths, 0, _pBorders->arrWidths, kSides));
    constexpr FILL_COLOUR none = FILL_COLOUR::Rgb(0, 0, 0, 0);
    std::ranges::fill(_pBorders->arrColours, none);
    const size_t nColours = ReadColours(_colours, _pBorders->arrColours);
    if (nColours == 0) _pBorders->arrColours[0] = FILL_COLOUR::Rgb(255, 255, 255);
    Spread(_pBorders->arrColours, std::max<size_t>(nColours, 1));
    const bool bAny = std::ranges::any_of(_pBorders->arrWidths, [](int32_t _n) { return _n != 0; });
    return bAny ? S_OK : S_FALSE;
}

HRESULT MixColour(const PICTURE& _picture, const FILL_COLOUR& _colour, uint32_t _nWeight) {
    FILL_COLOUR opaque = _colour;
    opaque.nAlpha = 255;
    if (_nWeight >= 256) return FillColour(_picture, opaque);
    if (!CanMix(_picture.fccType) || FillPattern(_picture.fccType, 0, opaque).cb == 0) return kTypeNotAccepted;
    constexpr size_t kRun = 768;  // whole patterns of any size
    uint8_t arrRun[kRun];
    for (int32_t n = 0; n < _picture.nPlanes; ++n) {
        FillRows(FillPattern(_picture.fccType, n, opaque), arrRun, 0, kRun, 1);
        const PLANE& plane = _picture.arrPlanes[n];
        const size_t cbRow = SampleBytes(_picture, n);
        for (int32_t y = 0; y < plane.nHeight; ++y)
            for (size_t nAt = 0; nAt < cbRow; nAt += kRun) {
                const size_t cb = std::min(kRun, cbRow - nAt);
                if (_picture.fccType == eZrFCC_ARGB32)
                    MixOverRow(arrRun, plane.Row(y) + nAt, cb / 4, _nWeight);
                else
                    MixPlainRow(arrRun, plane.Row(y) + nAt, cb, _nWeight);
            }
    }
    return S_OK;
}

HRESULT DrawBorders(uint8_t* _pBuffer, const ZR_VID_PROPS& _props, const tagRECT& _rect, const BORDERS& _borders,
                    double _dblAlpha) {
    PICTURE picture;
    const HRESULT hr = PictureOf(_pBuffer, _props, picture);
    if (Failed(hr)) return hr;
    tagRECT arrSides[kSides];
    if (!BorderRects(_props, _rect, _borders, arrSides)) return S_FALSE;
    // Before the first is drawn it shows whether all can be.
    HRESULT hrAll = S_OK;
    for (const bool bDraw : {false, true})
        for (size_t i = 0; i < kSides && Succeeded(hrAll); ++i) {
            const tagRECT& side = arrSides[i];
            const uint32_t nWeight = BorderWeight(_borders.arrColours[i], _dblAlpha);
            if (nWeight == 0 || side.left >= side.right || side.top >= side.bottom) continue;
            if (bDraw)
                hrAll = MixColour(CutPicture(picture, side), _borders.arrColours[i], nWeight);
            else if (!CanCutPicture(picture, side) || (nWeight < 256 && !CanMix(picture.fccType)))
                hrAll = kTypeNotAccepted;
        }
    return hrAll;
}

}  // namespace zr
