#pragma once
// Finding a character: four at a time, since what is looked for mostly stands a word or two further on.

#include <bit>
#include <cstdint>
#include <cstring>

namespace zr {

// The first _ch from _p on, or _pEnd.
inline const char16_t* FindChar(const char16_t* _p, const char16_t* _pEnd, char16_t _ch) {
    constexpr uint64_t kLow = 0x0001000100010001ull;
    constexpr uint64_t kHigh = 0x8000800080008000ull;
    const uint64_t nWanted = kLow * _ch;
    for (; _pEnd - _p >= 4; _p += 4) {
        uint64_t n;
        std::memcpy(&n, _p, sizeof(n));
        n ^= nWanted;
        // The high bit of each character that is equal; those above the first equal one may be set too.
        const uint64_t nEqual = (n - kLow) & ~n & kHigh;
        if (nEqual) return _p + std::countr_zero(nEqual) / 16;
    }
    while (_p != _pEnd && *_p != _ch) ++_p;
    return _p;
}

}  // namespace zr
