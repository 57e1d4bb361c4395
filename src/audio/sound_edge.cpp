#include "audio/sound_edge.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "audio/audio_converter.h"
#include "audio/sample_convert.h"
#include "audio/sound_block.h"
#include "media/aud_props.h"

namespace zr {
namespace {

constexpr int64_t kRampsPerSecond = 200;
constexpr int64_t kMostRamp = 1024;  // samples, of a rate that is out of the ordinary

template <class T>
void GrowTo(std::vector<T>& _arr, size_t _n) {
    if (_arr.size() < _n) _arr.resize(_n);
}

void ToFloat(const ZR_AUD_PROPS& _props, const uint8_t* _p, float* _pTo, size_t _n) {
    ConvertSamples(_props.nBitsPerSample, _p, -32, reinterpret_cast<uint8_t*>(_pTo), _n);
}

}  // namespace

void SoundEdge::Reset() {
    eSounding = eSilent;
    nRisen = nReleased = nRamp;
    nPast = 0;
}

// True: the format is another one.
bool SoundEdge::Restart(const ZR_AUD_PROPS& _props) {
    if (AudSameFormat(_props, props)) return false;
    const ZR_AUD_PROPS before = props;
    const bool bGoesAlong = eSounding == eHeard && nPast > 0;
    props = _props;
    nRamp = std::clamp<int64_t>(props.nSamplesPerSec / kRampsPerSecond, 1, kMostRamp);
    if (bGoesAlong) ConvertPast(before);
    GrowTo(arrPast, static_cast<size_t>(nRamp * AudBlockBytes(props)));
    nRisen = nReleased = nRamp;
    eSounding = nPast > 0 && bGoesAlong ? eHeard : eSilent;
    if (eSounding == eSilent) nPast = 0;
    return true;
}

// What was heard, in the present format; what cannot be converted was not heard.
void SoundEdge::ConvertPast(const ZR_AUD_PROPS& _from) {
    ZR_AUD_PROPS converted = props;
    converted.nChannels = _from.nChannels;
    int64_t nConverted = 0;
    if (Failed(ConvertAlone(_from, arrPast.data(), nPast, converted, arrConverted, &nConverted))) nConverted = 0;
    nPast = std::min(nConverted, nRamp);
    const int64_t nSkipped = nConverted - nPast;
    const SOUND_BLOCK from{converted, arrConverted.data() + nSkipped * AudBlockBytes(converted), nPast};
    SOUND_BLOCK to{props, nullptr, nPast};
    MakeRoom(arrPast, &to);
    for (int32_t c = 0; c < props.nChannels; ++c) CopyChannel(from, c, to, c);
}

void SoundEdge::Remember(const ZR_AUD_PROPS& _props, const uint8_t* _p, int64_t _nSamples) {
    Restart(_props);
    if (_nSamples <= 0) return;
    eSounding = eHeard;
    Keep(_p, _nSamples);
}

void SoundEdge::Join(const ZR_AUD_PROPS& _props, uint8_t* _p, int64_t _nSamples, bool _bRerouted) {
    if (nPast > 0 && (_bRerouted || IsBlending())) {
        Smooth(_props, _p, _nSamples, _nSamples, _bRerouted);
    } else {
        Remember(_props, _p, _nSamples);
    }
}

void SoundEdge::Keep(const uint8_t* _p, int64_t _nSamples) {
    const auto cbBlock = static_cast<size_t>(AudBlockBytes(props));
    const int64_t nNew = std::min(_nSamples, nRamp), nKept = std::min(nPast, nRamp - nNew);
    if (nKept > 0)
        std::memmove(arrPast.data(), arrPast.data() + static_cast<size_t>(nPast - nKept) * cbBlock,
                     static_cast<size_t>(nKept) * cbBlock);
    if (nNew > 0)
        std::memcpy(arrPast.data() + static_cast<size_t>(nKept) * cbBlock,
                    _p + static_cast<size_t>(_nSamples - nNew) * cbBlock, static_cast<size_t>(nNew) * cbBlock);
    nPast = nKept + nNew;
}

float SoundEdge::MirrorAt(int64_t _nSample, size_t _nChannel) const {
    if (nEnd == 0) return 0;
    const int64_t nAt = _nSample % (2 * nEnd);  // a short one is mirrored on
    const int64_t nFrom = nAt < nEnd ? nEnd - 1 - nAt : nAt - nEnd;
    return arrEnd[static_cast<size_t>(nFrom) * static_cast<size_t>(props.nChannels) + _nChannel];
}

// The last sample that was heard.
const uint8_t* SoundEdge::Last() const { return arrPast.data() + (nPast - 1) * AudBlockBytes(props); }

// Whether a sample beside silence is a step.
bool SoundEdge::IsLoud(const uint8_t* _pFrame) {
    const auto nChannels = static_cast<size_t>(props.nChannels);
    GrowTo(arrFloat, nChannels);
    ToFloat(props, _pFrame, arrFloat.data(), nChannels);
    return std::any_of(arrFloat.begin(), arrFloat.begin() + props.nChannels,
                       [&](float _f) { return std::fabs(_f) * static_cast<float>(nRamp) > 1; });
}

// Whether a sample behind the last one that was heard is a step.
bool SoundEdge::Steps(const uint8_t* _pFrame) {
    const auto nChannels = static_cast<size_t>(props.nChannels);
    GrowTo(arrFloat, 2 * nChannels);
    ToFloat(props, _pFrame, arrFloat.data(), nChannels);
    ToFloat(props, Last(), arrFloat.data() + nChannels, nChannels);
    for (size_t c = 0; c < nChannels; ++c)
        if (std::fabs(arrFloat[c] - arrFloat[nChannels + c]) * static_cast<float>(nRamp) > 1) return true;
    return false;
}

void SoundEdge::End() {
    eSounding = eSilent;
    nRisen = 0;
    nReleased = nRamp;
    if (nPast == 0 || !IsLoud(Last())) {
        nPast = 0;
        return;
    }
    const size_t n = static_cast<size_t>(nPast) * static_cast<size_t>(props.nChannels);
    GrowTo(arrEnd, n);
    ToFloat(props, arrPast.data(), arrEnd.data(), n);
    nEnd = nPast;
    nReleased = 0;
}

// Looks for the place where the sound begins.
void SoundEdge::Begin(const uint8_t* _p, int64_t _nSamples) {
    const int64_t cbBlock = AudBlockBytes(props);
    const uint8_t nSilence = SilenceByte(props.nBitsPerSample);
    const auto IsSilence = [nSilence](uint8_t _n) { return _n == nSilence; };
    const uint8_t* const pSound = std::find_if_not(_p, _p + _nSamples * cbBlock, IsSilence);
    const int64_t nSilent = (pSound - _p) / cbBlock;
    eSounding = nSilent == _nSamples ? eWaiting : eHeard;
    if (eSounding == eWaiting) return;
    nRisen = nReleased < nRamp || IsLoud(_p + nSilent * cbBlock) ? -nSilent : nRamp;
}

// Fades in the block, of which at least as much is given as is left of the ramps, and fades out above it.
void SoundEdge::Blend(uint8_t* _p, int64_t _nSamples) {
    const int64_t nBlend = std::min(_nSamples, nRamp - std::min(nRisen, nReleased));
    const auto nChannels = static_cast<size_t>(props.nChannels);
    if (nBlend > 0) {
        const size_t n = static_cast<size_t>(nBlend) * nChannels;
        GrowTo(arrFloat, n);
        ToFloat(props, _p, arrFloat.data(), n);
        const auto fStep = 1.0f / static_cast<float>(nRamp + 1);
        for (int64_t i = 0; i < nBlend; ++i) {
            const auto fIn = static_cast<float>(std::clamp<int64_t>(nRisen + i + 1, 0, nRamp + 1)) * fStep;
            const auto fOut = static_cast<float>(std::max<int64_t>(nRamp - nReleased - i, 0)) * fStep;
            float* const pFrame = arrFloat.data() + static_cast<size_t>(i) * nChannels;
            for (size_t c = 0; c < nChannels; ++c)
                pFrame[c] = pFrame[c] * fIn + (fOut > 0 ? MirrorAt(nReleased + i, c) * fOut : 0.0f);
        }
        ConvertSamples(-32, reinterpret_cast<const uint8_t*>(arrFloat.data()), props.nBitsPerSample, _p, n);
    }
    nRisen = std::min(nRisen + _nSamples, nRamp);
    nReleased = std::min(nReleased + _nSamples, nRamp);
}

int64_t SoundEdge::Smooth(const ZR_AUD_PROPS& _props, uint8_t* _p, int64_t _nSamples, int64_t _nRoom, bool _bBroken) {
    const bool bOther = Restart(_props);
    if (_nSamples > 0) {
        if ((_bBroken || bOther) && eSounding == eHeard && Steps(_p)) End();
        if (eSounding != eHeard) Begin(_p, _nSamples);
        if (eSounding == eHeard || nReleased < nRamp) {
            Blend(_p, _nSamples);
            Keep(_p, _nSamples);
        }
    }
    if (_nSamples >= _nRoom) return _nSamples;
    if (eSounding == eHeard) End();
    eSounding = eSilent;
    const int64_t nTail = std::min(_nRoom - _nSamples, nRamp - nReleased);
    if (nTail <= 0) {
        nPast = 0;
        return _nSamples;
    }
    uint8_t* const pTail = _p + _nSamples * AudBlockBytes(props);
    FillSilence(props.nBitsPerSample, pTail, static_cast<size_t>(nTail * AudBlockBytes(props)));
    Blend(pTail, nTail);
    Keep(pTail, nTail);
    return _nSamples + nTail;
}

}  // namespace zr
