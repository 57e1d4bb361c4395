#pragma once
// A scene file as hosts write them, for the benchmarks of reading and writing XML: the same text for every program.

#include <cstdio>
#include <string>

namespace zr::bench {

// Groups of videos with their places, fades and a few texts; about _nCharacters long.
inline std::u16string SceneText(size_t _nCharacters) {
    std::u16string str = u"<?xml version=\"1.0\"?>\r\n<zr_scene id='scene_001' name='Scene'>\r\n\t<foreground>";
    char arr[512];
    const auto append = [&](int _nLength) { str.append(arr, arr + _nLength); };
    for (int i = 0; str.size() < _nCharacters; ++i) {
        const double x = i % 97 / 96.0;
        const double y = i % 89 / 88.0;
        append(std::snprintf(
            arr, sizeof(arr),
            "\r\n\t\t<group id='group_%03d' show='true' alpha='%.2f' x='%.4f' y='%.4f' w='1.0' h='1.0' pos='center'>",
            i, 1 - x / 2, x, y));
        append(std::snprintf(
            arr, sizeof(arr),
            "\r\n\t\t\t<video id='video_%03d' stream_idx='%d' stream_id='stream-%d' show='%s' x='%.3f' y='%.3f' "
            "w='%.3f' "
            "h='%.3f' sx='0.0' sy='0.0' sw='1.0' sh='1.0' pos='top-left' audio_gain='%+.1f'>",
            i, i % 16, i % 16, i % 3 ? "true" : "false", x, y, 0.5 - x / 4, 0.5 - y / 4, -y * 20));
        append(std::snprintf(
            arr, sizeof(arr),
            "\r\n\t\t\t\t<on_show nested='true' delay='0.5' alpha='0.0' x='%.3f'/>\r\n\t\t\t\t<on_hide alpha='0.0'/>",
            x));
        append(std::snprintf(arr, sizeof(arr), "\r\n\t\t\t</video>"));
        if (i % 4 == 0) {
            append(std::snprintf(
                arr, sizeof(arr),
                "\r\n\t\t\t<text id='title_%03d' x='0.1' y='0.8' size='24' color='White(200)' face='Sans'>Guest %d "
                "&amp; "
                "friends, live from the studio</text>",
                i, i));
        }
        append(std::snprintf(arr, sizeof(arr), "\r\n\t\t\t<!-- placed by the operator -->\r\n\t\t</group>"));
    }
    return str + u"\r\n\t</foreground>\r\n\t<view/>\r\n</zr_scene>\r\n";
}

}  // namespace zr::bench
