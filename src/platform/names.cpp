#include "platform/names.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>

#include "platform/utf.h"

namespace zr {

namespace {

// A text for any name, at most _cbMax bytes: a long name keeps its front and gets a hash of the whole.
std::string Shortened(std::string _str, size_t _cbMax) {
    if (_str.size() <= _cbMax) return _str;
    uint64_t nHash = 0xCBF29CE484222325u;  // FNV-1a
    for (const char ch : _str) nHash = (nHash ^ static_cast<uint8_t>(ch)) * 0x100000001B3u;
    char arrHash[16];
    const auto [pEnd, error] = std::to_chars(arrHash, arrHash + sizeof arrHash, nHash, 16);
    _str.resize(_cbMax - sizeof arrHash);
    return _str.append(arrHash, pEnd);
}

}  // namespace

HRESULT UniqueName::Claim(std::u16string_view _svName) {
    Release();
    if (_svName.empty()) return E_INVALIDARG;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    // A zero in front makes the name abstract: it is in no folder, and nothing is left of it when its socket closes.
    constexpr std::string_view svPrefix("\0zrmixer/", 9);
    try {
        const std::string strName = Shortened(Utf8FromUtf16(_svName), sizeof address.sun_path - svPrefix.size());
        svPrefix.copy(address.sun_path, svPrefix.size());
        strName.copy(address.sun_path + svPrefix.size(), strName.size());
        const size_t cbAddress = offsetof(sockaddr_un, sun_path) + svPrefix.size() + strName.size();
        Descriptor bound(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        if (!bound ||
            bind(bound.Get(), reinterpret_cast<const sockaddr*>(&address), static_cast<socklen_t>(cbAddress)) != 0) {
            return StatusFromErrno(errno);
        }
        socket = std::move(bound);
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

}  // namespace zr
