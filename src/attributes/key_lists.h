#pragma once
// Keys that every media object has in common: those it passes on to the objects it hosts, those that stand at the root.

#include <string_view>

#include "attributes/prop_key.h"

namespace zr {

// Read by everything that sends frames or has readers, and set only by who wants them.
inline constexpr PROP_KEY kRateControlKey =
    OpenKey(u"rate_control", eZrKeyType::Int,
            "Who keeps real time: 0 nobody, 1 the object always, 2 its receivers alone, and frames are held until one "
            "that does is there, 3 the object unless a receiver does (as if not set), 4 the readers that fetch.");
inline constexpr PROP_KEY kPutWaitKey =
    OpenKey(u"pull_mode.put_wait", eZrKeyType::Int,
            "How a frame waits for readers that have not fetched the one before, as a sum: 1 longer, and for the first "
            "reader to come, 2 with live frames too, 4 not for the first to come. Else by rate_control.");
inline constexpr PROP_KEY kOutputTypeKey =
    OpenKey(u"pull_mode.output_type", eZrKeyType::Int, "Above 1: live frames wait for readers too.");
// Of everything that others may find by name.
inline constexpr PROP_KEY kExternalAccessKey =
    BoolKey(u"external_access", true,
            "While it is started, mixers of this process find this object by its name and can show it; those of other "
            "processes do not yet.");
inline constexpr PROP_KEY kExternalAccessPrefixKey =
    OpenKey(u"external_access.prefix", eZrKeyType::String,
            "Makes a group of the objects that have the same: none finds one of another group (empty).");

// Read by everything that has plug-ins.
inline constexpr PROP_KEY kPluginsOptimizationKey =
    OpenKey(u"plugins.optimization", eZrKeyType::Bool,
            "A plug-in is asked for another frame only while the frame is not the object's own; else it changes it in "
            "place. false: it always is (true).");
inline constexpr PROP_KEY kOverlayMetersKey =
    OpenKey(u"overlay_rms", eZrKeyType::Bool,
            "Draw audio level meters on the picture: a bar for each channel, from -60 dB to 0 dB (false).");
inline constexpr PROP_KEY kOverlayWaveformKey =
    OpenKey(u"overlay_waveform", eZrKeyType::Bool, "Draw the audio waveform on the picture (false).");
inline constexpr PROP_KEY kOverlayMetersPosKey =
    OpenKey(u"overlay_rms.pos", eZrKeyType::Double,
            "Where the level meters begin, as a share of the width; below 0 from the right edge (0.1).");
inline constexpr PROP_KEY kOverlayWaveformPosKey =
    OpenKey(u"overlay_waveform.pos", eZrKeyType::Double,
            "Where the waveform begins, as a share of the height; below 0 from the lower edge (-0.3).");
inline constexpr PROP_KEY kOverlayMetersColorKey =
    OpenKey(u"overlay_rms.color", eZrKeyType::String,
            "Colour of the level meters up to -20 dB; above they are yellow, from -9 dB on red (green).");

// Keys of the preview object.
KeyNames PreviewKeyNames();
bool IsPreviewKey(std::u16string_view _strName);

// Keys of the delay line, as the delay line knows them.
KeyNames DelayKeyNames();
// The delay line's own name of "object::zrdelay...", a part of _strName; empty when it is none of its keys.
std::u16string_view DelayKeyOf(std::u16string_view _strName);

// Keys that concern the whole object.
KeyNames RootKeyNames();

}  // namespace zr
