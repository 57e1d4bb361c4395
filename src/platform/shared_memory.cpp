#include "platform/shared_memory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace zr {

namespace {

HRESULT LastError() {
    switch (errno) {
        case ENOSPC:
        case EFBIG:
        case EMFILE:
        case ENFILE: return E_OUTOFMEMORY;
        default: return StatusFromErrno(errno);
    }
}

// The system hands out pages until the machine has none left for anybody, so a size beyond reason is refused first.
size_t MachineMemory() {
    return static_cast<size_t>(sysconf(_SC_PHYS_PAGES)) * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace

SharedMemory::SharedMemory(SharedMemory&& _other) noexcept
    : file(std::move(_other.file)),
      pData(std::exchange(_other.pData, nullptr)),
      cbSize(std::exchange(_other.cbSize, 0)) {}

SharedMemory& SharedMemory::operator=(SharedMemory&& _other) noexcept {
    SharedMemory old(std::move(*this));
    file = std::move(_other.file);
    pData = std::exchange(_other.pData, nullptr);
    cbSize = std::exchange(_other.cbSize, 0);
    return *this;
}

HRESULT SharedMemory::Create(size_t _cb, const char* _szName) {
    Release();
    if (_cb == 0) return E_INVALIDARG;
    if (_cb > MachineMemory()) return E_OUTOFMEMORY;
    Descriptor block(memfd_create(_szName, MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!block) return LastError();
    // Without this a page that is not to be had would end the process at its first use.
    if (fallocate(block.Get(), 0, 0, static_cast<off_t>(_cb)) != 0) return LastError();
    if (fcntl(block.Get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0) return LastError();
    void* const p = mmap(nullptr, _cb, PROT_READ | PROT_WRITE, MAP_SHARED, block.Get(), 0);
    if (p == MAP_FAILED) return LastError();
    file = std::move(block);
    pData = p;
    cbSize = _cb;
    return S_OK;
}

void SharedMemory::Release() {
    if (pData) munmap(std::exchange(pData, nullptr), std::exchange(cbSize, 0));
    file.Reset();
}

}  // namespace zr
