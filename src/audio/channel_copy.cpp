#include "audio/channel_copy.h"

#include <cstring>

namespace zr {
namespace {

template <size_t kBytes>
void Copy(const uint8_t* _pFrom, size_t _cbStepFrom, uint8_t* _pTo, size_t _cbStepTo, size_t _nSamples) {
    for (size_t i = 0; i < _nSamples; ++i) std::memcpy(_pTo + i * _cbStepTo, _pFrom + i * _cbStepFrom, kBytes);
}

}  // namespace

void CopyChannel(size_t _cbSample, const uint8_t* _pFrom, size_t _cbStepFrom, uint8_t* _pTo, size_t _cbStepTo,
                 size_t _nSamples) {
    switch (_cbSample) {
        case 1: return Copy<1>(_pFrom, _cbStepFrom, _pTo, _cbStepTo, _nSamples);
        case 2: return Copy<2>(_pFrom, _cbStepFrom, _pTo, _cbStepTo, _nSamples);
        case 3: return Copy<3>(_pFrom, _cbStepFrom, _pTo, _cbStepTo, _nSamples);
        case 4: return Copy<4>(_pFrom, _cbStepFrom, _pTo, _cbStepTo, _nSamples);
        default: return;
    }
}

}  // namespace zr
