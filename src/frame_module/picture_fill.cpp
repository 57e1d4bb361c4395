#include "frame_module/picture_fill.h"

#include <cstdlib>
#include <cstring>

#include "video/fill.h"

namespace zr {

HRESULT PictureFill(const ZR_VID_PROPS& _props, const Picture& _picture, AttrColour _colour) {
    if (_picture.Empty() || _props.nWidth == 0) return ZR_E_EMPTY;
    if (PlaneRowBytes(_props, 0) == 0) {
        std::memset(_picture.pBits, 0, _picture.cbBits);
        return ZR_E_NOT_SUPPORTED;
    }
    const FILL_COLOUR colour = FILL_COLOUR::Of(_colour);
    const ZRF_VID_PTR planes = PicturePlanes(_props, _picture);
    for (int32_t i = 0; i < PlaneCount(_props.fccType); ++i) {
        const int64_t nStride = planes.cbVideoRowBytes[i];
        const auto cbRow = static_cast<size_t>(_picture.bPart ? PlaneRowBytes(_props, i) : std::abs(nStride));
        FillRows(FillPattern(_props.fccType, i, colour), reinterpret_cast<uint8_t*>(planes.lpVideoPlanes[i]), nStride,
                 cbRow, planes.szVideoPlanes[i].cy);
    }
    return S_OK;
}

}  // namespace zr
