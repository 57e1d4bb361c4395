#include "frame_module/frame_buffer.h"

#include <bit>
#include <new>
#include <utility>

#include "frame_module/address_check.h"

namespace zr {

namespace {

constexpr size_t kHeaderBytes = sizeof(FrameBuffer);
static_assert(kHeaderBytes == kBufferAlignment, "the data behind the header stays aligned");

}  // namespace

void FrameBuffer::OnLastRelease() {
    if (IUnknown* pOld = std::exchange(pOwner, nullptr)) pOld->Release();
    pPool->Put(this);
}

BufferPool& BufferPool::Shared() {
    static BufferPool& pool = *new BufferPool;
    return pool;
}

BufferPool::~BufferPool() {
    for (SizeClass& sizeClass : arrClasses) {
        MutexLock lock(sizeClass.mtx);
        FreeList(std::exchange(sizeClass.pFirst, nullptr));
    }
}

uint32_t BufferPool::ClassOf(size_t _cb) {
    if (_cb <= size_t{1} << kMinShift) return kFirstClass;
    const size_t nLast = _cb - 1;
    const auto nShift = static_cast<uint32_t>(std::bit_width(nLast)) - 1;
    const auto nEighth = static_cast<uint32_t>(nLast >> (nShift - 3)) & 7;
    return kFirstClass + 1 + (nShift - kMinShift) * 8 + nEighth;
}

size_t BufferPool::ClassBytes(uint32_t _nClass) {
    if (_nClass == kWrapperClass) return 0;
    if (_nClass == kFirstClass) return size_t{1} << kMinShift;
    const uint32_t nStep = _nClass - kFirstClass - 1;
    return size_t{9 + nStep % 8} << (kMinShift + nStep / 8 - 3);
}

BufferPtr BufferPool::Get(size_t _cb) {
    if (_cb > kMaxBytes) return {};
    const uint32_t nClass = ClassOf(_cb);
    FrameBuffer* p = Take(nClass);
    if (!p) p = Make(nClass);
    if (!p) return {};
    MarkTouchable(p->pData, _cb + kBufferSlack);
    return BufferPtr::Attach(p);
}

BufferPtr BufferPool::Wrap(uint8_t* _p, size_t _cb, IUnknown* _pOwner) {
    FrameBuffer* p = Take(kWrapperClass);
    if (!p) p = Make(kWrapperClass);
    if (!p) return {};
    p->pData = _p;
    p->cbCapacity = _cb;
    p->pOwner = _pOwner;
    if (_pOwner) _pOwner->AddRef();
    return BufferPtr::Attach(p);
}

FrameBuffer* BufferPool::Take(uint32_t _nClass) {
    SizeClass& sizeClass = arrClasses[_nClass];
    FrameBuffer* p;
    {
        MutexLock lock(sizeClass.mtx);
        sizeClass.nLastGet = nGets.fetch_add(1, std::memory_order_relaxed);
        p = sizeClass.pFirst;
        if (!p) return nullptr;
        sizeClass.pFirst = p->pNext;
    }
    cbFree.fetch_sub(ClassBytes(_nClass), std::memory_order_relaxed);
    p->pNext = nullptr;
    p->nReferences.store(1, std::memory_order_relaxed);
    return p;
}

FrameBuffer* BufferPool::Make(uint32_t _nClass) {
    const size_t cbData = ClassBytes(_nClass);
    const size_t cbSlack = _nClass == kWrapperClass ? 0 : kBufferSlack;
    uint8_t* pBlock = BufferMemoryAlloc(kHeaderBytes + cbData + cbSlack);
    if (!pBlock) return nullptr;
    nBlocks.fetch_add(1, std::memory_order_relaxed);
    MarkUntouchable(pBlock + kHeaderBytes, cbData + cbSlack);
    return new (pBlock) FrameBuffer(*this, _nClass, pBlock + kHeaderBytes, cbData);
}

void BufferPool::Put(FrameBuffer* _p) {
    const uint32_t nClass = _p->nClass;
    if (nClass != kWrapperClass) MarkUntouchable(_p->pData, ClassBytes(nClass) + kBufferSlack);
    // Counted before it can be taken, so that the count never runs below zero.
    const size_t cbNow = cbFree.fetch_add(ClassBytes(nClass), std::memory_order_relaxed) + ClassBytes(nClass);
    SizeClass& sizeClass = arrClasses[nClass];
    {
        MutexLock lock(sizeClass.mtx);
        _p->pNext = sizeClass.pFirst;
        sizeClass.pFirst = _p;
    }
    if (cbNow > cbKeep && nGets.load(std::memory_order_relaxed) % 64 == 0) FreeIdleClasses();
}

void BufferPool::FreeIdleClasses() {
    const uint64_t nNow = nGets.load(std::memory_order_relaxed);
    for (uint32_t i = kFirstClass; i < kClasses && cbFree.load(std::memory_order_relaxed) > cbKeep; ++i) {
        FrameBuffer* pIdle = nullptr;
        {
            MutexLock lock(arrClasses[i].mtx);
            if (arrClasses[i].nLastGet + kIdleGets > nNow) continue;
            pIdle = std::exchange(arrClasses[i].pFirst, nullptr);
        }
        FreeList(pIdle);
    }
}

void BufferPool::FreeList(FrameBuffer* _pFirst) {
    while (_pFirst) {
        FrameBuffer* p = std::exchange(_pFirst, _pFirst->pNext);
        const size_t cbData = ClassBytes(p->nClass);
        const size_t cbSlack = p->nClass == kWrapperClass ? 0 : kBufferSlack;
        auto* pBlock = reinterpret_cast<uint8_t*>(p);
        p->~FrameBuffer();
        MarkTouchable(pBlock + kHeaderBytes, cbData + cbSlack);
        BufferMemoryFree(pBlock, kHeaderBytes + cbData + cbSlack);
        cbFree.fetch_sub(cbData, std::memory_order_relaxed);
        nBlocks.fetch_sub(1, std::memory_order_relaxed);
    }
}

}  // namespace zr
