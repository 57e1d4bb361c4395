#include "audio/sound_sum.h"

#include <algorithm>

#include "audio/kernels/gain_row.h"
#include "audio/sample_convert.h"

namespace zr {
namespace {

int16_t* As16(uint8_t* _p) { return reinterpret_cast<int16_t*>(_p); }
uint8_t* AsBytes(float* _p) { return reinterpret_cast<uint8_t*>(_p); }

void GrowTo(std::vector<float>& _arr, size_t _n) {
    if (_arr.size() < _n) _arr.resize(_n);
}

}  // namespace

void SoundSum::Begin(const ZR_AUD_PROPS& _props, uint8_t* _p, int64_t _nSamples) {
    props = _props;
    pSum = _p;
    nSamples = _nSamples;
    bAdded = false;
}

void SoundSum::Add(uint8_t* _p, int64_t _nSamples, const GAIN_RAMP& _ramp) {
    const int64_t nAdded = std::min(_nSamples, nSamples);
    if (nAdded <= 0 || _ramp.IsSilent()) return;
    if (props.nBitsPerSample == 16 && props.nChannels == 2 && _ramp.dblStart != _ramp.dblEnd) {
        const double dblStep = (_ramp.dblEnd - _ramp.dblStart) / static_cast<double>(nAdded);
        AddRampStereo16Row(As16(_p), _ramp.dblStart, dblStep, As16(pSum), static_cast<size_t>(nAdded));
        return;
    }
    gain.Apply(props, _p, nAdded, _ramp);
    const size_t n = static_cast<size_t>(nAdded) * static_cast<size_t>(props.nChannels);
    if (props.nBitsPerSample == 16) {
        AddPcm16Row(As16(_p), As16(pSum), n);
        return;
    }
    const size_t nAll = static_cast<size_t>(nSamples) * static_cast<size_t>(props.nChannels);
    GrowTo(arrSum, nAll);
    GrowTo(arrBlock, n);
    if (!bAdded) ConvertSamples(props.nBitsPerSample, pSum, -32, AsBytes(arrSum.data()), nAll);
    bAdded = true;
    ConvertSamples(props.nBitsPerSample, _p, -32, AsBytes(arrBlock.data()), n);
    AddFloatRow(arrBlock.data(), arrSum.data(), n);
}

void SoundSum::End() {
    if (bAdded) {
        ConvertSamples(-32, AsBytes(arrSum.data()), props.nBitsPerSample, pSum,
                       static_cast<size_t>(nSamples) * static_cast<size_t>(props.nChannels));
    }
    pSum = nullptr;
}

}  // namespace zr
