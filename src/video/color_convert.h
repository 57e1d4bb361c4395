#pragma once
// A picture in another pixel format at the same size, packed or planar, from any to any.
//
// Between YCbCr formats samples are copied. A line of 4:2:0 chroma goes to both lines that share it and comes back as
// their mean, two lines of a field where pictures are interlaced: 4:2:0 through 4:2:2 and back loses nothing. 4:4:4
// chroma is the mean of two, and is doubled on the way back. To and from RGB the matrix is that of the packed 4:2:2
// format that is nearest: BT.709 where it is HDYC, else BT.601.

#include <cstdint>

#include "video/picture.h"
#include "video/row_converter.h"
#include "video/scaling_engine.h"

namespace zr {

class PictureConverter {
public:
    // kTypeNotAccepted: a format without a way in or out. E_FAIL: RGB to v210. Formats of the same family can always be
    // copied.
    static HRESULT Make(eZrFCC _fccFrom, eZrFCC _fccTo, bool _bInterlaced, PictureConverter& _converter);

    // Lines are converted by groups of kGroupLines, or what is left of them at the ends of a picture that is cut from
    // another; those of one group hang together, groups may be converted in any order and by several threads.
    static constexpr int32_t kGroupLines = 4;
    static int32_t Groups(const PICTURE& _dst);
    // The pictures are of one size and do not overlap, but for planes that are the same.
    void Run(const PICTURE& _src, const PICTURE& _dst, int32_t _nFirstGroup, int32_t _nEndGroup) const;

private:
    enum class eWay { Copy, Packed, PlanesToPacked, ToPlanes, FullChromaToRgb, RgbToFullChroma };

    void CopyPlanes(const PICTURE& _src, const PICTURE& _dst, int32_t _nFirstGroup, int32_t _nEndGroup) const;
    void PackLine(const PICTURE& _src, const PICTURE& _dst, int32_t _y) const;
    void FillPlanes(const PICTURE& _src, const PICTURE& _dst, int32_t _nGroup) const;
    void LineToRgb(const PICTURE& _src, const PICTURE& _dst, int32_t _y) const;
    void LineFromRgb(const PICTURE& _src, const PICTURE& _dst, int32_t _y) const;

    eWay way = eWay::Copy;
    bool bInterlaced = false;
    RowConverter row;  // between packed formats; to planes: to UYVY; from planes: from UYVY; 4:4:4: to or from RGB32
};

// Converts the whole of _src into _dst, which has its size. Codes of PictureConverter::Make; nothing is written then.
HRESULT ConvertPicture(const PICTURE& _src, const PICTURE& _dst, bool _bInterlaced, bool _bThreads);

// Converts _pSrcRect of one picture into _pDstRect of another (null: the whole), both clipped to their pictures and to
// the smaller of both sizes. 4:2:0 chroma is taken as interlaced when the destination's record is.
// S_FALSE: nothing of the rectangles is inside. E_POINTER: a null picture. E_INVALIDARG: sizes, strides or rectangles
// that cannot be, or a v210 picture that would be cut within a group of six pixels. Codes of PictureConverter::Make.
// Nothing is written then.
HRESULT ColorConvert(ScalingEngine& _engine, const uint8_t* _pSrc, uint8_t* _pDst, const ZR_VID_PROPS& _srcProps,
                     const ZR_VID_PROPS& _dstProps, const tagRECT* _pSrcRect, const tagRECT* _pDstRect);

}  // namespace zr
