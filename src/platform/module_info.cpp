#include "platform/module_info.h"

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <exception>
#include <filesystem>
#include <string>

namespace zr {
namespace {

std::u16string Widen(const char* _szAscii) {
    return std::u16string(_szAscii, _szAscii + std::char_traits<char>::length(_szAscii));
}

std::filesystem::path ProgramFile() {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error);
}

// The path as text; a name that is no UTF-8 has no text form.
std::u16string TextOf(const std::filesystem::path& _path) {
    try {
        return _path.u16string();
    } catch (const std::exception&) {
        return {};
    }
}

std::filesystem::path ModuleFile() {
    Dl_info info{};
    if (!dladdr(reinterpret_cast<const void*>(&ModuleVersion), &info) || !info.dli_fname || !*info.dli_fname) return {};
    std::error_code error;
    std::filesystem::path path = std::filesystem::canonical(info.dli_fname, error);
    return error ? ProgramFile() : path;  // for the program itself the loader gives the name it was called by
}

}  // namespace

std::u16string ModuleVersion() {
    return Widen((std::to_string(ZR_VERSION_MAJOR) + "." + std::to_string(ZR_VERSION_MINOR) + "." +
                  std::to_string(ZR_VERSION_PATCH) + "." + std::to_string(ZR_VERSION_BUILD))
                     .c_str());
}

std::u16string ModulePath() { return TextOf(ModuleFile()); }

std::u16string ModuleDate() {
    struct stat status {};
    if (stat(ModuleFile().c_str(), &status) != 0) return {};
    tm local{};
    char szDate[32];
    if (!localtime_r(&status.st_mtime, &local) || !strftime(szDate, sizeof(szDate), "%Y-%m-%d %H:%M:%S", &local))
        return {};
    return Widen(szDate);
}

std::u16string ProcessName() { return TextOf(ProgramFile().filename()); }

uint32_t ProcessId() { return static_cast<uint32_t>(getpid()); }

}  // namespace zr
