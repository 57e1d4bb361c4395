#include "backends/ffmpeg/file_decoder.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "backends/ffmpeg/av_error.h"
#include "backends/ffmpeg/picture_memory.h"
#include "platform/clock.h"

namespace zr {

namespace {

constexpr AVRational kTicks = {1, kTicksPerSecond};
constexpr int64_t kSoundPart = kTicksPerSecond / 25;    // a frame of a file without pictures
constexpr int64_t kLongPicture = kTicksPerSecond / 2;   // a picture shown for longer is repeated
constexpr int64_t kShortTail = kTicksPerSecond / 4;     // sound behind the last picture that is padding of its codec
constexpr size_t kMostWaitingBytes = size_t{64} << 20;  // video read ahead in search of the sound that belongs to it
constexpr size_t kMostWaiting = 3000;                   // packets, likewise
constexpr int64_t kMostSoundAhead = 10 * AudioLine::kRate;  // of the last picture, before that one is repeated
constexpr int64_t kMostPadding = 4096;                      // samples that a codec adds to fill its last packet
constexpr int kMostSeekTries = 8;
constexpr HRESULT kEnded = Win32Error(1100);

// 48000 samples a second and 10^7 ticks: 3 to 625.
int64_t SampleAt(int64_t _rt) { return (_rt * 6 + 625) / 1250; }
int64_t TimeOfSample(int64_t _n) { return (_n * 1250 + 3) / 6; }

bool DeeperThan16(const AVCodecParameters& _par) {
    if (_par.bits_per_raw_sample > 0) return _par.bits_per_raw_sample > 16;
    const AVCodecDescriptor* pDescriptor = avcodec_descriptor_get(_par.codec_id);
    const bool bLossless = pDescriptor && (pDescriptor->props & AV_CODEC_PROP_LOSSLESS) != 0;
    return bLossless && av_get_bytes_per_sample(static_cast<AVSampleFormat>(_par.format)) > 2;
}

eZrFrameFlags CodedType(AVPictureType _eType) {
    switch (_eType) {
        case AV_PICTURE_TYPE_I: return eZrFF_Intra;
        case AV_PICTURE_TYPE_P: return eZrFF_Predicted;
        case AV_PICTURE_TYPE_B: return eZrFF_Bidir_Predicted;
        default: return eZrFF_None;
    }
}

// The time code of a file stands with the track, with a track of its own, or with the file.
const char* TimecodeText(const AVFormatContext& _format, const AVStream& _video) {
    const AVDictionaryEntry* pEntry = av_dict_get(_video.metadata, "timecode", nullptr, 0);
    if (!pEntry) pEntry = av_dict_get(_format.metadata, "timecode", nullptr, 0);
    for (unsigned i = 0; i < _format.nb_streams && !pEntry; ++i)
        if (_format.streams[i]->codecpar->codec_type == AVMEDIA_TYPE_DATA)
            pEntry = av_dict_get(_format.streams[i]->metadata, "timecode", nullptr, 0);
    return pEntry ? pEntry->value : nullptr;
}

double StartOf(const AVStream* _pStream) {
    if (!_pStream || _pStream->start_time == AV_NOPTS_VALUE) return std::numeric_limits<double>::quiet_NaN();
    return static_cast<double>(_pStream->start_time) * av_q2d(_pStream->time_base);
}

void AddAttribute(std::string* _pstr, const char* _szName, const std::string& _strValue) {
    *_pstr += ' ';
    *_pstr += _szName;
    *_pstr += "=\"";
    for (const char c : _strValue) {
        if (c == '&')
            *_pstr += "&amp;";
        else if (c == '<')
            *_pstr += "&lt;";
        else if (c == '"')
            *_pstr += "&quot;";
        else
            *_pstr += c;
    }
    *_pstr += '"';
}

void AddCodec(std::string* _pstr, const AVCodecParameters& _par) {
    AddAttribute(_pstr, "codec", avcodec_get_name(_par.codec_id));
    if (const char* szProfile = avcodec_profile_name(_par.codec_id, _par.profile))
        AddAttribute(_pstr, "profile", szProfile);
    if (_par.bit_rate > 0) AddAttribute(_pstr, "bitrate", std::to_string(_par.bit_rate));
}

}  // namespace

HRESULT FileDecoder::OpenCodec(AVStream& _stream, CodecPtr* _ppCodec) {
    const AVCodecParameters& par = *_stream.codecpar;
    const AVCodec* const pCodec = avcodec_find_decoder(par.codec_id);
    int nResult = pCodec ? 0 : AVERROR_DECODER_NOT_FOUND;
    CodecPtr pContext(pCodec ? avcodec_alloc_context3(pCodec) : nullptr);
    if (nResult >= 0 && !pContext) return E_OUTOFMEMORY;
    if (nResult >= 0) nResult = avcodec_parameters_to_context(pContext.get(), &par);
    if (nResult >= 0) {
        pContext->pkt_timebase = _stream.time_base;
        if (par.codec_type == AVMEDIA_TYPE_VIDEO) {
            pContext->thread_count = 0;  // one for each core
            UseFrameMemory(*pContext);
        }
        nResult = avcodec_open2(pContext.get(), pCodec, nullptr);
    }
    if (nResult < 0) {
        strError = "Cannot decode " + std::string(avcodec_get_name(par.codec_id)) + ": " + AvReason(nResult) + ".";
        return nResult == AVERROR(ENOMEM) ? E_OUTOFMEMORY : ZR_E_NOT_SUPPORTED;
    }
    *_ppCodec = std::move(pContext);
    return S_OK;
}

HRESULT FileDecoder::Open(const std::string& _strUrl, const TRACK_CHOICE& _choice) {
    Close();
    if (!pPacket || !pDecoded || !pDecodedSound) return E_OUTOFMEMORY;
    HRESULT hr = demuxer.Open(_strUrl, _choice);
    if (Failed(hr)) return hr;
    if (demuxer.Video()) hr = OpenCodec(*demuxer.Video(), &pVideoCodec);
    // A file plays without the sound that nobody can decode, but not without its picture.
    if (Succeeded(hr) && demuxer.Audio()) {
        const HRESULT hrSound = OpenCodec(*demuxer.Audio(), &pAudioCodec);
        if (Failed(hrSound) && (!demuxer.Video() || hrSound == E_OUTOFMEMORY)) hr = hrSound;
        if (Succeeded(hr)) strError.clear();
    }
    if (Failed(hr)) {
        const std::string strReason = strError;
        Close();
        strError = strReason;
        return hr;
    }
    bHasSound = pAudioCodec && pAudioCodec->ch_layout.nb_channels > 0;
    FindOrigin();
    DescribeTracks();
    Restart();
    return S_OK;
}

void FileDecoder::Close() {
    pVideoCodec.reset();
    pAudioCodec.reset();
    demuxer.Close();
    arrWaiting.clear();
    arrPictures.clear();
    cbWaiting = 0;
    sound.Reset();
    maker.Forget();
    info = {};
    strError.clear();
    hrRead = S_OK;
    bHasSound = false;
    rtWanted = 0;
    dblSeekTo = 0;
    nSeekTries = 0;
}

// The line begins with the first picture, unless sound begins more than a second before it: then with the sound.
void FileDecoder::FindOrigin() {
    const double dblVideo = StartOf(demuxer.Video()), dblAudio = StartOf(demuxer.Audio());
    nOriginStamp = AV_NOPTS_VALUE;
    bOriginKnown = true;
    if (demuxer.Video() && std::isnan(dblVideo)) {
        bOriginKnown = false;  // the first picture says it
        dblOrigin = 0;
    } else if (demuxer.Video() && !(dblAudio < dblVideo - 1.0)) {
        nOriginStamp = demuxer.Video()->start_time;
        dblOrigin = dblVideo;
    } else {
        dblOrigin = std::isnan(dblAudio) ? 0 : dblAudio;
    }
}

void FileDecoder::DescribeTracks() {
    const AVFormatContext& format = *demuxer.Format();
    AVStream* const pVideo = demuxer.Video();
    const AVStream& main = pVideo ? *pVideo : *demuxer.Audio();
    info = {};
    info.nVideoTracks = demuxer.Tracks(AVMEDIA_TYPE_VIDEO);
    info.nAudioTracks = demuxer.Tracks(AVMEDIA_TYPE_AUDIO);
    info.bSeekable = demuxer.Seekable();
    info.bLive = demuxer.IsLive();
    if (main.duration != AV_NOPTS_VALUE && main.duration > 0)
        info.dblDuration = static_cast<double>(main.duration) * av_q2d(main.time_base);
    else if (format.duration != AV_NOPTS_VALUE && format.duration > 0)
        info.dblDuration = static_cast<double>(format.duration) / AV_TIME_BASE;

    dblRate = 0;
    rtTick = 1;
    TIMECODE_LINE timecode;
    if (pVideo) {
        const AVCodecParameters& par = *pVideo->codecpar;
        const AVRational rate = av_guess_frame_rate(demuxer.Format(), pVideo, nullptr);
        dblRate = rate.num > 0 && rate.den > 0 ? av_q2d(rate) : 0;
        if (dblRate > 1000) dblRate = 0;  // the clock of a file that names none
        rtTick = std::clamp<int64_t>(av_rescale_q_rnd(1, pVideo->time_base, kTicks, AV_ROUND_UP), 1, 2 * kTicksPerMs);
        timecode = TIMECODE_LINE::FromText(TimecodeText(format, *pVideo), rate);
        const AVRational aspect = av_guess_sample_aspect_ratio(demuxer.Format(), pVideo, nullptr);
        const eZrInterlace eInterlace = InterlaceOf(par.field_order);
        maker.Init(aspect, eInterlace, dblRate, timecode);

        RAW_PICTURE picture;
        picture.eFormat = PlainFormat(static_cast<AVPixelFormat>(par.format), &picture.bFullRange);
        picture.nWidth = par.width;
        picture.nHeight = par.height;
        picture.eSpace = MatrixOrGuess(par.color_space, par.height);
        info.vidProps = VidPropsOf(picture, aspect, eInterlace, dblRate);
    } else {
        maker.Init({0, 1}, eZrI_Progressive, 0, timecode);
    }
    info.bTimecode = timecode.bKnown;
    if (timecode.bKnown) info.tcStart = timecode.At(0);
    if (bHasSound) {
        const AVCodecParameters& par = *demuxer.Audio()->codecpar;
        grid.Init(av_q2d(demuxer.Audio()->time_base) * par.sample_rate);
        bFirstRun = true;
        sound.Init(par.ch_layout.nb_channels, DeeperThan16(par) ? 32 : 16);
        info.audProps = sound.Props();
    }
}

std::string FileDecoder::InfoText() const {
    if (!demuxer.Format()) return {};
    std::string str = "<info";
    AddAttribute(&str, "format", demuxer.Format()->iformat->name);
    AddAttribute(&str, "duration", std::to_string(info.dblDuration));
    if (demuxer.Format()->bit_rate > 0) AddAttribute(&str, "bitrate", std::to_string(demuxer.Format()->bit_rate));
    AddAttribute(&str, "video_tracks", std::to_string(info.nVideoTracks));
    AddAttribute(&str, "audio_tracks", std::to_string(info.nAudioTracks));
    str += '>';
    if (const AVStream* pVideo = demuxer.Video()) {
        const AVCodecParameters& par = *pVideo->codecpar;
        const char* szPixels = av_get_pix_fmt_name(static_cast<AVPixelFormat>(par.format));
        str += "<video";
        AddCodec(&str, par);
        AddAttribute(&str, "size", std::to_string(par.width) + "x" + std::to_string(par.height));
        AddAttribute(&str, "pixels", szPixels ? szPixels : "unknown");
        AddAttribute(&str, "rate", std::to_string(dblRate));
        if (pVideo->nb_frames > 0) AddAttribute(&str, "frames", std::to_string(pVideo->nb_frames));
        str += "/>";
    }
    if (const AVStream* pAudio = demuxer.Audio()) {
        const AVCodecParameters& par = *pAudio->codecpar;
        str += "<audio";
        AddCodec(&str, par);
        AddAttribute(&str, "channels", std::to_string(par.ch_layout.nb_channels));
        AddAttribute(&str, "rate", std::to_string(par.sample_rate));
        if (!bHasSound) AddAttribute(&str, "decoded", "false");
        str += "/>";
    }
    return str + "</info>";
}

// All that belongs to the position is forgotten.
void FileDecoder::Restart() {
    if (pVideoCodec) avcodec_flush_buffers(pVideoCodec.get());
    if (pAudioCodec) avcodec_flush_buffers(pAudioCodec.get());
    arrWaiting.clear();
    cbWaiting = 0;
    arrPictures.clear();
    sound.Reset();
    maker.Forget();
    bReadAll = bFlushed = false;
    bVideoDone = !demuxer.Video();
    bSoundDone = !bHasSound;
    hrRead = S_OK;
    bFirst = bFirstPicture = bFirstSound = true;
    bSeekCheck = false;
    nPart = 0;
    rtPart = demuxer.Video() ? 0 : rtWanted / kSoundPart * kSoundPart;
}

int64_t FileDecoder::FrameLength() const {
    return dblRate > 0 ? std::max<int64_t>(std::llround(kTicksPerSecond / dblRate), 1) : kSoundPart;
}

HRESULT FileDecoder::Seek(int64_t _rtPos, int64_t _rtPreroll) {
    if (!info.bSeekable) return ZR_E_NOT_SUPPORTED;
    // A file that is left at once has shown too little of its sound.
    constexpr int kMostSteps = 64;
    for (int i = 0; i < kMostSteps && bHasSound && bFirstRun && grid.Learning() && !bReadAll; ++i)
        if (Failed(Step())) break;
    rtWanted = std::max<int64_t>(_rtPos, 0);
    // A packet of sound needs the one before it to sound right.
    const int64_t rtEarlier = std::max<int64_t>(_rtPreroll, 0) + (demuxer.Video() ? 0 : kTicksPerSecond / 10);
    dblSeekTo = static_cast<double>(rtWanted - rtEarlier) / kTicksPerSecond;
    nSeekTries = 0;
    bFirstRun = false;
    const int nResult = dblSeekTo > 0 ? demuxer.Seek(dblOrigin + dblSeekTo) : demuxer.Rewind();
    if (nResult < 0) {
        strError = "Cannot go to another position: " + AvReason(nResult) + ".";
        return StatusFromAv(nResult);
    }
    Restart();
    bSeekCheck = demuxer.Video() && dblSeekTo > 0;
    return S_OK;
}

// Where packets stand by their times only, a seek finds one in the midst of pictures that build on each other.
bool FileDecoder::KeyFrameInTime(const AVPacket& _packet) const {
    return (_packet.flags & AV_PKT_FLAG_KEY) != 0 && PacketTime(_packet) <= rtWanted + kTicksPerMs / 10;
}

int64_t FileDecoder::PacketTime(const AVPacket& _packet) const {
    const int64_t nStamp = _packet.pts != AV_NOPTS_VALUE ? _packet.pts : _packet.dts;
    if (nStamp == AV_NOPTS_VALUE) return 0;
    const double dblTime = static_cast<double>(nStamp) * av_q2d(demuxer.Video()->time_base);
    return std::llround((dblTime - dblOrigin) * kTicksPerSecond);
}

// There was no key frame before the wanted time: another try from earlier on.
HRESULT FileDecoder::StepBackFurther() {
    ++nSeekTries;
    dblSeekTo = nSeekTries < kMostSeekTries ? dblSeekTo - (1 << (nSeekTries - 1)) : 0;
    const int nResult = dblSeekTo > 0 ? demuxer.Seek(dblOrigin + dblSeekTo) : demuxer.Rewind();
    if (nResult < 0) return StatusFromAv(nResult);
    Restart();
    bSeekCheck = demuxer.Video() && dblSeekTo > 0;
    return S_OK;
}

HRESULT FileDecoder::Read(ZrPtr<IZrFFrame>* _ppFrame) {
    for (;;) {
        PART part;
        const bool bFound = demuxer.Video() ? FindPart(&part) : FindSoundPart(&part);
        if (bFound && part.rtEnd <= rtWanted) {
            FinishPart(part);
            continue;
        }
        if (bFound && SoundReady(part.rtEnd)) {
            const HRESULT hr = MakeFrame(part, _ppFrame);
            if (Failed(hr) && hr != E_OUTOFMEMORY) {
                FinishPart(part);  // a picture that cannot be shown is passed over
                continue;
            }
            if (Succeeded(hr)) FinishPart(part);
            return hr;
        }
        if (!bFound && bReadAll && bVideoDone && bSoundDone && arrPictures.empty())
            return Failed(hrRead) ? hrRead : kEnded;
        const HRESULT hr = Step();
        if (Failed(hr)) return hr;
    }
}

HRESULT FileDecoder::Step() {
    if (!arrPictures.empty() && bFirstPicture) {
        bFirstPicture = false;
        const bool bLate = arrPictures.front().rtStart > rtWanted + kTicksPerMs / 10;
        if (bLate && dblSeekTo > 0) return StepBackFurther();
        if (dblSeekTo <= 0) arrPictures.front().rtStart = std::min<int64_t>(arrPictures.front().rtStart, 0);
        rtPart = rtPartsFrom = arrPictures.front().rtStart;
    }
    if (!arrWaiting.empty() && arrPictures.size() < 2) return DecodeVideo();
    if (!bReadAll) return ReadPacket();
    if (!bVideoDone) return DecodeVideo();
    return S_OK;
}

HRESULT FileDecoder::ReadPacket() {
    const int nResult = demuxer.Read(pPacket.get());
    if (nResult == AVERROR_EXIT) return E_ABORT;
    if (nResult == AVERROR_EOF && bSeekCheck) return StepBackFurther();
    if (nResult < 0) {
        bReadAll = true;
        if (nResult != AVERROR_EOF) {
            hrRead = StatusFromAv(nResult);
            strError = "Reading stopped: " + AvReason(nResult) + ".";
        }
        return bHasSound ? DecodeAudio(nullptr) : S_OK;
    }
    HRESULT hr = S_OK;
    if (demuxer.Video() && pPacket->stream_index == demuxer.Video()->index) {
        if (bSeekCheck && !KeyFrameInTime(*pPacket)) {
            const bool bLate = PacketTime(*pPacket) > rtWanted;
            av_packet_unref(pPacket.get());
            return bLate ? StepBackFurther() : S_OK;
        }
        bSeekCheck = false;
        PacketPtr pWaiting(av_packet_alloc());
        if (!pWaiting) return E_OUTOFMEMORY;
        av_packet_move_ref(pWaiting.get(), pPacket.get());
        cbWaiting += static_cast<size_t>(pWaiting->size);
        arrWaiting.push_back(std::move(pWaiting));
    } else if (bHasSound) {
        hr = DecodeAudio(pPacket.get());
    }
    av_packet_unref(pPacket.get());
    return hr;
}

// Gives the decoder the next packet, or at the end none, and takes what pictures it has. A packet that it refuses is
// damaged, and left out.
HRESULT FileDecoder::DecodeVideo() {
    int nSent = 0;
    if (!arrWaiting.empty())
        nSent = avcodec_send_packet(pVideoCodec.get(), arrWaiting.front().get());
    else if (!bFlushed)
        avcodec_send_packet(pVideoCodec.get(), nullptr), bFlushed = true;
    for (;;) {
        const int nResult = avcodec_receive_frame(pVideoCodec.get(), pDecoded.get());
        if (nResult == AVERROR(ENOMEM)) return E_OUTOFMEMORY;
        if (nResult == AVERROR_EOF) bVideoDone = true;
        if (nResult == AVERROR(EAGAIN) || nResult == AVERROR_EOF) break;
        if (nResult < 0 && !bFlushed) break;
        if (nResult < 0) continue;
        FramePtr pTaken(av_frame_alloc());
        if (!pTaken) return E_OUTOFMEMORY;
        av_frame_move_ref(pTaken.get(), pDecoded.get());
        TakePicture(std::move(pTaken));
    }
    if (!arrWaiting.empty() && nSent != AVERROR(EAGAIN)) {
        cbWaiting -= static_cast<size_t>(arrWaiting.front()->size);
        arrWaiting.pop_front();
    }
    return S_OK;
}

HRESULT FileDecoder::DecodeAudio(const AVPacket* _pPacket) {
    avcodec_send_packet(pAudioCodec.get(), _pPacket);
    for (;;) {
        const int nResult = avcodec_receive_frame(pAudioCodec.get(), pDecodedSound.get());
        if (nResult == AVERROR(ENOMEM)) return E_OUTOFMEMORY;
        if (nResult < 0) break;
        TakeAudio(*pDecodedSound);
        av_frame_unref(pDecodedSound.get());
    }
    if (!_pPacket) {
        sound.Finish();
        bSoundDone = true;
    }
    return S_OK;
}

void FileDecoder::TakeAudio(const AVFrame& _frame) {
    double dblStart = std::numeric_limits<double>::quiet_NaN();
    const int64_t nStamp = _frame.best_effort_timestamp;
    if (nStamp != AV_NOPTS_VALUE) {
        const double dblTime = static_cast<double>(nStamp) * av_q2d(demuxer.Audio()->time_base);
        if (!bOriginKnown) {
            dblOrigin = dblTime;
            bOriginKnown = true;
        }
        const double dblRateOfSound = _frame.sample_rate;
        dblStart = dblTime - dblOrigin;
        if (bFirstRun)
            grid.Learn(dblStart * dblRateOfSound, _frame.nb_samples);
        else if (bFirstSound)
            dblStart = grid.Place(dblStart * dblRateOfSound) / dblRateOfSound;
        bFirstSound = false;
    } else if (sound.Empty()) {
        dblStart = static_cast<double>(rtPart) / kTicksPerSecond;
    }
    sound.Push(_frame, dblStart);  // what cannot be converted is silence
}

// On the line from 0; the time of a frame of the file's rate when the file's stamp is that one rounded.
int64_t FileDecoder::PictureTime(const AVFrame& _frame) {
    const int64_t nStamp = _frame.best_effort_timestamp;
    if (nStamp == AV_NOPTS_VALUE) return bFirstPicture && arrPictures.empty() ? rtWanted : rtLast + FrameLength();
    const AVRational base = demuxer.Video()->time_base;
    if (!bOriginKnown) {
        bOriginKnown = true;
        nOriginStamp = nStamp;
        dblOrigin = static_cast<double>(nStamp) * av_q2d(base);
    }
    const int64_t rt = nOriginStamp != AV_NOPTS_VALUE
                           ? av_rescale_q(nStamp - nOriginStamp, base, kTicks)
                           : std::llround((static_cast<double>(nStamp) * av_q2d(base) - dblOrigin) * kTicksPerSecond);
    if (dblRate <= 0) return rt;
    const double dblNumber = std::round(static_cast<double>(rt) * dblRate / kTicksPerSecond);
    const int64_t rtOnGrid = std::llround(dblNumber * kTicksPerSecond / dblRate);
    return std::abs(rt - rtOnGrid) <= rtTick ? rtOnGrid : rt;
}

void FileDecoder::TakePicture(FramePtr _pFrame) {
    PICTURE picture;
    picture.rtStart = PictureTime(*_pFrame);
    const bool bAfterOther = !arrPictures.empty() || !bFirstPicture;
    if (bAfterOther && picture.rtStart <= rtLast) picture.rtStart = rtLast + FrameLength();
    if (_pFrame->pkt_duration > 0) {
        picture.rtLength = av_rescale_q(_pFrame->pkt_duration, demuxer.Video()->time_base, kTicks);
        if (dblRate > 0 && std::abs(picture.rtLength - FrameLength()) <= rtTick) picture.rtLength = 0;
    }
    rtLast = picture.rtStart;
    picture.pFrame = std::move(_pFrame);
    arrPictures.push_back(std::move(picture));
}

bool FileDecoder::FindPart(PART* _pPart) {
    if (arrPictures.empty() || bFirstPicture) return false;
    const PICTURE& picture = arrPictures.front();
    const int64_t rtLength = FrameLength();
    bool bLastPicture = false;
    int64_t rtEnd = 0;
    if (arrPictures.size() >= 2) {
        rtEnd = arrPictures[1].rtStart;
    } else if (bVideoDone) {
        if (!bSoundDone) return false;
        bLastPicture = true;
        rtEnd = picture.rtStart + (picture.rtLength > 0 ? picture.rtLength : rtLength);
        const int64_t rtTail = TimeOfSample(sound.End()) - rtEnd;
        if (rtTail > std::max(kShortTail, 3 * rtLength)) rtEnd += rtTail / rtLength * rtLength;
    } else {
        const int64_t nAhead = info.bLive ? AudioLine::kRate : kMostSoundAhead;
        if (!arrWaiting.empty() || sound.End() < SampleAt(rtPart + rtLength) + nAhead) return false;
        rtEnd = rtPart + 4 * (rtLength + kLongPicture);  // the next picture is far, wherever it is
    }
    rtEnd = std::max(rtEnd, rtPart + 1);
    const int64_t rtWhole = nPart > 0 ? rtLength * 3 / 2 : std::max(kLongPicture, rtLength * 5 / 2);
    _pPart->rtEnd = rtEnd;
    if (rtEnd - rtPart > rtWhole) {
        const double dblLength = dblRate > 0 ? kTicksPerSecond / dblRate : static_cast<double>(rtLength);
        _pPart->rtEnd = rtPartsFrom + std::llround(static_cast<double>(nPart + 1) * dblLength);
    }
    _pPart->bLast = bLastPicture && _pPart->rtEnd >= rtEnd;
    return true;
}

bool FileDecoder::FindSoundPart(PART* _pPart) {
    // What a codec's last packet holds behind the length of the track is padding.
    int64_t nSoundEnd = sound.End();
    const int64_t nLength = std::llround(info.dblDuration * AudioLine::kRate);
    if (bSoundDone && nLength > 0 && nSoundEnd - nLength < kMostPadding) nSoundEnd = std::min(nSoundEnd, nLength);
    _pPart->rtEnd = rtPart + kSoundPart;
    if (nSoundEnd > SampleAt(_pPart->rtEnd)) return true;
    if (!bSoundDone || nSoundEnd <= SampleAt(rtPart)) return false;
    _pPart->rtEnd = TimeOfSample(nSoundEnd);
    _pPart->bLast = true;
    return true;
}

bool FileDecoder::SoundReady(int64_t _rtEnd) const {
    if (bSoundDone || sound.End() >= SampleAt(_rtEnd)) return true;
    // A track that has ended before the others, or lies too far behind them, is not waited for.
    const size_t nMost = info.bLive ? static_cast<size_t>(2 * std::max(dblRate, 1.0)) : kMostWaiting;
    return cbWaiting > kMostWaitingBytes || arrWaiting.size() > nMost;
}

HRESULT FileDecoder::MakeFrame(const PART& _part, ZrPtr<IZrFFrame>* _ppFrame) {
    const AVFrame* const pPicture = arrPictures.empty() ? nullptr : arrPictures.front().pFrame.get();
    ZR_TIME time;
    time.rtStartTime = rtPart;
    time.rtEndTime = _part.rtEnd;
    time.tcFrame = maker.TimecodeOf(
        pPicture, std::llround(static_cast<double>(rtPart) * std::max(dblRate, 0.0) / kTicksPerSecond));
    if (bFirst) time.eFFlags |= eZrFF_Break;
    if (_part.bLast) time.eFFlags |= eZrFF_Last;
    if (info.bLive) time.eFFlags |= eZrFF_Live;
    if (demuxer.IsUrl()) time.eFFlags |= eZrFF_Net;
    if (pPicture) time.eFFlags |= CodedType(pPicture->pict_type);
    const HRESULT hr =
        maker.Make(pPicture, time, bHasSound ? &sound : nullptr, SampleAt(rtPart), SampleAt(_part.rtEnd), _ppFrame);
    if (Succeeded(hr)) bFirst = false;
    return hr;
}

// Goes on behind the part; the picture goes when its time is over.
void FileDecoder::FinishPart(const PART& _part) {
    if (bHasSound) sound.Drop(SampleAt(_part.rtEnd));
    rtPart = _part.rtEnd;
    ++nPart;
    if (arrPictures.empty()) return;
    const bool bOver = arrPictures.size() >= 2 ? rtPart >= arrPictures[1].rtStart : _part.bLast;
    if (!bOver) return;
    arrPictures.pop_front();
    maker.Forget();
    nPart = 0;
    rtPartsFrom = rtPart;
}

}  // namespace zr
