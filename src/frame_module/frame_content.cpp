#include "frame_module/frame_content.h"

#include "frame_module/picture_convert.h"

namespace zr {

void FrameContent::DropParts() {
    picture.Reset();
    audio.Reset();
    data.Clear();
    objects.Clear();
    texts.Clear();
}

void FrameContent::Reset() {
    DropParts();
    avProps = {};
    time = {};
}

HRESULT FrameContent::CloneTo(eZrFrameClone _eType, eZrFCC _fccPixelFormat, FrameContent* _pClone) const {
    _pClone->avProps = avProps;
    _pClone->time = time;
    HRESULT hr = S_OK;
    if (TakesPicture(_eType) && !picture.Empty()) {
        const bool bConvert = _fccPixelFormat != eZrFCC_Default && _fccPixelFormat != avProps.vidProps.fccType;
        const bool bSameBytes = SamePixelLayout(_fccPixelFormat, avProps.vidProps.fccType);
        if (bConvert && !bSameBytes)
            hr = PictureConvert(avProps.vidProps, picture, _fccPixelFormat, &_pClone->avProps.vidProps,
                                &_pClone->picture);
        else if (bConvert || (_eType & eZrFC_Video) != 0)
            hr = PictureCopy(avProps.vidProps, picture, &_pClone->avProps.vidProps, &_pClone->picture);
        else
            _pClone->picture = picture;
        if (bConvert && bSameBytes) _pClone->avProps.vidProps.fccType = _fccPixelFormat;
    }
    // Never shared: whoever was given the address of the samples may write there, and no other frame must show that.
    if (Succeeded(hr) && TakesAudio(_eType)) hr = _pClone->audio.Copy(audio);
    if (Succeeded(hr) && TakesData(_eType)) hr = _pClone->data.Share(data);
    if (Succeeded(hr) && TakesData(_eType)) hr = _pClone->texts.Share(texts);
    if (Succeeded(hr) && TakesObjects(_eType)) hr = _pClone->objects.Share(objects);
    return hr;
}

}  // namespace zr
