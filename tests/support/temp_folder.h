#pragma once
// Folders of a test's own, gone with it.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>

namespace zr {

struct TempFolder {
    TempFolder() {
        std::string strTemplate = (std::filesystem::temp_directory_path() / "zr_test_XXXXXX").string();
        path = mkdtemp(strTemplate.data());
    }
    ~TempFolder() {
        std::error_code ec;
        std::filesystem::remove_all(path, ec);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    std::u16string Name(std::string_view _svFile) const { return (path / _svFile).u16string(); }

    std::filesystem::path path;
};

// Where the settings of users are kept meanwhile.
struct OwnConfig : TempFolder {
    OwnConfig() { setenv("ZR_CONFIG_HOME", path.c_str(), 1); }
    ~OwnConfig() { unsetenv("ZR_CONFIG_HOME"); }
};

inline std::string BytesOfFile(const std::filesystem::path& _path) {
    std::ifstream file(_path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
inline void WriteFile(const std::filesystem::path& _path, std::string_view _svBytes) {
    std::filesystem::create_directories(_path.parent_path());
    std::ofstream(_path, std::ios::binary) << _svBytes;
}

}  // namespace zr
