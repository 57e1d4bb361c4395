#include <ebur128.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <new>

#include "audio/loudness_meter.h"

namespace zr {
namespace {

// The library sums its whole window up at every question, 3 s of it for the short-term loudness. So it is asked for the
// last 100 ms only, every 100 ms, and the longer windows are put together from those.
class Ebur128Engine final : public ILoudnessEngine {
public:
    Ebur128Engine(ebur128_state* _pState, int32_t _nChannels, int32_t _nRate)
        : pState(_pState),
          nChannels(static_cast<size_t>(_nChannels)),
          nPart(static_cast<size_t>(std::max((_nRate + 5) / 10, 1))) {}
    ~Ebur128Engine() override { ebur128_destroy(&pState); }
    Ebur128Engine(const Ebur128Engine&) = delete;
    Ebur128Engine& operator=(const Ebur128Engine&) = delete;

    bool Add(const float* _pSamples, size_t _nSamples) override {
        while (_nSamples > 0) {
            const size_t n = std::min(_nSamples, nPart - nInPart);
            if (ebur128_add_frames_float(pState, _pSamples, n) != EBUR128_SUCCESS) return false;
            _pSamples += n * nChannels;
            _nSamples -= n;
            nInPart += n;
            if (nInPart == nPart) FinishPart();
        }
        return true;
    }

    void Read(LOUDNESS* _pLoudness) override {
        _pLoudness->fMomentary = levels.fMomentary;
        _pLoudness->fShortTerm = levels.fShortTerm;
        _pLoudness->fIntegrated = levels.fIntegrated;
    }

private:
    static constexpr size_t kMomentaryParts = 4, kShortTermParts = 30;
    static constexpr double kOffset = 0.691;  // LUFS are 10 log10(energy) - 0.691

    float OfLast(size_t _nParts) const {
        double dblSum = 0;
        for (size_t i = 0; i < _nParts; ++i) dblSum += arrEnergies[(nAt + kShortTermParts - 1 - i) % kShortTermParts];
        return static_cast<float>(10 * std::log10(dblSum / static_cast<double>(_nParts)) - kOffset);
    }

    void FinishPart() {
        constexpr unsigned long kPartMs = 100;
        nInPart = 0;
        double dblLoudness = 0;
        const bool bRead = ebur128_loudness_window(pState, kPartMs, &dblLoudness) == EBUR128_SUCCESS;
        arrEnergies[nAt] = bRead ? std::pow(10, (dblLoudness + kOffset) / 10) : 0;
        nAt = (nAt + 1) % kShortTermParts;
        levels.fMomentary = OfLast(kMomentaryParts);
        levels.fShortTerm = OfLast(kShortTermParts);
        if (ebur128_loudness_global(pState, &dblLoudness) == EBUR128_SUCCESS)
            levels.fIntegrated = static_cast<float>(dblLoudness);
    }

    ebur128_state* pState;
    const size_t nChannels, nPart;  // samples of each channel in 100 ms
    size_t nInPart = 0;
    std::array<double, kShortTermParts> arrEnergies{};
    size_t nAt = 0;  // where the next energy goes
    LOUDNESS levels;
};

}  // namespace

std::unique_ptr<ILoudnessEngine> MakeLoudnessEngine(int32_t _nChannels, int32_t _nRate) {
    // The histogram keeps the memory of a day's programme as small as that of a minute.
    constexpr int kMode = EBUR128_MODE_M | EBUR128_MODE_I | EBUR128_MODE_HISTOGRAM;
    ebur128_state* pState = ebur128_init(static_cast<unsigned>(_nChannels), static_cast<unsigned long>(_nRate), kMode);
    if (!pState) return nullptr;
    if (_nChannels == 8) {  // the pair at the back, which the library leaves out
        ebur128_set_channel(pState, 6, EBUR128_Mp135);
        ebur128_set_channel(pState, 7, EBUR128_Mm135);
    }
    auto* pEngine = new (std::nothrow) Ebur128Engine(pState, _nChannels, _nRate);
    if (!pEngine) ebur128_destroy(&pState);
    return std::unique_ptr<ILoudnessEngine>(pEngine);
}

}  // namespace zr
