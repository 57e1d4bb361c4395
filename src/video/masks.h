#pragma once
// Mask planes: built-in shapes, picture files, the alpha of a picture; and their scaling.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/ref_object.h"
#include "video/mix_image.h"
#include "video/scaling_engine.h"
#include "zr/records.h"
#include "zr/status.h"

namespace zr {

// One byte a pixel, 255 solid, rows from top to bottom, row length a multiple of 8. Whoever fills it is alone with it;
// afterwards any thread may read.
class MaskPlane final : public AutoObjBase<MaskPlane> {
public:
    // Makes room; the content is undefined. E_INVALIDARG: a size below 1 or above kMaxPictureSide. E_OUTOFMEMORY.
    HRESULT Resize(int32_t _nWidth, int32_t _nHeight);

    int32_t Width() const { return nWidth; }
    int32_t Height() const { return nHeight; }
    ptrdiff_t Stride() const { return nStride; }
    uint8_t* Row(int32_t _y) const { return bytes.Data() + _y * nStride; }
    // Laid on a base rectangle with its corner (_nLeft, _nTop) on the rectangle's.
    MIX_MASK Mask(int32_t _nLeft = 0, int32_t _nTop = 0) const {
        return {bytes.Data(), nStride, nWidth, nHeight, _nLeft, _nTop};
    }
    // As a picture of RGB8.
    ZR_VID_PROPS Props() const;

private:
    ScratchBuffer bytes;
    int32_t nWidth = 0, nHeight = 0;
    ptrdiff_t nStride = 0;
};

enum class eMaskShape { None, Circle, Rect, RoundRect };
// "circle", "rect", "round_rect"; any other text is None.
eMaskShape ReadMaskShape(std::u16string_view _text);

// Draws a shape over the whole plane, white on black, its edges smoothed by the exact share of each pixel that it
// covers. All shapes are defined on a field of 256 x 256, which is stretched to the plane, and leave 8 of it free on
// every side; the corners of RoundRect have a radius of 32. E_OUTOFMEMORY: nothing is drawn.
inline constexpr int32_t kMaskField = 256;
HRESULT DrawMaskShape(eMaskShape _eShape, MaskPlane& _plane, ScratchBuffer& _scratch);

// Takes a picture file as a mask: its luma, of transparent pixels as much as shows. Result codes of ReadPictureFile.
HRESULT LoadMaskFile(const char16_t* _szFileName, MaskPlane& _plane);

// The alpha of a rectangle (null: the whole) of an ARGB32 picture. E_POINTER, E_INVALIDARG: no such picture or
// rectangle. E_OUTOFMEMORY.
HRESULT ExtractMask(const uint8_t* _pSrc, const ZR_VID_PROPS& _srcProps, const tagRECT* _pRect, MaskPlane& _plane);

// Scales a rectangle of an RGB8 picture into one of a plane that has its size (null: the whole), clipped as Img_Convert
// does, whose result codes these are; what is solid stays solid.
HRESULT ScaleMaskRect(ScalingEngine& _engine, const uint8_t* _pSrc, const ZR_VID_PROPS& _srcProps,
                      const tagRECT* _pSrcRect, MaskPlane& _dst, const tagRECT* _pDstRect, eInterpolation _eQuality);
// A whole mask at another size.
HRESULT ScaleMask(ScalingEngine& _engine, const MaskPlane& _src, int32_t _nWidth, int32_t _nHeight,
                  eInterpolation _eQuality, MaskPlane& _dst);

// _plane times what lies on it of _mask. E_INVALIDARG: the mask does not cover the plane.
HRESULT MultiplyMask(MaskPlane& _plane, const MIX_MASK& _mask);

}  // namespace zr
