#pragma once
// Effects on the level of a track's output: a compressor and an amplifier that keeps the peaks at full scale.

#include <array>
#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

#include "platform/ref_object.h"
#include "platform/status.h"
#include "zr/records.h"

namespace zr {

class XMLNodeBase;

namespace ZrAudioProcessor {

// One thread at a time, but the count. Works on interleaved samples in place.
class AudioEffectBase : public UnknownImpl<IUnknown> {
public:
    // Reads the parameters; one without a value, or with one that cannot be, keeps what it was.
    virtual void ReadParameters(const XMLNodeBase& _node) = 0;
    // _nSamples samples of each channel, 8-bit with offset, 16, 32-bit or -32 (float); others are left unchanged, as
    // is a block of no samples. Another rate or number of channels begins anew. E_OUTOFMEMORY: nothing was done. All
    // else is S_OK. Nothing is allocated but for a longer block or another format than before.
    HRESULT Process(const ZR_AUD_PROPS& _props, uint8_t* _pSamples, size_t _nSamples);

protected:
    // For a new format: room for the state of all channels, gains at 1. May throw std::bad_alloc.
    virtual void Begin(size_t _nChannels, int32_t _nRate) = 0;
    // The block as interleaved floats of full scale 1, in place.
    virtual void Run(float* _pSamples, size_t _nSamples) = 0;

private:
    int32_t nChannelsBegun = 0, nRateBegun = 0;
    std::vector<float> arrFloats;  // the block of 8 or 16 or 32 bits
};

// Brings down what is louder than a threshold. Each channel goes by its own level:
//   e = sqrt(2 x mean of the squares over the window), so that a sine reads its peak;
//   target = (threshold / e) ^ (1 - 1 / ratio) when e is above the threshold, else 1;
//   gain += coefficient x (target - gain), that of the attack above the threshold, of the decay else;
//   out = x * gain * make-up, limited to full scale.
// A coefficient is 1 - exp(-ln(10) / (time x rate)): 90 % of the way in the time.
class CCompressor final : public AudioEffectBase {
public:
    // A new one, empty when memory is out.
    static CAutoObj<CCompressor> Make() { return CAutoObj<CCompressor>::Attach(new (std::nothrow) CCompressor); }

    // Keys: attack_time and decay_time in s (0.05, 0.5), threshold_db (-12), ratio (2), gain_db (0), window_time in s
    // (0.02, at most 1).
    void ReadParameters(const XMLNodeBase& _node) override;
    // Whether the channel's last sample was above the threshold.
    bool Compressing(size_t _nChannel) const { return _nChannel < arrChannels.size() && arrChannels[_nChannel].bOn; }

private:
    struct CHANNEL {
        double dblGain = 1;
        double dblSum = 0;    // of the squares in the window
        double dblFresh = 0;  // of those since the window's place 0, to replace the sum, with its roundings, there
        size_t nAt = 0;       // place in the window
        bool bOn = false;
        std::vector<float> arrSquares;
    };

    void Begin(size_t _nChannels, int32_t _nRate) override;
    void Run(float* _pSamples, size_t _nSamples) override;
    void SetUp();
    // The square of e for each sample.
    static void StepWindow(CHANNEL* _pChannel, const float* _pSamples, float* _pLevels, size_t _nSamples);
    void StepGain(CHANNEL* _pChannel, const float* _pLevels, float* _pGains, size_t _nSamples) const;

    // As the keys have them.
    struct PARAMETERS {
        double dblAttackTime = 0.05, dblDecayTime = 0.5, dblThresholdDb = -12, dblRatio = 2, dblGainDb = 0;
        double dblWindowTime = 0.02;
        bool operator==(const PARAMETERS&) const = default;
    };
    PARAMETERS parameters;
    // What follows from them at the rate.
    double dblAttack = 0, dblDecay = 0;
    float fLimit = 0, fExponent = 0, fMakeUp = 1;  // on e squared
    int32_t nRate = 0;
    std::vector<CHANNEL> arrChannels;
};

// Amplifies so that the peak of the block, over all channels, comes to full scale. The gain goes to
// min(1 / peak, max_amplification) in a straight line: each sample by (wanted - gain at the block's start) / samples of
// the time, of the attack when it falls and of the release when it rises, and no further than wanted.
class CDynamicAmplify final : public AudioEffectBase {
public:
    // A new one, empty when memory is out.
    static CAutoObj<CDynamicAmplify> Make() {
        return CAutoObj<CDynamicAmplify>::Attach(new (std::nothrow) CDynamicAmplify);
    }

    // Keys: attack_time and release_time in ms (1000, 3000), max_amplification as a factor (10000).
    void ReadParameters(const XMLNodeBase& _node) override;
    double Gain() const { return dblGain; }

private:
    void Begin(size_t _nChannels, int32_t _nRate) override;
    void Run(float* _pSamples, size_t _nSamples) override;

    double dblAttackTime = 1000, dblReleaseTime = 3000, dblMaxAmplification = 10000;
    double dblGain = 1;
    size_t nChannels = 0;
    int32_t nRate = 0;
};

}  // namespace ZrAudioProcessor
}  // namespace zr
