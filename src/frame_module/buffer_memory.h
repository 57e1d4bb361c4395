#pragma once
// Where the memory of frame buffers comes from. Everything large that a frame holds is taken here and nowhere else, so
// that another kind of memory (one that a second process can map) needs a change in one place.

#include <cstddef>
#include <cstdint>

namespace zr {

// A kernel that reads whole vectors may read this far past the last byte of a buffer.
inline constexpr size_t kBufferSlack = 64;
inline constexpr size_t kBufferAlignment = 64;

// _cb bytes, 64-byte aligned, without content; null when memory is out.
uint8_t* BufferMemoryAlloc(size_t _cb);
// Frees what BufferMemoryAlloc gave for the same _cb.
void BufferMemoryFree(uint8_t* _p, size_t _cb);

}  // namespace zr
