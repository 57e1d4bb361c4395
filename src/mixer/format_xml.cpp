#include "mixer/format_xml.h"

#include <string>

#include "attributes/attribute_line.h"
#include "media/aud_props.h"
#include "media/format_table.h"
#include "media/vid_props.h"
#include "media/vid_props_attributes.h"

namespace zr {
namespace {

constexpr NameKey kFormat{u"format"};
constexpr std::u16string_view kChannels = u"audio_channels", kRate = u"audio_rate", kBits = u"audio_bits";

HRESULT LoadVideo(const CoElement& _node, ObjectFormat& _format) {
    bool bSaid = false;
    std::u16string strValue;
    const auto Find = [&](const char16_t* _szName, std::u16string_view& _value) {
        if (!_node.GetAttribute(_szName, strValue)) return false;
        bSaid = true;
        _value = strValue;
        return true;
    };
    ZR_VID_PROPS props;
    ReadVidProps(Find, &props);
    if (!bSaid) return S_OK;
    // A size alone is enough: the pixels are then those that such a picture usually has.
    if (props.eVideoFormat == eZrVF_Custom && props.fccType == eZrFCC_Default) NormalizeProps(&props, true);
    // A name that there is not leaves a record without a picture.
    if (props.eVideoFormat != eZrVF_Disabled && !PropsValid(&props, true)) return E_INVALIDARG;
    return _format.VideoSet(eZrFT_Convert, &props);
}

HRESULT LoadAudio(const CoElement& _node, ObjectFormat& _format) {
    if (!_node.HasAttribute(kChannels) && !_node.HasAttribute(kRate) && !_node.HasAttribute(kBits)) return S_OK;
    ZR_AUD_PROPS props;
    props.nChannels = _node.AttributeOr(kChannels, int32_t{2});
    props.nSamplesPerSec = _node.AttributeOr(kRate, int32_t{48000});
    props.nBitsPerSample = _node.AttributeOr(kBits, int32_t{16});
    return _format.AudioSet(eZrFT_Convert, &props);
}

}  // namespace

void SaveFormat(const ObjectFormat& _format, CoElement& _top) {
    const AV_FORMAT wanted = _format.Wanted();
    const ZR_VID_PROPS& video = wanted.vidProps;
    const bool bVideo = PropsValid(&video, true);
    const bool bAudio = AudUsable(wanted.audProps);
    if (!bVideo && !bAudio) return;
    const ElementPtr pNode = _top.Add(kFormat.text);
    if (bVideo) {
        SetAttributeLine(*pNode, VidPropsLine(video), eZrUT_Update);
        if (video.eVideoFormat == eZrVF_Custom && video.nAspectX > 0 && video.nAspectY > 0) {
            const std::string str = std::to_string(video.nAspectX) + ":" + std::to_string(video.nAspectY);
            pNode->SetAttribute(u"aspect_ratio", std::u16string_view(std::u16string(str.begin(), str.end())));
        }
    }
    if (!bAudio) return;
    pNode->SetAttribute(kChannels, wanted.audProps.nChannels);
    pNode->SetAttribute(kRate, wanted.audProps.nSamplesPerSec);
    pNode->SetAttribute(kBits, wanted.audProps.nBitsPerSample);
}

HRESULT LoadFormat(const CoElement& _top, ObjectFormat& _format) {
    const ElementPtr pNode = _top.FindChild(kFormat);
    if (!pNode) return S_OK;
    const HRESULT hrVideo = LoadVideo(*pNode, _format);
    const HRESULT hrAudio = LoadAudio(*pNode, _format);
    return Failed(hrVideo) ? hrVideo : hrAudio;
}

}  // namespace zr
