#pragma once
// What ends a run of zrmix before its time.

#include <stdexcept>
#include <string>
#include <string_view>

#include "zr/zr.h"

namespace zrmix {

// Exit codes.
inline constexpr int kDone = 0;
inline constexpr int kRunFailed = 1;
inline constexpr int kUsage = 2;

// One sentence for the user: what could not be done, with which file, and why.
class RunError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    // "clip.mp4: There is no such file."
    RunError(std::string_view _what, zr::HRESULT _hr)
        : std::runtime_error(std::string(_what) + ": " + zr::StatusText(_hr)) {}
};

// The command line asks for something that cannot be.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Throws for a failure of an operation.
inline void Check(zr::HRESULT _hr, std::string_view _what) {
    if (zr::Failed(_hr)) throw RunError(_what, _hr);
}

}  // namespace zrmix
