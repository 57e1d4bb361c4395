#include "framework/blob_holder.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace zr {
namespace {

// Gives memory until the switch is thrown.
struct FailingAlloc : CNewAlloc {
    static inline bool bFail = false;
    static uint8_t* Alloc(uint32_t& _nCapacity) { return bFail ? nullptr : CNewAlloc::Alloc(_nCapacity); }
};

template <class A>
class BlobHolder : public testing::Test {};
using Allocators = testing::Types<CNewAlloc, CHeapAlloc, CVirtualAlloc, CCoTaskAlloc>;
TYPED_TEST_SUITE(BlobHolder, Allocators);

TYPED_TEST(BlobHolder, SmallerKeepsTheBlockAndItsContent) {
    CBLOBHolder<TypeParam> blob;
    EXPECT_EQ(blob.Resize(0), S_FALSE);
    EXPECT_EQ(blob.Data(), nullptr);
    ASSERT_EQ(blob.Resize(1000), S_OK);
    uint8_t* pBefore = blob.Data();
    pBefore[9] = 77;
    EXPECT_EQ(blob.Resize(10), S_FALSE);
    EXPECT_EQ(blob.Resize(1000), S_FALSE);
    EXPECT_EQ(blob.Data(), pBefore);
    EXPECT_EQ(blob.Data()[9], 77);
    EXPECT_EQ(blob.Resize(9000), S_OK);
    EXPECT_GE(blob.Capacity(), 9000u);
    EXPECT_EQ(blob.Size(), 9000u);
}

TYPED_TEST(BlobHolder, FillCoversTheSizeAskedForAndUsedComesAfter) {
    CBLOBHolder<TypeParam> blob;
    ASSERT_EQ(blob.Resize(100, true, 0xAB, 40), S_OK);
    EXPECT_EQ(blob.Size(), 40u);
    EXPECT_TRUE(std::all_of(blob.Data(), blob.Data() + 100, [](uint8_t b) { return b == 0xAB; }));
    EXPECT_EQ(blob.Resize(20, true, 0x11, int64_t{blob.Capacity()} + 1), E_INVALIDARG);
    EXPECT_EQ(blob.Size(), 20u);
    EXPECT_EQ(blob.Data()[19], 0x11);
    EXPECT_EQ(blob.Data()[20], 0xAB);
    EXPECT_EQ(blob.Resize(20, false, 0, -1), S_FALSE);
    EXPECT_EQ(blob.At(blob.Capacity()), nullptr);
    EXPECT_EQ(blob.At(blob.Capacity() - 1), blob.Data() + blob.Capacity() - 1);
}

TEST(BlobHolderAllocators, HeapBlocksAreAlignedAndWhollyUsableAtAnySize) {
    for (uint32_t nSize = 1; nSize <= 300; ++nSize) {
        CBLOBHolder<CHeapAlloc> blob;
        ASSERT_EQ(blob.Resize(nSize, true, 0xFF, -1), S_OK);  // the address sanitizer sees a write past the end
        EXPECT_EQ(reinterpret_cast<uintptr_t>(blob.Data()) % 16, 0u) << nSize;
    }
}

TEST(BlobHolderAllocators, PagesRoundTheCapacityUp) {
    CBLOBHolder<CVirtualAlloc> blob;
    ASSERT_EQ(blob.Resize(4097), S_OK);
    EXPECT_EQ(blob.Capacity(), 8192u);
    EXPECT_EQ(blob.Resize(8192), S_FALSE);
    EXPECT_EQ(blob.Resize(0xFFFFFFFFu), E_OUTOFMEMORY);  // would round up to nothing
    EXPECT_EQ(blob.Capacity(), 0u);
}

TEST(BlobHolderAllocators, NoMemoryLeavesTheHolderEmptyAndUsable) {
    CBLOBHolder<FailingAlloc> blob;
    ASSERT_EQ(blob.Resize(10), S_OK);
    FailingAlloc::bFail = true;
    EXPECT_EQ(blob.Resize(20, true, 1, 5), E_OUTOFMEMORY);
    FailingAlloc::bFail = false;
    EXPECT_EQ(blob.Size(), 0u);
    EXPECT_EQ(blob.At(0), nullptr);
    EXPECT_EQ(blob.Resize(5), S_OK);
}

TEST(BlobHolderAllocators, ADetachedBlockIsTheReceivers) {
    CBLOBHolder<CCoTaskAlloc> blob;
    ASSERT_EQ(blob.Resize(8, true, 3, -1), S_OK);
    uint8_t* p = blob.Detach();
    EXPECT_EQ(blob.Resize(4), S_OK);
    EXPECT_NE(blob.Data(), p);
    EXPECT_EQ(p[7], 3);
    CoTaskMemFree(p);
}

}  // namespace
}  // namespace zr
