#pragma once
// Closed captions on their way from a stream's frames to those of the output.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zr {

// What waits is one block for each frame that had captions. Not guarded. No heap.
class StreamCaptions {
public:
    static constexpr size_t kBlockBytes = 128;
    static constexpr size_t kMaxBlocks = 32;  // more than a second: whoever does not fetch them does not want them

    // Takes the first kBlockBytes of them. The oldest block goes when there are too many.
    void Put(const void* _pData, size_t _cb) {
        if (_cb == 0) return;
        if (nCount == kMaxBlocks) Drop();
        BLOCK& block = arrBlocks[(nFirst + nCount++) % kMaxBlocks];
        block.cb = _cb < kBlockBytes ? _cb : kBlockBytes;
        std::memcpy(block.arrBytes.data(), _pData, block.cb);
    }
    // The oldest block, empty when there is none; good until the next call.
    const uint8_t* First(size_t* _pcb) const {
        *_pcb = nCount > 0 ? arrBlocks[nFirst].cb : 0;
        return arrBlocks[nFirst].arrBytes.data();
    }
    void Drop() {
        if (nCount == 0) return;
        nFirst = (nFirst + 1) % kMaxBlocks;
        --nCount;
    }
    void Clear() { nFirst = nCount = 0; }

private:
    struct BLOCK {
        size_t cb = 0;
        std::array<uint8_t, kBlockBytes> arrBytes;
    };
    std::array<BLOCK, kMaxBlocks> arrBlocks{};
    size_t nFirst = 0;
    size_t nCount = 0;
};

}  // namespace zr
