#pragma once
// What a frame holds, apart from being an object.

#include "frame_module/attachments.h"
#include "frame_module/frame_audio.h"
#include "frame_module/picture.h"
#include "zr/enums.h"
#include "zr/records.h"

namespace zr {

struct FrameContent {
    ZR_AV_PROPS avProps;
    ZR_TIME time;
    Picture picture;
    FrameAudio audio;
    AttachmentList data;  // but for the record of planes, which belongs to the picture
    AttachmentList objects;
    AttachmentList texts;

    // As new. What the lists have grown to stays with them.
    void Reset();
    // Drops what holds memory or other objects; properties and time stay.
    void DropParts();
    // Takes the named parts into _pClone, which is as new: the picture by reference or as a copy, the audio as a copy,
    // attachments shared (texts go with the data). Properties and time always go along. _fccPixelFormat: 0 or the
    // format of the clone's picture, which is converted to it. Codes of PictureConvert.
    HRESULT CloneTo(eZrFrameClone _eType, eZrFCC _fccPixelFormat, FrameContent* _pClone) const;
};

// The id under which the data list shows where the planes of a picture are, a ZRF_VID_PTR.
inline constexpr char16_t szVideoPlanesID[] = u"__vptr_";

constexpr bool TakesPicture(eZrFrameClone _eType) { return (_eType & (eZrFC_Video | eZrFC_VideoRef)) != 0; }
constexpr bool TakesAudio(eZrFrameClone _eType) { return (_eType & eZrFC_Audio) != 0; }
constexpr bool TakesData(eZrFrameClone _eType) { return (_eType & eZrFC_Data) != 0; }
constexpr bool TakesObjects(eZrFrameClone _eType) { return (_eType & eZrFC_Obj) != 0; }

}  // namespace zr
