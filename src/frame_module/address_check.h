#pragma once
// In builds under the address sanitizer, memory that waits in a pool is marked, so that a touch of it is reported like
// one of freed memory. Other builds carry none of this.

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define ZR_ADDRESS_CHECK 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZR_ADDRESS_CHECK 1
#endif
#endif

#ifdef ZR_ADDRESS_CHECK
#include <sanitizer/asan_interface.h>
#endif

namespace zr {

#ifdef ZR_ADDRESS_CHECK
inline constexpr bool kAddressCheck = true;
inline void MarkUntouchable(const void* _p, size_t _cb) { ASAN_POISON_MEMORY_REGION(_p, _cb); }
inline void MarkTouchable(const void* _p, size_t _cb) { ASAN_UNPOISON_MEMORY_REGION(_p, _cb); }
#else
inline constexpr bool kAddressCheck = false;
inline void MarkUntouchable(const void*, size_t) {}
inline void MarkTouchable(const void*, size_t) {}
#endif

}  // namespace zr
