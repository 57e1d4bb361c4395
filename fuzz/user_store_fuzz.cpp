// The text form of the user's settings: any bytes give a tree, and a tree survives being written and read.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/user_key.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* _pData, size_t _cb) {
    const zr::UserKey key = zr::ParseUserKey({reinterpret_cast<const char*>(_pData), _cb});
    std::string strFirst, strSecond;
    if (zr::FormatUserKey(key, "heading", strFirst) != zr::S_OK) return 0;
    if (zr::FormatUserKey(zr::ParseUserKey(strFirst), "heading", strSecond) != zr::S_OK || strFirst != strSecond)
        std::abort();
    return 0;
}
