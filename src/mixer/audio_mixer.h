#pragma once
// The sound of an output frame: that of the background, and that of all streams, each by its gain.

#include <cstdint>
#include <string>
#include <vector>

#include "audio/audio_buffer2.h"
#include "audio/sound_sum.h"
#include "framework/statistics_sink.h"
#include "mixer/mixer_stream.h"
#include "zr/frame.h"

namespace zr {

// Mix thread only.
class AudioMixer {
public:
    explicit AudioMixer(IStatisticsSink& _statistics);

    // Mixes into the frame, whose own sound is the background's. _nClock: samples of each channel that the output is
    // due, which it gets when the background has no sound of its own. _rtFrame: duration of an output frame in ticks.
    HRESULT DoMixing_I(IZrFFrame& _frame, const ZR_AUD_PROPS& _output, int64_t _nClock, int64_t _rtFrame,
                       const std::vector<ZrMixerStream*>& _arrStreams);
    // Multiplies the sound of the frame by gains in dB, the one of all channels, or one for each: "-6", "0, -12". From
    // the gains before to new ones it goes in the course of a frame. A text without a number is no gain.
    HRESULT MasterGain(IZrFFrame& _frame, std::u16string_view _gains);
    // What is held of the background is let go.
    void Reset() {
        background.Clear(true);
        arrBefore.clear();
    }

private:
    bool TakeBackground(IZrFFrame& _frame, const ZR_AUD_PROPS& _output);
    void AddStream(ZrMixerStream& _stream, const ZR_AUD_PROPS& _output, int64_t _nSamples, int64_t _rtFrame,
                   bool _bLeaves);

    IStatisticsSink& statistics;
    const IStatisticsSink::Handle nBackgroundReset;
    ZrAudioBuffer2 background;
    SoundSum sum;
    SoundGain gain;
    std::vector<uint8_t> arrBlock;
    std::vector<CAutoObj<ZrMixerStream>> arrBefore;  // the streams of the frame before
    std::u16string gainText;                         // the gains that arrGains are of
    std::vector<double> arrGains;                    // linear; one for all channels, or one each
    std::vector<double> arrGainsBefore;
};

}  // namespace zr
