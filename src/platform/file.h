#pragma once
// A regular file, read and written by position.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/status.h"

namespace zr {

class File {
public:
    enum class Access {
        Read,
        Update,  // reads and writes a file that is there
        Create,  // reads and writes; made when it is not there, emptied when it is
    };

    File() = default;
    ~File() { Close(); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    // Opens a file by name (UTF-16), in place of one that is open. ZR_E_NOT_FOUND_FILE: no such file.
    // ZR_E_NOT_SUPPORTED: a directory, a pipe or a device.
    HRESULT Open(const char16_t* _szName, Access _eAccess);
    void Close();
    bool IsOpen() const { return nDescriptor >= 0; }

    HRESULT Size(uint64_t* _pcbSize) const;
    // Reads up to _cb bytes from _nPosition on. S_FALSE: the end came first. _pcbRead receives what was read.
    HRESULT ReadAt(uint64_t _nPosition, void* _pv, size_t _cb, size_t* _pcbRead) const;
    // Writes all _cb bytes at _nPosition, growing the file; a gap reads as zeros.
    HRESULT WriteAt(uint64_t _nPosition, const void* _pv, size_t _cb);
    // Takes the disk's room for _cb bytes at _nPosition, so that a later write there finds it; the size stays as it is.
    // Win32Error(112): there is not as much. ZR_E_NOT_SUPPORTED: not on this file system.
    HRESULT Reserve(uint64_t _nPosition, uint64_t _cb);
    // Gives the room behind the end of the file back.
    HRESULT Trim();

private:
    friend HRESULT ReplaceFile(const char16_t* _szName, const void* _pv, size_t _cb);
    int nDescriptor = -1;
};

// The name from the root of the file system on: below the folder that the process works in, where it is relative.
// Throws std::bad_alloc.
std::u16string AbsolutePath(std::u16string_view _name);

// Puts a file with these bytes in the place of the one of that name, if any: who opens it sees the old one or the new
// one, whole, whatever happens meanwhile.
HRESULT ReplaceFile(const char16_t* _szName, const void* _pv, size_t _cb);

}  // namespace zr
