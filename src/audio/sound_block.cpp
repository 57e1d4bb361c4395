#include "audio/sound_block.h"

#include <cstring>

#include "audio/kernels/channel_row.h"
#include "audio/sample_convert.h"
#include "media/aud_props.h"

namespace zr {
namespace {

template <size_t kBytes>
void Copy(const uint8_t* _pFrom, size_t _cbStepFrom, uint8_t* _pTo, size_t _cbStepTo, size_t _nSamples) {
    for (size_t i = 0; i < _nSamples; ++i) std::memcpy(_pTo + i * _cbStepTo, _pFrom + i * _cbStepFrom, kBytes);
}

}  // namespace

SOUND_BLOCK SoundOf(IZrFFrame& _frame) {
    ZRF_FRAME_INFO info;
    if (Failed(_frame.ZrFAllGet(&info))) return {};
    const ZR_AUD_PROPS& props = info.avProps.audProps;
    if (!AudUsable(props) || info.lpAudio == 0 || info.cbAudio < AudBlockBytes(props)) return {};
    return {props, reinterpret_cast<uint8_t*>(info.lpAudio), info.cbAudio / AudBlockBytes(props)};
}

void CopyChannel(size_t _cbSample, const uint8_t* _pFrom, size_t _cbStepFrom, uint8_t* _pTo, size_t _cbStepTo,
                 size_t _nSamples) {
    if (_cbStepTo == _cbSample) return TakeChannelRow(_cbSample, _pFrom, _cbStepFrom, _pTo, _nSamples);
    switch (_cbSample) {
        case 1: return Copy<1>(_pFrom, _cbStepFrom, _pTo, _cbStepTo, _nSamples);
        case 2: return Copy<2>(_pFrom, _cbStepFrom, _pTo, _cbStepTo, _nSamples);
        case 3: return Copy<3>(_pFrom, _cbStepFrom, _pTo, _cbStepTo, _nSamples);
        case 4: return Copy<4>(_pFrom, _cbStepFrom, _pTo, _cbStepTo, _nSamples);
        default: return;
    }
}

void CopyChannel(const SOUND_BLOCK& _from, int32_t _nFrom, const SOUND_BLOCK& _to, int32_t _nTo) {
    const uint8_t n = SilenceByte(_to.props.nBitsPerSample), arrSilence[4] = {n, n, n, n};
    const auto cb = static_cast<size_t>(AudBytesPerSample(_to.props.nBitsPerSample));
    const bool bThere = _nFrom >= 0 && _nFrom < _from.props.nChannels;
    const uint8_t* const pFrom = bThere ? _from.p + static_cast<size_t>(_nFrom) * cb : arrSilence;
    const auto cbStep = bThere ? static_cast<size_t>(AudBlockBytes(_from.props)) : 0;
    CopyChannel(cb, pFrom, cbStep, _to.p + static_cast<size_t>(_nTo) * cb,
                static_cast<size_t>(AudBlockBytes(_to.props)), static_cast<size_t>(_to.nSamples));
}

void MakeRoom(std::vector<uint8_t>& _arr, SOUND_BLOCK* _pBlock) {
    const auto cb = static_cast<size_t>(AudBlockBytes(_pBlock->props) * _pBlock->nSamples);
    if (_arr.size() < cb) _arr.resize(cb);
    _pBlock->p = _arr.data();
}

}  // namespace zr
