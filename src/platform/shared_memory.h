#pragma once
// Blocks of memory that can be given to another process by their descriptor.

#include <cstddef>

#include "platform/descriptor.h"
#include "platform/status.h"

namespace zr {

// Owns one block, mapped for reading and writing, zeroed at first. Its size is sealed: nobody who has the descriptor
// can take pages away from under a reader. One thread at a time.
class SharedMemory {
public:
    SharedMemory() = default;
    ~SharedMemory() { Release(); }
    SharedMemory(SharedMemory&& _other) noexcept;
    SharedMemory& operator=(SharedMemory&& _other) noexcept;

    // Makes a block of _cb bytes in place of the one held before. All its memory is there when this returns, so a use
    // of it cannot fail later. _szName: for diagnosis, as the system shows it; need not be unique.
    // E_INVALIDARG: _cb is 0. E_OUTOFMEMORY: no memory, more than the machine
    // has, or no descriptor free.
    HRESULT Create(size_t _cb, const char* _szName);
    void Release();

    void* Data() const { return pData; }  // aligned to a page; null when there is no block
    size_t Size() const { return cbSize; }
    int FileDescriptor() const { return file.Get(); }  // stays this object's; -1 when there is no block

private:
    Descriptor file;
    void* pData = nullptr;
    size_t cbSize = 0;
};

}  // namespace zr
