#include "backends/ffmpeg/picture_codec.h"

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>

#include "backends/ffmpeg/av_error.h"
#include "platform/class_registry.h"

namespace zr {

namespace {

const ClassRegistrar registrar(kClsidPictureCodec, MakeObject<FFmpegPictureCodec>);

AVCodecID CodecOfBytes(const uint8_t* _p, size_t _cb) {
    const auto Begins = [&](std::initializer_list<uint8_t> _arr) {
        return _cb >= _arr.size() && std::equal(_arr.begin(), _arr.end(), _p);
    };
    if (Begins({0x89, 'P', 'N', 'G'})) return AV_CODEC_ID_PNG;
    if (Begins({0xFF, 0xD8, 0xFF})) return AV_CODEC_ID_MJPEG;
    if (Begins({'I', 'I', 42, 0}) || Begins({'M', 'M', 0, 42})) return AV_CODEC_ID_TIFF;
    return AV_CODEC_ID_NONE;
}

// A PNG palette has transparent entries: the chunk that says so stands before the pixels.
bool PngHasTransparency(const uint8_t* _p, size_t _cb) {
    size_t nAt = 8;
    while (nAt + 12 <= _cb) {
        const size_t cbChunk =
            size_t{_p[nAt]} << 24 | size_t{_p[nAt + 1]} << 16 | size_t{_p[nAt + 2]} << 8 | _p[nAt + 3];
        if (std::memcmp(_p + nAt + 4, "tRNS", 4) == 0) return true;
        if (std::memcmp(_p + nAt + 4, "IDAT", 4) == 0 || cbChunk > _cb) return false;
        nAt += 12 + cbChunk;
    }
    return false;
}

// What a decoder is to ask before it takes memory for its pixels.
struct DECODING {
    PictureTarget* pTarget = nullptr;
    bool bPaletteAlpha = false;
    PICTURE_ROWS rows;
    HRESULT hr = S_OK;
    bool bMade = false;
};

int GetBuffer(AVCodecContext* _pContext, AVFrame* _pFrame, int _nFlags) {
    auto& decoding = *static_cast<DECODING*>(_pContext->opaque);
    if (!decoding.bMade) {
        const AVPixFmtDescriptor* p = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(_pFrame->format));
        if (!p || _pContext->width < 1 || _pContext->height < 1) return AVERROR_INVALIDDATA;
        if (_pContext->width > kMaxPictureFileSide || _pContext->height > kMaxPictureFileSide) {
            decoding.hr = ZR_E_INVALID_DATA;
            return AVERROR_EXIT;
        }
        const bool bPalette = (p->flags & AV_PIX_FMT_FLAG_PAL) != 0;
        const bool bAlpha = bPalette ? decoding.bPaletteAlpha : (p->flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
        decoding.rows.fccType = bAlpha ? eZrFCC_ARGB32 : eZrFCC_RGB32;
        decoding.rows.nWidth = _pContext->width;
        decoding.rows.nHeight = _pContext->height;
        decoding.hr = decoding.pTarget->Make(&decoding.rows);
        if (Failed(decoding.hr)) return AVERROR_EXIT;
        decoding.bMade = true;
    }
    return avcodec_default_get_buffer2(_pContext, _pFrame, _nFlags);
}

// Samples of any depth become 8 bits, rounded to the nearest.
uint8_t To8Bits(uint32_t _n, int _nDepth) {
    if (_nDepth == 8) return static_cast<uint8_t>(_n);
    const uint32_t nMost = (1u << _nDepth) - 1;
    return static_cast<uint8_t>((std::min(_n, nMost) * 255 + nMost / 2) / nMost);
}

void CopyPalette(const AVFrame& _frame, bool _bAlpha, const PICTURE_ROWS& _to) {
    for (int y = 0; y < _to.nHeight; ++y) {
        const uint8_t* const pFrom = _frame.data[0] + ptrdiff_t{y} * _frame.linesize[0];
        uint8_t* const pTo = _to.pTop + ptrdiff_t{y} * _to.nStride;
        for (int x = 0; x < _to.nWidth; ++x) {
            uint32_t nArgb = 0;
            std::memcpy(&nArgb, _frame.data[1] + 4 * pFrom[x], 4);
            if (!_bAlpha) nArgb |= 0xFF000000u;
            for (int nByte = 0; nByte < 4; ++nByte) pTo[4 * x + nByte] = static_cast<uint8_t>(nArgb >> (8 * nByte));
        }
    }
}

// RGB and grey, with and without alpha, in whatever order and depth.
void CopyRgb(const AVFrame& _frame, const AVPixFmtDescriptor& _format, const PICTURE_ROWS& _to) {
    const bool bAlpha = (_format.flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
    const bool bGrey = _format.nb_components < 3;
    const bool bInvert = _frame.format == AV_PIX_FMT_MONOWHITE;
    const auto nWidth = static_cast<size_t>(_to.nWidth);
    std::vector<uint16_t> arrLine(nWidth);
    const uint8_t* arrData[4] = {_frame.data[0], _frame.data[1], _frame.data[2], _frame.data[3]};
    for (int y = 0; y < _to.nHeight; ++y) {
        uint8_t* const pRow = _to.pTop + ptrdiff_t{y} * _to.nStride;
        for (int nByte = 0; nByte < 4; ++nByte) {  // B, G, R, A
            uint8_t* const p = pRow + nByte;
            if (nByte == 3 && !bAlpha) {
                for (size_t x = 0; x < nWidth; ++x) p[4 * x] = 255;
                continue;
            }
            if (bGrey && (nByte == 1 || nByte == 2)) {
                for (size_t x = 0; x < nWidth; ++x) p[4 * x] = pRow[4 * x];
                continue;
            }
            const int nComponent = nByte == 3 ? _format.nb_components - 1 : bGrey ? 0 : 2 - nByte;
            av_read_image_line2(arrLine.data(), arrData, _frame.linesize, &_format, 0, y, nComponent, _to.nWidth, 0, 2);
            const int nDepth = _format.comp[nComponent].depth;
            for (size_t x = 0; x < nWidth; ++x) {
                const uint8_t n = To8Bits(arrLine[x], nDepth);
                p[4 * x] = bInvert ? static_cast<uint8_t>(255 - n) : n;
            }
        }
    }
}

HRESULT CopyDecoded(const AVFrame& _frame, const PICTURE_ROWS& _to) {
    const auto eFormat = static_cast<AVPixelFormat>(_frame.format);
    const AVPixFmtDescriptor* pFormat = av_pix_fmt_desc_get(eFormat);
    if (!pFormat || _frame.width != _to.nWidth || _frame.height != _to.nHeight) return ZR_E_INVALID_DATA;
    if ((pFormat->flags & AV_PIX_FMT_FLAG_PAL) != 0) {
        CopyPalette(_frame, _to.fccType == eZrFCC_ARGB32, _to);
        return S_OK;
    }
    const bool bRgb = (pFormat->flags & AV_PIX_FMT_FLAG_RGB) != 0;
    if ((bRgb || pFormat->nb_components < 3) && (pFormat->flags & AV_PIX_FMT_FLAG_FLOAT) == 0) {
        CopyRgb(_frame, *pFormat, _to);
        return S_OK;
    }
    RAW_PICTURE from = PlanesOfAvFrame(_frame), to;
    if (_frame.colorspace == AVCOL_SPC_UNSPECIFIED) from.eSpace = AVCOL_SPC_SMPTE170M;  // of JPEG, at any size
    to.eFormat = AV_PIX_FMT_BGRA;
    to.nWidth = _to.nWidth;
    to.nHeight = _to.nHeight;
    to.arrPlanes[0] = _to.pTop;
    to.arrStrides[0] = static_cast<int>(_to.nStride);
    to.eSpace = from.eSpace;
    PixelConverter converter;
    return converter.Convert(from, to, false);
}

HRESULT DecodeFile(AVCodecID _eCodec, const uint8_t* _pFile, size_t _cbFile, DECODING* _pDecoding) {
    const AVCodec* const pCodec = avcodec_find_decoder(_eCodec);
    if (!pCodec) return ZR_E_NOT_SUPPORTED;
    const CodecPtr pContext(avcodec_alloc_context3(pCodec));
    const PacketPtr pPacket(av_packet_alloc());
    const FramePtr pFrame(av_frame_alloc());
    if (!pContext || !pPacket || !pFrame || av_new_packet(pPacket.get(), static_cast<int>(_cbFile)) < 0)
        return E_OUTOFMEMORY;
    std::memcpy(pPacket->data, _pFile, _cbFile);
    pContext->opaque = _pDecoding;
    pContext->get_buffer2 = GetBuffer;
    pContext->thread_count = 1;
    pContext->err_recognition = AV_EF_CRCCHECK | AV_EF_BITSTREAM | AV_EF_BUFFER;
    // A damaged picture is none; but of TIFF this would refuse every tag that the decoder does not need.
    if (_eCodec != AV_CODEC_ID_TIFF) pContext->err_recognition |= AV_EF_EXPLODE;
    pContext->max_pixels = int64_t{kMaxPictureFileSide} * kMaxPictureFileSide;
    int nResult = avcodec_open2(pContext.get(), pCodec, nullptr);
    if (nResult >= 0) nResult = avcodec_send_packet(pContext.get(), pPacket.get());
    if (nResult >= 0) nResult = avcodec_send_packet(pContext.get(), nullptr);
    if (nResult >= 0) nResult = avcodec_receive_frame(pContext.get(), pFrame.get());
    if (Failed(_pDecoding->hr)) return _pDecoding->hr;
    if (nResult == AVERROR(ENOMEM)) return E_OUTOFMEMORY;
    if (nResult < 0 || !_pDecoding->bMade)
        return nResult == AVERROR_PATCHWELCOME ? ZR_E_NOT_SUPPORTED : ZR_E_INVALID_DATA;
    return CopyDecoded(*pFrame, _pDecoding->rows);
}

// The picture as R, G, B (, A) rows of an encoder's frame.
void SwapRows(const PICTURE_ROWS& _from, const AVFrame& _to) {
    const int nFrom = _from.fccType == eZrFCC_RGB24 ? 3 : 4;
    const int nTo = _to.format == AV_PIX_FMT_RGBA ? 4 : 3;
    for (int y = 0; y < _from.nHeight; ++y) {
        const uint8_t* p = _from.pTop + ptrdiff_t{y} * _from.nStride;
        uint8_t* pTo = _to.data[0] + ptrdiff_t{y} * _to.linesize[0];
        for (int x = 0; x < _from.nWidth; ++x, p += nFrom, pTo += nTo) {
            pTo[0] = p[2];
            pTo[1] = p[1];
            pTo[2] = p[0];
            if (nTo == 4) pTo[3] = p[3];
        }
    }
}

HRESULT FillForJpeg(const PICTURE_ROWS& _from, const AVFrame& _to) {
    RAW_PICTURE from;
    from.eFormat = _from.fccType == eZrFCC_RGB24 ? AV_PIX_FMT_BGR24 : AV_PIX_FMT_BGR0;
    from.nWidth = _from.nWidth;
    from.nHeight = _from.nHeight;
    from.arrPlanes[0] = _from.pTop;
    from.arrStrides[0] = static_cast<int>(_from.nStride);
    from.eSpace = AVCOL_SPC_SMPTE170M;
    RAW_PICTURE to = PlanesOfAvFrame(_to);
    to.eSpace = AVCOL_SPC_SMPTE170M;
    PixelConverter converter;
    return converter.Convert(from, to, false);
}

HRESULT EncodeFile(AVCodecID _eCodec, AVPixelFormat _ePixels, const PICTURE_ROWS& _picture, int32_t _nQuality,
                   std::vector<uint8_t>* _parrFile) {
    const AVCodec* const pCodec = avcodec_find_encoder(_eCodec);
    if (!pCodec) return ZR_E_NOT_SUPPORTED;
    const CodecPtr pContext(avcodec_alloc_context3(pCodec));
    const PacketPtr pPacket(av_packet_alloc());
    const FramePtr pFrame(av_frame_alloc());
    if (!pContext || !pPacket || !pFrame) return E_OUTOFMEMORY;
    pContext->width = pFrame->width = _picture.nWidth;
    pContext->height = pFrame->height = _picture.nHeight;
    pContext->pix_fmt = _ePixels;
    pFrame->format = _ePixels;
    pContext->time_base = {1, 25};
    pContext->thread_count = 1;
    if (_eCodec == AV_CODEC_ID_MJPEG) {
        // 100 to 1 for the quantiser 1 to 31.
        pContext->flags |= AV_CODEC_FLAG_QSCALE;
        pContext->qmin = 1;
        pContext->global_quality = FF_QP2LAMBDA * (1 + (100 - std::clamp(_nQuality, 1, 100)) * 30 / 99);
        pFrame->quality = pContext->global_quality;
        pContext->color_range = pFrame->color_range = AVCOL_RANGE_JPEG;
        pContext->colorspace = pFrame->colorspace = AVCOL_SPC_SMPTE170M;
    }
    int nResult = av_frame_get_buffer(pFrame.get(), 0);
    if (nResult < 0) return E_OUTOFMEMORY;
    if (_eCodec == AV_CODEC_ID_MJPEG) {
        const HRESULT hr = FillForJpeg(_picture, *pFrame);
        if (Failed(hr)) return hr;
    } else {
        SwapRows(_picture, *pFrame);
    }
    nResult = avcodec_open2(pContext.get(), pCodec, nullptr);
    if (nResult >= 0) nResult = avcodec_send_frame(pContext.get(), pFrame.get());
    if (nResult >= 0) nResult = avcodec_send_frame(pContext.get(), nullptr);
    if (nResult >= 0) nResult = avcodec_receive_packet(pContext.get(), pPacket.get());
    if (nResult < 0) return nResult == AVERROR(ENOMEM) ? E_OUTOFMEMORY : E_INVALIDARG;
    _parrFile->assign(pPacket->data, pPacket->data + pPacket->size);
    return S_OK;
}

}  // namespace

void LinkFFmpegPictureCodec() {}

HRESULT FFmpegPictureCodec::Decode(const uint8_t* _pFile, size_t _cbFile, PictureTarget* _pTarget) {
    if (!_pFile || !_pTarget) return E_POINTER;
    const AVCodecID eCodec = CodecOfBytes(_pFile, _cbFile);
    if (eCodec == AV_CODEC_ID_NONE) return ZR_E_NOT_SUPPORTED;
    if (_cbFile > INT_MAX - AV_INPUT_BUFFER_PADDING_SIZE) return ZR_E_INVALID_DATA;
    QuietAvLog();
    try {
        DECODING decoding;
        decoding.pTarget = _pTarget;
        decoding.bPaletteAlpha = eCodec == AV_CODEC_ID_PNG && PngHasTransparency(_pFile, _cbFile);
        return DecodeFile(eCodec, _pFile, _cbFile, &decoding);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT FFmpegPictureCodec::Encode(ePictureType _eType, const PICTURE_ROWS& _picture, int32_t _nQuality,
                                   std::vector<uint8_t>* _parrFile) {
    if (!_parrFile || !_picture.pTop) return E_POINTER;
    const bool bAlpha = _picture.fccType == eZrFCC_ARGB32;
    const bool bRgb = bAlpha || _picture.fccType == eZrFCC_RGB32 || _picture.fccType == eZrFCC_RGB24;
    const bool bSize = _picture.nWidth > 0 && _picture.nHeight > 0 && _picture.nWidth <= kMaxPictureFileSide &&
                       _picture.nHeight <= kMaxPictureFileSide;
    if (!bRgb || !bSize) return E_INVALIDARG;
    QuietAvLog();
    const AVPixelFormat ePixels = bAlpha ? AV_PIX_FMT_RGBA : AV_PIX_FMT_RGB24;
    try {
        switch (_eType) {
            case ePictureType::Png: return EncodeFile(AV_CODEC_ID_PNG, ePixels, _picture, 0, _parrFile);
            case ePictureType::Tiff: return EncodeFile(AV_CODEC_ID_TIFF, ePixels, _picture, 0, _parrFile);
            case ePictureType::Jpeg: {
                // Fine colours are worth their bytes only where the rest is fine too.
                const AVPixelFormat eJpeg = _nQuality >= 90 ? AV_PIX_FMT_YUVJ444P : AV_PIX_FMT_YUVJ420P;
                return EncodeFile(AV_CODEC_ID_MJPEG, eJpeg, _picture, _nQuality, _parrFile);
            }
            default: return ZR_E_NOT_SUPPORTED;
        }
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

}  // namespace zr
