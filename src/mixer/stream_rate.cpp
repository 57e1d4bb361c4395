#include "mixer/stream_rate.h"

#include <algorithm>
#include <cmath>

#include "media/frame_time.h"
#include "media/vid_props.h"

namespace zr {
namespace {

constexpr double kTolerance = 10'000;       // ticks that a frame may be off its slot
constexpr double kLargestGap = 20'000'000;  // 2 s: what jumps further goes on from there, as after a break
constexpr uint32_t kDupBits = 0x31;

// One that begins a new line: a repeat is none, and neither is the end of a paused source.
bool IsBreak(eZrFrameFlags _eFlags) {
    const bool bLastPause = (_eFlags & eZrFF_Last) && (_eFlags & eZrFF_Pause) == eZrFF_Pause;
    return (_eFlags & kDupBits) == eZrFF_Break && !bLastPause;
}

int64_t Round(double _dbl) { return static_cast<int64_t>(std::round(_dbl)); }

}  // namespace

void StreamRate::Put(const ZR_TIME& _time, const ZR_VID_PROPS& _source, const ZR_VID_PROPS& _output,
                     std::vector<RATE_SLOT>& _arrSlots) {
    _arrSlots.clear();
    bStepped = false;
    const auto dblStart = static_cast<double>(_time.rtStartTime);
    const MODE modeNow{_source.dblRate, _output.dblRate, InterlaceClass(&_source), InterlaceClass(&_output)};
    const bool bFar = std::fabs(dblStart - dblPosition) > kLargestGap;
    if (modeNow != mode || IsBreak(_time.eFFlags) || bFar) Reset();
    bKeeps = false;
    mode = modeNow;

    const double dblPeriod = mode.dblOutputRate > 0 ? FrameDurationOfRate(mode.dblOutputRate).dblExact : 0;
    const auto dblFrame = static_cast<double>(_time.rtEndTime - _time.rtStartTime);
    const bool bSameRate = std::fabs(mode.dblRate - mode.dblOutputRate) <= kSameFrameRate &&
                           (dblFrame <= 0 || std::fabs(dblFrame - dblPeriod) <= kTolerance) &&
                           !(_time.eFFlags & eZrFF_Live);
    if (dblPeriod < 1 || bSameRate) {
        _arrSlots.push_back({_time});
        dblPosition = static_cast<double>(_time.rtEndTime);
        bStarted = true;
        return;
    }
    if (!bStarted) dblPosition = dblStart;
    if (mode.FillsFields()) {
        FillFields(_time, CountSlots(dblStart, dblPeriod / 2), dblPeriod / 2, _arrSlots);
    } else {
        FillFrames(_time, CountSlots(dblStart, dblPeriod), dblPeriod, _arrSlots);
    }
    NoteStep(_arrSlots.size());
    bStarted = true;
}

// How many slots or fields of a length have begun, up to the start of the frame.
int64_t StreamRate::CountSlots(double _dblStart, double _dblPeriod) {
    const double dblLate = _dblStart - dblPosition;
    int64_t nSlots = 0;
    if (std::fabs(dblLate) <= kTolerance) {
        nSlots = 1;
    } else if (dblLate > 0) {
        // Only what has begun: a line that ran ahead would leave out the next frame, and so on in turn.
        nSlots = static_cast<int64_t>((dblLate + kTolerance) / _dblPeriod) + 1;
    }
    // More than the rates explain: the source's clock stands or goes back, and its line goes on from here.
    if (nSlots == 0 && ++nLeftOut > std::max(std::ceil(mode.dblRate / mode.dblOutputRate), 1.0)) {
        dblPosition = _dblStart;
        nSlots = 1;
    }
    if (nSlots > 0) nLeftOut = 0;
    return nSlots;
}

void StreamRate::FillFrames(const ZR_TIME& _time, int64_t _nSlots, double _dblPeriod,
                            std::vector<RATE_SLOT>& _arrSlots) {
    const bool bFields = ShowsFields(mode.nFields, mode.nOutputFields, _nSlots > 1);
    const int64_t nFirstHalf = (_nSlots + 1) / 2;
    for (int64_t n = 0; n < _nSlots; ++n) {
        RATE_SLOT& slot = _arrSlots.emplace_back(RATE_SLOT{_time});
        slot.time.rtStartTime = Round(dblPosition);
        dblPosition += _dblPeriod;
        slot.time.rtEndTime = Round(dblPosition);
        if (bFields) slot.ePicture = n < nFirstHalf ? SlotPicture::FirstField : SlotPicture::SecondField;
    }
}

// A slot is given out when its second field is filled. What it says of itself is what its first frame said.
void StreamRate::FillFields(const ZR_TIME& _time, int64_t _nFields, double _dblField,
                            std::vector<RATE_SLOT>& _arrSlots) {
    for (int64_t n = 0; n < _nFields; ++n) {
        if (!bOpen) {
            openTime = _time;
            openTime.rtStartTime = Round(dblPosition);
            bKeeps = true;
        }
        dblPosition += _dblField;
        bOpen = !bOpen;
        if (bOpen) continue;
        RATE_SLOT& slot = _arrSlots.emplace_back(RATE_SLOT{openTime});
        slot.time.rtEndTime = Round(dblPosition);
        slot.ePicture = bKeeps ? SlotPicture::Whole : SlotPicture::Woven;
        bKeeps = false;
    }
}

void StreamRate::NoteStep(size_t _nSlots) {
    if (!bStarted || mode.dblRate <= 0) return;
    const double dblRegular = mode.dblOutputRate / mode.dblRate;
    const auto dblSlots = static_cast<double>(_nSlots);
    bStepped = dblSlots < std::floor(dblRegular + kSameFrameRate) || dblSlots > std::ceil(dblRegular - kSameFrameRate);
}

}  // namespace zr
