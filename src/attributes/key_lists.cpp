#include "attributes/key_lists.h"

#include <algorithm>

#include "platform/wide_text.h"

namespace zr {
namespace {

constexpr std::u16string_view arrPreviewKeys[] = {u"preview.external_process",
                                                  u"preview.type",
                                                  u"preview.show_cc",
                                                  u"maintain_ar",
                                                  u"full_screen",
                                                  u"direct3d.pixel_format",
                                                  u"deinterlace",
                                                  u"preview.drop_frames",
                                                  u"preview.skip_fields",
                                                  u"preview.pull",
                                                  u"preview.downscale",
                                                  u"preview.crop",
                                                  u"preview.audio_channels",
                                                  u"preview.audio_gain",
                                                  u"audio.buffer_size_msec",
                                                  u"video_renderer",
                                                  u"audio_renderer",
                                                  u"audio_renderer.list",
                                                  u"audio_renderer.reset",
                                                  u"preview.zrserver_pid"};

constexpr std::u16string_view arrDelayKeys[] = {u"zrdelay.time",
                                                u"zrdelay.quality",
                                                u"zrdelay.split_progressive",
                                                u"zrdelay.buffer_path",
                                                u"zrdelay.buffer_duration",
                                                u"zrdelay.buffer_size_mem",
                                                u"zrdelay.delete_on_close",
                                                u"zrdelay.reset_on_open",
                                                u"zrdelay.static_mute",
                                                u"zrdelay.static_deinterlace"};
constexpr std::u16string_view strDelayPrefix = u"object::";

constexpr std::u16string_view arrRootNames[] = {u"loop",
                                                u"auto_start",
                                                u"preview.type",
                                                u"preview.show_cc",
                                                u"active_frc",
                                                u"last_scene.load",
                                                u"last_scene.save",
                                                u"last_scene.path",
                                                u"deinterlace",
                                                u"pause_changes",
                                                u"cut_offscreen",
                                                u"pause.no_input",
                                                u"background.direct_out",
                                                u"pull_mode.cycles_before_disconnect",
                                                u"pull_mode.wait_till_get"};

bool Has(KeyNames _names, std::u16string_view _strName) {
    return std::any_of(_names.begin(), _names.end(), [&](std::u16string_view name) {
        return name.size() == _strName.size() && EqualNoCase(name, _strName);
    });
}

}  // namespace

KeyNames PreviewKeyNames() { return arrPreviewKeys; }
KeyNames DelayKeyNames() { return arrDelayKeys; }
KeyNames RootKeyNames() { return arrRootNames; }

bool IsPreviewKey(std::u16string_view _strName) { return Has(arrPreviewKeys, _strName); }

std::u16string_view DelayKeyOf(std::u16string_view _strName) {
    if (_strName.size() <= strDelayPrefix.size()) return {};
    if (!EqualNoCase(_strName.substr(0, strDelayPrefix.size()), strDelayPrefix)) return {};
    const std::u16string_view strKey = _strName.substr(strDelayPrefix.size());
    return Has(arrDelayKeys, strKey) ? strKey : std::u16string_view();
}

}  // namespace zr
