#include "frame_module/picture_block.h"

#include <cstring>

#include "media/frame_interfaces.h"
#include "media/pixel_format.h"

namespace zr {

namespace {

// Whether the planes lie as those of one block do.
bool SameRows(const PICTURE& _a, const PICTURE& _b) {
    for (int32_t i = 0; i < _a.nPlanes; ++i)
        if (_a.arrPlanes[i].pTop != _b.arrPlanes[i].pTop || _a.arrPlanes[i].nStride != _b.arrPlanes[i].nStride)
            return false;
    return true;
}

}  // namespace

HRESULT PictureOfFrame(IZrFFrame& _frame, FRAME_PICTURE* _pPicture) {
    ZRF_FRAME_INFO info;
    HRESULT hr = _frame.ZrFAllGet(&info);
    if (Failed(hr)) return hr;
    _pPicture->props = info.avProps.vidProps;
    if (info.lpVideo == 0 || _pPicture->props.nWidth == 0) return ZR_E_EMPTY;
    PICTURE& picture = _pPicture->picture;
    hr = PictureOf(reinterpret_cast<uint8_t*>(info.lpVideo), _pPicture->props, picture);
    if (Failed(hr) || !picture.IsPlanar()) return hr;
    ZRF_VID_PTR planes;
    hr = PlanesToRead(_frame, &planes);
    return Failed(hr) ? hr : PictureOfPlanes(planes, _pPicture->props, picture);
}

HRESULT PictureBlockOf(IZrFFrame& _frame, ScratchBuffer& _scratch, PICTURE_BLOCK* _pBlock) {
    FRAME_PICTURE from;
    HRESULT hr = PictureOfFrame(_frame, &from);
    if (Failed(hr)) return hr;
    ZR_VID_PROPS& props = _pBlock->props;
    props = from.props;
    const PLANE& first = from.picture.arrPlanes[0];
    _pBlock->pBits = first.nStride < 0 ? first.Row(first.nHeight - 1) : first.pTop;
    PICTURE block;
    hr = PictureOf(_pBlock->pBits, props, block);
    if (Failed(hr) || SameRows(from.picture, block)) return hr;
    props.nRowBytes = MinRowBytes(props.fccType, props.nWidth);
    _pBlock->pBits = Scratch(_scratch, PictureBytes(props));
    if (!_pBlock->pBits) return E_OUTOFMEMORY;
    hr = PictureOf(_pBlock->pBits, props, block);
    for (int32_t i = 0; Succeeded(hr) && i < block.nPlanes; ++i)
        for (int32_t y = 0; y < block.arrPlanes[i].nHeight; ++y)
            std::memcpy(block.arrPlanes[i].Row(y), from.picture.arrPlanes[i].Row(y), SampleBytes(block, i));
    return hr;
}

}  // namespace zr
