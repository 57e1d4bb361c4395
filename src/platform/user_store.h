#pragma once
// The settings of the user, kept between runs: each base key is one text file under the user's configuration folder.
//
// A key is written with "\" between its names, and names have no case. The first four name the file, what is deeper
// lies within it: "Software\Orvanta\Halvane\ZrFile\Decode" is the key "Decode" of orvanta/halvane/zrfile.conf. The
// folder is $ZR_CONFIG_HOME, else $XDG_CONFIG_HOME, else ~/.config.

#include <string_view>

#include "platform/user_key.h"

namespace zr {

class UserStore {
public:
    // Reads a key with everything below it. *_pKey is empty after a failure.
    // ZR_E_NOT_FOUND_FILE: there is no such key. E_INVALIDARG: fewer than four names, or an empty one.
    // ZR_E_INVALID_DATA: the file is no text file or too large. Otherwise the status of the system's error.
    static HRESULT Load(std::u16string_view _svKey, UserKey* _pKey);
    // Replaces a key with everything below it, the file as a whole: a reader sees it before or after, and so does the
    // next run if this one dies halfway. Of two processes that save at once both succeed, the later one stays.
    // E_INVALIDARG: as above, or the tree is too large to be stored. Otherwise the status of the system's error.
    static HRESULT Save(std::u16string_view _svKey, UserKey _key);
};

}  // namespace zr
