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
    // Measures the sound of the frame as it enters. A frame without sound has no levels.
    void MeasureOriginal(IZrFFrame& _frame) { bOriginal = MeasureFrame(_frame, &original); }
    // Measures it as it leaves, and writes both into the frame.
    HRESULT MeasureOutput(IZrFFrame& _frame);

private:
    static bool MeasureFrame(IZrFFrame& _frame, ChannelMeters* _pMeters);

    ChannelMeters original, output;
    bool bOriginal = false;  // the frame at hand has been measured
};

}  // namespace zr
