#pragma once
// Writing what an object sends to a file or a network stream.

#include <cstdint>

#include "zr/text.h"
#include "zr/unknown.h"

namespace zr {

// The writer: IZrWriter.
inline constexpr GUID kClsidZrWriter = GuidOf("1F0A3D5C-86E4-4B7B-A0D9-F35C2E917B64");

// What was written so far.
struct ZR_WRITER_STATE {
    int64_t nFrames = 0;   // pictures encoded
    int64_t nSamples = 0;  // audio samples of each channel encoded
    int64_t nDropped = 0;  // frames that came too fast for a live output and were left out
    int64_t nBytes = 0;    // handed to the file or the network
    int32_t hrResult = 0;  // the first failure; frames after it are not taken
    int32_t bWriting = 0;  // not 0 from the first frame to WriterStop
};

// Encodes and multiplexes the frames of one sender at a time. A writer that is not live holds the sender back until it
// can take the next frame, so that nothing is lost. Any thread; the calls wait for each other.
struct IZrWriter : IUnknown {
    static constexpr GUID kIid = GuidOf("5D94E1B2-0C7F-4A68-93E5-7A1F60B8D42C");

    // Where to: a path or a URL. The kind of file follows from its ending (mp4, mkv, mov, ts, nut, m3u8, raw, ...),
    // from the protocol of the URL, or from "format". _bsParam (may be null), an attribute line:
    //   "format", "video.codec" (h264 where the kind takes it), "audio.codec" (aac likewise): names of the libraries,
    //     of a codec or of one encoder;
    //   "video.bitrate", "audio.bitrate": bits a second, as in "8M" or "192k";
    //   "format.options", "video.options", "audio.options": options of muxer and encoders as in
    //     video.options='preset=slow:crf=18:pix_fmt=yuv422p';
    //   "live" (true for a URL): frames are left out rather than the sender held back;
    //   "frames": how many are taken; then the writer has ended and leaves its sender.
    // The output is made and opened here; encoders are, with the first frame, which names the size and the rate.
    // Results: the system's error for what cannot be made. E_INVALIDARG: no such kind of file, codec, option or key.
    virtual HRESULT WriterOpen(const char16_t* _bsPath, const char16_t* _bsParam) = 0;
    // Connects to an object of the family, whose frames are written from now on. _bsParam (may be null): the parameters
    // of the channel, such as "rate_control=1".
    // E_NOINTERFACE: the object does not send. ZR_E_WRONG_STATE: nothing is open, or a sender is there.
    virtual HRESULT WriterStart(IUnknown* _pSource, const char16_t* _bsParam) = 0;
    // Disconnects, writes what the encoders hold and the end of the file, and closes it. The result is the first
    // failure of the whole run. Stopping a stopped writer gives S_FALSE.
    virtual HRESULT WriterStop() = 0;
    virtual HRESULT WriterStateGet(ZR_WRITER_STATE* _pState) = 0;
    // One sentence on the first failure, or null; the caller frees it.
    virtual HRESULT WriterErrorGet(BSTR* _pbsError) = 0;

protected:
    ~IZrWriter() = default;
};

}  // namespace zr
