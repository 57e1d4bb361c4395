#include "attributes/mixer_keys.h"

#include "attributes/key_lists.h"

namespace zr {
namespace {

constexpr PROP_KEY arrMixerKeys[] = {
    BoolKey(u"izraudio.enabled", true,
            "Run the audio engine: tracks, gains and processors work on every output frame."),
    BoolKey(
        u"izraudio.loudness", false,
        "Measure loudness, quasi-peak and true peak of the output audio and of each track that goes out; the levels "
        "are in each frame."),
    StringKey(u"statistics.extended", u"stat", "Name of the node that the statistics are published under."),
    BoolKey(u"elements.show_last_frame", true,
            "An element keeps the last picture of a stream that has no new one, or that was removed."),
    BoolKey(u"background.direct_out", false,
            "As long as there is no stream and nothing of the background is switched off, its frames go out as they "
            "are, with their own format and time, past gains, tracks and delay. A mixer that starts with it works as "
            "with sync_mode false: the background's frames drive it."),
    BoolKey(u"on_frame.sync", false, "Frame callbacks run in the sending thread and hold it."),
    BoolKey(u"on_frame.data", false, "Queued frame events carry the picture with them."),
    BoolKey(u"on_event.sync", false, "An event reaches its listener before the call that caused it returns."),
    OpenKey(
        u"on_mix.event", eZrKeyType::Bool,
        "Before each frame is mixed the event \"mix\" goes out with the frame's number; with on_event.sync the frame "
        "waits for the listener, so that what it changes shows in that frame (false)."),
    BoolKey(u"events.use_window", true, "Events reach a listener on the thread that subscribed."),
    kExternalAccessKey,
    kExternalAccessPrefixKey,
    StringKey(u"default_name", u"ZrMixer", "Name of a new object, and base of its configuration file name."),
    StringKey(u"deinterlace", u"true", "The preview deinterlaces."),
    StringKey(u"preview.audio_channels", u"", "Audio channels that the preview plays; empty plays all."),
    StringKey(u"preview.drop_frames", u"false", "The preview may lose frames when it is late."),
    StringKey(u"preview.pull", u"false", "The preview fetches frames itself instead of being sent every one."),
    StringKey(u"preview.crop", u"0.0%,0.0%,0.0%,0.0%", "Left, top, right and bottom margin that the preview cuts off."),
    StringKey(u"preview.type", u"direct3d", "How the preview draws."),
    BoolKey(u"preview.show_cc", true, "The preview shows closed captions."),
    IntKey(u"default_tracks", 1, "Audio tracks shown before any audio came."),
    IntKey(u"channels_per_track", 0, "Channels of each audio track; 0 takes the count of the format."),
    StringKey(u"audio_channels", u"", "Channel map of the output audio; empty changes nothing."),
    StringKey(u"audio_gain", u"",
              "Gain of the output audio in dB, one value or one for each channel; empty changes nothing."),
    StringKey(u"last_scene.path", uR"(..\..\Resources\last-scene-cpu.xml)",
              "File that the scenes are saved to and loaded from."),
    IntKey(u"last_scene.load", 0, "Above 0: load that file when the object is made."),
    IntKey(u"last_scene.save", 0, "Above 0: save the scenes to that file when the object closes."),
    BoolKey(u"auto_start", true, "Start playing as soon as the object is started."),
    BoolKey(u"sync_mode", true, "Synchronous mixing: every cycle asks each source for one frame."),
    BoolKey(u"sync_mode.async_get", true, "Sources are asked in parallel."),
    OpenKey(u"sync_mode.get_max_wait", eZrKeyType::Int,
            "Longest wait for a frame of a source, in ms (250); negative waits without limit, so that no frame is ever "
            "left out."),
    OpenKey(u"sync_mode.async_put", eZrKeyType::Bool,
            "Kept for hosts that set it: frames of sources are always prepared in parallel."),
    BoolKey(
        u"sync_mode.direct_hv_links", true,
        "A path that is the name of an object of this process, a mixer or a file source, connects to that object "
        "directly, if it has started, shows itself (external_access) in the same group (external_access.prefix) and "
        "this mixer works with sync_mode. A name counts before a file that is called so. False: a path is always "
        "that of a file."),
    IntKey(u"sync_mode.fixed_buffers", 0,
           "2 or more: fetching and composing overlap, with this many frames in flight."),
    BoolKey(u"sync_mode.external_exclusive", false, "Sources in a process of their own serve this mixer alone."),
    BoolKey(u"sync_mode.external_keepres", false, "Sources in a process of their own keep their picture size."),
    BoolKey(u"external.autostart", true, "Objects that are added as streams are started."),
    BoolKey(u"external.loop", false, "Objects that are added as streams loop."),
    BoolKey(u"cut_offscreen", true, "Parts of a picture outside the output frame are not drawn."),
    BoolKey(u"items.external_access", true, "Sources of streams may run in a process of their own."),
    BoolKey(u"bg.external_access", false, "The source of the background may run in a process of its own."),
    IntKey(u"pause_changes", 1,
           "Scene changes in a pause: 0 they run on, 1 they stand still. 2 or more set later stops them at all times; "
           "a stored one counts as 1."),
    IntKey(u"output.max_buffers", 0,
           "Most frames in the output queue; 0 sends without a queue. Synchronous mixing has at least 1."),
    IntKey(u"output.min_buffers", 0, "Frames that must be queued before sending begins."),
    BoolKey(u"cut_overlapped", true, "Parts of a picture that others cover are not drawn."),
    DoubleKey(u"live.fixed_wait_div", 0.0,
              "Above 0: each cycle waits the frame time divided by this, instead of by pace."),
    BoolKey(u"live.wait_all", true, "The cycle also waits for live streams that are neither seen nor heard."),
    DoubleKey(u"in_preroll", 1.0, "Seconds that a file decodes ahead of its in point."),
    DoubleKey(u"tc_preroll", 1.0, "Seconds that a file decodes ahead of a position given as time code."),
    BoolKey(u"loop", true, "The object loops."),
    BoolKey(u"file.loop", true, "Files that are added as streams loop."),
    StringKey(u"scaling_quality", u"auto", "Scaler for whole frames: a level number, or auto."),
    IntKey(u"scaling_quality.blocks", 2, "Scaler for the pictures of streams: a level number."),
    BoolKey(u"output.skip_if_not_ready", false, "Send no frame in a cycle in which the scene is not ready."),
    IntKey(u"timecode.source_idx", 0, "Index of the stream whose time code the output carries."),
    BoolKey(u"transitions.scale_to_output", false,
            "A transition mixes pictures scaled to the output, not at their own size."),
    BoolKey(u"threads.priority_on", false, "Set thread priorities by the next two keys."),
    StringKey(u"threads.priority_min", u"-2", "Priority of the threads of sources that left the mixer."),
    StringKey(u"threads.priority_max", u"15", "Priority of the mix thread, the output queue and connected sources."),
    StringKey(u"background", u"black", "Colour of the frame where nothing is drawn."),
    StringKey(u"locked.force_master", u"false",
              "The cycle waits for a live stream that is locked to the output, as it does for a file."),

    // What is read but not started with.
    kRateControlKey,
    kPutWaitKey,
    kOutputTypeKey,
    OpenKey(u"pull_mode.cycles_before_disconnect", eZrKeyType::Int,
            "Cycles that a reader may miss before nobody waits for it (15)."),
    OpenKey(u"pull_mode.wait_till_get", eZrKeyType::Int, "Milliseconds added to the wait for readers (200)."),
    OpenKey(u"sync_mode.control_fps", eZrKeyType::Bool, "Sources are asked for the frame rate of the output (true)."),
    OpenKey(u"mixing.threads", eZrKeyType::Int, "Threads that draw a frame of more than 240 lines (1)."),
    kPluginsOptimizationKey,
    kOverlayMetersKey,
    kOverlayWaveformKey,
    kOverlayMetersPosKey,
    kOverlayWaveformPosKey,
    kOverlayMetersColorKey,
    OpenKey(u"pause.no_input", eZrKeyType::Bool, "A single item may be told to pause (false)."),
    OpenKey(u"last_scene.unicode", eZrKeyType::Bool, "That file is written as UTF-16, not as UTF-8 (false)."),
};

// Handed on to the file sources of the streams.
constexpr std::u16string_view arrFileNames[] = {u"in_preroll",     u"audio_track", u"video_track",
                                                u"subtitle_track", u"tc_preroll",  u"decode"};

}  // namespace

const PROPS_PROFILE& MixerProfile() {
    static const PROPS_PROFILE profile{u"ZrMixer", uR"(Software\Orvanta\Halvane\ZrMixer)", arrMixerKeys, arrFileNames,
                                       RootKeyNames()};
    return profile;
}

}  // namespace zr
