#pragma once
// What the library and its process are: version, file, names. For diagnosis by the host.

#include <cstdint>
#include <string>

namespace zr {

// "major.minor.patch.build" of the library.
std::u16string ModuleVersion();
// The file that the library's code was loaded from; the program itself where the library is linked into it. Empty when
// the system does not say.
std::u16string ModulePath();
// When that file was last changed, in local time: "2026-03-31 09:05:00". Empty when it is gone.
std::u16string ModuleDate();
// File name of the program, without its folder.
std::u16string ProcessName();
uint32_t ProcessId();

}  // namespace zr
