#pragma once
// The makers of frames. One object, found by kClsidZrFrameFactory (zr/class_ids.h), shows both faces; it has no state
// that shows, so any thread may call it. Every out frame comes with a reference that the caller releases; on failure it
// is null.
//
// Property lists are attribute lines such as "color=black(90)"; null or empty stands for none.

#include <cstdint>

#include "zr/enums.h"
#include "zr/frame.h"
#include "zr/records.h"
#include "zr/unknown.h"

namespace zr {

struct IZrFrames : IUnknown {
    static constexpr GUID kIid = GuidOf("B7A5DEAB-4459-44D1-ABB1-1F0D6C42A6F2");

    // Brings a frame of another process into this one, which a receiver does before it touches the memory. A frame of
    // this process comes back as it is. _bMakeRef: not 0 shares the memory where the system can, 0 copies it.
    virtual HRESULT FramesMakeLocal(IZrFrame* _pFrame, IZrFrame** _ppFrameLocal, int32_t _bMakeRef) = 0;
    // An empty frame with room for _cbVideoSize bytes of picture and data; 0 is fine. E_INVALIDARG: a negative size.
    virtual HRESULT FramesCreate(int32_t _cbVideoSize, const char16_t* _bsProps, IZrFrame** _ppFrame) = 0;
    // A frame of a format with a copy of the picture at address _pbVideo, row bytes x height (planar formats half more)
    // bytes of it; address 0 makes it black. E_INVALIDARG: the format says no size or no pixel format.
    virtual HRESULT FramesCreateFromMem(const ZR_VID_PROPS* _pVidProps, int64_t _pbVideo, IZrFrame** _ppFrame,
                                        const char16_t* _bsPropsList) = 0;
    // Reads a picture file: bmp and tga, and what a registered reader knows: jpg, png, tiff. The frame is RGB24 or
    // RGB32, or ARGB32 with its colours multiplied by alpha, top-down. _bsPropsList (may be null), in this order:
    // "premultiplied=true": the colours in the file are multiplied already; "crop=10", "rotate=right", "mirror=horz";
    // "color=red": the picture is laid over that colour, which also fills what a letter box leaves free; "width",
    // "height", "pixel_format", "video_format" and the like, with "scaling_quality": the format to convert to, where
    // one of width and height alone keeps the shape. An empty name with "color=..." gives one colour in that format.
    // ZR_E_NOT_FOUND_FILE: no such file. ZR_E_NOT_SUPPORTED: a type that nobody reads. ZR_E_INVALID_DATA, E_FAIL: the
    // file is damaged. E_INVALIDARG: the list says nothing possible.
    virtual HRESULT FramesCreateFromFile(const char16_t* _bsFileName, IZrFrame** _ppFrame,
                                         const char16_t* _bsPropsList) = 0;
    // From a bitmap handle of the window system. E_NOTIMPL where the system has none, as on Linux.
    virtual HRESULT FramesCreateFromHBITMAP(int64_t _hBitmap, IZrFrame** _ppFrame, const char16_t* _bsPropsList) = 0;
    // From a surface of a graphics device. E_NOTIMPL where the system has none of that kind, as on Linux.
    virtual HRESULT FramesCreateFromSurface(IUnknown* _pSurface, IZrFrame** _ppFrame, const char16_t* _bsPropsList) = 0;

protected:
    ~IZrFrames() = default;
};

struct IZrFFactory : IUnknown {
    static constexpr GUID kIid = GuidOf("9EEB7518-D10F-4719-AD5B-C76EEE16CC6A");

    // As FramesMakeLocal, for any face of a frame. _bAlwaysClone: not 0 makes a clone of a frame of this process too.
    // E_NOINTERFACE: the object is no frame.
    virtual HRESULT ZrFFrameMakeLocal(IUnknown* _pZrFFrame, IZrFFrame** _ppFrameLocal, int32_t _bAlwaysClone) = 0;
    // As IZrFFrame::ZrFClone, for any face of a frame.
    virtual HRESULT ZrFFrameClone(IUnknown* _pZrFFrame, IZrFFrame** _ppFrameClone, eZrFrameClone _eCloneType,
                                  eZrFCC _fccPixelFormat) = 0;
    // A frame with copies of a picture at address _lpVideo and of _lAudioSamples samples of each channel at _lpAudio.
    // Address 0 makes a black picture (or the one colour of "color=...") or silence. _pAVProps null: an empty frame.
    virtual HRESULT ZrFFrameCreateFromMem(const ZR_AV_PROPS* _pAVProps, int64_t _lpVideo, int32_t _lAudioSamples,
                                          int64_t _lpAudio, IZrFFrame** _ppFrame, const char16_t* _bsPropsList) = 0;
    // As FramesCreateFromFile.
    virtual HRESULT ZrFFrameCreateFromFile(const char16_t* _bsFileName, IZrFFrame** _ppFrame,
                                           const char16_t* _bsPropsList) = 0;
    // As FramesCreateFromHBITMAP.
    virtual HRESULT ZrFFrameCreateFromHBITMAP(int64_t _hBitmap, IZrFFrame** _ppFrame, const char16_t* _bsPropsList) = 0;
    // A frame over _cbVideo bytes at address _lpVideo that belong to _pObject: nothing is copied, the frame holds a
    // reference to the object as long as the memory is in use. E_INVALIDARG: the format needs more bytes.
    virtual HRESULT ZrFFrameCreateWrapper(const ZR_VID_PROPS* _pVidProps, uint32_t _cbVideo, int64_t _lpVideo,
                                          IUnknown* _pObject, IZrFFrame** _ppFrame) = 0;
    // An empty frame with room for _cbVideoSize bytes of picture; 0 is fine. E_INVALIDARG: a negative size.
    virtual HRESULT ZrFFrameCreatePlain(int32_t _cbVideoSize, IZrFFrame** _ppFrame) = 0;
    // As ZrFFrameCreateFromMem, with the picture given by planes: the address of the upper row of each, and the
    // distance to the row below, negative for bottom-up, 0 for the least. _pVideoPtr null: a black picture, or one
    // colour. E_POINTER, E_INVALIDARG: a plane is missing or too small.
    virtual HRESULT ZrFFrameCreateFromMemEx(const ZR_AV_PROPS* _pAVProps, const ZRF_VID_PTR* _pVideoPtr,
                                            int32_t _lAudioSamples, int64_t _lpAudio, IZrFFrame** _ppFrame,
                                            const char16_t* _bsPropsList) = 0;

protected:
    ~IZrFFactory() = default;
};

}  // namespace zr
