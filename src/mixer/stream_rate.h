#pragma once
// The frame-rate converter of a stream that is pushed: frames of the source's rate become frames of the output's.

#include <cstdint>
#include <vector>

#include "media/slot_picture.h"
#include "zr/records.h"

namespace zr {

struct RATE_SLOT {
    ZR_TIME time;
    SlotPicture ePicture = SlotPicture::Whole;
};

// A function of what it is fed; producer only. It keeps no frame: a frame is shown in none, one or more of the slots of
// the output's line, which begins with the first frame after a break and never runs ahead of the source.
//
// An interlaced frame fills one slot of an interlaced output whole, one of a progressive output with its first field.
// Where it fills more, the first half of them shows its first field and the other half its second, so that nothing
// moves backwards. Progressive frames that come faster than an interlaced output takes them go into its fields: each
// field shows the frame that is on screen when it begins. The frame of a first field whose second is not filled yet is
// to be kept. A frame that has length and place of its slot is shown whole, unless it is live.
class StreamRate {
public:
    // Takes a frame with its time; its format and the output's, of which rate (0: unknown) and field order count.
    // _arrSlots: the slots that it fills, in order, with its flags; none when it is left out. Keeps the list's memory.
    void Put(const ZR_TIME& _time, const ZR_VID_PROPS& _source, const ZR_VID_PROPS& _output,
             std::vector<RATE_SLOT>& _arrSlots);
    // Whether the last frame put is the first field of a slot that the next ones fill.
    bool KeepsFrame() const { return bKeeps; }
    // Whether frames go into fields: the first of two is shown when the second has come.
    bool FillsFields() const { return mode.FillsFields(); }
    // Whether the last frame was shown in more or fewer slots than frames of these rates regularly are.
    bool HasStepped() const { return bStepped; }
    void Reset() {
        bStarted = bOpen = bKeeps = false;
        mode = {};
    }

private:
    struct MODE {
        double dblRate = 0, dblOutputRate = 0;
        int32_t nFields = 0, nOutputFields = 0;  // as of InterlaceClass
        bool operator==(const MODE&) const = default;
        bool FillsFields() const { return zr::FillsFields(nFields, dblRate, nOutputFields, dblOutputRate); }
    };
    int64_t CountSlots(double _dblStart, double _dblPeriod);
    void FillFrames(const ZR_TIME& _time, int64_t _nSlots, double _dblPeriod, std::vector<RATE_SLOT>& _arrSlots);
    void FillFields(const ZR_TIME& _time, int64_t _nFields, double _dblField, std::vector<RATE_SLOT>& _arrSlots);
    void NoteStep(size_t _nSlots);

    double dblPosition = 0;  // ticks, where the next slot or field begins
    MODE mode;
    int32_t nLeftOut = 0;  // frames one after another
    ZR_TIME openTime;      // of the slot whose first field is filled
    bool bOpen = false;    // there is such a slot
    bool bKeeps = false;
    bool bStarted = false;
    bool bStepped = false;
};

}  // namespace zr
