#include <ebur128.h>

#include <cmath>
#include <new>

#include "audio/loudness_meter.h"

namespace zr {
namespace {

class Ebur128Engine final : public ILoudnessEngine {
public:
    Ebur128Engine(ebur128_state* _pState, int32_t _nChannels) : pState(_pState), nChannels(_nChannels) {}
    ~Ebur128Engine() override { ebur128_destroy(&pState); }
    Ebur128Engine(const Ebur128Engine&) = delete;
    Ebur128Engine& operator=(const Ebur128Engine&) = delete;

    bool Add(const float* _pSamples, size_t _nSamples) override {
        return ebur128_add_frames_float(pState, _pSamples, _nSamples) == EBUR128_SUCCESS;
    }

    void Read(LOUDNESS* _pLoudness) override {
        double dblValue = 0;
        if (ebur128_loudness_momentary(pState, &dblValue) == EBUR128_SUCCESS)
            _pLoudness->fMomentary = static_cast<float>(dblValue);
        if (ebur128_loudness_shortterm(pState, &dblValue) == EBUR128_SUCCESS)
            _pLoudness->fShortTerm = static_cast<float>(dblValue);
        if (ebur128_loudness_global(pState, &dblValue) == EBUR128_SUCCESS)
            _pLoudness->fIntegrated = static_cast<float>(dblValue);
        double dblPeak = 0;
        for (int32_t i = 0; i < nChannels; ++i)
            if (ebur128_prev_true_peak(pState, static_cast<unsigned>(i), &dblValue) == EBUR128_SUCCESS)
                dblPeak = std::fmax(dblPeak, dblValue);
        _pLoudness->fTruePeak = static_cast<float>(20 * std::log10(dblPeak));
    }

private:
    ebur128_state* pState;
    const int32_t nChannels;
};

}  // namespace

std::unique_ptr<ILoudnessEngine> MakeLoudnessEngine(int32_t _nChannels, int32_t _nRate) {
    // The histogram keeps the memory of a day's programme as small as that of a minute.
    constexpr int kMode =
        EBUR128_MODE_M | EBUR128_MODE_S | EBUR128_MODE_I | EBUR128_MODE_TRUE_PEAK | EBUR128_MODE_HISTOGRAM;
    ebur128_state* pState = ebur128_init(static_cast<unsigned>(_nChannels), static_cast<unsigned long>(_nRate), kMode);
    if (!pState) return nullptr;
    if (_nChannels == 8) {  // the pair at the back, which the library leaves out
        ebur128_set_channel(pState, 6, EBUR128_Mp135);
        ebur128_set_channel(pState, 7, EBUR128_Mm135);
    }
    auto* pEngine = new (std::nothrow) Ebur128Engine(pState, _nChannels);
    if (!pEngine) ebur128_destroy(&pState);
    return std::unique_ptr<ILoudnessEngine>(pEngine);
}

}  // namespace zr
