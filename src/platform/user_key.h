#pragma once
// A tree of settings: named numbers and texts in nested keys, and the text form in which a user can read and edit it.
//
//   # a comment
//   default_tracks = 1
//   big = 5000000000L                      (64 bits; a number that needs them may leave out the L)
//   scaling_quality = "auto"               (with \" \\ \n \r \t and \u00e9)
//   last_scene.path = 'C:\scenes\last.xml' (taken as it stands)
//   background = black                     (a text too, up to the end of the line)
//
//   [Decode\MKV]
//   Decode = "dshow"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

#include "platform/status.h"

namespace zr {

// Orders names without regard to the case of ASCII letters.
struct UserNameLess {
    using is_transparent = void;
    bool operator()(std::u16string_view _a, std::u16string_view _b) const;
};

using UserValue = std::variant<int32_t, int64_t, std::u16string>;

struct UserKey {
    std::map<std::u16string, UserValue, UserNameLess> mapValues;
    std::map<std::u16string, std::unique_ptr<UserKey>, UserNameLess> mapKeys;  // none null

    // The key at a path of names joined by "\"; the empty path is this key. Null when there is none.
    UserKey* Find(std::u16string_view _svPath);
    // The same, made where it is missing. Throws std::bad_alloc.
    UserKey& Make(std::u16string_view _svPath);
};

// What a store holds at the most, so that neither a damaged nor a made-up file costs more than it should.
inline constexpr size_t kMaxUserKeyText = 1u << 20;  // bytes
inline constexpr size_t kMaxUserKeyEntries = 65536;  // values and keys together
inline constexpr size_t kMaxUserKeyDepth = 16;

// Reads the text form. Never fails: what is not readable is left out, line by line. Throws std::bad_alloc.
UserKey ParseUserKey(std::string_view _svText);
// Writes the text form, each line of _svHeading in front as a comment. What ParseUserKey makes of it is the same tree.
// E_INVALIDARG: the tree is larger or deeper than a store may be. Throws std::bad_alloc.
HRESULT FormatUserKey(const UserKey& _key, std::string_view _svHeading, std::string& _strText);

}  // namespace zr
