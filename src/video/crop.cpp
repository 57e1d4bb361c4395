#include "video/crop.h"

#include "media/pixel_format.h"
#include "video/number_list.h"

namespace zr {

HRESULT CropRect(std::u16string_view _text, const ZR_VID_PROPS& _props, tagRECT* _pRect) {
    int32_t n[4] = {};
    tagRECT edges;
    switch (ReadNumberList(_text, 10, n, 4)) {
        case 0: return E_INVALIDARG;
        case 1: edges = {n[0], n[0], n[0], n[0]}; break;
        case 2: edges = {n[0], n[1], n[0], n[1]}; break;
        case 3: edges = {n[0], n[1], n[0], n[2]}; break;
        default: edges = {n[0], n[1], n[2], n[3]}; break;
    }
    // 64 bits: the numbers come from outside.
    const int64_t nRight = int64_t{_props.nWidth} - edges.right;
    const int64_t nBottom = int64_t{AbsHeight(_props.nHeight)} - edges.bottom;
    const bool bInside = edges.left >= 0 && edges.top >= 0 && edges.right >= 0 && edges.bottom >= 0;
    if (!bInside || edges.left >= nRight || edges.top >= nBottom) return E_INVALIDARG;
    *_pRect = {edges.left, edges.top, static_cast<int32_t>(nRight), static_cast<int32_t>(nBottom)};
    return S_OK;
}

HRESULT Crop(IZrFrame* _pFrame, const tagRECT& _rect, IZrFrame** _ppFrameRes) {
    if (!_pFrame || !_ppFrameRes) return E_POINTER;
    return _pFrame->FrameCut(-1, &_rect, _ppFrameRes);
}

}  // namespace zr
