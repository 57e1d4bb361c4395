#pragma once
// Numbers in the files that the picture readers and writers here share: little-endian, at any address.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace zr {

using FileBytes = std::span<const uint8_t>;

// Callers have checked that the bytes are there.
inline uint32_t Read16(FileBytes _file, size_t _nAt) { return _file[_nAt] | uint32_t{_file[_nAt + 1]} << 8; }
inline uint32_t Read32(FileBytes _file, size_t _nAt) { return Read16(_file, _nAt) | Read16(_file, _nAt + 2) << 16; }

inline void Append16(std::vector<uint8_t>& _file, uint32_t _n) {
    _file.push_back(static_cast<uint8_t>(_n));
    _file.push_back(static_cast<uint8_t>(_n >> 8));
}
inline void Append32(std::vector<uint8_t>& _file, uint32_t _n) {
    Append16(_file, _n);
    Append16(_file, _n >> 16);
}

// _nBits (0 to 8) of a sample as 8 bits, the top of the range at 255.
constexpr uint8_t WidenTo8(uint32_t _nSample, uint32_t _nBits) {
    if (_nBits == 0) return 0;
    const uint32_t nTop = (1u << _nBits) - 1;
    return static_cast<uint8_t>((_nSample * 255 + nTop / 2) / nTop);
}

// One colour as it stands in a picture, B, G, R, A.
struct BGRA8 {
    uint8_t nB = 0, nG = 0, nR = 0, nA = 255;
};

}  // namespace zr
