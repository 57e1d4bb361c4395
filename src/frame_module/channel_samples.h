#pragma once
// One channel of interleaved samples taken out into a row of its own and put back: 16-bit samples as they are, all
// others as 32-bit float of full scale 1.0.

#include <cstddef>
#include <cstdint>

namespace zr {

// Bytes of a sample in such a row.
int32_t ChannelSampleBytes(int32_t _nBitsPerSample);

// _pFirst: the channel's first sample among the interleaved ones, _nStep bytes from one to the next.
void TakeChannel(int32_t _nBitsPerSample, const uint8_t* _pFirst, size_t _nStep, size_t _nSamples, void* _pRow);
// Writes the samples whose value in the row is another than what stands there, so that 32-bit samples which nobody
// changed keep the bits that a float does not hold. Rounds to nearest and saturates; what is no number becomes 0.
void PutChannel(int32_t _nBitsPerSample, const void* _pRow, size_t _nStep, size_t _nSamples, uint8_t* _pFirst);

}  // namespace zr
