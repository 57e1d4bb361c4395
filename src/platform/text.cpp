#include "zr/text.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

namespace zr {

extern "C" {

BSTR SysAllocStringLen(const char16_t* _sz, uint32_t _nLength) {
    constexpr size_t cbPrefix = sizeof(uint32_t);
    if (_nLength > (std::numeric_limits<uint32_t>::max() - cbPrefix - sizeof(char16_t)) / sizeof(char16_t))
        return nullptr;
    const uint32_t cbText = _nLength * static_cast<uint32_t>(sizeof(char16_t));
    auto* pBlock = static_cast<unsigned char*>(std::malloc(cbPrefix + cbText + sizeof(char16_t)));
    if (!pBlock) return nullptr;
    std::memcpy(pBlock, &cbText, cbPrefix);
    if (_sz) std::memcpy(pBlock + cbPrefix, _sz, cbText);
    std::memset(pBlock + cbPrefix + cbText, 0, sizeof(char16_t));
    return reinterpret_cast<BSTR>(pBlock + cbPrefix);
}

BSTR SysAllocString(const char16_t* _sz) {
    if (!_sz) return nullptr;
    const size_t nLength = std::char_traits<char16_t>::length(_sz);
    if (nLength > std::numeric_limits<uint32_t>::max()) return nullptr;
    return SysAllocStringLen(_sz, static_cast<uint32_t>(nLength));
}

void SysFreeString(BSTR _bs) {
    if (_bs) std::free(reinterpret_cast<unsigned char*>(_bs) - sizeof(uint32_t));
}

uint32_t SysStringByteLen(const char16_t* _bs) {
    if (!_bs) return 0;
    uint32_t cbText;
    std::memcpy(&cbText, reinterpret_cast<const unsigned char*>(_bs) - sizeof(cbText), sizeof(cbText));
    return cbText;
}

uint32_t SysStringLen(const char16_t* _bs) { return SysStringByteLen(_bs) / static_cast<uint32_t>(sizeof(char16_t)); }

}  // extern "C"

}  // namespace zr
