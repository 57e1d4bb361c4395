#include "backends/ffmpeg/pixel_map.h"

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cstring>
#include <utility>

#include "backends/ffmpeg/av_error.h"
#include "media/pixel_format.h"

namespace zr {

namespace {

struct FORMAT_PAIR {
    eZrFCC fccType;
    AVPixelFormat eFormat;
};

// The first one of a layout is what a decoded picture of it becomes.
constexpr FORMAT_PAIR arrPairs[] = {
    {eZrFCC_I420, AV_PIX_FMT_YUV420P},   {eZrFCC_NV12, AV_PIX_FMT_NV12},    {eZrFCC_UYVY, AV_PIX_FMT_UYVY422},
    {eZrFCC_HDYC, AV_PIX_FMT_UYVY422},   {eZrFCC_YUY2, AV_PIX_FMT_YUYV422}, {eZrFCC_YVYU, AV_PIX_FMT_YVYU422},
    {eZrFCC_ARGB32, AV_PIX_FMT_BGRA},    {eZrFCC_RGB32, AV_PIX_FMT_BGR0},   {eZrFCC_RGB24, AV_PIX_FMT_BGR24},
    {eZrFCC_YV12, AV_PIX_FMT_YUV420P},   {kFCC_Y422, AV_PIX_FMT_YUV422P},   {kFCC_Y444, AV_PIX_FMT_YUV444P},
    {eZrFCC_v210, AV_PIX_FMT_YUV422P10},
};

bool SamePlainFormat(const RAW_PICTURE& _a, const RAW_PICTURE& _b) {
    return _a.eFormat == _b.eFormat && _a.nWidth == _b.nWidth && _a.nHeight == _b.nHeight &&
           _a.bFullRange == _b.bFullRange;
}

bool SameKind(const RAW_PICTURE& _a, const RAW_PICTURE& _b) {
    return SamePlainFormat(_a, _b) && _a.eSpace == _b.eSpace;
}

// The rows of one field of a picture.
RAW_PICTURE FieldOf(const RAW_PICTURE& _picture, int _nField) {
    RAW_PICTURE field = _picture;
    field.nHeight = (_picture.nHeight + 1 - _nField) / 2;
    for (int i = 0; i < 4; ++i) {
        if (field.arrPlanes[i] && _nField) field.arrPlanes[i] += field.arrStrides[i];
        field.arrStrides[i] *= 2;
    }
    return field;
}

int SwsMatrix(AVColorSpace _eSpace) {
    switch (_eSpace) {
        case AVCOL_SPC_BT709: return SWS_CS_ITU709;
        case AVCOL_SPC_FCC: return SWS_CS_FCC;
        case AVCOL_SPC_SMPTE240M: return SWS_CS_SMPTE240M;
        case AVCOL_SPC_BT2020_NCL:
        case AVCOL_SPC_BT2020_CL: return SWS_CS_BT2020;
        default: return SWS_CS_ITU601;
    }
}

// The ranges are told before it is set up: between equal layouts it then would choose to copy, and stay with that.
SwsPtr NewScaler(const RAW_PICTURE& _from, const RAW_PICTURE& _to) {
    SwsPtr pScaler(sws_alloc_context());
    if (!pScaler) return pScaler;
    const struct {
        const char* szName;
        int nValue;
    } arrOptions[] = {{"srcw", _from.nWidth},
                      {"srch", _from.nHeight},
                      {"src_format", _from.eFormat},
                      {"src_range", _from.bFullRange},
                      {"dstw", _to.nWidth},
                      {"dsth", _to.nHeight},
                      {"dst_format", _to.eFormat},
                      {"dst_range", _to.bFullRange},
                      {"sws_flags", SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT}};
    for (const auto& option : arrOptions) av_opt_set_int(pScaler.get(), option.szName, option.nValue, 0);
    if (sws_init_context(pScaler.get(), nullptr, nullptr) < 0) return {};
    sws_setColorspaceDetails(pScaler.get(), sws_getCoefficients(SwsMatrix(_from.eSpace)), _from.bFullRange,
                             sws_getCoefficients(SwsMatrix(_to.eSpace)), _to.bFullRange, 0, 1 << 16, 1 << 16);
    return pScaler;
}

const uint16_t* RowOf(const RAW_PICTURE& _picture, int _nPlane, int _y) {
    return reinterpret_cast<const uint16_t*>(_picture.arrPlanes[_nPlane] +
                                             ptrdiff_t{_y} * _picture.arrStrides[_nPlane]);
}

uint32_t Pack3(uint32_t _a, uint32_t _b, uint32_t _c) { return (_a & 1023) | (_b & 1023) << 10 | (_c & 1023) << 20; }

void StoreWord(uint8_t* _p, uint32_t _n) { std::memcpy(_p, &_n, 4); }

}  // namespace

AVColorSpace MatrixOrGuess(AVColorSpace _eSpace, int _nHeight) {
    if (_eSpace != AVCOL_SPC_UNSPECIFIED && _eSpace != AVCOL_SPC_RESERVED) return _eSpace;
    return _nHeight >= 720 ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
}

AVPixelFormat PlainFormat(AVPixelFormat _eFormat, bool* _pbFullRange) {
    AVPixelFormat ePlain = _eFormat;
    switch (_eFormat) {
        case AV_PIX_FMT_YUVJ420P: ePlain = AV_PIX_FMT_YUV420P; break;
        case AV_PIX_FMT_YUVJ422P: ePlain = AV_PIX_FMT_YUV422P; break;
        case AV_PIX_FMT_YUVJ444P: ePlain = AV_PIX_FMT_YUV444P; break;
        case AV_PIX_FMT_YUVJ440P: ePlain = AV_PIX_FMT_YUV440P; break;
        case AV_PIX_FMT_YUVJ411P: ePlain = AV_PIX_FMT_YUV411P; break;
        default: return _eFormat;
    }
    *_pbFullRange = true;
    return ePlain;
}

eZrFCC FamilyFormatOf(AVPixelFormat _eFormat, AVColorSpace _eSpace, int _nHeight) {
    bool bFull = false;
    const AVPixelFormat eFormat = PlainFormat(_eFormat, &bFull);
    const bool bHD = MatrixOrGuess(_eSpace, _nHeight) == AVCOL_SPC_BT709 ||
                     (_eSpace != AVCOL_SPC_UNSPECIFIED && SwsMatrix(_eSpace) == SWS_CS_BT2020);
    const eZrFCC fcc422 = bHD ? eZrFCC_HDYC : eZrFCC_UYVY;
    if (eFormat == AV_PIX_FMT_UYVY422) return fcc422;
    if (eFormat != AV_PIX_FMT_YUV422P && eFormat != AV_PIX_FMT_YUV444P)
        for (const FORMAT_PAIR& pair : arrPairs)
            if (pair.eFormat == eFormat) return pair.fccType;
    const AVPixFmtDescriptor* pDescriptor = av_pix_fmt_desc_get(eFormat);
    if (!pDescriptor) return fcc422;
    if (pDescriptor->flags & AV_PIX_FMT_FLAG_ALPHA) return eZrFCC_ARGB32;
    if (pDescriptor->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) return eZrFCC_RGB32;
    if (pDescriptor->nb_components < 3 || pDescriptor->log2_chroma_h > 0) return eZrFCC_I420;
    const bool b422 = pDescriptor->log2_chroma_w == 1;
    return b422 && pDescriptor->comp[0].depth > 8 ? eZrFCC_v210 : fcc422;
}

AVPixelFormat LayoutOfFamily(eZrFCC _fccType) {
    for (const FORMAT_PAIR& pair : arrPairs)
        if (pair.fccType == _fccType) return pair.eFormat;
    return AV_PIX_FMT_NONE;
}

bool PlanesOfFrame(const ZR_VID_PROPS& _props, const ZRF_VID_PTR& _planes, RAW_PICTURE* _pPicture) {
    RAW_PICTURE picture;
    picture.eFormat = LayoutOfFamily(_props.fccType);
    picture.nWidth = _props.nWidth;
    picture.nHeight = AbsHeight(_props.nHeight);
    if (picture.eFormat == AV_PIX_FMT_NONE || !_planes.lpVideoPlanes[0]) return false;
    for (int i = 0; i < 4; ++i) {
        picture.arrPlanes[i] = reinterpret_cast<uint8_t*>(_planes.lpVideoPlanes[i]);
        picture.arrStrides[i] = _planes.cbVideoRowBytes[i];
    }
    switch (static_cast<uint32_t>(_props.fccType)) {
        case eZrFCC_HDYC: picture.eSpace = AVCOL_SPC_BT709; break;
        case eZrFCC_UYVY:
        case eZrFCC_YUY2:
        case eZrFCC_YVYU: picture.eSpace = AVCOL_SPC_SMPTE170M; break;
        default: picture.eSpace = MatrixOrGuess(AVCOL_SPC_UNSPECIFIED, picture.nHeight); break;
    }
    *_pPicture = picture;
    return true;
}

RAW_PICTURE PlanesOfAvFrame(const AVFrame& _frame) {
    RAW_PICTURE picture;
    picture.bFullRange = _frame.color_range == AVCOL_RANGE_JPEG;
    picture.eFormat = PlainFormat(static_cast<AVPixelFormat>(_frame.format), &picture.bFullRange);
    picture.nWidth = _frame.width;
    picture.nHeight = _frame.height;
    for (int i = 0; i < 4; ++i) {
        picture.arrPlanes[i] = _frame.data[i];
        picture.arrStrides[i] = _frame.linesize[i];
    }
    picture.eSpace = MatrixOrGuess(_frame.colorspace, _frame.height);
    return picture;
}

void PackV210(const RAW_PICTURE& _from, uint8_t* _pTo, int _nStride) {
    for (int y = 0; y < _from.nHeight; ++y, _pTo += _nStride) {
        const uint16_t* pY = RowOf(_from, 0, y);
        const uint16_t* pU = RowOf(_from, 1, y);
        const uint16_t* pV = RowOf(_from, 2, y);
        uint8_t* p = _pTo;
        int x = 0;
        for (; x + 6 <= _from.nWidth; x += 6, pY += 6, pU += 3, pV += 3, p += 16) {
            StoreWord(p, Pack3(pU[0], pY[0], pV[0]));
            StoreWord(p + 4, Pack3(pY[1], pU[1], pY[2]));
            StoreWord(p + 8, Pack3(pV[1], pY[3], pU[2]));
            StoreWord(p + 12, Pack3(pY[4], pV[2], pY[5]));
        }
        if (x >= _from.nWidth) continue;
        uint16_t arrY[6] = {}, arrU[3] = {}, arrV[3] = {};
        std::copy_n(pY, _from.nWidth - x, arrY);
        std::copy_n(pU, (_from.nWidth - x) / 2, arrU);
        std::copy_n(pV, (_from.nWidth - x) / 2, arrV);
        StoreWord(p, Pack3(arrU[0], arrY[0], arrV[0]));
        StoreWord(p + 4, Pack3(arrY[1], arrU[1], arrY[2]));
        StoreWord(p + 8, Pack3(arrV[1], arrY[3], arrU[2]));
        StoreWord(p + 12, Pack3(arrY[4], arrV[2], arrY[5]));
    }
}

void UnpackV210(const uint8_t* _pFrom, int _nStride, const RAW_PICTURE& _to) {
    for (int y = 0; y < _to.nHeight; ++y, _pFrom += _nStride) {
        uint16_t* arrRows[3] = {const_cast<uint16_t*>(RowOf(_to, 0, y)), const_cast<uint16_t*>(RowOf(_to, 1, y)),
                                const_cast<uint16_t*>(RowOf(_to, 2, y))};
        const uint8_t* p = _pFrom;
        for (int x = 0; x < _to.nWidth; x += 6, p += 16) {
            // U0 Y0 V0 | Y1 U1 Y2 | V1 Y3 U2 | Y4 V2 Y5
            uint16_t arr[12];
            for (int i = 0; i < 4; ++i) {
                uint32_t n = 0;
                std::memcpy(&n, p + 4 * i, 4);
                for (int k = 0; k < 3; ++k) arr[3 * i + k] = static_cast<uint16_t>(n >> (10 * k) & 1023);
            }
            const uint16_t arrY[6] = {arr[1], arr[3], arr[5], arr[7], arr[9], arr[11]};
            const uint16_t arrU[3] = {arr[0], arr[4], arr[8]}, arrV[3] = {arr[2], arr[6], arr[10]};
            const int nPixels = std::min(6, _to.nWidth - x);
            std::copy_n(arrY, nPixels, arrRows[0] + x);
            std::copy_n(arrU, nPixels / 2, arrRows[1] + x / 2);
            std::copy_n(arrV, nPixels / 2, arrRows[2] + x / 2);
        }
    }
}

HRESULT PixelConverter::Convert(const RAW_PICTURE& _from, const RAW_PICTURE& _to, bool _bFields) {
    if (SamePlainFormat(_from, _to)) {
        const uint8_t* arrFrom[4] = {_from.arrPlanes[0], _from.arrPlanes[1], _from.arrPlanes[2], _from.arrPlanes[3]};
        uint8_t* arrTo[4] = {_to.arrPlanes[0], _to.arrPlanes[1], _to.arrPlanes[2], _to.arrPlanes[3]};
        int arrToStrides[4] = {_to.arrStrides[0], _to.arrStrides[1], _to.arrStrides[2], _to.arrStrides[3]};
        av_image_copy(arrTo, arrToStrides, arrFrom, _from.arrStrides, _from.eFormat, _from.nWidth, _from.nHeight);
        return S_OK;
    }
    if (!_bFields || _from.nHeight < 4) return ConvertRows(_from, _to);
    for (int nField = 0; nField < 2; ++nField) {
        const HRESULT hr = ConvertRows(FieldOf(_from, nField), FieldOf(_to, nField));
        if (Failed(hr)) return hr;
    }
    return S_OK;
}

HRESULT PixelConverter::ConvertRows(const RAW_PICTURE& _from, const RAW_PICTURE& _to) {
    if (!pScaler || !SameKind(madeFor[0], _from) || !SameKind(madeFor[1], _to)) {
        pScaler = NewScaler(_from, _to);
        if (!pScaler) return ZR_E_NOT_SUPPORTED;
        madeFor[0] = _from;
        madeFor[1] = _to;
    }
    SwsContext* const p = pScaler.get();
    const int nRows = sws_scale(p, _from.arrPlanes, _from.arrStrides, 0, _from.nHeight, _to.arrPlanes, _to.arrStrides);
    return nRows < 0 ? StatusFromAv(nRows) : S_OK;
}

HRESULT ScratchPicture::Make(AVPixelFormat _eFormat, int _nWidth, int _nHeight) {
    if (pFrame && pFrame->format == _eFormat && pFrame->width == _nWidth && pFrame->height == _nHeight) return S_OK;
    pFrame.reset(av_frame_alloc());
    if (!pFrame) return E_OUTOFMEMORY;
    pFrame->format = _eFormat;
    pFrame->width = _nWidth;
    pFrame->height = _nHeight;
    const int nResult = av_frame_get_buffer(pFrame.get(), 0);
    if (nResult < 0) pFrame.reset();
    return StatusFromAv(nResult);
}

}  // namespace zr
