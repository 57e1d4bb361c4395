#pragma once
// The levels of the sound of an output frame, as the frame carries them: before the gains and after them.

#include "audio/channel_meters.h"
#include "platform/status.h"
#include "zr/frame.h"

namespace zr {

// Mix thread only.
class FrameLevels {
public:
    // Whether the loudness after the gains is measured too.
    void LoudnessSet(bool _bOn) { output.LoudnessSet(_bOn); }
    // Measures the sound of the frame as it leaves, and writes that and its levels before into the frame. S_FALSE: it
    // has no sound.
    HRESULT MeasureOutput(IZrFFrame& _frame, const ZR_AUDIO_LOUDNESS& _original);

private:
    static bool MeasureFrame(IZrFFrame& _frame, ChannelMeters* _pMeters);

    ChannelMeters output;
};

}  // namespace zr
