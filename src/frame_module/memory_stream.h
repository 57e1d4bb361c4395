#pragma once
// A stream of bytes in memory.

#include <cstdint>
#include <vector>

#include "platform/unknown.h"

namespace zr {

// Grows as it is written. One thread at a time.
class MemoryStream final : public UnknownImpl<IStream> {
public:
    HRESULT Read(void* _pv, uint32_t _cb, uint32_t* _pcbRead) override;
    HRESULT Write(const void* _pv, uint32_t _cb, uint32_t* _pcbWritten) override;
    HRESULT Seek(int64_t _nMove, uint32_t _nOrigin, uint64_t* _pnNewPos) override;
    HRESULT SetSize(uint64_t _cb) override;

private:
    std::vector<uint8_t> arrBytes;
    uint64_t nPosition = 0;  // may lie past the end
};

}  // namespace zr
