#pragma once
// The hash by which names are kept and found. Two names with one hash are one name: the text is never compared.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <type_traits>

namespace zr {

namespace detail {

// Four characters to their four low bytes, the first lowest.
inline uint64_t PackFour(const char16_t* _pText) {
    uint64_t n;
    std::memcpy(&n, _pText, sizeof(n));
    n &= 0x00FF00FF00FF00FFull;
    n = (n | n >> 8) & 0x0000FFFF0000FFFFull;
    return (n | n >> 16) & 0xFFFFFFFFull;
}

constexpr uint64_t PackScalar(const char16_t* _pText, size_t _nLength) {
    uint64_t n = 0;
    for (size_t i = 0; i < _nLength; ++i) n |= uint64_t{_pText[i] & 0xFFu} << (8 * i);
    return n;
}

// Up to eight characters to their low bytes, the first lowest. The layout of PackFour needs a little-endian machine.
constexpr uint64_t PackWord(const char16_t* _pText, size_t _nLength) {
    if (std::is_constant_evaluated() || _nLength < 4) return PackScalar(_pText, _nLength);
    return PackFour(_pText) | PackFour(_pText + _nLength - 4) << (8 * (_nLength - 4));
}

// Bob Jenkins's 64-bit mix, public domain.
constexpr void Mix64(uint64_t& a, uint64_t& b, uint64_t& c) {
    a -= b, a -= c, a ^= c >> 43;
    b -= c, b -= a, b ^= a << 9;
    c -= a, c -= b, c ^= b >> 8;
    a -= b, a -= c, a ^= c >> 38;
    b -= c, b -= a, b ^= a << 23;
    c -= a, c -= b, c ^= b >> 5;
    a -= b, a -= c, a ^= c >> 35;
    b -= c, b -= a, b ^= a << 49;
    c -= a, c -= b, c ^= b >> 11;
    a -= b, a -= c, a ^= c >> 12;
    b -= c, b -= a, b ^= a << 18;
    c -= a, c -= b, c ^= b >> 22;
}

}  // namespace detail

enum class NameCase { kIgnore, kExact };

// Only the low byte of each character counts, and the length does not: names are meant to be plain ASCII.
constexpr uint64_t NameHash(std::u16string_view _name, NameCase _eCase = NameCase::kIgnore) {
    const uint64_t nCaseBits = _eCase == NameCase::kIgnore ? 0x2020202020202020ull : 0;
    uint64_t arrState[3] = {0xA518C95D1B2E3917ull, 0x9E3779B9A6C517EBull, 0x6A81C43A71D2E082ull};
    size_t nTurn = 0;
    const char16_t* p = _name.data();
    size_t nLeft = _name.size();
    for (; nLeft >= 8; p += 8, nLeft -= 8) {
        arrState[nTurn] += detail::PackWord(p, 8) | nCaseBits;
        if (++nTurn == 3) {
            detail::Mix64(arrState[0], arrState[1], arrState[2]);
            nTurn = 0;
        }
    }
    if (nLeft > 0) arrState[nTurn] += detail::PackWord(p, nLeft) | nCaseBits >> (64 - 8 * nLeft);
    detail::Mix64(arrState[0], arrState[1], arrState[2]);
    return arrState[2];
}

// A name with its hash. A constant one costs a look-up no hashing: `static constexpr NameKey keyShow{u"show"};`
// The text is the caller's and has to live as long as the key.
struct NameKey {
    constexpr NameKey(std::u16string_view _text, NameCase _eCase = NameCase::kIgnore)
        : text(_text), nHash(NameHash(_text, _eCase)) {}
    constexpr NameKey(const char16_t* _szText, NameCase _eCase = NameCase::kIgnore)
        : NameKey(std::u16string_view(_szText), _eCase) {}

    std::u16string_view text;
    uint64_t nHash;
};

constexpr bool HasHash(std::span<const NameKey> _arrNames, uint64_t _nHash) {
    return std::any_of(_arrNames.begin(), _arrNames.end(), [&](const NameKey& _key) { return _key.nHash == _nHash; });
}

}  // namespace zr
