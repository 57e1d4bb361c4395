#pragma once
// Channels of interleaved samples taken out, put in, and moved about.

#include <cstddef>
#include <cstdint>

namespace zr {

// Copies one channel, samples of _cbSample bytes (1 to 4; others: nothing is done): those at _pFrom, every _cbStepFrom
// bytes one, to _pTo, every _cbStepTo bytes one. The two do not overlap.
void CopyChannel(size_t _cbSample, const uint8_t* _pFrom, size_t _cbStepFrom, uint8_t* _pTo, size_t _cbStepTo,
                 size_t _nSamples);

}  // namespace zr
