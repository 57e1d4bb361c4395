#pragma once
// The picture of a frame: a window onto a counted buffer. Several frames may have windows onto one buffer; to cut a
// rectangle or a field out of a picture makes another window and moves no byte.

#include <cstdint>

#include "frame_module/frame_buffer.h"
#include "platform/status.h"
#include "zr/records.h"

namespace zr {

// The window. The record of the picture (ZR_VID_PROPS) stands beside it in the frame; a window whose record has no
// width yet is plain memory.
struct Picture {
    BufferPtr pBuffer;         // empty: no picture
    uint8_t* pBits = nullptr;  // the first row in memory, which in a bottom-up picture is the last line
    uint32_t cbBits = 0;       // bytes from there on that may be touched
    bool bPart = false;        // cut out of a larger picture
    bool bHasPlanes = false;   // planes says where they are; otherwise they follow from record and pBits
    bool bBorrowed = false;    // came with memory that its maker reads on, see PictureMakeOwn
    BufferPtr pLent;           // that memory, once the picture has its own: who reads the frame may have the addresses
    ZRF_VID_PTR planes;        // as PicturePlanes gives it
    int64_t llVideoID = 0;     // stands for the content, the same in all frames that share it

    bool Empty() const { return !pBuffer; }
    void Reset() { *this = {}; }
};

// A number for llVideoID that no other picture has, in no process of this machine.
int64_t NewVideoID();

// A picture with room for _cb bytes, and a number of its own. E_OUTOFMEMORY.
HRESULT PictureAlloc(uint64_t _cb, Picture* _pPicture);

// Completes the record of a picture that is about to get memory: what is not given comes from the named format, row
// bytes from the width. E_INVALIDARG: no size or no pixel format results, the row bytes do not hold the width, or the
// picture has more than BufferPool::kMaxBytes.
HRESULT CompleteVidProps(ZR_VID_PROPS* _pProps);

// Lays a record over a window. Over plain memory: any complete record whose picture fits. Over a picture: fields that
// say how to read it change, width and height may only shrink (the upper left part stays), a pixel format only to one
// of the same layout, row bytes not at all; geometry that is not given (0) stays. E_INVALIDARG: nothing is changed.
HRESULT PictureDescribe(const ZR_VID_PROPS& _new, ZR_VID_PROPS* _pProps, Picture* _pPicture);

// Where the planes are: the address of the upper line of each, size in samples, and signed distance from a line to the
// one below. Y U V for I420 and YV12 alike, Y and U-V pairs for NV12; one plane for packed formats.
ZRF_VID_PTR PicturePlanes(const ZR_VID_PROPS& _props, const Picture& _picture);

// The window onto a rectangle and/or a field of a picture, see IZrFrame::FrameCut. _pCutProps receives its record. The
// number is new unless the window is the whole picture. ZR_E_EMPTY: there is no picture. ZR_E_NOT_SUPPORTED: a pixel
// format of unknown layout.
HRESULT PictureCut(const ZR_VID_PROPS& _props, const Picture& _picture, int32_t _nField, const tagRECT* _pRect,
                   ZR_VID_PROPS* _pCutProps, Picture* _pCut);

// True when pictures of both codes have the same bytes, so that one can be called the other.
bool SamePixelLayout(eZrFCC _fccA, eZrFCC _fccB);

// Gives a picture planes (addresses and row bytes) at other places than those that follow from its record, or further
// views of a packed picture as planes 1 to 3. The first plane may be left out; sizes are those of the format.
// E_INVALIDARG: a plane of the format is missing, the rows of one do not hold the width, or a planar format has planes
// too many. ZR_E_NOT_SUPPORTED: a pixel format of unknown layout.
HRESULT PictureSetPlanes(const ZR_VID_PROPS& _props, const ZRF_VID_PTR& _planes, Picture* _pPicture);
// Whether all lines of all planes lie in _cb bytes from address _lp on.
bool PlanesInBlock(const ZR_VID_PROPS& _props, const ZRF_VID_PTR& _planes, int64_t _lp, uint64_t _cb);

// How the copy of a picture lies in a block of its own.
struct COPY_LAYOUT {
    ZR_VID_PROPS props;       // its record
    uint64_t cb = 0;          // bytes of the block
    bool bWhole = false;      // the block of the original, byte for byte; else line by line
    bool bHasPlanes = false;  // as of Picture
    ZRF_VID_PTR planes;       // offsets in the block for addresses; a plane that is not there has no row bytes
};
// A picture in one block keeps its layout. A part, or one whose planes lie somewhere else, gets the least row bytes of
// its width, further views one behind the other.
COPY_LAYOUT LayoutOfCopy(const ZR_VID_PROPS& _props, const Picture& _picture);
// Before somebody gets an address to write to: a borrowed picture moves to memory of its own, laid out as its record
// says, with a number of its own. E_OUTOFMEMORY.
HRESULT PictureMakeOwn(const ZR_VID_PROPS& _props, Picture* _pPicture);
// A picture with bytes of its own, laid out like that; _pProps is its record.
HRESULT PictureCopy(const ZR_VID_PROPS& _from, const Picture& _picture, ZR_VID_PROPS* _pProps, Picture* _pCopy);
// Copies line by line from planes (as PicturePlanes gives them) to others of the same format and size.
void CopyPlanes(const ZR_VID_PROPS& _props, const ZRF_VID_PTR& _from, const ZRF_VID_PTR& _to);

// Used bytes of a row of a plane, without padding; further planes of a packed format are like the first. 0 for a plane
// that the format does not have, and for a format of unknown layout.
int64_t PlaneRowBytes(const ZR_VID_PROPS& _props, int32_t _nPlane);
int32_t PlaneCount(eZrFCC _fccType);

}  // namespace zr
