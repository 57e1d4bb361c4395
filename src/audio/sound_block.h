#pragma once
// A block of interleaved sound, and its channels taken out, put in and moved about.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "zr/frame.h"
#include "zr/records.h"

namespace zr {

// Samples in the memory of somebody else.
struct SOUND_BLOCK {
    ZR_AUD_PROPS props;
    uint8_t* p = nullptr;
    int64_t nSamples = 0;  // of each channel
};

// The sound of a frame, in its memory; null: it has none.
SOUND_BLOCK SoundOf(IZrFFrame& _frame);

// Copies one channel, samples of _cbSample bytes (1 to 4; others: nothing is done): those at _pFrom, every _cbStepFrom
// bytes one, to _pTo, every _cbStepTo bytes one. The two do not overlap.
void CopyChannel(size_t _cbSample, const uint8_t* _pFrom, size_t _cbStepFrom, uint8_t* _pTo, size_t _cbStepTo,
                 size_t _nSamples);
// Channel _nTo of _to becomes channel _nFrom of a block of as many samples and bits, or silent where that has none.
void CopyChannel(const SOUND_BLOCK& _from, int32_t _nFrom, const SOUND_BLOCK& _to, int32_t _nTo);

// Room in _arr for the samples of a block, whose p it becomes. May throw std::bad_alloc.
void MakeRoom(std::vector<uint8_t>& _arr, SOUND_BLOCK* _pBlock);

}  // namespace zr
