#pragma once
// Frames of any rate, or of none, become frames of one rate: for each output slot the picture that is on screen when it
// begins, shown again or left out, and exactly the sound of the slot. Fields count as well: each field of an interlaced
// output shows the frame, and each slot the field, that is on screen when it begins (see media/slot_picture.h).

#include <cstdint>
#include <vector>

#include "audio/sample_queue.h"
#include "framework/time_normaliser.h"
#include "media/slot_picture.h"
#include "platform/clock.h"
#include "platform/status.h"
#include "zr/frame.h"
#include "zr/ptr.h"
#include "zr/records.h"

namespace zr {

// The exact length of a frame of a rate; 25 frames a second for a rate that is not above 0.
Thirds PeriodOfRate(double _dblRate);

// How many samples come before a time, rounded to the nearest: counts from it neither lose nor double a sample,
// however long they go on.
int64_t SamplesBefore(Thirds _nTime, int32_t _nSamplesPerSec);

// A function of what it is fed; one thread at a time. Positions are exact: slot n of a run begins n periods after the
// run's first frame, also after days.
//
// A frame that fills its slot as it is goes through untouched. Others give a reference clone of the picture, or a new
// one where fields are taken apart or put together, and a copy of the sound. The first frame of a run has the break
// flag, a picture shown again the dup flag, the last frame of the media the last flag. Pictures that cannot be on
// screen when a slot begins are let go at once.
class FrameRateStep {
public:
    struct INPUT {
        bool bJoin = false;      // the frame follows on the last one whatever its time: a loop without a break
        int64_t rtOut = kNever;  // media time at which playing ends; the rest of the frame is cut off
    };

    // Frames a second of the output, above 0, and how fast the media passes, above 0: 1.0 as recorded. At another speed
    // there is silence in the place of sound. _nFields: of the output, as of InterlaceClass. Holds from the next slot
    // on; the time line goes on.
    void SetRate(double _dblRate, double _dblSpeed, int32_t _nFields = 0);
    // Forgets everything but the rate; the next frame begins a run.
    void Reset();

    // Takes a frame of a worker: a picture, its time, and the sound of that time. A frame with a break of its own
    // begins a new run. The frame belongs to the step from here on. The frame's failure, or E_OUTOFMEMORY.
    HRESULT Put(IZrFFrame* _pFrame, const INPUT& _input);
    // There is no frame after those that were put. _bMarkLast: the last output frame has the last flag.
    void PutEnd(bool _bMarkLast = true) {
        bEnded = true;
        bMarkLast = _bMarkLast;
    }
    bool IsEnded() const { return bEnded; }

    // The next frame of the output. S_FALSE: another input frame is needed first. Win32Error(1100): all were given.
    // The frame's failure, or E_OUTOFMEMORY.
    HRESULT Get(ZrPtr<IZrFFrame>* _ppFrame);

    // Media time of the last frame given, in ticks; with joins, the time in the pass it belongs to.
    int64_t MediaTime() const { return rtMediaTime; }

private:
    struct SHOWN {
        ZrPtr<IZrFFrame> pFrame;
        Thirds nStart = 0;   // on the source line
        Thirds nOffset = 0;  // source line less media time
        Thirds nEnd = 0;     // on the source line, by its own time
        double dblRate = 0;  // its own
        int32_t nFields = 0;
        eZrFrameFlags eFlags = eZrFF_None;
        bool bGiven = false;
    };
    // Both lines are in thirds and go on through joins and changes of rate.
    Thirds OutAt(int64_t _nSlot) const { return nOutBase + _nSlot * nPeriod; }
    Thirds SourceAt(int64_t _nSlot) const { return SourceAtField(2 * _nSlot); }
    Thirds SourceAtField(int64_t _nField) const;  // slot n begins with field 2 n
    Thirds Tolerance() const;
    bool IsAtSpeed() const { return dblSpeed == 1.0; }

    void BeginRun(Thirds _nStart);
    void KeepPicture(SHOWN _picture);
    bool IsEverShown(Thirds _nFrom, Thirds _nTo, int64_t _nFieldStep) const;
    bool IntoFields(const SHOWN& _picture) const {
        return FillsFields(_picture.nFields, _picture.dblRate, nFields, dblRate);
    }

    void PutSound(const ZRF_FRAME_INFO& _info, Thirds _nStart, Thirds _nEnd, bool _bCut, bool _bJoin);
    void RestartSound(const ZR_AUD_PROPS& _props);
    bool HasSound() const { return audProps.nChannels > 0; }
    int64_t SamplesOfSlot() const;
    int64_t SampleAt(Thirds _nTime) const;

    bool IsWhole(const ZRF_FRAME_INFO& _info, Thirds _nStart, Thirds _nEnd) const;
    void QueueWhole();

    bool HasInput() const;
    SHOWN& Choose();
    SHOWN& ChooseSecond();
    SlotPicture FieldOf(const SHOWN& _picture) const;
    HRESULT TakeSlotPicture(SlotPicture _ePicture, const SHOWN& _first, const SHOWN& _second, IZrFFrame& _frame) const;
    HRESULT Stamp(IZrFFrame& _frame, const SHOWN& _picture, bool _bRepeat, bool _bLast) const;
    void TakeSound(IZrFFrame& _frame);

    double dblRate = 25.0;
    double dblSpeed = 1.0;
    int32_t nFields = 0;  // of the output
    Thirds nPeriod = 1'200'000;

    bool bStarted = false;
    bool bEnded = false;
    bool bMarkLast = true;
    bool bLastGiven = false;
    bool bFirst = false;  // the next frame is the first of a run
    int64_t nSlot = 0;    // the next one, counted from the bases
    Thirds nOutBase = 0;
    Thirds nSourceBase = 0;
    Thirds nOffset = 0;     // source line less media time, of the frames that come
    Thirds nInputEnd = 0;   // on the source line
    Thirds nFrameTime = 0;  // of the last input frame
    int64_t rtMediaTime = 0;

    std::vector<SHOWN> arrPictures;  // in order: what is on screen, then what will be
    bool bWhole = false;             // the last picture fills the next slot as it is, its sound is not queued

    ZR_AUD_PROPS audProps;
    SampleQueue samples;
    int64_t nTaken = 0;  // the sample of the source line that stands first in the queue
    int64_t nGiven = 0;  // the sample of the output line that the next slot begins with
};

}  // namespace zr
