#include "mixer/frame_levels.h"

#include "media/aud_props.h"

namespace zr {

bool FrameLevels::MeasureFrame(IZrFFrame& _frame, ChannelMeters* _pMeters) {
    ZRF_FRAME_INFO info;
    if (Failed(_frame.ZrFAllGet(&info))) return false;
    const ZR_AUD_PROPS& props = info.avProps.audProps;
    if (!AudUsable(props) || info.lpAudio == 0) return false;
    const auto nSamples = static_cast<size_t>(info.cbAudio / AudBlockBytes(props));
    return nSamples > 0 &&
           Succeeded(_pMeters->Measure(props, reinterpret_cast<const uint8_t*>(info.lpAudio), nSamples));
}

HRESULT FrameLevels::MeasureOutput(IZrFFrame& _frame, const ZR_AUDIO_LOUDNESS& _original) {
    if (!MeasureFrame(_frame, &output)) return S_FALSE;
    ZR_AV_PROPS props;
    if (const HRESULT hr = _frame.ZrFAVPropsGet(&props, nullptr); Failed(hr)) return hr;
    ZR_AUDIO_TRACK_LOUDNESS levels;
    output.Read(&levels);
    props.ancData.audOriginal = _original;
    props.ancData.audOutput = {};
    AppendLevels(levels, &props.ancData.audOutput);
    props.ancData.audOutput.nValidTracks =
        static_cast<int32_t>(TracksOfSplitBits(props.audProps.nChannels, props.audProps.nTrackSplitBits).size());
    props.ancData.audOutput.nTracksSplitBit = props.audProps.nTrackSplitBits;
    props.ancData.eFlags = eZrAF_AL_Valid;
    return _frame.ZrFAVPropsSet(&props, nullptr);
}

}  // namespace zr
