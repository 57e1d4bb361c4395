#pragma once
// The faces of frames and of their factory that only the library itself uses.

#include <cstdint>

#include "zr/frame.h"
#include "zr/frame_factory.h"
#include "zr/ptr.h"
#include "zr/records.h"

namespace zr {

// IZrFrame, and behind its operations the read of everything in one call.
struct IZrFrame_I : IZrFrame {
    static constexpr GUID kIid = GuidOf("8C2D6C0E-55B1-4E53-9D0B-6F4B1C5A2E97");

    // Any argument may be null. Sizes in bytes; a part that the frame does not have gives 0 and null. The addresses are
    // those of FrameAudioGetBytes and FrameVideoGetBytes.
    virtual HRESULT FrameAllGet(ZR_TIME* _pTime, ZR_AV_PROPS* _pProps, int32_t* _pcbAudio, uint8_t** _ppAudio,
                                int32_t* _pcbVideo, uint8_t** _ppVideo) = 0;
    // Takes over the picture of another frame, by reference and with its record; nothing else changes. E_NOINTERFACE:
    // that is no frame of this process. ZR_E_EMPTY: it has no picture; this one stays then.
    virtual HRESULT FramePictureTake(IUnknown* _pFrom) = 0;
    // As IZrFFrame::ZrFVideoGetBytesEx, to read from only: a borrowed picture stays where it is.
    virtual HRESULT FramePlanesGet(ZRF_VID_PTR* _pVideoPtr) = 0;

protected:
    ~IZrFrame_I() = default;
};

// FramePlanesGet of any frame; of one that is not of this process the planes as they are.
inline HRESULT PlanesToRead(IZrFFrame& _frame, ZRF_VID_PTR* _pPlanes) {
    const ZrPtr<IZrFrame_I> pFrame = QueryAs<IZrFrame_I>(&_frame);
    return pFrame ? pFrame->FramePlanesGet(_pPlanes) : _frame.ZrFVideoGetBytesEx(_pPlanes);
}

// IZrFrames, and behind its operations what the objects make frames with.
struct ZrFrameFactory_I : IZrFrames {
    static constexpr GUID kIid = GuidOf("E0F6A3B4-7C19-4D58-8A2F-31B7D94C60E5");

    // A frame with room for so many bytes of picture and of audio and with all properties zero; either may be 0. The
    // content is undefined. _nReserved: 0. E_INVALIDARG: more than 2 GiB.
    virtual HRESULT FrameCreateSized(uint32_t _cbVideo, uint32_t _cbAudio, uint32_t _nReserved,
                                     IZrFrame** _ppFrame) = 0;
    // As IZrFFrame::ZrFClone, for any face of a frame. E_NOINTERFACE: the object is no frame.
    virtual HRESULT FrameCloneEx(IUnknown* _pFrame, IZrFrame** _ppClone, eZrFrameClone _eCloneType,
                                 eZrFCC _fccPixelFormat) = 0;
    // A new frame in another format, made by a converter of its own. _nReserved: 0. _bsPropsList: attributes such as
    // "scaling_quality=8", may be null.
    virtual HRESULT FrameConvertEx(IZrFrame* _pFrame, uint32_t _nReserved, const ZR_VID_PROPS* _pVidProps,
                                   IZrFrame** _ppFrame, const char16_t* _bsPropsList) = 0;
    // A frame over a picture that is read on by who made it, such as a decoder's: where _pPlanes says, in memory that a
    // reference to _pOwner keeps, which may be given up on any thread. Nobody gets an address to write there: the
    // first operation of the frame that would hand one out, or write, gives it a copy. ZrFAllGet and FramePlanesGet say
    // where the picture is without that, to read it. E_POINTER, E_INVALIDARG: the planes do not make the picture.
    virtual HRESULT FrameCreateBorrowed(const ZR_VID_PROPS* _pVidProps, const ZRF_VID_PTR* _pPlanes, IUnknown* _pOwner,
                                        IZrFrame** _ppFrame) = 0;

protected:
    ~ZrFrameFactory_I() = default;
};

}  // namespace zr
