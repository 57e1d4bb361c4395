#include "frame_module/frame_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "frame_module/frame_builders.h"
#include "support/stress.h"

namespace zr {
namespace {

TEST(BufferPool, AnySizeIsAlignedWithSlackAndLittleWaste) {
    BufferPool pool;
    for (const size_t cb :
         {1u, 255u, 256u, 257u, 288u, 289u, 511u, 512u, 513u, 4095u, 4097u, 829440u, 1036800u, 4147200u}) {
        const BufferPtr p = pool.Get(cb);
        ASSERT_TRUE(p) << cb;
        EXPECT_EQ(reinterpret_cast<uintptr_t>(p->Data()) % 64, 0u) << cb;
        EXPECT_GE(p->Capacity(), cb);
        EXPECT_LE(p->Capacity(), std::max<size_t>(256, cb + cb / 8)) << cb;
        std::memset(p->Data(), 0xEE, cb + kBufferSlack);  // the address sanitizer sees a short block
    }
    EXPECT_FALSE(pool.Get(BufferPool::kMaxBytes + 1));
}

TEST(BufferPool, ReleasedBlocksComeBackLastOneFirst) {
    BufferPool pool;
    BufferPtr pA = pool.Get(100000), pB = pool.Get(100001);
    const FrameBuffer *pWasA = pA.Get(), *pWasB = pB.Get();
    BufferPtr pAgain = pA;
    pA.Reset();
    pB.Reset();
    EXPECT_EQ(pool.FreeBytes(), pAgain->Capacity());  // A is still held
    pAgain.Reset();
    const BufferPtr pFirst = pool.Get(99999), pSecond = pool.Get(100000), pThird = pool.Get(100000);
    EXPECT_EQ(pFirst.Get(), pWasA);
    EXPECT_EQ(pSecond.Get(), pWasB);
    EXPECT_EQ(pool.BlockCount(), 3u);
    EXPECT_EQ(pool.FreeBytes(), 0u);
}

TEST(BufferPool, IdleClassesGoBackOnlyAboveTheLimit) {
    BufferPool pool(1000000);
    const auto Churn = [&](size_t _cb, uint64_t _nTimes) {
        for (uint64_t i = 0; i < _nTimes; ++i) pool.Get(_cb);
    };
    { const BufferPtr pA = pool.Get(700000), pB = pool.Get(200000); }
    Churn(1000, 2 * BufferPool::kIdleGets);
    EXPECT_EQ(pool.BlockCount(), 3u);  // below the limit nothing goes
    pool.Get(700000);
    pool.Get(200000);
    pool.Get(600000);
    Churn(1000, BufferPool::kIdleGets / 2);
    EXPECT_EQ(pool.BlockCount(), 4u);  // above it, but nobody has been idle long
    const BufferPtr pHeld = pool.Get(600000);
    Churn(1000, BufferPool::kIdleGets);
    EXPECT_EQ(pool.BlockCount(), 4u);  // what is held does not lie free
    { const BufferPtr pA = pool.Get(700000), pC = pool.Get(700000); }
    Churn(1000, 2 * BufferPool::kIdleGets);
    EXPECT_EQ(pool.BlockCount(), 2u);  // idle and above the limit: all but the busy one and the one that is held
}

// Blocks go between the pool and four threads, each of which checks that nobody else writes into what it holds.
TEST(BufferPool, ThreadsNeverGetABlockThatIsHeld) {
    BufferPool pool(0);
    std::atomic<int> nWrong{0};
    OnThreads(4, [&](int _nThread) {
        BufferPtr arrHeld[4];
        for (uint32_t i = 0; i < StressRounds(40000); ++i) {
            BufferPtr& pSlot = arrHeld[i % 4];
            if (pSlot && (pSlot->Data()[0] != _nThread || pSlot->Data()[200] != _nThread)) ++nWrong;
            pSlot = pool.Get(201 + i % 3 * 400);
            std::memset(pSlot->Data(), _nThread, 201);
        }
    });
    EXPECT_EQ(nWrong, 0);
    EXPECT_LE(pool.BlockCount(), 3u * 4u * 5u);
}

}  // namespace
}  // namespace zr
