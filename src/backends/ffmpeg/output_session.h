#pragma once
// One output from its first frame to its end: encoders, container, and the one time line that all of it stands on.

#include <cstdint>
#include <string>

#include "backends/ffmpeg/encoder.h"
#include "backends/ffmpeg/muxer.h"
#include "zr/frame.h"
#include "zr/records.h"

namespace zr {

// Pictures stand at a fixed rate, which the first frame names, whatever breaks and holds the times of the frames have:
// a frame takes as many places as its duration fills, and sound follows from sample to sample. One thread at a time.
class OutputSession {
public:
    explicit OutputSession(Interrupt& _interrupt) : muxer(_interrupt) {}

    HRESULT Open(const std::string& _strPath, const OUTPUT_OPTIONS& _options);
    // What the sender says it sends: the tracks that the first frame is looked at for.
    void Expect(const ZR_VID_PROPS& _vidProps, const ZR_AUD_PROPS& _audProps);
    // S_FALSE: left out, as there is no picture yet.
    HRESULT Encode(IZrFFrame& _frame);
    // Frames that were lost on the way keep their place: the picture before them stands on, their sound is silence.
    void Skip(int64_t _rtLength);
    // Writes what the encoders hold, and the end of the file. _hr: the first failure, after which only the end is.
    HRESULT Finish(HRESULT _hr);

    int64_t Pictures() const { return nPictures; }
    int64_t Samples() const { return audio.IsOpen() ? audio.Taken() : nSamplesAtEnd; }
    int64_t Bytes() const { return muxer.Bytes(); }
    const std::string& Error() const { return muxer.Error(); }

private:
    HRESULT Begin(IZrFFrame& _frame);
    double PlacesOf(int64_t _rtLength) const;
    HRESULT EncodeSound(IZrFFrame& _frame, const ZR_AUD_PROPS& _audProps);
    int64_t SamplesUpTo(double _dblPlaces) const;

    Muxer muxer;
    VideoEncoder video{muxer};
    AudioEncoder audio{muxer};
    OUTPUT_OPTIONS options;
    ZR_VID_PROPS vidExpected;
    ZR_AUD_PROPS audExpected;
    bool bBegun = false;
    double dblPlaces = 0;  // of pictures on the line so far; whole numbers for frames of the rate
    int64_t nPictures = 0;
    int64_t nSamplesAtEnd = 0;
};

}  // namespace zr
