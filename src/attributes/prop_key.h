#pragma once
// What a key of an object is: its name, its type, the value it starts with, and a line of help.

#include <cstdint>
#include <span>
#include <string_view>

namespace zr {

enum class eZrKeyType : uint8_t { Bool, Int, Double, String };

struct PROP_KEY {
    const char16_t* szName;
    eZrKeyType eType;
    bool bRegistered;  // false: an object starts without the key, and its reader has a default of its own
    int32_t nDefault;  // Bool and Int
    double dblDefault;
    const char16_t* szDefault;
    const char* szHelp;  // UTF-8, one line of docs/keys.md
};

// One row of a key table each.
consteval PROP_KEY BoolKey(const char16_t* _szName, bool _bDefault, const char* _szHelp) {
    return {_szName, eZrKeyType::Bool, true, _bDefault ? 1 : 0, 0.0, nullptr, _szHelp};
}
consteval PROP_KEY IntKey(const char16_t* _szName, int32_t _nDefault, const char* _szHelp) {
    return {_szName, eZrKeyType::Int, true, _nDefault, 0.0, nullptr, _szHelp};
}
consteval PROP_KEY DoubleKey(const char16_t* _szName, double _dblDefault, const char* _szHelp) {
    return {_szName, eZrKeyType::Double, true, 0, _dblDefault, nullptr, _szHelp};
}
consteval PROP_KEY StringKey(const char16_t* _szName, const char16_t* _szDefault, const char* _szHelp) {
    return {_szName, eZrKeyType::String, true, 0, 0.0, _szDefault, _szHelp};
}
consteval PROP_KEY OpenKey(const char16_t* _szName, eZrKeyType _eType, const char* _szHelp) {
    return {_szName, _eType, false, 0, 0.0, nullptr, _szHelp};
}

using KeyNames = std::span<const std::u16string_view>;  // each with a zero behind it

// What the properties of one kind of object are.
struct PROPS_PROFILE {
    const char16_t* szDefaultName;      // of a new object, where the key default_name gives none
    const char16_t* szStoreKey;         // where the user's own values of the keys are kept
    std::span<const PROP_KEY> arrKeys;  // what the node `object` starts with, in this order
    KeyNames arrFileNames;              // keys that start-up moves from `object` to `file`
    KeyNames arrRootNames;              // keys that start-up moves from `object` to the root, after those
};

}  // namespace zr
