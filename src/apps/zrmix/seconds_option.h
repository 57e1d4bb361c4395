#pragma once
// Times on the command line.

#include <CLI/CLI.hpp>

namespace zrmix {

// Takes numbers from 0 to kMostSeconds.
CLI::Validator IsTime();
// The same from a microsecond on.
CLI::Validator IsLength();

}  // namespace zrmix
