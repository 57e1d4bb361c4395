#pragma once
// A continuous time line out of the times of frames, whatever breaks those have.

#include <cstdint>

namespace zr {

// Times in thirds of a 100 ns tick. The periods of the common rates (23.976, 24, 29.97, 30, 59.94, 60, 119.88, ...) are
// whole numbers of thirds, so a line that counts them stays exact for ever; a rounded period would lose a frame in
// hours.
using Thirds = int64_t;

// 1/3 and 2/3 round to the nearest tick; there is no half.
constexpr int64_t TicksFromThirds(Thirds _n) { return (_n >= 0 ? _n + 1 : _n - 1) / 3; }
// _dblTicks: a duration. Not a number and below 0 give 0; above 10 days give 10 days.
Thirds ThirdsFromDuration(double _dblTicks);

// Gives each frame its position on a line that starts at 0 and advances by the frames' durations. Small steps in the
// frames' own times are followed; a gap beyond the limit, forwards or backwards, is taken as a new origin and leaves no
// trace. A function of its inputs; used under its owner's lock.
class TimeNormaliser {
public:
    // Takes the next frame and returns its position. _rtStart: its start, any value. _nDuration: as of
    // ThirdsFromDuration. _rtGapLimit: the largest difference, in ticks, between the end of the last frame and this
    // start that is followed; 0 or more.
    Thirds Step(int64_t _rtStart, Thirds _nDuration, int64_t _rtGapLimit);
    // Where the next frame is expected: the total length of the line.
    Thirds Next() const { return nNext; }
    void Reset() { *this = TimeNormaliser(); }

private:
    bool bStarted = false;
    int64_t rtLastStart = 0;
    Thirds nFrameTime = 0;  // the last frame's own time on the line, before its rounding was taken out
    Thirds nNext = 0;
};

}  // namespace zr
