#pragma once
// Text at the interfaces: UTF-16, length-prefixed, zero-terminated, in memory that any language can free by
// SysFreeString. The four bytes before the first character hold the length in bytes, without the terminator.
//
// A text that goes into an operation is a `const char16_t*`: a BSTR, or any zero-terminated UTF-16 text. It stays the
// caller's, is read up to its first zero, and may be null where the operation says so. A text that comes out is a
// `BSTR*`: the caller frees what it receives; on failure it receives null.

#include <cstdint>

#include "zr/api.h"

namespace zr {

using BSTR = char16_t*;

extern "C" {

// A copy of the zero-terminated _sz; null for null, and when memory is out.
ZR_API BSTR SysAllocString(const char16_t* _sz);
// A copy of _nLength characters of _sz, zeros among them too, or that much undefined text when _sz is null.
ZR_API BSTR SysAllocStringLen(const char16_t* _sz, uint32_t _nLength);
// Frees a text that one of the two made; null is fine.
ZR_API void SysFreeString(BSTR _bs);
// Its length in characters; 0 for null.
ZR_API uint32_t SysStringLen(const char16_t* _bs);
// Its length in bytes; 0 for null.
ZR_API uint32_t SysStringByteLen(const char16_t* _bs);

}  // extern "C"

}  // namespace zr
