#include "platform/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <limits>
#include <new>
#include <string>
#include <utility>

#include "platform/utf.h"

namespace zr {

namespace {

constexpr size_t kMaxTransfer = size_t{1} << 30;  // the system moves less than 2 GiB in one call

bool PositionFits(uint64_t _nPosition, size_t _cb) {
    constexpr auto nMax = static_cast<uint64_t>(std::numeric_limits<off_t>::max());
    return _nPosition <= nMax && _cb <= nMax - _nPosition;
}

}  // namespace

HRESULT File::Open(const char16_t* _szName, Access _eAccess) {
    Close();
    if (!_szName) return E_POINTER;
    if (!*_szName) return E_INVALIDARG;
    // Without waiting, so that a pipe nobody writes to is refused instead of stopping the caller.
    int nFlags = O_CLOEXEC | O_NONBLOCK | (_eAccess == Access::Read ? O_RDONLY : O_RDWR);
    if (_eAccess == Access::Create) nFlags |= O_CREAT;
    int nFile = -1;
    try {
        const std::string sName = Utf8FromUtf16(_szName);
        do nFile = open(sName.c_str(), nFlags, 0666);
        while (nFile < 0 && errno == EINTR);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    if (nFile < 0) return errno == EISDIR || errno == ENXIO ? ZR_E_NOT_SUPPORTED : StatusFromErrno(errno);
    nDescriptor = nFile;
    struct stat info {};
    HRESULT hr = fstat(nFile, &info) == 0 ? S_OK : StatusFromErrno(errno);
    if (hr == S_OK && !S_ISREG(info.st_mode)) hr = ZR_E_NOT_SUPPORTED;
    if (hr == S_OK && _eAccess == Access::Create && info.st_size > 0 && ftruncate(nFile, 0) != 0)
        hr = StatusFromErrno(errno);
    if (Failed(hr)) Close();
    return hr;
}

void File::Close() {
    if (nDescriptor >= 0) close(std::exchange(nDescriptor, -1));
}

HRESULT File::Size(uint64_t* _pcbSize) const {
    if (!_pcbSize) return E_POINTER;
    struct stat info {};
    if (fstat(nDescriptor, &info) != 0) return StatusFromErrno(errno);
    *_pcbSize = static_cast<uint64_t>(info.st_size);
    return S_OK;
}

HRESULT File::ReadAt(uint64_t _nPosition, void* _pv, size_t _cb, size_t* _pcbRead) const {
    if (!_pcbRead) return E_POINTER;
    *_pcbRead = 0;
    if (!PositionFits(_nPosition, _cb)) return E_INVALIDARG;
    auto* p = static_cast<uint8_t*>(_pv);
    while (*_pcbRead < _cb) {
        const size_t cbStep = std::min(_cb - *_pcbRead, kMaxTransfer);
        const ssize_t cbGot = pread(nDescriptor, p + *_pcbRead, cbStep, static_cast<off_t>(_nPosition + *_pcbRead));
        if (cbGot < 0 && errno == EINTR) continue;
        if (cbGot < 0) return StatusFromErrno(errno);
        if (cbGot == 0) return S_FALSE;
        *_pcbRead += static_cast<size_t>(cbGot);
    }
    return S_OK;
}

HRESULT File::WriteAt(uint64_t _nPosition, const void* _pv, size_t _cb) {
    if (!PositionFits(_nPosition, _cb)) return E_INVALIDARG;
    const auto* p = static_cast<const uint8_t*>(_pv);
    for (size_t cbDone = 0; cbDone < _cb;) {
        const size_t cbStep = std::min(_cb - cbDone, kMaxTransfer);
        const ssize_t cbPut = pwrite(nDescriptor, p + cbDone, cbStep, static_cast<off_t>(_nPosition + cbDone));
        if (cbPut < 0 && errno == EINTR) continue;
        if (cbPut < 0) return StatusFromErrno(errno);
        cbDone += static_cast<size_t>(cbPut);
    }
    return S_OK;
}

HRESULT File::Reserve(uint64_t _nPosition, uint64_t _cb) {
    if (!PositionFits(_nPosition, _cb)) return E_INVALIDARG;
    int nResult = 0;
    do nResult = fallocate(nDescriptor, FALLOC_FL_KEEP_SIZE, static_cast<off_t>(_nPosition), static_cast<off_t>(_cb));
    while (nResult != 0 && errno == EINTR);
    if (nResult == 0) return S_OK;
    return errno == EOPNOTSUPP || errno == ENOSYS ? ZR_E_NOT_SUPPORTED : StatusFromErrno(errno);
}

HRESULT File::Trim() {
    uint64_t cb = 0;
    const HRESULT hr = Size(&cb);
    if (Failed(hr)) return hr;
    return ftruncate(nDescriptor, static_cast<off_t>(cb)) == 0 ? S_OK : StatusFromErrno(errno);
}

std::u16string AbsolutePath(std::u16string_view _name) {
    if (_name.empty() || _name.starts_with(u'/')) return std::u16string(_name);
    char szFolder[PATH_MAX];
    if (!getcwd(szFolder, sizeof(szFolder))) return std::u16string(_name);
    while (_name.starts_with(u"./")) _name.remove_prefix(2);
    const std::u16string strFolder = Utf16FromUtf8(szFolder);
    return strFolder + (strFolder.ends_with(u'/') ? u"" : u"/") + std::u16string(_name);
}

HRESULT ReplaceFile(const char16_t* _szName, const void* _pv, size_t _cb) {
    if (!_szName) return E_POINTER;
    if (!*_szName) return E_INVALIDARG;
    try {
        std::string sName = Utf8FromUtf16(_szName);
        char szReal[PATH_MAX];
        if (realpath(sName.c_str(), szReal)) sName = szReal;  // a link goes on leading to the file
        struct stat info {};
        const bool bThere = stat(sName.c_str(), &info) == 0;
        if (bThere && !S_ISREG(info.st_mode)) return ZR_E_NOT_SUPPORTED;
        static std::atomic<uint32_t> nCount{0};  // each call of each process has a name of its own beside it
        const std::string sTemp = sName + "." + std::to_string(getpid()) + "-" + std::to_string(nCount++) + "~";
        const std::u16string strTemp = Utf16FromUtf8(sTemp);
        File file;
        HRESULT hr = file.Open(strTemp.c_str(), File::Access::Create);
        if (Succeeded(hr)) hr = file.WriteAt(0, _pv, _cb);
        if (Succeeded(hr) && bThere && fchmod(file.nDescriptor, info.st_mode & 07777) != 0) hr = StatusFromErrno(errno);
        if (Succeeded(hr) && fsync(file.nDescriptor) != 0) hr = StatusFromErrno(errno);
        file.Close();
        if (Succeeded(hr) && rename(sTemp.c_str(), sName.c_str()) != 0) hr = StatusFromErrno(errno);
        if (Failed(hr)) unlink(sTemp.c_str());
        return hr;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

}  // namespace zr
