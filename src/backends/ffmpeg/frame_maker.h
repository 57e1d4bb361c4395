#pragma once
// Frames of the family out of decoded pictures and sound.

#include <cstdint>

#include "backends/ffmpeg/audio_line.h"
#include "backends/ffmpeg/pixel_map.h"
#include "zr/frame.h"
#include "zr/ptr.h"
#include "zr/records.h"

namespace zr {

// A time code that counts frames.
struct TIMECODE_LINE {
    bool bKnown = false;
    int64_t nStart = 0;  // frames since midnight, dropped numbers not counted
    int nRate = 0;       // numbers a second
    bool bDrop = false;

    // From "01:00:00:00", with a semicolon before the frames when numbers are dropped.
    static TIMECODE_LINE FromText(const char* _szText, AVRational _rate);
    // Of a frame by its number; rates from 50 on count pairs of frames.
    ZR_TIMECODE At(int64_t _nFrame) const;
};

// The record of a picture with these properties, of the pixel format in which it is handed on.
// _aspect: of a pixel, 0 when it is not known. _dblRate: 0 when it is not known.
ZR_VID_PROPS VidPropsOf(const RAW_PICTURE& _picture, AVRational _aspect, eZrInterlace _eInterlace, double _dblRate);
// Field order of a track; of a decoded picture, which says it better.
eZrInterlace InterlaceOf(AVFieldOrder _eOrder);

// One thread at a time. A picture that lies in memory of frames already goes on as it is (see picture_memory.h), which
// takes two small blocks of the heap; others go into such memory in one pass, and nothing is allocated for them here.
class FrameMaker {
public:
    // _bInterlaced: so does the file call its pictures, even those that are not.
    void Init(AVRational _aspect, eZrInterlace _eInterlace, double _dblRate, const TIMECODE_LINE& _timecode);
    const TIMECODE_LINE& Timecode() const { return timecode; }

    // _pPicture null: a frame of sound only. The same picture as in the call before is shared, not copied.
    // _pSound null: no sound; else the samples [_nFrom, _nTo) are cut from it.
    HRESULT Make(const AVFrame* _pPicture, const ZR_TIME& _time, AudioLine* _pSound, int64_t _nFrom, int64_t _nTo,
                 ZrPtr<IZrFFrame>* _ppFrame);
    // The frame's time code by its number, unless the picture brings its own.
    ZR_TIMECODE TimecodeOf(const AVFrame* _pPicture, int64_t _nFrame) const;
    void Forget() { pLastPicture = nullptr, pLastFrame.Reset(); }

private:
    HRESULT MakePicture(const AVFrame& _picture, ZrPtr<IZrFFrame>* _ppFrame);

    AVRational aspect = {0, 1};
    eZrInterlace eInterlace = eZrI_Progressive;
    double dblRate = 0;
    TIMECODE_LINE timecode;
    PixelConverter converter;
    ScratchPicture scratch;
    const AVFrame* pLastPicture = nullptr;  // only compared
    ZrPtr<IZrFFrame> pLastFrame;
};

}  // namespace zr
