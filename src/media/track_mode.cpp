#include "media/track_mode.h"

#include <string>

#include "platform/wide_text.h"

namespace zr {
namespace {

constexpr std::u16string_view arrModes[] = {u"disabled",      u"enabled",       u"exclusive",
                                            u"mix_exclusive", u"enabled_addto", u"disabled_addto"};

std::u16string LettersOf(std::u16string_view _text) {
    std::u16string letters;
    for (const char16_t c : _text) {
        if (c != u'_' && c != u'-' && c != u' ') letters += c;
    }
    return letters;
}

}  // namespace

std::u16string_view TrackModeName(eZrAudioTrackMode _eMode) {
    return _eMode >= eZrAT_Disabled && _eMode <= eZrAT_Disabled_AddTo ? arrModes[_eMode] : std::u16string_view();
}

bool TrackModeOfName(std::u16string_view _name, eZrAudioTrackMode* _peMode) {
    const std::u16string letters = LettersOf(_name);
    for (int32_t n = eZrAT_Disabled; n <= eZrAT_Disabled_AddTo; ++n) {
        std::u16string number;
        AppendInt(number, n);
        if (letters != number && !EqualNoCase(letters, LettersOf(arrModes[n]))) continue;
        *_peMode = static_cast<eZrAudioTrackMode>(n);
        return true;
    }
    return false;
}

}  // namespace zr
