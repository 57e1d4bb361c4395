#pragma once
// The sound of a file on its time line: decoded pieces go in with their times, any stretch of samples comes out.

#include <cstdint>
#include <deque>
#include <vector>

#include "backends/ffmpeg/av_ptr.h"
#include "zr/records.h"

namespace zr {

// Positions count samples of a channel at 48 kHz from the start of the file. One thread at a time.
class AudioLine {
public:
    static constexpr int kRate = 48000;

    // What comes out: the channels and, 16 or 32, the bits.
    void Init(int _nChannels, int _nBits);
    const ZR_AUD_PROPS& Props() const { return props; }

    // Adds a piece whose first sample belongs to _dblStart seconds; a NaN puts it behind the last one. A time that is
    // off by less than kJitter samples is taken for rounding of the file, and the piece follows without a seam; further
    // ahead is a gap, and what lies behind is cut off. A negative error number of the libraries on failure.
    int Push(const AVFrame& _frame, double _dblStart);
    // Gives out what the resampler holds back: nothing follows.
    int Finish();
    // Forgets all, as after a seek.
    void Reset();

    bool Empty() const { return arrSegments.empty(); }
    // Behind the last sample; 0 when there is none.
    int64_t End() const { return nEnd; }
    // The first sample that is held.
    int64_t Begin() const { return arrSegments.empty() ? nEnd : arrSegments.front().nAt; }
    // Copies [_nFrom, _nTo) interleaved to _pTo, silence where there is nothing, and drops all that lies before _nTo.
    void Cut(int64_t _nFrom, int64_t _nTo, uint8_t* _pTo);
    // Drops what lies before _nFrom.
    void Drop(int64_t _nFrom);

    static constexpr int64_t kJitter = kRate / 25;

private:
    // Samples in a row: nCount of them from byte nOffset of arrBytes on.
    struct SEGMENT {
        int64_t nAt;
        int64_t nCount;
        size_t nOffset;
    };

    int Convert(const uint8_t* const* _ppIn, int _nIn);
    int Prepare(const AVFrame& _frame);
    void Append(int64_t _nSamples);

    ZR_AUD_PROPS props;
    AVSampleFormat eOut = AV_SAMPLE_FMT_S16;
    int nBlock = 0;  // bytes of a sample of all channels
    SwrPtr pResampler;
    AVSampleFormat eIn = AV_SAMPLE_FMT_NONE;  // what pResampler takes
    int nInRate = 0;
    int nInChannels = 0;

    std::deque<SEGMENT> arrSegments;
    std::vector<uint8_t> arrBytes;  // the segments' samples, one behind the other, up to nUsed
    size_t nUsed = 0;
    int64_t nEnd = 0;
    int64_t nToDrop = 0;   // samples that lie behind the line
    bool bPlaced = false;  // nEnd is where the next piece is expected
};

}  // namespace zr
