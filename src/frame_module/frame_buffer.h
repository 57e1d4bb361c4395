#pragma once
// Counted blocks of memory and the pool they come from and go back to. Pictures, audio and attached data of frames live
// in them; several frames may hold one.

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "frame_module/buffer_memory.h"
#include "platform/lock.h"
#include "zr/ptr.h"

namespace zr {

class BufferPool;

// One block. Its first byte is 64-byte aligned and kBufferSlack bytes behind the size asked for may be read. Any thread
// may hold and drop references; the content is not guarded.
class alignas(kBufferAlignment) FrameBuffer {
public:
    FrameBuffer(const FrameBuffer&) = delete;
    FrameBuffer& operator=(const FrameBuffer&) = delete;

    uint8_t* Data() const { return pData; }
    size_t Capacity() const { return cbCapacity; }

    uint32_t AddRef() { return nReferences.fetch_add(1, std::memory_order_relaxed) + 1; }
    uint32_t Release() {
        const uint32_t nLeft = nReferences.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (nLeft == 0) OnLastRelease();
        return nLeft;
    }

private:
    friend class BufferPool;
    FrameBuffer(BufferPool& _pool, uint32_t _nClass, uint8_t* _pData, size_t _cbCapacity)
        : pPool(&_pool), pData(_pData), cbCapacity(_cbCapacity), nClass(_nClass) {}
    ~FrameBuffer() = default;
    void OnLastRelease();

    BufferPool* const pPool;
    uint8_t* pData;
    size_t cbCapacity;
    IUnknown* pOwner = nullptr;    // whose memory it is, when it is not the pool's
    FrameBuffer* pNext = nullptr;  // in the pool's list
    std::atomic<uint32_t> nReferences{1};
    const uint32_t nClass;
};

using BufferPtr = ZrPtr<FrameBuffer>;

// Keeps released blocks by size class (eight to a doubling, so at most an eighth is wasted) and gives the one that came
// last, which is still in the cache. It never shrinks below what was in use at once; but when more than _cbKeep bytes
// lie free, classes that nobody has asked for during kIdleGets requests are given back to the system.
class BufferPool {
public:
    static constexpr size_t kMaxBytes = 0x7FFFFFFF;  // sizes of frames are signed 32-bit numbers
    static constexpr uint64_t kIdleGets = 8192;

    explicit BufferPool(size_t _cbKeep = size_t{512} << 20) : cbKeep(_cbKeep) {}
    ~BufferPool();
    BufferPool(const BufferPool&) = delete;
    BufferPool& operator=(const BufferPool&) = delete;

    // The pool of the process; it is never destroyed, as frames may outlive everything.
    static BufferPool& Shared();

    // A block of at least _cb bytes with undefined content. Empty: memory is out, or _cb is above kMaxBytes.
    BufferPtr Get(size_t _cb);
    // A block over _cb bytes of someone else's memory, which a reference to _pOwner keeps alive. No slack is promised.
    BufferPtr Wrap(uint8_t* _p, size_t _cb, IUnknown* _pOwner);

    // Blocks that the system has given and not got back, in use or free; and the bytes that lie free. For tests.
    size_t BlockCount() const { return nBlocks.load(std::memory_order_relaxed); }
    size_t FreeBytes() const { return cbFree.load(std::memory_order_relaxed); }

private:
    friend class FrameBuffer;
    static constexpr uint32_t kWrapperClass = 0;  // a header without memory
    static constexpr uint32_t kFirstClass = 1;
    static constexpr uint32_t kMinShift = 8;  // the smallest block has 256 bytes
    static constexpr uint32_t kClasses = kFirstClass + 1 + (31 - kMinShift) * 8;

    struct alignas(kBufferAlignment) SizeClass {
        Mutex mtx;
        FrameBuffer* pFirst ZR_GUARDED_BY(mtx) = nullptr;
        uint64_t nLastGet ZR_GUARDED_BY(mtx) = 0;  // the number of the request that last asked for the class
    };

    static uint32_t ClassOf(size_t _cb);
    static size_t ClassBytes(uint32_t _nClass);
    FrameBuffer* Take(uint32_t _nClass);
    FrameBuffer* Make(uint32_t _nClass);
    void Put(FrameBuffer* _p);
    void FreeList(FrameBuffer* _pFirst);
    void FreeIdleClasses();

    const size_t cbKeep;
    std::atomic<uint64_t> nGets{0};
    std::atomic<size_t> nBlocks{0};
    std::atomic<size_t> cbFree{0};
    SizeClass arrClasses[kClasses];
};

}  // namespace zr
