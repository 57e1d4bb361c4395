#include "backends/ffmpeg/encoder.h"

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cmath>
#include <cstring>

#include "backends/ffmpeg/av_error.h"
#include "media/format_table.h"
#include "media/frame_interfaces.h"
#include "media/pixel_format.h"

namespace zr {

namespace {

// Containers that do not say what they take, and take what is usual.
bool TakesUsual(const AVOutputFormat& _format) {
    for (const char* szName : {"mpegts", "rtp_mpegts", "rtsp", "hls"})
        if (std::strcmp(_format.name, szName) == 0) return true;
    return false;
}

bool Takes(const AVOutputFormat& _format, AVCodecID _eCodec) {
    const int nResult = avformat_query_codec(&_format, _eCodec, FF_COMPLIANCE_NORMAL);
    return nResult == 1 || (nResult < 0 && TakesUsual(_format));
}

CODEC_CHOICE Choose(const AVOutputFormat& _format, const std::string& _strName, AVCodecID _eUsual, AVCodecID _eOwn,
                    AVMediaType _eType) {
    CODEC_CHOICE choice;
    if (_eOwn == AV_CODEC_ID_NONE) {
        choice.bTakes = false;
        return choice;
    }
    const auto Add = [&](const AVCodec* _pCodec) {
        if (_pCodec && _pCodec->type == _eType) choice.arrCodecs.push_back(_pCodec);
    };
    AVCodecID eCodec = Takes(_format, _eUsual) ? _eUsual : _eOwn;
    if (!_strName.empty()) {
        Add(avcodec_find_encoder_by_name(_strName.c_str()));
        const AVCodecDescriptor* pDescriptor = avcodec_descriptor_get_by_name(_strName.c_str());
        if (!pDescriptor) return choice;
        eCodec = pDescriptor->id;
    }
    if (eCodec == AV_CODEC_ID_H264) {
        Add(avcodec_find_encoder_by_name("libx264"));
        Add(avcodec_find_encoder_by_name("libopenh264"));
    }
    Add(avcodec_find_encoder(eCodec));
    if (_strName.empty() && eCodec == AV_CODEC_ID_H264) Add(avcodec_find_encoder(AV_CODEC_ID_MPEG4));
    return choice;
}

// The encoder's pixel format. H.264 and its like are made in 4:2:0, which all players take, unless "pix_fmt" asks for
// another; other codecs in what loses least.
AVPixelFormat PixelsFor(const AVCodec& _codec, AVPixelFormat _eSource, AVPixelFormat _eAsked) {
    if (!_codec.pix_fmts) return _eAsked != AV_PIX_FMT_NONE ? _eAsked : _eSource;
    const auto Has = [&](AVPixelFormat _eFormat) {
        for (const AVPixelFormat* p = _codec.pix_fmts; *p != AV_PIX_FMT_NONE; ++p)
            if (*p == _eFormat) return true;
        return false;
    };
    if (_eAsked != AV_PIX_FMT_NONE) return Has(_eAsked) ? _eAsked : AV_PIX_FMT_NONE;
    const AVCodecDescriptor* pDescriptor = avcodec_descriptor_get(_codec.id);
    const bool bLossy = pDescriptor && (pDescriptor->props & AV_CODEC_PROP_LOSSY) != 0 &&
                        (pDescriptor->props & AV_CODEC_PROP_INTRA_ONLY) == 0;
    if (bLossy && Has(AV_PIX_FMT_YUV420P)) return AV_PIX_FMT_YUV420P;
    const AVPixFmtDescriptor* pSource = av_pix_fmt_desc_get(_eSource);
    const bool bAlpha = pSource && (pSource->flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
    const AVPixelFormat eBest = avcodec_find_best_pix_fmt_of_list(_codec.pix_fmts, _eSource, bAlpha, nullptr);
    // Motion JPEG is full range, and only these names say so.
    if (_codec.id == AV_CODEC_ID_MJPEG && eBest == AV_PIX_FMT_YUV420P) return AV_PIX_FMT_YUVJ420P;
    if (_codec.id == AV_CODEC_ID_MJPEG && eBest == AV_PIX_FMT_YUV422P) return AV_PIX_FMT_YUVJ422P;
    return eBest;
}

// An entry of an option text that the encoder itself does not know; "" when there is none.
std::string TakeEntry(AvOptions* _pOptions, const char* _szName) {
    const AVDictionaryEntry* pEntry = av_dict_get(*_pOptions->Ptr(), _szName, nullptr, 0);
    const std::string strValue = pEntry ? pEntry->value : "";
    av_dict_set(_pOptions->Ptr(), _szName, nullptr, 0);
    return strValue;
}

void SetColours(AVCodecContext* _pContext, const RAW_PICTURE& _picture) {
    bool bFullRange = false;
    PlainFormat(_pContext->pix_fmt, &bFullRange);
    _pContext->color_range = bFullRange ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    _pContext->colorspace = _picture.eSpace;
    if (_picture.eSpace == AVCOL_SPC_BT709) {
        _pContext->color_primaries = AVCOL_PRI_BT709;
        _pContext->color_trc = AVCOL_TRC_BT709;
    } else {
        const bool b625 = _picture.nHeight == 576 || _picture.nHeight == 288;
        _pContext->color_primaries = b625 ? AVCOL_PRI_BT470BG : AVCOL_PRI_SMPTE170M;
        _pContext->color_trc = AVCOL_TRC_SMPTE170M;
    }
}

AVSampleFormat SampleFormatOf(int32_t _nBits) {
    switch (_nBits) {
        case 8: return AV_SAMPLE_FMT_U8;
        case 16: return AV_SAMPLE_FMT_S16;
        case 20:
        case 24:
        case 32: return AV_SAMPLE_FMT_S32;
        case -32: return AV_SAMPLE_FMT_FLT;
        default: return AV_SAMPLE_FMT_NONE;
    }
}

constexpr size_t kWidestSample = 8;  // bytes

int BytesOf(int32_t _nBits) { return _nBits == 20 || _nBits == 24 ? 3 : std::abs(_nBits) / 8; }

}  // namespace

AVRational RateOf(const ZR_VID_PROPS& _props) {
    const ZrVideoFormatRow* pRow = RowOf(_props.eVideoFormat);
    if (pRow && pRow->nRateNum > 0 && (_props.dblRate <= 0 || std::abs(_props.dblRate - pRow->dblRate) < 0.001))
        return {pRow->nRateNum, pRow->nRateDen};
    const double dblRate = _props.dblRate;
    if (!(dblRate > 0) || dblRate > 100000) return {25, 1};
    if (std::abs(dblRate - std::round(dblRate)) < 1e-6) return {static_cast<int>(std::lround(dblRate)), 1};
    const double dblThousands = std::round(dblRate * 1.001);
    if (dblThousands >= 1 && std::abs(dblRate - dblThousands * 1000 / 1001) < 0.005)
        return {static_cast<int>(dblThousands) * 1000, 1001};
    return av_d2q(dblRate, 60000);
}

CODEC_CHOICE ChooseVideoCodec(const AVOutputFormat& _format, const std::string& _strName) {
    return Choose(_format, _strName, AV_CODEC_ID_H264, _format.video_codec, AVMEDIA_TYPE_VIDEO);
}

CODEC_CHOICE ChooseAudioCodec(const AVOutputFormat& _format, const std::string& _strName) {
    return Choose(_format, _strName, AV_CODEC_ID_AAC, _format.audio_codec, AVMEDIA_TYPE_AUDIO);
}

HRESULT Encoder::OpenContext(const AVCodec& _codec, const std::string& _strOptions, AvOptions* _pOptions) {
    if (!pPacket) return E_OUTOFMEMORY;
    if (muxer.NeedsGlobalHeader()) pContext->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    const int nResult = avcodec_open2(pContext.get(), &_codec, _pOptions->Ptr());
    if (nResult < 0)
        return muxer.Fail(nResult == AVERROR(ENOMEM) ? E_OUTOFMEMORY : E_INVALIDARG,
                          std::string(_codec.name) + " does not encode this: " + AvReason(nResult));
    if (const char* szUnknown = _pOptions->First(); szUnknown && !_strOptions.empty())
        return muxer.Fail(E_INVALIDARG, std::string(_codec.name) + " has no option \"" + szUnknown + "\"");
    return S_OK;
}

HRESULT Encoder::Send(const AVFrame* _pFrame) {
    const int nSent = avcodec_send_frame(pContext.get(), _pFrame);
    if (nSent < 0 && nSent != AVERROR_EOF) return muxer.Fail(StatusFromAv(nSent), AvReason(nSent));
    for (;;) {
        const int nResult = avcodec_receive_packet(pContext.get(), pPacket.get());
        if (nResult == AVERROR(EAGAIN) || nResult == AVERROR_EOF) return S_OK;
        if (nResult < 0) return muxer.Fail(StatusFromAv(nResult), AvReason(nResult));
        // Some encoders leave it open how long a picture stands.
        if (pPacket->duration == 0 && pContext->codec_type == AVMEDIA_TYPE_VIDEO) pPacket->duration = 1;
        const HRESULT hr = muxer.Write(pPacket.get(), *pTrack, pContext->time_base);
        if (Failed(hr)) return hr;
    }
}

template <class OpenWith>
HRESULT Encoder::OpenOneOf(const CODEC_CHOICE& _choice, const std::string& _strName, const char* _szWhat,
                           const OpenWith& _openWith) {
    if (_choice.arrCodecs.empty())
        return muxer.Fail(E_INVALIDARG, "there is no encoder \"" + _strName + "\" for " + _szWhat);
    HRESULT hr = E_INVALIDARG;
    for (const AVCodec* pCodec : _choice.arrCodecs) {
        if (avformat_query_codec(muxer.Format(), pCodec->id, FF_COMPLIANCE_NORMAL) == 0) {
            hr = muxer.Fail(E_INVALIDARG,
                            std::string(muxer.Format()->name) + " takes no " + avcodec_get_name(pCodec->id));
            continue;
        }
        hr = _openWith(*pCodec);
        if (Succeeded(hr)) {
            muxer.ForgetError();  // of those that were tried before
            return hr;
        }
    }
    return hr;
}

HRESULT VideoEncoder::Open(const ZR_VID_PROPS& _props, const OUTPUT_OPTIONS& _options) {
    Close();
    if (LayoutOfFamily(_props.fccType) == AV_PIX_FMT_NONE)
        return muxer.Fail(ZR_E_NOT_SUPPORTED, "the pixel format of the frames cannot be encoded");
    const CODEC_CHOICE choice = ChooseVideoCodec(*muxer.Format(), _options.strVideoCodec);
    return OpenOneOf(choice, _options.strVideoCodec, "pictures", [&](const AVCodec& _codec) {
        const HRESULT hr = OpenWith(_codec, _props, _options);
        if (Failed(hr)) Close();
        return hr;
    });
}

HRESULT VideoEncoder::OpenWith(const AVCodec& _codec, const ZR_VID_PROPS& _props, const OUTPUT_OPTIONS& _options) {
    AvOptions all;
    if (Failed(ReadOptions(_options.strVideoOptions, &all)))
        return muxer.Fail(E_INVALIDARG, "\"" + _options.strVideoOptions + "\" are no options");
    const std::string strPixels = TakeEntry(&all, "pix_fmt");
    RAW_PICTURE source;
    source.eFormat = LayoutOfFamily(_props.fccType);
    source.nHeight = AbsHeight(_props.nHeight);
    const AVPixelFormat eAsked = strPixels.empty() ? AV_PIX_FMT_NONE : av_get_pix_fmt(strPixels.c_str());
    const AVPixelFormat ePixels = PixelsFor(_codec, source.eFormat, eAsked);
    if (ePixels == AV_PIX_FMT_NONE || (!strPixels.empty() && eAsked == AV_PIX_FMT_NONE))
        return muxer.Fail(E_INVALIDARG, std::string(_codec.name) + " has no pixel format \"" + strPixels + "\"");

    pContext.reset(avcodec_alloc_context3(&_codec));
    if (!pContext) return E_OUTOFMEMORY;
    AVCodecContext* const p = pContext.get();
    const AVPixFmtDescriptor* pDescriptor = av_pix_fmt_desc_get(ePixels);
    rate = RateOf(_props);
    bFields = _props.eInterlace == eZrI_Field1First || _props.eInterlace == eZrI_Field2First;
    bTopFirst = _props.eInterlace != eZrI_Field2First;
    p->pix_fmt = ePixels;
    p->width = _props.nWidth & ~((1 << pDescriptor->log2_chroma_w) - 1);
    p->height = source.nHeight & ~((1 << pDescriptor->log2_chroma_h) - 1);
    p->time_base = av_inv_q(rate);
    p->framerate = rate;
    if (_props.nAspectX > 0 && _props.nAspectY > 0)
        av_reduce(&p->sample_aspect_ratio.num, &p->sample_aspect_ratio.den, int64_t{_props.nAspectX} * p->height,
                  int64_t{_props.nAspectY} * p->width, 65535);
    p->field_order = !bFields ? AV_FIELD_PROGRESSIVE : bTopFirst ? AV_FIELD_TT : AV_FIELD_BB;
    if (bFields) p->flags |= AV_CODEC_FLAG_INTERLACED_DCT | AV_CODEC_FLAG_INTERLACED_ME;
    if ((pDescriptor->flags & AV_PIX_FMT_FLAG_RGB) == 0) {
        const bool b601 =
            _props.fccType == eZrFCC_UYVY || _props.fccType == eZrFCC_YUY2 || _props.fccType == eZrFCC_YVYU;
        source.eSpace = _props.fccType == eZrFCC_HDYC ? AVCOL_SPC_BT709
                        : b601                        ? AVCOL_SPC_SMPTE170M
                                                      : MatrixOrGuess(AVCOL_SPC_UNSPECIFIED, source.nHeight);
        SetColours(p, source);
    }
    p->thread_count = 0;
    const double dblRate = av_q2d(rate);
    p->gop_size =
        std::max(static_cast<int>(std::lround(2 * dblRate)), 1);  // a jump costs two seconds of decoding at most
    if (std::strcmp(_codec.name, "libx264") == 0) {
        all.SetDefault("preset", "veryfast");
        if (_options.bLive) all.SetDefault("tune", "zerolatency");
        if (_options.nVideoBitrate <= 0) all.SetDefault("crf", "20");
    } else if (_options.nVideoBitrate <= 0) {
        p->bit_rate = std::llround(p->width * p->height * dblRate * 0.15);
    }
    if (_options.nVideoBitrate > 0) p->bit_rate = _options.nVideoBitrate;
    return OpenContext(_codec, _options.strVideoOptions, &all);
}

void VideoEncoder::Close() {
    pContext.reset();
    pTrack = nullptr;
    arrBuffers.clear();
    pCurrent = nullptr;
    nNext = 0;
}

// A picture that nobody else holds any more becomes pCurrent; there are as many as the encoder looks ahead.
HRESULT VideoEncoder::NextBuffer() {
    for (const FramePtr& pBuffer : arrBuffers) {
        if (av_frame_is_writable(pBuffer.get()) <= 0) continue;
        pCurrent = pBuffer.get();
        return S_OK;
    }
    FramePtr pNew(av_frame_alloc());
    if (!pNew) return E_OUTOFMEMORY;
    pNew->format = pContext->pix_fmt;
    pNew->width = pContext->width;
    pNew->height = pContext->height;
    if (av_frame_get_buffer(pNew.get(), 0) < 0) return E_OUTOFMEMORY;
    pNew->interlaced_frame = bFields;
    pNew->top_field_first = bFields && bTopFirst;
    pNew->sample_aspect_ratio = pContext->sample_aspect_ratio;
    pNew->color_range = pContext->color_range;
    pNew->colorspace = pContext->colorspace;
    pNew->color_primaries = pContext->color_primaries;
    pNew->color_trc = pContext->color_trc;
    arrBuffers.push_back(std::move(pNew));
    pCurrent = arrBuffers.back().get();
    return S_OK;
}

// The frame in the pixel format that the encoder takes, by the library's own converter, which keeps fields apart.
// Empty: it has that format already, or there is no such way, and the other converter goes it.
ZrPtr<IZrFFrame> VideoEncoder::InEncoderFormat(IZrFFrame& _frame, const ZR_AV_PROPS& _props) const {
    bool bFullRange = false;
    const AVPixelFormat eWanted = PlainFormat(pContext->pix_fmt, &bFullRange);
    const eZrFCC fccWanted = FamilyFormatOf(eWanted, pContext->colorspace, pContext->height);
    const eZrFCC fccHas = _props.vidProps.fccType;
    if (bFullRange || LayoutOfFamily(fccWanted) != eWanted || LayoutOfFamily(fccHas) == eWanted) return {};
    const auto Convert = [&](IZrFFrame& _from, eZrFCC _fccType) {
        ZR_AV_PROPS wanted;
        wanted.vidProps = _props.vidProps;
        wanted.vidProps.fccType = _fccType;
        wanted.vidProps.nHeight = AbsHeight(wanted.vidProps.nHeight);
        wanted.vidProps.nRowBytes = 0;
        ZrPtr<IZrFFrame> pConverted;
        const HRESULT hr = _from.ZrFConvert(&wanted, pConverted.Out(), nullptr, nullptr, nullptr);
        return hr == S_OK ? pConverted : ZrPtr<IZrFFrame>();
    };
    // Planar formats are made of RGB with the matrix of BT.601; the other one comes by way of HDYC.
    const bool bOver709 = PixelFormatBottomUp(fccHas) && pContext->colorspace == AVCOL_SPC_BT709;
    if (!bOver709 || fccWanted == eZrFCC_HDYC) return Convert(_frame, fccWanted);
    const ZrPtr<IZrFFrame> pBetween = Convert(_frame, eZrFCC_HDYC);
    return pBetween ? Convert(*pBetween, fccWanted) : pBetween;
}

// The frame's picture in the encoder's size and format, as pCurrent.
HRESULT VideoEncoder::ToEncoder(IZrFFrame& _frame) {
    ZR_AV_PROPS props;
    ZRF_VID_PTR planes;
    HRESULT hr = _frame.ZrFAVPropsGet(&props, nullptr);
    if (Succeeded(hr)) hr = NextBuffer();
    if (Failed(hr)) return muxer.Fail(hr, StatusReason(hr));
    const ZrPtr<IZrFFrame> pConverted = InEncoderFormat(_frame, props);
    IZrFFrame& frame = pConverted ? *pConverted : _frame;
    hr = frame.ZrFAVPropsGet(&props, nullptr);
    if (Succeeded(hr)) hr = PlanesToRead(frame, &planes);
    if (Failed(hr)) return muxer.Fail(hr, StatusReason(hr));
    RAW_PICTURE from;
    if (!PlanesOfFrame(props.vidProps, planes, &from))
        return muxer.Fail(ZR_E_NOT_SUPPORTED, "the pixel format of a frame cannot be encoded");
    RAW_PICTURE to = PlanesOfAvFrame(*pCurrent);
    if (props.vidProps.fccType == eZrFCC_v210) {
        const AVColorSpace eSpace = from.eSpace;
        hr = scratch.Make(from.eFormat, from.nWidth, from.nHeight);
        if (Failed(hr)) return muxer.Fail(hr, StatusReason(hr));
        UnpackV210(from.arrPlanes[0], from.arrStrides[0], scratch.Planes());
        from = scratch.Planes();
        from.eSpace = eSpace;
    }
    // An odd last column or row that the encoder does not take is left off.
    if (from.nWidth == to.nWidth + 1) from.nWidth = to.nWidth;
    if (from.nHeight == to.nHeight + 1) from.nHeight = to.nHeight;
    const bool bRgb = (av_pix_fmt_desc_get(from.eFormat)->flags & AV_PIX_FMT_FLAG_RGB) != 0;
    if (!bRgb) to.eSpace = from.eSpace;  // the samples stay what they are
    hr = converter.Convert(from, to, bFields);
    return Failed(hr) ? muxer.Fail(hr, "a picture cannot be converted") : S_OK;
}

HRESULT VideoEncoder::Encode(IZrFFrame& _frame, int64_t _nTimes) {
    if (_nTimes <= 0) return S_OK;
    HRESULT hr = ToEncoder(_frame);
    for (int64_t i = 0; i < _nTimes && Succeeded(hr); ++i) hr = Repeat();
    return hr;
}

HRESULT VideoEncoder::Repeat() {
    if (!pCurrent) return S_OK;
    pCurrent->pts = nNext++;
    pCurrent->pict_type = AV_PICTURE_TYPE_NONE;
    return Send(pCurrent);
}

HRESULT AudioEncoder::Open(const ZR_AUD_PROPS& _props, const OUTPUT_OPTIONS& _options) {
    Close();
    const CODEC_CHOICE choice = ChooseAudioCodec(*muxer.Format(), _options.strAudioCodec);
    return OpenOneOf(choice, _options.strAudioCodec, "sound", [&](const AVCodec& _codec) {
        const HRESULT hr = OpenWith(_codec, _props, _options);
        if (Failed(hr)) Close();
        return hr;
    });
}

HRESULT AudioEncoder::OpenWith(const AVCodec& _codec, const ZR_AUD_PROPS& _props, const OUTPUT_OPTIONS& _options) {
    AvOptions all;
    if (Failed(ReadOptions(_options.strAudioOptions, &all)))
        return muxer.Fail(E_INVALIDARG, "\"" + _options.strAudioOptions + "\" are no options");
    const AVSampleFormat eSource = SampleFormatOf(_props.nBitsPerSample);
    if (eSource == AV_SAMPLE_FMT_NONE) return muxer.Fail(ZR_E_NOT_SUPPORTED, "the sound cannot be encoded");
    pContext.reset(avcodec_alloc_context3(&_codec));
    if (!pContext) return E_OUTOFMEMORY;
    AVCodecContext* const p = pContext.get();
    p->sample_fmt = _codec.sample_fmts ? _codec.sample_fmts[0] : eSource;
    for (const AVSampleFormat* pFormat = _codec.sample_fmts; pFormat && *pFormat != AV_SAMPLE_FMT_NONE; ++pFormat)
        if (*pFormat == eSource || *pFormat == av_get_planar_sample_fmt(eSource)) p->sample_fmt = *pFormat;
    p->sample_rate = _props.nSamplesPerSec;
    if (const int* pRate = _codec.supported_samplerates) {
        int nBest = *pRate;
        for (; *pRate; ++pRate)
            if (std::abs(*pRate - _props.nSamplesPerSec) < std::abs(nBest - _props.nSamplesPerSec)) nBest = *pRate;
        p->sample_rate = nBest;
    }
    const AVCodecDescriptor* pDescriptor = avcodec_descriptor_get(_codec.id);
    const bool bLossless = pDescriptor && (pDescriptor->props & AV_CODEC_PROP_LOSSLESS) != 0;
    nChannels = bLossless ? _props.nChannels : std::min(_props.nChannels, 8);  // as many as their layouts have
    av_channel_layout_default(&p->ch_layout, nChannels);
    p->time_base = {1, p->sample_rate};
    p->bit_rate = _options.nAudioBitrate > 0 ? _options.nAudioBitrate : int64_t{96000} * nChannels;
    const HRESULT hr = OpenContext(_codec, _options.strAudioOptions, &all);
    if (Failed(hr)) return hr;
    pFifo.reset(av_audio_fifo_alloc(p->sample_fmt, nChannels, 4 * std::max(p->frame_size, 1024)));
    pFrame.reset(av_frame_alloc());
    input = {};
    return pFifo && pFrame ? S_OK : E_OUTOFMEMORY;
}

void AudioEncoder::Close() {
    pContext.reset();
    pTrack = nullptr;
    pResampler.reset();
    pFifo.reset();
    nTaken = nSent = 0;
    input = {};
}

HRESULT AudioEncoder::Prepare(const ZR_AUD_PROPS& _props) {
    const bool bSame = _props.nChannels == input.nChannels && _props.nSamplesPerSec == input.nSamplesPerSec &&
                       _props.nBitsPerSample == input.nBitsPerSample;
    if (bSame && pResampler) return S_OK;
    if (pResampler) Resample(nullptr, 0);
    input = {};
    AVChannelLayout in = {};
    av_channel_layout_default(&in, std::min(_props.nChannels, nChannels));
    SwrContext* pSwr = nullptr;
    int nResult = swr_alloc_set_opts2(&pSwr, &pContext->ch_layout, pContext->sample_fmt, pContext->sample_rate, &in,
                                      SampleFormatOf(_props.nBitsPerSample), _props.nSamplesPerSec, 0, nullptr);
    pResampler.reset(pSwr);
    if (nResult >= 0) nResult = swr_init(pSwr);
    av_channel_layout_uninit(&in);
    if (nResult < 0) {
        pResampler.reset();
        return muxer.Fail(ZR_E_NOT_SUPPORTED, "the sound cannot be converted for the encoder");
    }
    input = _props;
    return S_OK;
}

// Room for planes of so many bytes a channel, or for all channels in one.
void AudioEncoder::PointPlanes(size_t _cbChannel) {
    const bool bPlanar = av_sample_fmt_is_planar(pContext->sample_fmt) != 0;
    const auto nCount = static_cast<size_t>(nChannels);
    if (arrOut.size() < _cbChannel * nCount) arrOut.resize(_cbChannel * nCount);
    arrOutPlanes.assign(bPlanar ? nCount : 1, nullptr);
    for (size_t i = 0; i < arrOutPlanes.size(); ++i) arrOutPlanes[i] = arrOut.data() + i * _cbChannel;
}

// Samples of the first nChannels channels, 24-bit ones made 32-bit, go through the resampler into the FIFO.
HRESULT AudioEncoder::Resample(const uint8_t* _pSamples, int _nSamples) {
    const int nMost = swr_get_out_samples(pResampler.get(), _nSamples);
    if (nMost <= 0) return S_OK;
    const int nLine = av_samples_get_buffer_size(nullptr, 1, nMost, pContext->sample_fmt, 0);
    if (nLine < 0) return E_OUTOFMEMORY;
    const auto nStep = static_cast<size_t>(nLine);
    PointPlanes(nStep);
    const uint8_t* arrIn[1] = {_pSamples};
    const int nGot = swr_convert(pResampler.get(), arrOutPlanes.data(), nMost, _pSamples ? arrIn : nullptr,
                                 _pSamples ? _nSamples : 0);
    if (nGot < 0) return muxer.Fail(StatusFromAv(nGot), AvReason(nGot));
    if (nGot > 0 && av_audio_fifo_write(pFifo.get(), reinterpret_cast<void**>(arrOutPlanes.data()), nGot) < nGot)
        return E_OUTOFMEMORY;
    nTaken += nGot;
    return S_OK;
}

HRESULT AudioEncoder::Encode(const ZR_AUD_PROPS& _props, const uint8_t* _pSamples, int64_t _nSamples) {
    if (_nSamples <= 0 || !_pSamples) return S_OK;
    if (SampleFormatOf(_props.nBitsPerSample) == AV_SAMPLE_FMT_NONE || _props.nChannels <= 0) return S_OK;
    HRESULT hr = Prepare(_props);
    if (Failed(hr)) return hr;
    const int cbFrom = BytesOf(_props.nBitsPerSample), cbTo = cbFrom == 3 ? 4 : cbFrom;
    const int nUsed = std::min(_props.nChannels, nChannels);
    const uint8_t* pSamples = _pSamples;
    if (cbFrom != cbTo || nUsed != _props.nChannels) {
        arrWide.resize(static_cast<size_t>(_nSamples * nUsed * cbTo));
        uint8_t* pTo = arrWide.data();
        for (int64_t i = 0; i < _nSamples; ++i) {
            const uint8_t* pFrom = _pSamples + i * _props.nChannels * cbFrom;
            for (int n = 0; n < nUsed; ++n, pFrom += cbFrom, pTo += cbTo) {
                *pTo = 0;  // the low byte of a 24-bit sample in 32
                std::memcpy(pTo + (cbTo - cbFrom), pFrom, static_cast<size_t>(cbFrom));
            }
        }
        pSamples = arrWide.data();
    }
    hr = Resample(pSamples, static_cast<int>(_nSamples));
    return Failed(hr) ? hr : Drain(false);
}

HRESULT AudioEncoder::AddSilence(int64_t _nSamples) {
    constexpr int64_t kStep = 4096;
    for (HRESULT hr = S_OK; _nSamples > 0; _nSamples -= kStep) {
        const auto nNow = static_cast<int>(std::min(_nSamples, kStep));
        PointPlanes(static_cast<size_t>(kStep) * kWidestSample);
        av_samples_set_silence(arrOutPlanes.data(), 0, nNow, nChannels, pContext->sample_fmt);
        if (av_audio_fifo_write(pFifo.get(), reinterpret_cast<void**>(arrOutPlanes.data()), nNow) < nNow)
            return E_OUTOFMEMORY;
        nTaken += nNow;
        hr = Drain(false);
        if (Failed(hr)) return hr;
    }
    return S_OK;
}

// Sends what the FIFO holds in frames of the size that the encoder wants; the last one may be shorter.
HRESULT AudioEncoder::Drain(bool _bAll) {
    const int nWanted = pContext->frame_size > 0 ? pContext->frame_size : 1024;
    while (av_audio_fifo_size(pFifo.get()) >= (_bAll ? 1 : nWanted)) {
        const int nNow = std::min(av_audio_fifo_size(pFifo.get()), nWanted);
        av_frame_unref(pFrame.get());
        pFrame->format = pContext->sample_fmt;
        pFrame->sample_rate = pContext->sample_rate;
        pFrame->nb_samples = nNow;
        av_channel_layout_copy(&pFrame->ch_layout, &pContext->ch_layout);
        if (av_frame_get_buffer(pFrame.get(), 0) < 0) return E_OUTOFMEMORY;
        av_audio_fifo_read(pFifo.get(), reinterpret_cast<void**>(pFrame->extended_data), nNow);
        pFrame->pts = nSent;
        nSent += nNow;
        const HRESULT hr = Send(pFrame.get());
        if (Failed(hr)) return hr;
    }
    return S_OK;
}

HRESULT AudioEncoder::Finish(int64_t _nLength) {
    if (!IsOpen()) return S_OK;
    HRESULT hr = pResampler ? Resample(nullptr, 0) : S_OK;
    if (Failed(hr)) return hr;
    if (nTaken < _nLength) hr = AddSilence(_nLength - nTaken);
    // Too much can only be taken back from what was not sent yet.
    const int64_t nKeep = std::max(_nLength - nSent, int64_t{0});
    if (Succeeded(hr) && av_audio_fifo_size(pFifo.get()) > nKeep) {
        FifoPtr pShort(av_audio_fifo_alloc(pContext->sample_fmt, nChannels, std::max(static_cast<int>(nKeep), 1)));
        if (!pShort) return E_OUTOFMEMORY;
        PointPlanes(static_cast<size_t>(nKeep) * kWidestSample);
        av_audio_fifo_read(pFifo.get(), reinterpret_cast<void**>(arrOutPlanes.data()), static_cast<int>(nKeep));
        av_audio_fifo_write(pShort.get(), reinterpret_cast<void**>(arrOutPlanes.data()), static_cast<int>(nKeep));
        nTaken = nSent + nKeep;
        pFifo = std::move(pShort);
    }
    if (Succeeded(hr)) hr = Drain(true);
    return Succeeded(hr) ? Send(nullptr) : hr;
}

}  // namespace zr
