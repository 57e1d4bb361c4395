#include "frame_module/picture_block.h"

#include <cstring>

#include "media/pixel_format.h"
#include "video/picture.h"

namespace zr {

namespace {

bool StandsAs(const ZRF_VID_PTR& _planes, const PICTURE& _picture) {
    for (int32_t i = 0; i < _picture.nPlanes; ++i) {
        const PLANE& plane = _picture.arrPlanes[i];
        if (_planes.lpVideoPlanes[i] != reinterpret_cast<int64_t>(plane.pTop)) return false;
        if (_planes.cbVideoRowBytes[i] != plane.nStride) return false;
    }
    return true;
}

}  // namespace

HRESULT PictureBlockOf(IZrFFrame& _frame, ScratchBuffer& _scratch, PICTURE_BLOCK* _pBlock) {
    ZRF_FRAME_INFO info;
    HRESULT hr = _frame.ZrFAllGet(&info);
    if (Failed(hr)) return hr;
    ZR_VID_PROPS& props = _pBlock->props;
    props = info.avProps.vidProps;
    _pBlock->pBits = reinterpret_cast<uint8_t*>(info.lpVideo);
    if (info.lpVideo == 0 || props.nWidth == 0) return ZR_E_EMPTY;
    PICTURE picture;
    hr = PictureOf(_pBlock->pBits, props, picture);
    if (Failed(hr) || !picture.IsPlanar()) return hr;

    ZRF_VID_PTR planes;
    hr = _frame.ZrFVideoGetBytesEx(&planes);
    if (Failed(hr) || StandsAs(planes, picture)) return hr;
    props.nRowBytes = MinRowBytes(props.fccType, props.nWidth);
    _pBlock->pBits = Scratch(_scratch, PictureBytes(props));
    if (!_pBlock->pBits) return E_OUTOFMEMORY;
    hr = PictureOf(_pBlock->pBits, props, picture);
    for (int32_t i = 0; Succeeded(hr) && i < picture.nPlanes; ++i) {
        const auto* pFrom = reinterpret_cast<const uint8_t*>(planes.lpVideoPlanes[i]);
        if (!pFrom) return E_INVALIDARG;
        for (int32_t y = 0; y < picture.arrPlanes[i].nHeight; ++y, pFrom += planes.cbVideoRowBytes[i])
            std::memcpy(picture.arrPlanes[i].Row(y), pFrom, SampleBytes(picture, i));
    }
    return hr;
}

}  // namespace zr
