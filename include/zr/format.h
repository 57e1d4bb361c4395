#pragma once
// The picture and audio formats that an object takes and gives.

#include <cstdint>

#include "zr/enums.h"
#include "zr/records.h"
#include "zr/text.h"
#include "zr/unknown.h"

namespace zr {

// _eFormatType says which format is meant: eZrFT_Input, as the source or the device delivers it; eZrFT_Convert, what
// the object converts to; eZrFT_Override, what it takes the input for, whatever the source claims; eZrFT_Output, what
// it sends. A mixer is set by eZrFT_Convert. Any thread; a new format holds from the next output frame on. Names are
// the short ones of the format table ("HD1080-50i"); the caller frees every text it receives.
struct IZrFormat : IUnknown {
    static constexpr GUID kIid = GuidOf("8F3E742B-304C-4B08-9854-8D4750B01BA1");

    // How many formats can be chosen. E_POINTER: _pnCount is null.
    virtual HRESULT FormatVideoGetCount(eZrFormatType _eFormatType, int32_t* _pnCount) = 0;
    // One of them, 0 first, with its name. ZR_E_BAD_INDEX: no such position.
    virtual HRESULT FormatVideoGetByIndex(eZrFormatType _eFormatType, int32_t _nIndex, ZR_VID_PROPS* _pVidProps,
                                          BSTR* _pbsName) = 0;
    // Chooses a format. A named eVideoFormat fills what the other fields leave 0; eZrVF_Custom takes the fields alone;
    // eZrVF_Disabled switches the picture off; a record of zeros leaves the choice to the object. Odd widths of 4:2:2
    // and odd heights of interlaced formats go down to even. E_INVALIDARG: no such format, or a rate above 10000 or
    // that is no number.
    virtual HRESULT FormatVideoSet(eZrFormatType _eFormatType, const ZR_VID_PROPS* _pVidProps) = 0;
    // The format in effect, its position in the list or -1, and its name.
    virtual HRESULT FormatVideoGet(eZrFormatType _eFormatType, ZR_VID_PROPS* _pVidProps, int32_t* _pnIndex,
                                   BSTR* _pbsName) = 0;
    // The same for audio.
    virtual HRESULT FormatAudioGetCount(eZrFormatType _eFormatType, int32_t* _pnCount) = 0;
    virtual HRESULT FormatAudioGetByIndex(eZrFormatType _eFormatType, int32_t _nIndex, ZR_AUD_PROPS* _pAudProps,
                                          BSTR* _pbsName) = 0;
    // Chooses channels (at most 128), rate in Hz (at most 768000) and bits (16, 20, 24, 32; -32 for float). A record of
    // zeros leaves the choice to the object.
    virtual HRESULT FormatAudioSet(eZrFormatType _eFormatType, const ZR_AUD_PROPS* _pAudProps) = 0;
    virtual HRESULT FormatAudioGet(eZrFormatType _eFormatType, ZR_AUD_PROPS* _pAudProps, int32_t* _pnIndex,
                                   BSTR* _pbsName) = 0;

protected:
    ~IZrFormat() = default;
};

}  // namespace zr
