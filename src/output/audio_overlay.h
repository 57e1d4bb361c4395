#pragma once
// The sound of a frame drawn onto its picture: level meters and the waveform.

#include <vector>

#include "audio/channel_meters.h"
#include "audio/sound_block.h"
#include "video/fill.h"
#include "video/picture.h"
#include "zr/frame.h"

namespace zr {

// One thread at a time. Memory only grows.
class AudioOverlay {
public:
    // Takes the sound that the next calls draw. False: the frame has no picture or no sound, and nothing is to be
    // drawn.
    bool Listen(IZrFFrame& _frame);
    // A bar for each channel, from a tenth of the picture's height to nine tenths, on darkened ground: the RMS of the
    // frame's sound from -60 dB to 0 dB, where a full-scale sine reads 0; yellow from -20 dB on, red from -9 dB.
    // _dblPos: where the left edge stands, as a share of the width, below 0 from the right edge.
    // kTypeNotAccepted: a pixel format that no colour can be written in; nothing is drawn.
    HRESULT DrawMeters(IZrFFrame& _frame, double _dblPos, const FILL_COLOUR& _colour);
    // The course of the frame's sound, of all channels the highest and lowest sample of each stretch, in a strip of a
    // fifth of the height and eight tenths of the width. _dblPos: where the upper edge stands, as a share of the
    // height, below 0 from the lower edge.
    HRESULT DrawWaveform(IZrFFrame& _frame, double _dblPos);

private:
    struct RANGE {
        float fLeast = 0, fMost = 0;
    };
    RANGE RangeOf(int64_t _nFirst, int64_t _nEnd) const;

    SOUND_BLOCK sound;  // of the frame that was listened to; good as long as that is
    ChannelMeters meters;
    std::vector<float> arrSamples;  // of the waveform, interleaved
};

}  // namespace zr
