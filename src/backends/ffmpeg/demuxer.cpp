#include "backends/ffmpeg/demuxer.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "backends/ffmpeg/av_error.h"
#include "platform/clock.h"

namespace zr {

namespace {

constexpr AVRational kMicroseconds = {1, AV_TIME_BASE};
constexpr int kMostDamaged = 100;  // failures in a row after which a file counts as ended

bool IsCover(const AVStream& _stream) { return (_stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0; }

bool IsTrack(const AVStream& _stream, AVMediaType _eType) {
    return _stream.codecpar->codec_type == _eType && !IsCover(_stream);
}

// A break in the times of a stream that may have them, or, in any file, one that no show has.
int64_t LongestStep(const AVFormatContext& _format) {
    constexpr int64_t kSeconds = AV_TIME_BASE;
    return (_format.iformat->flags & AVFMT_TS_DISCONT) != 0 ? 10 * kSeconds : 24 * 3600 * kSeconds;
}

}  // namespace

bool Interrupt::BeginRead(bool _bBreakable) {
    bBreak.store(false);
    bReading.store(_bBreakable);
    return !Stopped();
}

void Interrupt::EndRead() { bReading.store(false); }

int Interrupt::Check(void* _pThis) {
    const auto& self = *static_cast<const Interrupt*>(_pThis);
    return self.Stopped() || self.bBreak.load() || ClockNow() > self.rtDeadline.load(std::memory_order_acquire);
}

bool Demuxer::NamesProtocol(const std::string& _strUrl) {
    const size_t nColon = _strUrl.find(':');
    if (nColon == std::string::npos || nColon < 2) return false;
    for (size_t i = 0; i < nColon; ++i)
        if (!std::isalnum(static_cast<unsigned char>(_strUrl[i])) && !std::strchr("+-.", _strUrl[i])) return false;
    return _strUrl.compare(nColon, 3, "://") == 0 && _strUrl.compare(0, nColon, "file") != 0;
}

HRESULT Demuxer::Fail(HRESULT _hr, const std::string& _strReason) {
    strError = "Cannot open " + strUrl + ": " + _strReason + ".";
    Close();
    return _hr;
}

// What the libraries would only find after a search through all their formats, or not find at all.
HRESULT Demuxer::CheckFile(const std::string& _strPath) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(_strPath, error);
    if (status.type() == std::filesystem::file_type::not_found)
        return Fail(ZR_E_NOT_FOUND_FILE, AvReason(AVERROR(ENOENT)));
    if (std::filesystem::is_directory(status)) return Fail(ZR_E_INVALID_DATA, AvReason(AVERROR(EISDIR)));
    if (std::filesystem::is_regular_file(status) && std::filesystem::file_size(_strPath, error) == 0 && !error)
        return Fail(ZR_E_INVALID_DATA, "it is empty");
    return S_OK;
}

HRESULT Demuxer::Open(const std::string& _strUrl, const TRACK_CHOICE& _choice) {
    Close();
    QuietAvLog();
    strError.clear();
    strUrl = _strUrl;
    bUrl = NamesProtocol(_strUrl);
    if (!bUrl) {
        const HRESULT hr = CheckFile(_strUrl.compare(0, 5, "file:") == 0 ? _strUrl.substr(5) : _strUrl);
        if (Failed(hr)) return hr;
    }
    pFormat = avformat_alloc_context();
    if (!pFormat) return E_OUTOFMEMORY;
    pFormat->interrupt_callback = interrupt.Callback();
    // A path with a colon in it is no protocol.
    const std::string strOpen = bUrl || strUrl.compare(0, 5, "file:") == 0 ? strUrl : "file:" + strUrl;
    int nResult = avformat_open_input(&pFormat, strOpen.c_str(), nullptr, nullptr);  // frees it on failure
    if (nResult >= 0) nResult = avformat_find_stream_info(pFormat, nullptr);
    if (nResult == AVERROR_EXIT && !interrupt.Stopped()) return Fail(ZR_E_TIMEOUT, AvReason(AVERROR(ETIMEDOUT)));
    if (nResult < 0) return Fail(StatusFromAv(nResult), AvReason(nResult));
    pVideo = Choose(AVMEDIA_TYPE_VIDEO, _choice.nVideo, nullptr);
    pAudio = Choose(AVMEDIA_TYPE_AUDIO, _choice.nAudio, pVideo);
    // A text file is opened as a terminal's screen, which is nothing to play.
    const bool bText = std::strcmp(pFormat->iformat->name, "tty") == 0;
    if (bText || (!pVideo && !pAudio)) return Fail(ZR_E_INVALID_DATA, "there is neither a picture nor sound in it");
    for (unsigned i = 0; i < pFormat->nb_streams; ++i) {
        AVStream* const pStream = pFormat->streams[i];
        pStream->discard = pStream == pVideo || pStream == pAudio ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
    return S_OK;
}

void Demuxer::Close() {
    avformat_close_input(&pFormat);
    pVideo = pAudio = nullptr;
    ForgetBreaks();
}

AVStream* Demuxer::Choose(AVMediaType _eType, int _nWanted, AVStream* _pRelated) const {
    if (_nWanted < 0) return nullptr;
    if (_nWanted == 0) {
        const int nBest = av_find_best_stream(pFormat, _eType, -1, _pRelated ? _pRelated->index : -1, nullptr, 0);
        AVStream* const pBest = nBest >= 0 ? pFormat->streams[nBest] : nullptr;
        if (pBest && !IsCover(*pBest)) return pBest;
    }
    for (unsigned i = 0; i < pFormat->nb_streams; ++i)
        if (IsTrack(*pFormat->streams[i], _eType) && _nWanted-- == 0) return pFormat->streams[i];
    return nullptr;
}

int Demuxer::Tracks(AVMediaType _eType) const {
    int nTracks = 0;
    for (unsigned i = 0; i < pFormat->nb_streams; ++i) nTracks += IsTrack(*pFormat->streams[i], _eType);
    return nTracks;
}

bool Demuxer::Seekable() const {
    if (!pFormat || (pFormat->ctx_flags & AVFMTCTX_UNSEEKABLE) != 0) return false;
    if (pFormat->duration == AV_NOPTS_VALUE || pFormat->duration <= 0) return false;
    return !pFormat->pb || (pFormat->pb->seekable & AVIO_SEEKABLE_NORMAL) != 0;
}

int Demuxer::Read(AVPacket* _pPacket) {
    for (;;) {
        if (!interrupt.BeginRead(bUrl)) return AVERROR_EXIT;
        int nResult = 0;
        if (bUrl) {
            ClockBlockingCall blocking;
            nResult = av_read_frame(pFormat, _pPacket);
        } else {
            nResult = av_read_frame(pFormat, _pPacket);
        }
        interrupt.EndRead();
        if (nResult == AVERROR(EAGAIN)) {
            SleepFor(kTicksPerMs);
            continue;
        }
        if (nResult == AVERROR_INVALIDDATA && ++nDamaged < kMostDamaged) continue;
        if (nResult == AVERROR_INVALIDDATA) return AVERROR_EOF;
        if (nResult < 0) return nResult;
        nDamaged = 0;
        const AVStream& stream = *pFormat->streams[_pPacket->stream_index];
        if (&stream == pVideo || &stream == pAudio) {
            FollowBreaks(_pPacket, stream);
            return 0;
        }
        av_packet_unref(_pPacket);
    }
}

void Demuxer::FollowBreaks(AVPacket* _pPacket, const AVStream& _stream) {
    const int64_t nStamp = _pPacket->dts != AV_NOPTS_VALUE ? _pPacket->dts : _pPacket->pts;
    if (nStamp != AV_NOPTS_VALUE) {
        int64_t nTime = av_rescale_q(nStamp, _stream.time_base, kMicroseconds) + nOffset;
        if (nLastTime != AV_NOPTS_VALUE && std::abs(nTime - nLastTime) > LongestStep(*pFormat)) {
            nOffset -= nTime - nLastTime;
            nTime = nLastTime;
        }
        nLastTime = std::max(nTime, nLastTime == AV_NOPTS_VALUE ? nTime : nLastTime);
    }
    if (nOffset == 0) return;
    const int64_t nShift = av_rescale_q(nOffset, kMicroseconds, _stream.time_base);
    if (_pPacket->pts != AV_NOPTS_VALUE) _pPacket->pts += nShift;
    if (_pPacket->dts != AV_NOPTS_VALUE) _pPacket->dts += nShift;
}

int Demuxer::Seek(double _dblSeconds) {
    const AVStream& stream = pVideo ? *pVideo : *pAudio;
    const double dblTicks = _dblSeconds / av_q2d(stream.time_base);
    const auto nTo = static_cast<int64_t>(std::clamp(dblTicks, -4e18, 4e18));
    if (!interrupt.BeginRead(bUrl)) return AVERROR_EXIT;
    int nResult = avformat_seek_file(pFormat, stream.index, INT64_MIN, nTo, nTo, 0);
    // Before the first key frame, or without an index: what the format finds backwards.
    if (nResult < 0) nResult = av_seek_frame(pFormat, stream.index, nTo, AVSEEK_FLAG_BACKWARD);
    interrupt.EndRead();
    if (nResult >= 0) ForgetBreaks();
    return nResult;
}

int Demuxer::Rewind() {
    if (!interrupt.BeginRead(bUrl)) return AVERROR_EXIT;
    // Where packets are found by their times, the first ones, which are not in order, would be passed over.
    const bool bByTimes = (pFormat->iformat->flags & AVFMT_TS_DISCONT) != 0;
    int nResult = -1;
    if (bByTimes && (pFormat->iformat->flags & AVFMT_NO_BYTE_SEEK) == 0)
        nResult = av_seek_frame(pFormat, -1, 0, AVSEEK_FLAG_BYTE);
    const int64_t nStart = pFormat->start_time == AV_NOPTS_VALUE ? 0 : pFormat->start_time;
    if (nResult < 0) nResult = av_seek_frame(pFormat, -1, nStart, AVSEEK_FLAG_BACKWARD);
    if (nResult < 0) nResult = avformat_seek_file(pFormat, -1, INT64_MIN, nStart, INT64_MAX, 0);
    interrupt.EndRead();
    if (nResult >= 0) ForgetBreaks();
    return nResult;
}

void Demuxer::ForgetBreaks() {
    nOffset = 0;
    nLastTime = AV_NOPTS_VALUE;
    nDamaged = 0;
}

}  // namespace zr
