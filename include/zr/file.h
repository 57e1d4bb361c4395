#pragma once
// Playing: file name, in and out points, position, play, pause, stop, rate. A file source has all of it; on a mixer the
// play operations and the state are the mixer's own, and the rest goes to its background.

#include <cstdint>

#include "zr/enums.h"
#include "zr/frame.h"
#include "zr/records.h"
#include "zr/text.h"
#include "zr/unknown.h"

namespace zr {

// Any thread; the calls on one object wait for each other. Times are seconds from the start of the file. Preroll is how
// many seconds before the position decoding begins: 0.5 to 3.0 lands exactly in files with few key frames.
struct IZrFile : IUnknown {
    static constexpr GUID kIid = GuidOf("A568ABC4-3DFE-408F-861B-DFE1F822AF27");

    // What to play: a file, a URL, a picture, or a test signal such as "bars" or "black". _bsParam (may be null):
    // attributes, among them "in" and "out" in seconds, "loop", "eof_stop", and "change_type", which says how it takes
    // over: "normal" at once, "replace" new attributes for the present file. E_NOTIMPL so far: "next" after the present
    // file and opened ahead, "next_no_cache" opened late, "break" at once with the present file going on afterwards.
    virtual HRESULT FileNameSet(const char16_t* _bsFile, const char16_t* _bsParam) = 0;
    // The name of the present file; the caller frees it. E_POINTER: _pbsFile is null.
    virtual HRESULT FileNameGet(BSTR* _pbsFile) = 0;
    // First and last point to play. An out point below the in point means none; a negative one when the file is set
    // by name ("out=-5") counts from the end.
    virtual HRESULT FileInOutSet(double _dblIn, double _dblOut) = 0;
    // The points as set, and the length of the whole file. An out point below the in point means none. The length of a
    // file that is still being written grows from call to call.
    virtual HRESULT FileInOutGet(double* _pdblIn, double* _pdblOut, double* _pdblDuration) = 0;
    // Goes to a position, playing or not. The first frame from there has the break flag.
    virtual HRESULT FilePosSet(double _dblPos, double _dblPreroll) = 0;
    // The position of the last frame sent.
    virtual HRESULT FilePosGet(double* _pdblFilePos) = 0;
    // Plays, or goes on after a pause; opens and starts the object first where needed. On failure the object is
    // stopped.
    virtual HRESULT FilePlayStart() = 0;
    // Holds for that many seconds and goes on; 0: until the next FilePlayStart. On a paused file: shows the next frame,
    // or field. On a mixer the output goes on with the held picture.
    virtual HRESULT FilePlayPause(double _dblSeconds) = 0;
    // Stops for that many seconds and plays again; 0: until the next FilePlayStart. A mixer stays stopped in any case.
    virtual HRESULT FilePlayStop(double _dblSeconds) = 0;
    // The state, and how many seconds of a timed pause remain, else 0.
    virtual HRESULT FileStateGet(eZrState* _peState, double* _pdblTimeRemain) = 0;
    // Speed: 1.0 as recorded. E_NOTIMPL so far: below 0, backwards. S_FALSE: a change below 0.001, which is ignored.
    virtual HRESULT FileRateSet(double _dblRate) = 0;
    virtual HRESULT FileRateGet(double* _pdblRate) = 0;
    // One frame from a position, read apart from the playing, without audio. The caller releases it.
    virtual HRESULT FileFrameGet(double _dblPos, double _dblPreroll, IZrFrame** _ppFrame) = 0;
    // The same by time code. The file's own code, if it has one, counts; otherwise the first frame is 0.
    virtual HRESULT FileInOutSetTC(const ZR_TIMECODE* _pTCIn, const ZR_TIMECODE* _pTCOut) = 0;
    // _pbOutSpecified: 0 when there is no out point; _pTCOut is then the code of the last frame.
    virtual HRESULT FileInOutGetTC(ZR_TIMECODE* _pTCIn, ZR_TIMECODE* _pTCOut, int32_t* _pbOutSpecified) = 0;
    virtual HRESULT FilePosSetTC(const ZR_TIMECODE* _pTC) = 0;
    virtual HRESULT FilePosGetTC(ZR_TIMECODE* _pTC) = 0;
    virtual HRESULT FileFrameGetByTC(const ZR_TIMECODE* _pTC, IZrFrame** _ppFrame) = 0;

protected:
    ~IZrFile() = default;
};

}  // namespace zr
