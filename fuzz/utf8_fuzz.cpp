// UTF-8 from outside: never past its end, and what comes out is well-formed whatever went in.

#include <cstdlib>
#include <cstring>

#include "zr/utf8.h"

namespace {

void Require(bool _bHolds) {
    if (!_bHolds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* _pData, size_t _cbData) {
    const std::string strIn(reinterpret_cast<const char*>(_pData), _cbData);
    const std::u16string strUtf16 = zr::ToUtf16(strIn);
    const std::string strClean = zr::ToUtf8(strUtf16);
    Require(strUtf16.size() <= strIn.size());
    Require(zr::ToUtf16(strClean) == strUtf16);
    // Only malformed text changes, and then the replacement shows.
    Require(strClean == strIn || strClean.find("\xEF\xBF\xBD") != std::string::npos);

    std::u16string strRaw(_cbData / 2, u'\0');
    if (!strRaw.empty()) std::memcpy(strRaw.data(), _pData, strRaw.size() * 2);
    const std::string strFromRaw = zr::ToUtf8(strRaw);
    const std::u16string strBack = zr::ToUtf16(strFromRaw);
    Require(strBack.size() == strRaw.size());  // one for one, replaced or not
    Require(zr::ToUtf8(strBack) == strFromRaw);
    return 0;
}
