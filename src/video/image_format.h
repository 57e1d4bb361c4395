#pragma once
// Converts frames: to another size, pixel format or field order, cut, turned or mirrored on the way.

#include <cstdint>
#include <new>
#include <string_view>

#include "media/frame_interfaces.h"
#include "media/vid_props_attributes.h"
#include "video/image_format_base.h"

namespace zr {

class XMLNodeBase;

// What the attributes of an item or a call ask for. The texts belong to the caller.
struct FRAME_CONVERT_OPTIONS {
    std::u16string_view svCrop, svRotate, svMirror;  // empty: none
    int32_t nQuality = 2;                            // scaling_quality; below 1 automatic

    // From crop, rotate, mirror and scaling_quality; "auto" reads as 0.
    static FRAME_CONVERT_OPTIONS Read(const AttributeLookup& _find);
};

// The record of the frame that a conversion makes: what _wanted does not give is the source's.
ZR_VID_PROPS CompleteWanted(const ZR_VID_PROPS& _source, const ZR_VID_PROPS& _wanted);

// Any thread, several at once too. Kept by its owner as long as the stream of frames lasts: in a steady stream nothing
// is allocated but the frames, which come from their pool.
class ZrImageFormat final : public ZrImageFormatBase {
public:
    static CAutoObj<ZrImageFormat> Make() { return CAutoObj<ZrImageFormat>::Attach(new (std::nothrow) ZrImageFormat); }

    // A new frame with the source's picture in the wanted format and the source's time: cut by crop, turned by rotate,
    // converted, mirrored by mirror. A wanted pixel format of the source's family leaves the source's. HDYC and UYVY
    // (RGB32 and ARGB32) are such. Of the other parts of the frame nothing goes along.
    //
    // _nLevel above 1: a frame that is as wanted comes back as a reference with its audio, without a move of pixels (a
    // copy of all, if it is mirrored). Below that the picture is always converted. 0 and above also decide about the
    // automatic quality, see ScalingQuality.
    //
    // E_POINTER: an argument is missing. ZR_E_EMPTY: the source has no picture. E_UNEXPECTED: no maker of frames.
    // E_NOTIMPL: a planar picture is to be mirrored. E_INVALIDARG, kTypeNotAccepted, E_FAIL: see
    // ZrImageFormatBase. _ppFrame is null on failure.
    HRESULT ConvertFrame(IZrFrame* _pSource, const ZR_VID_PROPS* _pWanted, int32_t _nLevel, const XMLNodeBase* _pNode,
                         IZrFrame** _ppFrame);
    HRESULT ConvertFrame_I(IZrFrame* _pSource, const ZR_VID_PROPS& _wanted, int32_t _nLevel,
                           const FRAME_CONVERT_OPTIONS& _options, IZrFrame** _ppFrame);
};

}  // namespace zr
