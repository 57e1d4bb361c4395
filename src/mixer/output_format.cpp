#include "mixer/output_format.h"

#include "media/aud_props.h"
#include "media/vid_props.h"

namespace zr {
namespace {

constexpr ZR_AUD_PROPS kDefaultAudio{2, 48000, 16, 0};

bool IsOff(const AV_FORMAT& _format) { return _format.vidProps.eVideoFormat == eZrVF_Disabled; }

}  // namespace

bool HasVideo(const AV_FORMAT& _format) { return !IsOff(_format) && PropsValid(&_format.vidProps, true); }

bool IsWhole(const AV_FORMAT& _format) { return (IsOff(_format) || HasVideo(_format)) && AudUsable(_format.audProps); }

void CompleteByFrame(const AV_FORMAT& _frame, AV_FORMAT& _format) {
    if (!IsOff(_format) && !HasVideo(_format) && PropsValid(&_frame.vidProps, true)) _format.vidProps = _frame.vidProps;
    CompleteAudioByFrame(_frame.audProps, _format.audProps);
}

void CompleteAudioByFrame(const ZR_AUD_PROPS& _frame, ZR_AUD_PROPS& _props) {
    if (AudUsable(_props) || !AudUsable(_frame)) return;
    _props = _frame;
    if (_props.nBitsPerSample == 8) _props.nBitsPerSample = 16;
}

void CompleteByDefault(AV_FORMAT& _format) {
    if (!IsOff(_format) && !HasVideo(_format)) {
        _format.vidProps = PropsFromFormat(eZrVF_HD1080_5994i, eZrFCC_Default);
    }
    if (!AudUsable(_format.audProps)) _format.audProps = kDefaultAudio;
}

}  // namespace zr
