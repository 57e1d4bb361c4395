#include "platform/user_store.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <new>
#include <string>
#include <utility>

#include "platform/descriptor.h"
#include "platform/utf.h"

namespace zr {

namespace {

constexpr char szHeading[] =
    "Settings, one a line. Numbers: 12 has 32 bits, 12L has 64. Texts: \"...\" with \\\" \\\\ \\n \\r \\t \\u0000, or "
    "'...' as it "
    "stands.\nThe file is written anew by the program: comments are not kept.\n";

// Where a key is: its file in two parts, and the path inside.
struct LOCATION {
    std::string strFolder;
    std::string strFile;
    std::u16string_view svInside;
};

std::string ConfigFolder() {
    for (const char* szName : {"ZR_CONFIG_HOME", "XDG_CONFIG_HOME"})
        if (const char* szFolder = std::getenv(szName); szFolder && szFolder[0] == '/') return szFolder;
    if (const char* szHome = std::getenv("HOME"); szHome && szHome[0] == '/') return std::string(szHome) + "/.config";
    char arrText[1024];
    passwd entry{};
    passwd* pEntry = nullptr;
    if (getpwuid_r(getuid(), &entry, arrText, sizeof arrText, &pEntry) != 0 || !pEntry) return {};
    return std::string(pEntry->pw_dir) + "/.config";
}

// A name of a key as one component of a path: lower case, and never "." or "..".
std::string Component(std::u16string_view _svName) {
    std::string str;
    for (const char ch : Utf8FromUtf16(_svName)) {
        const auto nByte = static_cast<unsigned char>(ch);
        if (ch >= 'A' && ch <= 'Z') {
            str += static_cast<char>(ch + 32);
        } else if ((ch >= 'a' && ch <= 'z') || (ch >= '0' && ch <= '9') || ch == '-' || ch == '_' || nByte >= 0x80 ||
                   (ch == '.' && !str.empty())) {
            str += ch;
        } else {
            str += '%';
            str += "0123456789abcdef"[nByte >> 4];
            str += "0123456789abcdef"[nByte & 0xF];
        }
    }
    return str;
}

HRESULT Locate(std::u16string_view _svKey, LOCATION& _location) {
    constexpr int kFileNames = 4;
    _location.strFolder = ConfigFolder();
    if (_location.strFolder.empty()) return ZR_E_NOT_FOUND_FILE;
    std::u16string_view svRest = _svKey;
    for (int i = 0; i < kFileNames; ++i) {
        const std::u16string_view svName = svRest.substr(0, svRest.find(u'\\'));
        if (svName.empty()) return E_INVALIDARG;
        const std::string strComponent = Component(svName);
        svRest.remove_prefix(std::min(svName.size() + 1, svRest.size()));
        if (i == kFileNames - 1)
            _location.strFile = _location.strFolder + '/' + strComponent + ".conf";
        else if (i > 0 || strComponent != "software")
            _location.strFolder += '/' + strComponent;
    }
    _location.svInside = svRest;
    const bool bEmptyName = svRest.starts_with(u'\\') || _svKey.ends_with(u'\\') || svRest.find(u"\\\\") != svRest.npos;
    return bEmptyName ? E_INVALIDARG : S_OK;
}

HRESULT ReadText(const std::string& _strFile, std::string& _strText) {
    // Not blocking, so that a pipe in the file's place does not hold us up.
    const Descriptor file(open(_strFile.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    struct stat info {};
    if (!file || fstat(file.Get(), &info) != 0) return StatusFromErrno(errno);
    if (!S_ISREG(info.st_mode) || info.st_size > static_cast<off_t>(kMaxUserKeyText)) return ZR_E_INVALID_DATA;
    _strText.resize(static_cast<size_t>(info.st_size));
    size_t nRead = 0;
    while (nRead < _strText.size()) {
        const ssize_t n = read(file.Get(), _strText.data() + nRead, _strText.size() - nRead);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return StatusFromErrno(errno);
        if (n == 0) break;
        nRead += static_cast<size_t>(n);
    }
    _strText.resize(nRead);
    return S_OK;
}

HRESULT MakeFolders(const std::string& _strFolder) {
    for (size_t nEnd = _strFolder.find('/', 1);; nEnd = _strFolder.find('/', nEnd + 1)) {
        if (mkdir(_strFolder.substr(0, nEnd).c_str(), 0700) != 0 && errno != EEXIST) {
            // A folder above that is there but not ours to look into: the last one decides.
            if (nEnd == _strFolder.npos) return StatusFromErrno(errno);
        }
        if (nEnd == _strFolder.npos) return S_OK;
    }
}

// Writes all and has it reach the disk. 0, or the error number.
int WriteThrough(int _fd, std::string_view _sv) {
    while (!_sv.empty()) {
        const ssize_t n = write(_fd, _sv.data(), _sv.size());
        if (n < 0 && errno != EINTR) return errno;
        if (n > 0) _sv.remove_prefix(static_cast<size_t>(n));
    }
    return fsync(_fd) == 0 ? 0 : errno;
}

HRESULT ReplaceFile(const std::string& _strFile, std::string_view _svText, int _fdFolder) {
    std::string strTemp = _strFile + ".XXXXXX";
    Descriptor file(mkostemp(strTemp.data(), O_CLOEXEC));
    if (!file) return StatusFromErrno(errno);
    int nError = WriteThrough(file.Get(), _svText);
    if (nError == 0 && rename(strTemp.c_str(), _strFile.c_str()) != 0) nError = errno;
    if (nError != 0) {
        unlink(strTemp.c_str());
        return StatusFromErrno(nError);
    }
    fsync(_fdFolder);  // the name's change too; where a folder cannot be synced there is nothing to be done
    return S_OK;
}

HRESULT LoadFrom(const LOCATION& _location, UserKey& _key) {
    std::string strText;
    if (const HRESULT hr = ReadText(_location.strFile, strText); Failed(hr)) return hr;
    UserKey root = ParseUserKey(strText);
    UserKey* pInside = root.Find(_location.svInside);
    if (!pInside) return ZR_E_NOT_FOUND_FILE;
    UserKey key = std::move(*pInside);
    _key = std::move(key);
    return S_OK;
}

HRESULT SaveTo(const LOCATION& _location, UserKey _key) {
    if (const HRESULT hr = MakeFolders(_location.strFolder); Failed(hr)) return hr;
    // Held until the file is replaced, so that a key of a file that another process saves meanwhile is not lost. Where
    // a folder cannot be locked the save goes on without.
    const Descriptor folder(open(_location.strFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder) return StatusFromErrno(errno);
    while (flock(folder.Get(), LOCK_EX) != 0 && errno == EINTR) {
    }
    std::string strOld, strNew;
    const HRESULT hrRead = ReadText(_location.strFile, strOld);
    HRESULT hr;
    if (_location.svInside.empty()) {
        hr = FormatUserKey(_key, szHeading, strNew);
    } else {
        if (Failed(hrRead) && hrRead != ZR_E_NOT_FOUND_FILE) return hrRead;  // its other keys would be lost
        UserKey root = ParseUserKey(strOld);
        root.Make(_location.svInside) = std::move(_key);
        hr = FormatUserKey(root, szHeading, strNew);
    }
    if (Failed(hr)) return hr;
    if (Succeeded(hrRead) && strOld == strNew) return S_OK;  // most starts change nothing: the disk is left alone
    return ReplaceFile(_location.strFile, strNew, folder.Get());
}

}  // namespace

HRESULT UserStore::Load(std::u16string_view _svKey, UserKey* _pKey) {
    if (!_pKey) return E_POINTER;
    *_pKey = {};
    try {
        LOCATION location;
        const HRESULT hr = Locate(_svKey, location);
        return Failed(hr) ? hr : LoadFrom(location, *_pKey);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT UserStore::Save(std::u16string_view _svKey, UserKey _key) {
    try {
        LOCATION location;
        const HRESULT hr = Locate(_svKey, location);
        return Failed(hr) ? hr : SaveTo(location, std::move(_key));
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

}  // namespace zr
