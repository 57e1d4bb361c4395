#include "frame_module/channel_samples.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <type_traits>

#include "audio/sample_convert.h"
#include "media/aud_props.h"

namespace zr {
namespace {

constexpr size_t kPart = 1024;                  // samples of one channel that are in hand at a time
using Packed = std::array<uint8_t, kPart * 4>;  // of any format

// _cb bytes of each of _n samples: from every _nFromStep to every _nToStep.
void CopyStrided(const uint8_t* _pFrom, size_t _nFromStep, uint8_t* _pTo, size_t _nToStep, size_t _cb, size_t _n) {
    const auto Copy = [&](auto _kBytes) {
        for (size_t i = 0; i < _n; ++i) std::memcpy(_pTo + i * _nToStep, _pFrom + i * _nFromStep, _kBytes());
    };
    switch (_cb) {
        case 1: return Copy(std::integral_constant<size_t, 1>());
        case 2: return Copy(std::integral_constant<size_t, 2>());
        case 3: return Copy(std::integral_constant<size_t, 3>());
        default: return Copy(std::integral_constant<size_t, 4>());
    }
}

}  // namespace

int32_t ChannelSampleBytes(int32_t _nBitsPerSample) { return _nBitsPerSample == 16 ? 2 : 4; }

void TakeChannel(int32_t _nBitsPerSample, const uint8_t* _pFirst, size_t _nStep, size_t _nSamples, void* _pRow) {
    auto* const pRow = static_cast<uint8_t*>(_pRow);
    if (_nBitsPerSample == 16) return CopyStrided(_pFirst, _nStep, pRow, 2, 2, _nSamples);
    const auto cb = static_cast<size_t>(AudBytesPerSample(_nBitsPerSample));
    Packed arrPacked;
    for (size_t x = 0; x < _nSamples; x += kPart) {
        const size_t n = std::min(_nSamples - x, kPart);
        CopyStrided(_pFirst + x * _nStep, _nStep, arrPacked.data(), cb, cb, n);
        ConvertSamples(_nBitsPerSample, arrPacked.data(), -32, pRow + x * 4, n);
    }
}

void PutChannel(int32_t _nBitsPerSample, const void* _pRow, size_t _nStep, size_t _nSamples, uint8_t* _pFirst) {
    const auto* const pRow = static_cast<const uint8_t*>(_pRow);
    if (_nBitsPerSample == 16) return CopyStrided(pRow, 2, _pFirst, _nStep, 2, _nSamples);
    const auto cb = static_cast<size_t>(AudBytesPerSample(_nBitsPerSample));
    Packed arrPacked, arrBefore;
    std::array<float, kPart> arrNew;
    for (size_t x = 0; x < _nSamples; x += kPart) {
        const size_t n = std::min(_nSamples - x, kPart);
        uint8_t* const pTo = _pFirst + x * _nStep;
        CopyStrided(pTo, _nStep, arrPacked.data(), cb, cb, n);
        ConvertSamples(_nBitsPerSample, arrPacked.data(), -32, arrBefore.data(), n);
        ConvertSamples(-32, pRow + x * 4, _nBitsPerSample, arrPacked.data(), n);
        std::memcpy(arrNew.data(), pRow + x * 4, n * 4);
        for (size_t i = 0; i < n; ++i) {
            float fBefore;
            std::memcpy(&fBefore, arrBefore.data() + i * 4, 4);
            if (fBefore != arrNew[i]) std::memcpy(pTo + i * _nStep, arrPacked.data() + i * cb, cb);
        }
    }
}

}  // namespace zr
