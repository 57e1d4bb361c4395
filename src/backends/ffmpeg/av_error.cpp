#include "backends/ffmpeg/av_error.h"

extern "C" {
#include <libavutil/error.h>
#include <libavutil/log.h>
}

#include <cctype>
#include <cerrno>
#include <new>

#include "platform/status.h"
#include "zr/utf8.h"

namespace zr {

HRESULT StatusFromAv(int _nError) {
    if (_nError >= 0) return S_OK;
    switch (_nError) {
        case AVERROR_EOF: return Win32Error(1100);
        case AVERROR_EXIT: return E_ABORT;
        case AVERROR_INVALIDDATA: return ZR_E_INVALID_DATA;
        case AVERROR_DECODER_NOT_FOUND:
        case AVERROR_DEMUXER_NOT_FOUND:
        case AVERROR_ENCODER_NOT_FOUND:
        case AVERROR_MUXER_NOT_FOUND:
        case AVERROR_PROTOCOL_NOT_FOUND:
        case AVERROR_PATCHWELCOME: return ZR_E_NOT_SUPPORTED;
        case AVERROR_OPTION_NOT_FOUND: return E_INVALIDARG;
        case AVERROR_HTTP_NOT_FOUND:
        case AVERROR(ENOTDIR): return ZR_E_NOT_FOUND_FILE;
        case AVERROR_HTTP_UNAUTHORIZED:
        case AVERROR_HTTP_FORBIDDEN:
        case AVERROR(EISDIR):
        case AVERROR(EROFS): return E_ACCESSDENIED;
        case AVERROR(EFBIG):
        case AVERROR(EDQUOT): return Win32Error(112);
        default: return StatusFromErrno(AVUNERROR(_nError));
    }
}

std::string AvReason(int _nError) {
    switch (_nError) {
        case AVERROR(ENOSPC): return "the disk is full";
        case AVERROR(EDQUOT): return "the disk quota is used up";
        case AVERROR(EISDIR): return "it is a directory";
        case AVERROR(ENOENT): return "there is no such file or folder";
        case AVERROR(EACCES):
        case AVERROR(EPERM): return "access is denied";
        case AVERROR(EROFS): return "the file system is read-only";
        case AVERROR(ETIMEDOUT): return "the time ran out";
        case AVERROR_EXIT: return "it was aborted";
        case AVERROR_INVALIDDATA: return "it is damaged, or no media that can be played";
        default: break;
    }
    char szText[AV_ERROR_MAX_STRING_SIZE] = {};
    if (av_strerror(_nError, szText, sizeof(szText)) < 0 || !szText[0]) return "unknown error";
    std::string strText = szText;
    // "Invalid argument" inside a sentence; "HTTP ..." and "I/O ..." stay.
    if (strText.size() > 1 && std::islower(static_cast<unsigned char>(strText[1])))
        strText[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(strText[0])));
    return strText;
}

std::string StatusReason(HRESULT _hr) {
    if (_hr == ZR_E_NOT_FOUND_FILE) return AvReason(AVERROR(ENOENT));
    if (_hr == E_ACCESSDENIED) return AvReason(AVERROR(EACCES));
    std::string strText = StatusText(_hr);
    strText[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(strText[0])));
    if (strText.back() == '.') strText.pop_back();
    return strText;
}

HRESULT GiveText(std::string_view _svUtf8, BSTR* _pbs) {
    if (!_pbs) return E_POINTER;
    *_pbs = nullptr;
    if (_svUtf8.empty()) return S_OK;
    try {
        *_pbs = Text(_svUtf8).Detach();
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

void QuietAvLog() {
    static const bool bDone = [] {
        if (av_log_get_level() == AV_LOG_INFO) av_log_set_level(AV_LOG_QUIET);
        return true;
    }();
    static_cast<void>(bDone);
}

}  // namespace zr
