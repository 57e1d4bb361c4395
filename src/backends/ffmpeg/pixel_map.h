#pragma once
// Pixel formats of the family and of the libav libraries, and pictures between the two.

#include <cstdint>

#include "backends/ffmpeg/av_ptr.h"
#include "zr/records.h"
#include "zr/status.h"

namespace zr {

// A picture by planes, top row first, with what its samples mean.
struct RAW_PICTURE {
    AVPixelFormat eFormat = AV_PIX_FMT_NONE;
    int nWidth = 0;
    int nHeight = 0;
    uint8_t* arrPlanes[4] = {};
    int arrStrides[4] = {};  // bytes; may be negative
    AVColorSpace eSpace = AVCOL_SPC_UNSPECIFIED;
    bool bFullRange = false;
};

// The matrix of a picture whose file does not name it: BT.709 from 720 lines on, BT.601 below.
AVColorSpace MatrixOrGuess(AVColorSpace _eSpace, int _nHeight);
// The format without the full-range mark that some old names carry; *_pbFullRange is set for those.
AVPixelFormat PlainFormat(AVPixelFormat _eFormat, bool* _pbFullRange);

// The family's format in which a decoded picture is handed on: its own when it is one of the family, else the nearest.
// 4:2:2 with the matrix of BT.709 is HDYC, other 4:2:2 UYVY, with more than 8 bits v210; 4:2:0 is I420; what has alpha
// is ARGB32, other RGB RGB32.
eZrFCC FamilyFormatOf(AVPixelFormat _eFormat, AVColorSpace _eSpace, int _nHeight);
// The layout of a family format; AV_PIX_FMT_NONE for one that the libraries do not have. v210 is packed from and
// unpacked to AV_PIX_FMT_YUV422P10 by the functions below.
AVPixelFormat LayoutOfFamily(eZrFCC _fccType);

// The planes of a frame's picture. False: it has none, or no layout.
bool PlanesOfFrame(const ZR_VID_PROPS& _props, const ZRF_VID_PTR& _planes, RAW_PICTURE* _pPicture);
RAW_PICTURE PlanesOfAvFrame(const AVFrame& _frame);

// Between planes of 10 bits in 16 and v210; _nWidth even, any number of rows.
void PackV210(const RAW_PICTURE& _from, uint8_t* _pTo, int _nStride);
void UnpackV210(const uint8_t* _pFrom, int _nStride, const RAW_PICTURE& _to);

// Copies and converts pictures; keeps its filters for pictures of the same kind. One thread at a time.
class PixelConverter {
public:
    // _bFields: the two are fields woven together, which are kept apart. S_OK, E_OUTOFMEMORY, ZR_E_NOT_SUPPORTED.
    HRESULT Convert(const RAW_PICTURE& _from, const RAW_PICTURE& _to, bool _bFields);

private:
    HRESULT ConvertRows(const RAW_PICTURE& _from, const RAW_PICTURE& _to);

    SwsPtr pScaler;
    RAW_PICTURE madeFor[2];  // the kinds of picture that pScaler converts between
};

// A picture's memory, kept from one use to the next. One thread at a time.
class ScratchPicture {
public:
    // E_OUTOFMEMORY, E_INVALIDARG.
    HRESULT Make(AVPixelFormat _eFormat, int _nWidth, int _nHeight);
    RAW_PICTURE Planes() const { return PlanesOfAvFrame(*pFrame); }

private:
    FramePtr pFrame;
};

}  // namespace zr
