// The pixel work with any geometry: pictures stand in memory of exactly their size against pages that nobody may touch.
// A call that fails leaves its destination as it was, and none touches what is behind the pixels of a row.

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <sanitizer/asan_interface.h>

#include "media/pixel_format.h"
#include "platform/thread_pool.h"
#include "video/borders.h"
#include "video/color_convert.h"
#include "video/copy_frame.h"
#include "video/image_convert.h"
#include "video/masks.h"
#include "video/mirror.h"
#include "video/mix_image.h"
#include "video/overlay_picture.h"
#include "video/resize_sharpen.h"
#include "video/rotate.h"

namespace zr {
namespace {

class Input {
public:
    Input(const uint8_t* _p, size_t _cb) : p(_p), cb(_cb) {}
    uint8_t Byte() {
        if (cb == 0) return 0;
        --cb;
        return *p++;
    }
    bool Bit() { return Byte() & 1; }
    // Mostly sizes that give pictures, at times numbers that cannot be.
    int32_t Size() {
        const uint8_t n = Byte();
        if (n < 200) return n;
        if (n < 240) return 2 * n;
        static constexpr int32_t arrOdd[] = {0, -1, -3, 1000, 65536, INT32_MAX, INT32_MIN, 32768};
        return arrOdd[n % 8];
    }
    int32_t Edge() {
        const auto n = static_cast<int32_t>(static_cast<int8_t>(Byte()));
        static constexpr int32_t arrFar[] = {INT32_MIN, INT32_MAX, 65536, -70000};
        return n == 127 ? arrFar[Byte() % 4] : n;
    }
    tagRECT Rect() {
        tagRECT rect{Edge(), Edge(), 0, 0};
        const auto Behind = [&](int32_t _n) {
            return static_cast<int32_t>(std::min(int64_t{_n} + Byte(), int64_t{INT32_MAX}));
        };
        rect.right = Behind(rect.left);
        rect.bottom = Behind(rect.top);
        return Byte() < 250 ? rect : tagRECT{rect.right, rect.bottom, rect.left, rect.top};
    }
    double Alpha() { return Byte() / 200.0 - 0.1; }

private:
    const uint8_t* p;
    size_t cb;
};

// One block of memory between pages without access; a picture stands at its very end or start.
class Arena {
public:
    Arena() {
        auto* pMap = static_cast<uint8_t*>(
            mmap(nullptr, kBytes + 2 * kGuard, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
        if (pMap == MAP_FAILED || mprotect(pMap + kGuard, kBytes, PROT_READ | PROT_WRITE) != 0) std::abort();
        pStart = pMap + kGuard;
    }
    static constexpr size_t kBytes = size_t{4} << 20;

    // Null: larger than this test takes.
    uint8_t* Place(uint64_t _cb, bool _bAtEnd) {
        if (_cb < 1 || _cb > kBytes) return nullptr;
        ASAN_POISON_MEMORY_REGION(pStart, kBytes);
        uint8_t* p = _bAtEnd ? pStart + kBytes - _cb : pStart;
        ASAN_UNPOISON_MEMORY_REGION(p, static_cast<size_t>(_cb));
        return p;
    }

private:
    static constexpr size_t kGuard = size_t{1} << 20;
    uint8_t* pStart;
};

constexpr eZrFCC arrFormats[] = {eZrFCC_UYVY, eZrFCC_ARGB32, eZrFCC_RGB32, eZrFCC_RGB24, eZrFCC_YUY2, eZrFCC_HDYC,
                                 eZrFCC_YVYU, eZrFCC_v210,   eZrFCC_RGB8,  eZrFCC_I420,  eZrFCC_YV12, eZrFCC_NV12,
                                 kFCC_Y422,   kFCC_Y444,     kFCC_r210,    kFCC_RGB565,  kFCC_IYU2,   eZrFCC_Default};

struct LAYER {
    ZR_VID_PROPS props;
    uint8_t* pBits = nullptr;
    size_t cb = 0;
};

LAYER Layer(Input& _input, Arena& _arena, uint8_t _nFill) {
    LAYER layer;
    ZR_VID_PROPS& props = layer.props;
    props.fccType = arrFormats[_input.Byte() % std::size(arrFormats)];
    props.nWidth = _input.Size();
    props.nHeight = _input.Size();
    if (_input.Bit() && props.nHeight != INT32_MIN) props.nHeight = -props.nHeight;
    const uint8_t nRow = _input.Byte();
    if (nRow > 250)
        props.nRowBytes = -nRow;
    else if (nRow >= 128)
        props.nRowBytes = static_cast<int32_t>(
            std::min<int64_t>(int64_t{MinRowBytes(props.fccType, props.nWidth)} + nRow % 64, INT32_MAX));
    static constexpr eZrInterlace arrInterlace[] = {eZrI_Progressive, eZrI_Field1First, eZrI_Field2First, eZrI_Default};
    props.eInterlace = arrInterlace[_input.Byte() % 4];
    const uint64_t cb = PictureBytes(props);
    layer.pBits = _arena.Place(cb, _input.Bit());
    if (!layer.pBits) return layer;
    layer.cb = static_cast<size_t>(cb);
    std::memset(layer.pBits, _nFill, layer.cb);
    return layer;
}

// What a destination was, to see what has been touched.
class Before {
public:
    explicit Before(const LAYER& _layer) : layer(_layer), bytes(_layer.pBits, _layer.pBits + _layer.cb) {}
    void Check(HRESULT _hr) const {
        if (_hr != S_OK) {
            if (std::memcmp(bytes.data(), layer.pBits, layer.cb) != 0) std::abort();
            return;
        }
        PICTURE picture;
        if (Failed(PictureOf(layer.pBits, layer.props, picture)) || picture.IsPlanar()) return;
        const size_t cbRow = PlaneRowBytes(picture, 0),
                     cbStride = static_cast<size_t>(std::abs(picture.Packed().nStride));
        for (size_t nAt = 0; nAt + cbStride <= layer.cb; nAt += cbStride)
            if (std::memcmp(&bytes[nAt] + cbRow, layer.pBits + nAt + cbRow, cbStride - cbRow) != 0) std::abort();
    }

private:
    const LAYER& layer;
    std::vector<uint8_t> bytes;
};

struct ARENAS {
    Arena src, dst, mask;
    ScalingEngine engine;
};

HRESULT Scale(Input& _input, ARENAS& _arenas, const LAYER& _src, const LAYER& _dst, const tagRECT* _pSrcRect,
              const tagRECT* _pDstRect) {
    const auto eMode = static_cast<eInterpolation>(_input.Byte() % 18);
    const bool bInterlaced = _input.Bit();
    const auto nSharpness = static_cast<int32_t>(static_cast<int8_t>(_input.Byte()));
    const uint32_t nFlags = _input.Bit() ? _input.Byte() : 0;
    return Img_Convert(_arenas.engine, _src.pBits, _dst.pBits, _src.props, _dst.props, bInterlaced, _pSrcRect,
                       _pDstRect, eMode, _input.Bit() ? nSharpness : 0, nFlags);
}

// The resizer and the vertical pass by themselves, of rows that run upward too.
HRESULT Resize(Input& _input, ARENAS& _arenas, const LAYER& _src, const LAYER& _dst) {
    PICTURE src, dst;
    HRESULT hr = PictureOf(_src.pBits, _src.props, src);
    if (Succeeded(hr)) hr = PictureOf(_dst.pBits, _dst.props, dst);
    if (Failed(hr)) return hr;
    const PLANE &from = src.arrPlanes[0], &to = dst.arrPlanes[0];
    RESIZE_PARAMS params;
    params.eMode = static_cast<eInterpolation>(_input.Byte() % 18);
    params.nFlags = _input.Bit() ? _input.Byte() : 0;
    params.nSharpness = _input.Bit() ? static_cast<int8_t>(_input.Byte()) : 0;
    params.bFillBorder = _input.Bit();
    static constexpr double arrWidths[] = {-1, 0, 0.25, 0.5, 1, 12, 1e300, -1e300};
    params.dblWidth = arrWidths[_input.Byte() % 8];
    const bool bInterlaced = _input.Bit();
    if (_input.Bit()) {
        const size_t cbRow = std::min(PlaneRowBytes(src, 0), PlaneRowBytes(dst, 0));
        const int32_t nFrom = _input.Bit() ? from.nHeight : -from.nHeight;
        uint8_t* pFrom = nFrom < 0 ? from.Row(from.nHeight - 1) : from.pTop;
        return _arenas.engine.arrDown[0].Scale_Dyn(pFrom, to.pTop, nFrom, to.nHeight, cbRow,
                                                   nFrom < 0 ? -from.nStride : from.nStride, to.nStride,
                                                   params.dblWidth, params.nFlags, _input.Bit());
    }
    const auto InfoOf = [](const PLANE& _plane, eZrFCC _fcc) {
        return RESIZE_INFO{_fcc, _plane.nWidth, _plane.nHeight, static_cast<int32_t>(_plane.nStride)};
    };
    return SEH_Resize_n_Sharp(_arenas.engine, from.pTop, to.pTop, InfoOf(from, src.fccType), InfoOf(to, dst.fccType),
                              bInterlaced, params);
}

HRESULT Mix(Input& _input, ARENAS& _arenas, const LAYER& _src, const LAYER& _dst, const tagRECT* _pSrcRect,
            const tagRECT* _pDstRect, bool _bConvert) {
    MIX_MASK mask;
    mask.nWidth = _input.Size();
    mask.nHeight = _input.Size();
    mask.nLeft = _input.Edge();
    mask.nTop = _input.Edge();
    const bool bMask = _input.Bit() && mask.nWidth > 0 && mask.nHeight > 0;
    if (bMask) {
        mask.nStride = mask.nWidth;
        uint8_t* p =
            _arenas.mask.Place(static_cast<uint64_t>(mask.nWidth) * static_cast<uint64_t>(mask.nHeight), _input.Bit());
        if (!p) return S_FALSE;
        std::memset(p, 0x77, static_cast<size_t>(mask.nWidth) * static_cast<size_t>(mask.nHeight));
        mask.pMask = p;
        if (_input.Bit()) {  // bottom-up
            mask.pMask += (mask.nHeight - 1) * mask.nStride;
            mask.nStride = -mask.nStride;
        }
    }
    const MIX_OPTIONS options{_input.Alpha(), _input.Bit(), _input.Byte() % 4};
    if (_bConvert)
        return OverlayPicture(_arenas.engine, _dst.pBits, _dst.props, _pDstRect, _src.pBits, _src.props, _pSrcRect,
                              bMask ? &mask : nullptr, options);
    return MixImage_Mask8(_dst.pBits, _dst.props, _pDstRect, _src.pBits, _src.props, _pSrcRect, bMask ? &mask : nullptr,
                          options);
}

HRESULT Border(Input& _input, const LAYER& _dst, const tagRECT& _rect) {
    BORDERS borders;
    for (int32_t& n : borders.arrWidths) n = _input.Edge();
    for (FILL_COLOUR& colour : borders.arrColours) colour.nAlpha = _input.Bit() ? 255 : _input.Byte();
    return DrawBorders(_dst.pBits, _dst.props, _rect, borders, _input.Alpha());
}

HRESULT Masks(Input& _input, ARENAS& _arenas, const LAYER& _src, const tagRECT* _pRect) {
    MaskPlane alpha, scaled;
    HRESULT hr = ExtractMask(_src.pBits, _src.props, _pRect, alpha);
    if (Failed(hr)) return hr;
    const int32_t nWidth = _input.Size(), nHeight = _input.Size();
    if (int64_t{nWidth} * nHeight > int64_t{Arena::kBytes}) return S_FALSE;  // a gigabyte of mask is right, but slow
    hr = ScaleMask(_arenas.engine, alpha, nWidth, nHeight, eInterpolation::Linear, scaled);
    if (hr == S_OK) hr = MultiplyMask(scaled, alpha.Mask(_input.Edge(), _input.Edge()));
    if (scaled.Width() > 0) DrawMaskShape(static_cast<eMaskShape>(_input.Byte() % 4), scaled, _arenas.engine.rows);
    return S_FALSE;  // the destination is not concerned
}

HRESULT Run(Input& _input, ARENAS& _arenas, const LAYER& _src, const LAYER& _dst) {
    const uint8_t nRects = _input.Byte();
    const tagRECT srcRect = _input.Rect(), dstRect = _input.Rect();
    const tagRECT* pSrcRect = nRects & 1 ? &srcRect : nullptr;
    const tagRECT* pDstRect = nRects & 2 ? &dstRect : nullptr;
    switch (_input.Byte() % 11) {
        case 0:
        case 1: return Scale(_input, _arenas, _src, _dst, pSrcRect, pDstRect);
        case 2: return ColorConvert(_arenas.engine, _src.pBits, _dst.pBits, _src.props, _dst.props, pSrcRect, pDstRect);
        case 3: return Mix(_input, _arenas, _src, _dst, pSrcRect, pDstRect, false);
        case 4: return Mix(_input, _arenas, _src, _dst, pSrcRect, pDstRect, true);
        case 5: return MixImage(_dst.pBits, _dst.props, _src.pBits, _src.props, _input.Alpha());
        case 6: return CopyFrameCC(_src.pBits, _dst.pBits, _src.props, _dst.props, _input.Byte() % 4);
        case 7: return Border(_input, _dst, dstRect);
        case 8:
            if (_input.Bit()) return MirrorPicture(_dst.pBits, _dst.props, static_cast<eMirror>(_input.Byte() % 4));
            return RotatePicture(_src.pBits, _src.props, _dst.pBits, _dst.props,
                                 _input.Bit() ? eRotate::Left : eRotate::Right);
        case 9: return Resize(_input, _arenas, _src, _dst);
        default: return Masks(_input, _arenas, _src, pSrcRect);
    }
}

}  // namespace
}  // namespace zr

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* _pData, size_t _cb) {
    static zr::ARENAS& arenas = *new zr::ARENAS;
    zr::Input input(_pData, _cb);
    zr::SetRowThreads(2);
    for (int nRound = 0; nRound < 2; ++nRound) {  // the second time with tables and scratch of the first
        const zr::LAYER src = Layer(input, arenas.src, 0x5A);
        zr::LAYER dst = Layer(input, arenas.dst, 0xC3);
        if (!src.pBits || !dst.pBits) continue;
        if (input.Bit()) {  // often enough the formats fit
            zr::ZR_VID_PROPS same = dst.props;
            same.fccType = src.props.fccType;
            const uint64_t cb = zr::PictureBytes(same);
            uint8_t* p = arenas.dst.Place(cb, input.Bit());
            if (!p) continue;
            dst = {same, p, static_cast<size_t>(cb)};
            std::memset(p, 0xC3, dst.cb);
        }
        const zr::Before before(dst);
        before.Check(zr::Run(input, arenas, src, dst));
    }
    return 0;
}
