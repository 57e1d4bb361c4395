#pragma once
// How much sound a frame gets, so that over any length of time there is as much as the rate says.

#include <cstdint>
#include <limits>

#include "platform/ref_object.h"
#include "zr/records.h"

namespace zr {

// Can be a member of its owner or be shared by counted reference. Not guarded: one thread at a time.
class ZrAudioCalc final : public AutoObjBase<ZrAudioCalc> {
public:
    // Forgets the last time and the time that has not become samples yet.
    void Reset() {
        rtLast = kUnset;
        dblCarry = 0;
    }
    // Bytes of the block for the frame of that time, whose flags are those in _time and _eFlags. A break, a step back,
    // or a gap of more than _rtMaxGap ticks (0: any gap is filled) starts the line again at the frame; a smaller gap is
    // filled. An end less than 5 ms behind the start is none: the frame lasts one of 29.97.
    // _pnSamples (may be null): samples of each channel. 0 for a format that no frame can have.
    int64_t SamplesByTime(const ZR_AUD_PROPS& _props, const ZR_TIME& _time, eZrFrameFlags _eFlags, int64_t _rtMaxGap,
                          int64_t* _pnSamples = nullptr);
    // The same for _rtDuration more ticks, at most a day. _bResetCarry: without what earlier calls have left.
    int64_t SamplesByDuration(const ZR_AUD_PROPS& _props, int64_t _rtDuration, int64_t* _pnSamples, bool _bResetCarry);

private:
    static constexpr int64_t kUnset = std::numeric_limits<int64_t>::min();
    int64_t rtLast = kUnset;
    double dblCarry = 0;  // ticks that have not become samples yet
};

}  // namespace zr
