#pragma once
// What plays one file for the file source: opened, read and positioned by it, implemented by a backend, which registers
// itself under the class id below.

#include <cstdint>

#include "zr/frame.h"
#include "zr/records.h"
#include "zr/text.h"
#include "zr/unknown.h"

namespace zr {

// The worker for whatever a demultiplexing and decoding library opens.
inline constexpr GUID kClsidFileWorkerFFmpeg = GuidOf("A4C61D70-3E58-4F0B-92D7-1B6E05F8C349");

// What was found in an open file.
struct ZR_FILE_INFO {
    double dblDuration = 0;    // seconds; 0: not known, as of a live stream
    ZR_VID_PROPS vidProps;     // of the frames that come; a width of 0: there is no picture
    ZR_AUD_PROPS audProps;     // of the frames that come; 0 channels: there is no sound
    ZR_TIMECODE tcStart;       // of the first frame
    int32_t bTimecode = 0;     // not 0: the file has a time code, and tcStart is it
    int32_t nVideoTracks = 0;  // in the file
    int32_t nAudioTracks = 0;
    int32_t bSeekable = 0;
    int32_t bLive = 0;  // the stream has a clock of its own
};

// One file at a time. Open, FrameGet and Seek come from one thread at a time; Check, Release and Close from any.
//
// Frames come in the order of presentation. Each has a picture, its time from the start of the file in 100 ns, and the
// sound from its start to its end time: to the sample, without gaps, silence where the file has none. A file without
// pictures gives frames of 40 ms of sound. The first frame after Open and Seek has the break flag, the last frame of
// the file the last flag.
struct IZrFileWorker_I : IUnknown {
    static constexpr GUID kIid = GuidOf("D2A8F615-7C30-4E94-B5A1-08E7C9634FD2");

    // For the watch-dog: *_pbFlag is 1 when the worker has moved on since the last look. _pSender: not used, may be
    // null. Waits for nothing.
    virtual HRESULT WorkerCheck(IUnknown* _pSender, int32_t* _pbFlag) = 0;
    // Ends whatever Open, FrameGet or Seek are waiting for; they return E_ABORT. Waits for nothing.
    virtual HRESULT WorkerRelease() = 0;
    // Opens the same file again, at the position it had.
    virtual HRESULT WorkerReset() = 0;
    // Ends the worker's threads and closes the file. Closing a closed worker does nothing.
    virtual HRESULT WorkerClose() = 0;
    // Opens a file or a URL. _bsParam (may be null): an attribute line with keys of the file source, among them
    // "audio_track", "video_track" ("-1": none), "network.buffer_max", "file.buffer_max". _rtMaxWait: ticks to wait at
    // most. ZR_E_NOT_FOUND_FILE, E_ACCESSDENIED, ZR_E_TIMEOUT. ZR_E_INVALID_DATA: nothing that can be played.
    virtual HRESULT WorkerOpen(const char16_t* _bsFile, const char16_t* _bsParam, int64_t _rtMaxWait) = 0;
    // _pbsInfo (may be null): an XML node "info" for the operator, with container, streams, codecs, rates; the caller
    // frees it. ZR_E_NOT_RUNNING: no file is open.
    virtual HRESULT WorkerInfoGet(ZR_FILE_INFO* _pInfo, BSTR* _pbsInfo) = 0;
    // The next frame, which the caller releases, waiting up to _rtMaxWait ticks (negative: without limit).
    // ZR_E_TIMEOUT: not yet. Win32Error(1100): the file has ended. Otherwise what reading or decoding came to.
    virtual HRESULT WorkerFrameGet(int64_t _rtMaxWait, IZrFFrame** _ppFrame) = 0;
    // The next frame is the one shown at _dblPos seconds. Decoding begins _dblPreroll seconds before or at the key
    // frame ahead of it. ZR_E_NOT_SUPPORTED: the file cannot be positioned.
    virtual HRESULT WorkerSeek(double _dblPos, double _dblPreroll) = 0;
    // One sentence in UTF-16 on why the last operation failed, for the operator; the caller frees it.
    virtual HRESULT WorkerErrorGet(BSTR* _pbsError) = 0;

protected:
    ~IZrFileWorker_I() = default;
};

}  // namespace zr
