#include "video/rotate.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "media/vid_props.h"
#include "platform/thread_pool.h"
#include "platform/wide_text.h"
#include "video/picture.h"

namespace zr {

namespace {

// A tile of source columns and lines whose rows and columns both stay in the first-level cache.
constexpr int32_t kTile = 32;

// Source line y of destination column x, and source column of destination row: right and left differ in which of the
// two runs backwards.
struct TURN {
    const PLANE& src;
    const PLANE& dst;
    bool bRight;
    bool bFields;  // a row takes lines of its own field only

    int32_t SrcLine(int32_t _nColumn, int32_t _nRow) const {
        const int32_t nLine = bRight ? src.nHeight - 1 - _nColumn : _nColumn;
        return bFields ? std::min((nLine & ~1) | (_nRow & 1), src.nHeight - 1) : nLine;
    }
    int32_t SrcColumn(int32_t _nRow) const { return bRight ? _nRow : src.nWidth - 1 - _nRow; }
};

template <size_t kBytes>
void TurnTile(const TURN& _turn, int32_t _nFirstRow, int32_t _nEndRow, int32_t _nFirstColumn, int32_t _nEndColumn) {
    for (int32_t nRow = _nFirstRow; nRow < _nEndRow; ++nRow) {
        const ptrdiff_t nColumnBytes = static_cast<ptrdiff_t>(kBytes) * _turn.SrcColumn(nRow);
        uint8_t* pDst = _turn.dst.Row(nRow) + static_cast<ptrdiff_t>(kBytes) * _nFirstColumn;
        for (int32_t nColumn = _nFirstColumn; nColumn < _nEndColumn; ++nColumn, pDst += kBytes)
            std::memcpy(pDst, _turn.src.Row(_turn.SrcLine(nColumn, nRow)) + nColumnBytes, kBytes);
    }
}

// kLumaAt: 1 for UYVY, 0 for YUY2. Columns go in pairs.
template <int kLumaAt>
void TurnTile422(const TURN& _turn, int32_t _nFirstRow, int32_t _nEndRow, int32_t _nFirstColumn, int32_t _nEndColumn) {
    for (int32_t nRow = _nFirstRow; nRow < _nEndRow; ++nRow) {
        const int32_t nSrcColumn = _turn.SrcColumn(nRow);
        const ptrdiff_t nLuma = 2 * nSrcColumn + kLumaAt, nCb = nSrcColumn / 2 * 4 + 1 - kLumaAt, nCr = nCb + 2;
        uint8_t* pDst = _turn.dst.Row(nRow) + 2 * _nFirstColumn;
        for (int32_t nColumn = _nFirstColumn; nColumn < _nEndColumn; nColumn += 2, pDst += 4) {
            const uint8_t* p0 = _turn.src.Row(_turn.SrcLine(nColumn, nRow));
            const uint8_t* p1 = _turn.src.Row(_turn.SrcLine(nColumn + 1, nRow));
            pDst[kLumaAt] = p0[nLuma];
            pDst[kLumaAt + 2] = p1[nLuma];
            pDst[1 - kLumaAt] = static_cast<uint8_t>((p0[nCb] + p1[nCb] + 1) >> 1);
            pDst[3 - kLumaAt] = static_cast<uint8_t>((p0[nCr] + p1[nCr] + 1) >> 1);
        }
    }
}

using Tile = void (*)(const TURN&, int32_t, int32_t, int32_t, int32_t);

Tile ChooseTile(eZrFCC _fccType) {
    switch (_fccType) {
        case eZrFCC_RGB32:
        case eZrFCC_ARGB32: return TurnTile<4>;
        case eZrFCC_RGB24: return TurnTile<3>;
        case eZrFCC_RGB8: return TurnTile<1>;
        case eZrFCC_UYVY:
        case eZrFCC_HDYC: return TurnTile422<1>;
        case eZrFCC_YUY2:
        case eZrFCC_YVYU: return TurnTile422<0>;
        default: return nullptr;
    }
}

}  // namespace

eRotate ReadRotate(std::u16string_view _text) {
    if (EqualNoCase(_text, u"right")) return eRotate::Right;
    return EqualNoCase(_text, u"left") ? eRotate::Left : eRotate::None;
}

bool CanRotate(eZrFCC _fccType) { return ChooseTile(_fccType) != nullptr; }

ZR_VID_PROPS RotatedProps(const ZR_VID_PROPS& _srcProps, const ZR_VID_PROPS* _pWanted) {
    ZR_VID_PROPS props = _srcProps;
    if (_pWanted && PropsValid(_pWanted, false) && _pWanted->fccType != eZrFCC_Default)
        props.fccType = _pWanted->fccType;
    const int32_t nMask = HasChromaPairs(props.fccType) ? ~1 : ~0;
    props.eVideoFormat = eZrVF_Custom;
    props.nWidth = AbsHeight(_srcProps.nHeight) & nMask;
    props.nHeight = _srcProps.nWidth & nMask;
    std::swap(props.nAspectX, props.nAspectY);
    props.nRowBytes = std::max(MinRowBytes(props.fccType, props.nWidth), _pWanted ? _pWanted->nRowBytes : 0);
    return props;
}

HRESULT RotatePicture(const uint8_t* _pSrc, const ZR_VID_PROPS& _srcProps, uint8_t* _pDst,
                      const ZR_VID_PROPS& _dstProps, eRotate _eRotate) {
    PICTURE src, dst;
    HRESULT hr = PictureOf(const_cast<uint8_t*>(_pSrc), _srcProps, src);
    if (Succeeded(hr)) hr = PictureOf(_pDst, _dstProps, dst);
    if (Failed(hr)) return hr;
    const Tile tile = ChooseTile(src.fccType);
    if (src.IsPlanar() || !tile) return E_NOTIMPL;
    const int32_t nMask = HasChromaPairs(src.fccType) ? ~1 : ~0;
    if (!SameFamily(src.fccType, dst.fccType) || dst.Width() != (src.Height() & nMask) || dst.Height() != src.Width() ||
        _eRotate == eRotate::None)
        return E_INVALIDARG;

    const TURN turn{src.Packed(), dst.Packed(), _eRotate == eRotate::Right, InterlaceClass(&_srcProps) != 0};
    ParallelRows((dst.Height() + kTile - 1) / kTile, 2, [&](int32_t _nFirst, int32_t _nEnd) {
        for (int32_t y = _nFirst * kTile; y < std::min(_nEnd * kTile, dst.Height()); y += kTile)
            for (int32_t x = 0; x < dst.Width(); x += kTile)
                tile(turn, y, std::min(y + kTile, dst.Height()), x, std::min(x + kTile, dst.Width()));
    });
    return S_OK;
}

}  // namespace zr
