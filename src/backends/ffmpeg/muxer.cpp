#include "backends/ffmpeg/muxer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "backends/ffmpeg/av_error.h"

namespace zr {

namespace {

struct PROTOCOL_FORMAT {
    std::string_view svProtocol;
    const char* szFormat;
};
constexpr PROTOCOL_FORMAT arrProtocols[] = {
    {"rtmp", "flv"},   {"rtmps", "flv"},  {"rtmpt", "flv"},      {"srt", "mpegts"},
    {"udp", "mpegts"}, {"tcp", "mpegts"}, {"rtp", "rtp_mpegts"}, {"rtsp", "rtsp"},
};

const AVOutputFormat* FormatOf(const std::string& _strPath, const std::string& _strFormat) {
    if (!_strFormat.empty()) return av_guess_format(_strFormat.c_str(), nullptr, nullptr);
    const std::string strPath = _strPath.substr(0, _strPath.find('?'));
    if (Demuxer::NamesProtocol(_strPath)) {
        const std::string_view svProtocol = std::string_view(_strPath).substr(0, _strPath.find(':'));
        for (const PROTOCOL_FORMAT& known : arrProtocols)
            if (known.svProtocol == svProtocol) return av_guess_format(known.szFormat, nullptr, nullptr);
        return av_guess_format(nullptr, strPath.c_str(), nullptr);
    }
    if (_strPath.size() > 4 && _strPath.compare(_strPath.size() - 4, 4, ".raw") == 0)
        return av_guess_format("rawvideo", nullptr, nullptr);
    return av_guess_format(nullptr, _strPath.c_str(), nullptr);
}

// An upper bound of what the end of a file holds: an entry for each packet, the buffers on the way, and the rest.
int64_t EndBytes(int64_t _nPackets, int64_t _cbLargest) { return (int64_t{1} << 20) + 48 * _nPackets + 8 * _cbLargest; }

}  // namespace

HRESULT ReadOptions(const std::string& _strText, AvOptions* _pOptions) {
    if (_strText.empty()) return S_OK;
    return av_dict_parse_string(_pOptions->Ptr(), _strText.c_str(), "=", ": ", 0) < 0 ? E_INVALIDARG : S_OK;
}

HRESULT Muxer::Fail(HRESULT _hr, const std::string& _strReason) {
    if (strError.empty()) strError = "Cannot write " + strPath + ": " + _strReason + ".";
    return _hr;
}

HRESULT Muxer::Check(int _nResult) {
    // What the file itself met says more than what the muxer made of it.
    int nResult = _nResult;
    if (bOwnFile && file.Failure() < 0) nResult = file.Failure();
    if (nResult >= 0 && pFormat && pFormat->pb && pFormat->pb->error < 0) nResult = pFormat->pb->error;
    if (nResult >= 0 && bOwnFile && file.IsFull()) nResult = AVERROR(ENOSPC);
    if (nResult == AVERROR_EXIT) nResult = AVERROR(ETIMEDOUT);  // nobody took what was still to be sent at the stop
    return nResult < 0 ? Fail(StatusFromAv(nResult), AvReason(nResult)) : S_OK;
}

HRESULT Muxer::Open(const std::string& _strPath, const OUTPUT_OPTIONS& _options) {
    Close();
    QuietAvLog();
    strPath = _strPath;
    options = _options;
    strError.clear();
    nBytes = nPackets = cbLargest = 0;
    const AVOutputFormat* const pKind = FormatOf(_strPath, _options.strFormat);
    if (!pKind && !_options.strFormat.empty())
        return Fail(E_INVALIDARG, "there is no kind of file called \"" + _options.strFormat + "\"");
    if (!pKind) {
        std::error_code error;
        if (std::filesystem::is_directory(_strPath, error)) return Check(AVERROR(EISDIR));
        return Fail(E_INVALIDARG, "its ending does not name a kind of media file");
    }
    if (avformat_alloc_output_context2(&pFormat, pKind, nullptr, _strPath.c_str()) < 0) return E_OUTOFMEMORY;
    pFormat->interrupt_callback = interrupt.Callback();
    if (_options.bLive) pFormat->flags |= AVFMT_FLAG_FLUSH_PACKETS;
    const HRESULT hr = OpenTarget();
    if (Failed(hr)) Close();
    return hr;
}

HRESULT Muxer::OpenTarget() {
    const bool bUrl = Demuxer::NamesProtocol(strPath) || strPath.compare(0, 5, "pipe:") == 0;
    const std::string strFile = strPath.compare(0, 5, "file:") == 0 ? strPath.substr(5) : strPath;
    if (!bUrl) {
        std::error_code error;
        if (std::filesystem::is_directory(strFile, error)) return Check(AVERROR(EISDIR));
        const std::filesystem::path folder = std::filesystem::path(strFile).parent_path();
        if (!folder.empty() && !std::filesystem::is_directory(folder, error))
            return Fail(ZR_E_NOT_FOUND_FILE, "there is no folder " + folder.string());
    }
    if ((pFormat->oformat->flags & AVFMT_NOFILE) != 0) return S_OK;  // the muxer makes its files by itself
    if (!bUrl) {
        const HRESULT hr = file.Open(strFile);
        bOwnFile = Succeeded(hr);
        if (bOwnFile) pFormat->pb = file.Context();
        if (bOwnFile || hr == E_OUTOFMEMORY) return hr;
        if (hr != ZR_E_NOT_SUPPORTED) return Fail(hr, StatusReason(hr));
        // A device or a pipe.
    }
    const int nResult = avio_open2(&pFormat->pb, bUrl ? strPath.c_str() : ("file:" + strFile).c_str(), AVIO_FLAG_WRITE,
                                   &pFormat->interrupt_callback, nullptr);
    return Check(nResult);
}

AVStream* Muxer::AddTrack(const AVCodecContext& _codec) {
    AVStream* const pTrack = avformat_new_stream(pFormat, nullptr);
    if (!pTrack || avcodec_parameters_from_context(pTrack->codecpar, &_codec) < 0) return nullptr;
    pTrack->time_base = _codec.time_base;
    if (_codec.codec_type == AVMEDIA_TYPE_VIDEO) {
        pTrack->avg_frame_rate = pTrack->r_frame_rate = _codec.framerate;
        pTrack->sample_aspect_ratio = _codec.sample_aspect_ratio;
    }
    return pTrack;
}

HRESULT Muxer::Begin() {
    AvOptions all;
    if (Failed(ReadOptions(options.strFormatOptions, &all)))
        return Fail(E_INVALIDARG, "\"" + options.strFormatOptions + "\" are no options");
    if (std::strcmp(Format()->name, "hls") == 0 && !options.bLive) all.SetDefault("hls_list_size", "0");
    file.SetEndBytes(EndBytes(0, 0));
    const int nResult = avformat_write_header(pFormat, all.Ptr());
    if (nResult >= 0) bBegun = true;
    if (const char* szUnknown = all.First(); nResult >= 0 && szUnknown)
        return Fail(E_INVALIDARG, "this kind of file has no option \"" + std::string(szUnknown) + "\"");
    return Check(nResult);
}

HRESULT Muxer::Write(AVPacket* _pPacket, const AVStream& _track, AVRational _base) {
    ++nPackets;
    cbLargest = std::max<int64_t>(cbLargest, _pPacket->size);
    file.SetEndBytes(EndBytes(nPackets, cbLargest));
    _pPacket->stream_index = _track.index;
    av_packet_rescale_ts(_pPacket, _base, _track.time_base);
    return Check(av_interleaved_write_frame(pFormat, _pPacket));
}

HRESULT Muxer::End() {
    if (!pFormat) return S_OK;
    int nResult = 0;
    if (bBegun) {
        bBegun = false;
        nResult = av_write_trailer(pFormat);
    }
    nBytes = Bytes();
    if (bOwnFile) {
        pFormat->pb = nullptr;
        const int nClosed = file.Close();
        nResult = nClosed < 0 ? nClosed : nResult;
    } else if (pFormat->pb && (pFormat->oformat->flags & AVFMT_NOFILE) == 0) {
        const int nClosed = avio_closep(&pFormat->pb);
        nResult = nResult < 0 ? nResult : nClosed;
    }
    const HRESULT hr = nResult < 0 ? Fail(StatusFromAv(nResult), AvReason(nResult)) : S_OK;
    Close();
    return hr;
}

void Muxer::Close() {
    if (!pFormat) return;
    if (bOwnFile) {
        pFormat->pb = nullptr;
        file.Close();
    } else if (pFormat->pb && (pFormat->oformat->flags & AVFMT_NOFILE) == 0) {
        avio_closep(&pFormat->pb);
    }
    avformat_free_context(pFormat);
    pFormat = nullptr;
    bOwnFile = bBegun = false;
}

int64_t Muxer::Bytes() const {
    if (bOwnFile) return file.Bytes();
    if (pFormat && pFormat->pb) return pFormat->pb->bytes_written;
    return nBytes;
}

}  // namespace zr
