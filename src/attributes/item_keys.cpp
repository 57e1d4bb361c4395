#include "attributes/item_keys.h"

#include "attributes/char_class.h"
#include "attributes/key_lists.h"

namespace zr {
namespace {

constexpr PROP_KEY arrItemKeys[] = {
    BoolKey(u"video", true, "Its picture is used."),
    BoolKey(u"audio", true, "Its sound is used."),
    BoolKey(u"drop_frames", false, "The mix never waits for it."),
    BoolKey(u"master", false, "The mix always waits for it."),
    OpenKey(u"audio_channels", eZrKeyType::String, "Channels of its sound that are used, and their order."),
    OpenKey(u"audio_gain", eZrKeyType::String,
            "Gain in dB of its sound: one value for the first audio track, or one for each. audio_gain.1 is that of "
            "the second track alone."),
    OpenKey(u"izraudio.enabled", eZrKeyType::Bool, "Run its audio tracks (true)."),
    OpenKey(u"izraudio.loudness", eZrKeyType::Bool,
            "Measure loudness, quasi-peak and true peak of each of its audio tracks (false)."),
    OpenKey(u"default_tracks", eZrKeyType::Int, "Audio tracks shown before any audio came (1)."),
    OpenKey(u"channels_per_track", eZrKeyType::Int, "Channels of each audio track; 0 takes those of the source (0)."),
    kPluginsOptimizationKey,
    kOverlayMetersKey,
    kOverlayWaveformKey,
    kOverlayMetersPosKey,
    kOverlayWaveformPosKey,
    kOverlayMetersColorKey,
};

}  // namespace

std::span<const PROP_KEY> ItemKeys() { return arrItemKeys; }

const PROP_KEY* MadeItemKey(std::u16string_view _name) {
    for (const PROP_KEY& key : arrItemKeys)
        if (key.bRegistered && EqualNoCase(_name, key.szName)) return &key;
    return nullptr;
}

}  // namespace zr
