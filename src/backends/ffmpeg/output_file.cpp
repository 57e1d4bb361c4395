#include "backends/ffmpeg/output_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <limits>

#include "zr/utf8.h"

namespace zr {

namespace {

constexpr int kBufferBytes = 1 << 18;
constexpr int64_t kAheadBytes = int64_t{8} << 20;  // taken at once, so that the disk is seldom asked

int AvErrorOf(HRESULT _hr) {
    if (_hr == Win32Error(112)) return AVERROR(ENOSPC);
    if (_hr == E_ACCESSDENIED) return AVERROR(EACCES);
    return _hr == E_OUTOFMEMORY ? AVERROR(ENOMEM) : AVERROR(EIO);
}

}  // namespace

HRESULT OutputFile::Open(const std::string& _strPath) {
    Close();
    nPosition = nSize = nReserved = 0;
    bReserves = true;
    bFull = false;
    nFailure = 0;
    const HRESULT hr = file.Open(ToUtf16(_strPath).c_str(), File::Access::Create);
    if (Failed(hr)) return hr;
    auto* const pBuffer = static_cast<uint8_t*>(av_malloc(kBufferBytes));
    if (pBuffer) pContext = avio_alloc_context(pBuffer, kBufferBytes, 1, this, nullptr, Write, Seek);
    if (!pContext) {
        av_free(pBuffer);
        file.Close();
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

int OutputFile::Close() {
    if (!pContext) return nFailure;
    avio_flush(pContext);
    av_freep(&pContext->buffer);
    avio_context_free(&pContext);
    if (nReserved > nSize) file.Trim();
    file.Close();
    return nFailure;
}

void OutputFile::KeepRoom(int64_t _nUpTo) {
    if (!bReserves || bFull || _nUpTo + cbEnd <= nReserved) return;
    for (const int64_t nMore : {kAheadBytes, int64_t{0}}) {
        const int64_t nWanted = _nUpTo + cbEnd + nMore;
        const HRESULT hr = file.Reserve(static_cast<uint64_t>(nReserved), static_cast<uint64_t>(nWanted - nReserved));
        if (Succeeded(hr)) {
            nReserved = nWanted;
            return;
        }
        if (hr != Win32Error(112)) {
            bReserves = false;
            return;
        }
    }
    bFull = true;
}

int OutputFile::Write(void* _pThis, uint8_t* _pData, int _cb) {
    auto& self = *static_cast<OutputFile*>(_pThis);
    if (self.nFailure < 0) return self.nFailure;
    self.KeepRoom(self.nPosition + _cb);
    const HRESULT hr = self.file.WriteAt(static_cast<uint64_t>(self.nPosition), _pData, static_cast<size_t>(_cb));
    if (Failed(hr)) return self.nFailure = AvErrorOf(hr);
    self.nPosition += _cb;
    self.nSize = std::max(self.nSize, self.nPosition);
    return _cb;
}

int64_t OutputFile::Seek(void* _pThis, int64_t _nOffset, int _nWhence) {
    auto& self = *static_cast<OutputFile*>(_pThis);
    int64_t nTo = _nOffset;
    switch (_nWhence & ~AVSEEK_FORCE) {
        case AVSEEK_SIZE: return self.nSize;
        case SEEK_SET: break;
        case SEEK_CUR: nTo += self.nPosition; break;
        case SEEK_END: nTo += self.nSize; break;
        default: return AVERROR(EINVAL);
    }
    if (nTo < 0) return AVERROR(EINVAL);
    return self.nPosition = nTo;
}

}  // namespace zr
