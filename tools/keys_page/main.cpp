// Writes docs/keys.md from the key tables to its output; scripts/check-keys keeps the file equal to it.

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>

#include "attributes/file_keys.h"
#include "attributes/item_keys.h"
#include "attributes/key_lists.h"
#include "attributes/mixer_keys.h"
#include "attributes/special_names.h"

namespace {

using zr::eZrKeyType;
using zr::KeyNames;
using zr::PROP_KEY;
using zr::PROPS_PROFILE;

std::string Narrow(std::u16string_view _strAscii) {
    std::string str;
    for (const char16_t c : _strAscii) str.push_back(c < 0x80 ? static_cast<char>(c) : '?');
    return str;
}

bool Has(KeyNames _names, std::u16string_view _strName) {
    return std::find(_names.begin(), _names.end(), _strName) != _names.end();
}

// Where the key stands once the object is made: start-up moves some keys away from `object`.
std::string PathOf(const PROPS_PROFILE& _profile, const PROP_KEY& _key) {
    const std::string strName = Narrow(_key.szName);
    if (Has(_profile.arrFileNames, _key.szName)) return "file::" + strName;
    if (Has(_profile.arrRootNames, _key.szName) || Has(zr::PreviewKeyNames(), _key.szName)) return strName;
    return "object::" + strName;
}

const char* TypeName(eZrKeyType _eType) {
    switch (_eType) {
        case eZrKeyType::Bool: return "bool";
        case eZrKeyType::Int: return "int";
        case eZrKeyType::Double: return "double";
        case eZrKeyType::String: break;
    }
    return "string";
}

std::string Code(const std::string& _str) {
    std::string strCode(1, '`');
    strCode += _str;
    strCode += '`';
    return strCode;
}

std::string DefaultOf(const PROP_KEY& _key) {
    if (!_key.bRegistered) return "not set";
    switch (_key.eType) {
        case eZrKeyType::Bool: return Code(_key.nDefault ? "true" : "false");
        case eZrKeyType::Int: return Code(std::to_string(_key.nDefault));
        case eZrKeyType::Double: {
            char szText[32];
            std::snprintf(szText, sizeof(szText), "%.1f", _key.dblDefault);
            return Code(szText);
        }
        case eZrKeyType::String: break;
    }
    return *_key.szDefault ? Code(Narrow(_key.szDefault)) : "empty";
}

void PrintTable(std::span<const PROP_KEY> _keys, const auto& _path) {
    std::puts("| key | type | default | what it does |\n|---|---|---|---|");
    for (const PROP_KEY& key : _keys)
        std::printf("| `%s` | %s | %s | %s |\n", _path(key).c_str(), TypeName(key.eType), DefaultOf(key).c_str(),
                    key.szHelp);
}

void PrintProfile(const char* _szTitle, const PROPS_PROFILE& _profile) {
    std::printf("\n## %s\n\nKept for the user under `%s`.\n\n", _szTitle, Narrow(_profile.szStoreKey).c_str());
    PrintTable(_profile.arrKeys, [&](const PROP_KEY& _key) { return PathOf(_profile, _key); });
}

void PrintNames(const char* _szTitle, const char* _szText, KeyNames _names, const char* _szPrefix) {
    std::printf("\n## %s\n\n%s\n\n", _szTitle, _szText);
    for (const std::u16string_view name : _names) std::printf("- `%s%s`\n", _szPrefix, Narrow(name).c_str());
}

}  // namespace

int main() {
    std::puts(
        "# Keys\n\n"
        "<!-- Made by scripts/check-keys --fix from the tables in src/attributes; do not edit. -->\n\n"
        "Every object is set up by keys. `PropsSet` and `PropsGet` take the key as it stands here; a key behind "
        "`object::`\n"
        "or `file::` is an attribute of the node of that name. A changed key counts from the next time it is read, as "
        "a\n"
        "rule in the next frame. A value may be set as text and read as any type; text that is no number reads as "
        "0.\n\n"
        "A new object starts with the defaults, then takes the user's own values over them. Those are kept under\n"
        "`$XDG_CONFIG_HOME` (or `$ZR_CONFIG_HOME`), and the first run writes all defaults there, to be seen and "
        "changed.");
    PrintProfile("Keys of a mixer", zr::MixerProfile());
    PrintProfile("Keys of a file source", zr::FileProfile());
    std::puts(
        "\n## Keys of an item\n\nOf a stream's place in the mixer; `object::` and `file::` lead on to its source.\n");
    PrintTable(zr::ItemKeys(), [](const PROP_KEY& _key) { return Narrow(_key.szName); });
    PrintNames("Passed on to the preview",
               "These go on to the preview of the object, when it has one, and are read from it.",
               zr::PreviewKeyNames(), "");
    PrintNames("Passed on to the delay line", "These go on to the delay line of the object, when it has one.",
               zr::DelayKeyNames(), "object::");
    std::puts("\n## Answered by the object\n\nRead-only.\n\n| name | what it gives |\n|---|---|");
    for (const zr::SPECIAL_NAME& name : zr::SpecialNames())
        std::printf("| `%s` | %s |\n", Narrow(name.szName).c_str(), name.szHelp);
    return std::ferror(stdout) ? 1 : 0;
}
